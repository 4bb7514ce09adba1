// Reset System Configuration: confirmed with F11 only, runs the host's
// configuration tool in reset mode, then waits for Enter to restart the host
// (there is no way back once the reset has run).
#pragma once

#include "Dialog.h"

namespace Merel {

class TextArea;

class RestoreDialog : public Dialog {
 public:
  explicit RestoreDialog(Frame* parent);
  // 0 when cancelled or when a command could not be started; after a reset
  // the host restarts and this never returns.
  int Loop() override;

 private:
  TextArea* _text = nullptr;
};

}  // namespace Merel
