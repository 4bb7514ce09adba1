#include "DeviceAssignment.h"

#include <syslog.h>

#include "HostCtl/HostCtlException.h"
#include "NexCtl/PciInfoImpl.h"
#include "Platform.h"

namespace Merel {

DeviceAssignment ReadDeviceAssignment() {
  DeviceAssignment assignment;
  try {
    // A host that cannot hand devices over at all says why, and lists none.
    NexCtl::Hardware::PciInfoImpl pci;
    assignment.note = pci.GetDeviceAssignmentNote();
    for (auto& device : assignment.note.empty() ? pci.GetDevices()
                                                : std::vector<HostCtl::Hardware::PciDevice>{}) {
      if (!device.nativeDriver) {
        assignment.devices.push_back(device);
      }
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting PCI devices failed: %s", e.what());
  }
  return assignment;
}

AssignmentSave SaveDeviceAssignment(const std::vector<HostCtl::Hardware::PciDevice>& devices,
                                    const std::vector<bool>& before) {
  AssignmentSave result;
  try {
    NexCtl::Hardware::PciInfoImpl().SaveAssignment(devices);
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Saving device assignment failed: %s", e.what());
    result.error = e.what();
    return result;
  }
  result.saved = true;
  for (size_t i = 0; i < devices.size() && i < before.size(); ++i) {
    if (devices[i].passthroughNextBoot != before[i]) {
      result.changed = true;
      Platform::Syslog(LOG_INFO, "Device %s assigned to the %s after the next restart",
                       devices[i].address.c_str(),
                       devices[i].passthroughNextBoot ? "DriverVM" : "host");
    }
  }
  return result;
}

}  // namespace Merel
