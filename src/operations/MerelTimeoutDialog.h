// The console's own idle time-out.
#pragma once

#include "FormDialog.h"

namespace Merel {

// Run, it gives 0 for Esc, 1 otherwise.
class MerelTimeoutDialog : public FormDialog {
 public:
  explicit MerelTimeoutDialog(Frame* parent);

 private:
  bool Finish() override;

  InputItem* _field = nullptr;
  int currentSeconds = 0;
};

}  // namespace Merel
