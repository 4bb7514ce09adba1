// The question asked when the network window is left with changes: apply
// them, drop them, or go back to the window.
#pragma once

#include "Dialog.h"

namespace Merel {

class ApplyChangesDialog : public Dialog {
 public:
  enum Answer { kCancel = 0, kYes = 1, kNo = 2 };

  // `ipv6Toggled`: the host must restart to take the changes, and the
  // question says so.
  ApplyChangesDialog(Frame* parent, bool ipv6Toggled);
  // One of Answer.
  int Loop() override;

 private:
  bool _ipv6Toggled;
  TextArea* _question = nullptr;
};

}  // namespace Merel
