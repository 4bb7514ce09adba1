// Which PCI devices go to the DriverVM, apart from the dialog: the devices
// that may be handed over (those without a native driver of the host) and
// the save of a new assignment, which takes effect at the next boot.
#pragma once

#include <string>
#include <vector>

#include "HostCtl/HostRecords.h"

namespace Merel {

struct DeviceAssignment {
  std::vector<HostCtl::Hardware::PciDevice> devices;  // only those offered
  // Why the host can hand no device over (then `devices` is empty); empty
  // when it can.
  std::string note;
};

// Reads the devices afresh; a host that fails to answer gives none (logged).
DeviceAssignment ReadDeviceAssignment();

struct AssignmentSave {
  bool saved = false;
  std::string error;     // the host's reason when not saved
  bool changed = false;  // some device's owner after the next boot changed
};

// Saves `devices`' owners for the next boot and logs each device whose
// owner changed from what `before` holds (one entry a device, same order).
AssignmentSave SaveDeviceAssignment(const std::vector<HostCtl::Hardware::PciDevice>& devices,
                                    const std::vector<bool>& before);

}  // namespace Merel
