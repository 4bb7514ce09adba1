// Asks before an operation that takes running virtual machines down with it.
#pragma once

#include "Dialog.h"

namespace Merel {

class RunningVMsWarningDialog : public Dialog {
 public:
  explicit RunningVMsWarningDialog(Frame* parent);
  // 1 for Enter (go on), 0 for Esc.
  int Loop() override;
};

}  // namespace Merel
