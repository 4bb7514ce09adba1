// The availability and idle time-outs of the local shell and SSH.
#pragma once

#include "FormDialog.h"
#include "Timeouts.h"

namespace Merel {

// Run, it gives 0 for Esc, 1 otherwise.
class ShellTimeoutDialog : public FormDialog {
 public:
  explicit ShellTimeoutDialog(Frame* parent);

 private:
  bool Finish() override;
  // Sets `timeout` to the minutes typed in `field`, unless they are what the
  // host has (`currentMinutes`) or refused.
  void Apply(ShellTimeout timeout, const InputItem& field, int currentMinutes);

  InputItem* _availability = nullptr;
  InputItem* _idle = nullptr;
  int currentAvailability = 0;
  int currentIdle = 0;
};

}  // namespace Merel
