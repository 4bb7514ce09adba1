// Configure DriverVM Devices: which of the host's PCI devices without a
// native driver are handed to the DriverVM. Space toggles a device (a device
// that shares its group with others takes them along, after a warning that
// names them and can be declined),
// Enter saves the assignment for the next boot, Esc leaves it as it was.
#pragma once

#include <vector>

#include "ChoiceListDialog.h"
#include "HostCtl/HostRecords.h"

namespace Merel {

class CheckItem;

// Run, it gives 1 when the assignment was saved, 0 when cancelled. A failed
// save is reported and the list stays, with the choices made.
class DriverVMDialog : public ChoiceListDialog {
 public:
  explicit DriverVMDialog(Frame* parent);

 private:
  void Mark(size_t index) override;
  int Enter() override;
  void Relabel(size_t index);

  std::vector<HostCtl::Hardware::PciDevice> _devices;  // only those offered
  std::vector<CheckItem*> _checks;                     // one per device
  std::vector<bool> _saved;                            // what was saved at opening
  std::string _note;  // why the host can hand no device over; empty when it can
};

}  // namespace Merel
