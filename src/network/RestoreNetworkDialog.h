// Restore Network Settings: confirmed with F11 only, then the factory restore
// runs in its own progress dialog.
#pragma once

#include "Dialog.h"

namespace Merel {

class TextArea;

class RestoreNetworkDialog : public Dialog {
 public:
  explicit RestoreNetworkDialog(Frame* parent);
  // 1 once the restore was run (also when it stopped at the virtual machine
  // question), 0 when cancelled.
  int Loop() override;

 private:
  TextArea* _text = nullptr;
};

}  // namespace Merel
