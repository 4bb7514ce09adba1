// Lockdown mode on and off. The host's management service keeps the mode;
// the console only asks it to enter or leave.
#pragma once

#include "ChoiceListDialog.h"

namespace Merel {

class CheckItem;

// Run, it gives 1 after Enter (whether or not anything changed), 0 after Esc.
class LockdownDialog : public ChoiceListDialog {
 public:
  explicit LockdownDialog(Frame* parent);

 private:
  void Mark(size_t index) override;
  int Enter() override;

  CheckItem* _check = nullptr;
  bool _enabled = false;
};

}  // namespace Merel
