#pragma once

#include <string>
#include <vector>

namespace NexCtl::Resource {

struct VirtualMachine {
  std::string name;
  bool poweredOn = false;
};

class ResourceInfoImpl {
 public:
  bool HasRunningVirtualMachines();
  std::vector<VirtualMachine> GetVirtualMachines();
};

}  // namespace NexCtl::Resource
