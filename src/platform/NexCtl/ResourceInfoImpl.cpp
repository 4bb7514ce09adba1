#include "NexCtl/ResourceInfoImpl.h"

#include <algorithm>

#include "FacadeSupport.h"

namespace NexCtl::Resource {

bool ResourceInfoImpl::HasRunningVirtualMachines() {
  auto vms = Platform::LoadHost("ResourceInfoImpl.HasRunningVirtualMachines").vms;
  return std::any_of(vms.begin(), vms.end(),
                     [](const Platform::VmState& vm) { return vm.poweredOn; });
}

std::vector<VirtualMachine> ResourceInfoImpl::GetVirtualMachines() {
  std::vector<VirtualMachine> result;
  for (const auto& vm : Platform::LoadHost("ResourceInfoImpl.GetVirtualMachines").vms)
    result.push_back({vm.name, vm.poweredOn});
  return result;
}

}  // namespace NexCtl::Resource
