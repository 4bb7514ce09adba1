#pragma once

#include <string>
#include <vector>

#include "HostCtl/HostRecords.h"

namespace NexCtl::Hardware {

class PciInfoImpl {
 public:
  // Device assignment (PCI devices handed to a driver VM):
  // 0 not supported, 1 supported but not configurable now, 2 configurable.
  int GetDeviceAssignmentState();
  // Why no device can be assigned on this host; empty when devices can be.
  std::string GetDeviceAssignmentNote();
  std::vector<HostCtl::Hardware::PciDevice> GetDevices();
  // Saves `passthroughNextBoot` of each device (by address) for the next
  // boot; the running assignment does not change. Throws when device
  // assignment cannot be configured now or an address is unknown.
  void SaveAssignment(const std::vector<HostCtl::Hardware::PciDevice>& devices);
};

}  // namespace NexCtl::Hardware
