// The root password change of the System Customization menu, also offered by
// the login when PAM finds the password expired.
#pragma once

#include "Dialog.h"
#include "FormDialog.h"

namespace Merel {

// The loop (FormDialog's, field by field) returns 1 after a successful
// change, 0 when the user leaves with Esc. The three fields are masked, so
// nothing of the passwords outlives the dialog.
class ChangePasswordDialog : public FormDialog {
 public:
  explicit ChangePasswordDialog(Frame* parent);

 private:
  // Leaving the old password: it passes when PAM accepts it, also when it
  // has expired, and is then left behind for good.
  bool Leave(int field) override;
  // The checks and the change on Enter in the confirmation field.
  bool Finish() override;
  void ShowError(uint32_t messageKey);
  void RestartNewPassword();

  InputItem* _old = nullptr;
  InputItem* _new = nullptr;
  InputItem* _confirm = nullptr;
};

// "Are you sure?" when the new password is the old one: Enter 1, Esc 0.
class SamePasswordConfirmDialog : public Dialog {
 public:
  explicit SamePasswordConfirmDialog(Frame* parent);
  int Loop() override;
};

}  // namespace Merel
