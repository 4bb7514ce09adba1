#pragma once

#include <vector>

#include "HostCtl/Host.h"

namespace NexCtl::Hardware {

class PciInfoImpl {
 public:
  // Device assignment (PCI devices handed to a driver VM):
  // 0 not supported, 1 supported but not configurable now, 2 configurable.
  int GetDeviceAssignmentState();
  std::vector<HostCtl::Hardware::PciDevice> GetDevices();
};

}  // namespace NexCtl::Hardware
