// Restore Standard Switch: after F11, the management network moves onto a
// new standard switch of its own (StandardSwitchMove.h); a message says what
// failed when it could not.
#pragma once

#include <string>

#include "Dialog.h"

namespace Merel {

class TextArea;

class SafeModeNetworkDialog : public Dialog {
 public:
  explicit SafeModeNetworkDialog(Frame* parent);
  // 1 after the management network was moved, 0 when cancelled or when the
  // move failed (the failure was logged and shown).
  int Loop() override;

 private:
  TextArea* _text = nullptr;
};

}  // namespace Merel
