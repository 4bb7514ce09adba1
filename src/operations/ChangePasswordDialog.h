// The root password change of the System Customization menu, also offered by
// the login when PAM finds the password expired.
#pragma once

#include "Dialog.h"
#include "Item.h"
#include "ItemList.h"

namespace Merel {

class ChangePasswordDialog : public Dialog {
 public:
  explicit ChangePasswordDialog(Frame* parent);
  // The three fields are wiped: nothing of the passwords outlives the dialog.
  ~ChangePasswordDialog() override;
  // 1 after a successful change, 0 when the user leaves with Esc.
  int Loop() override;

 private:
  // The old password passes when PAM accepts it, also when it has expired.
  bool OldPasswordAccepted();
  // The checks and the change on Enter in the confirmation field.
  bool Submit();
  void ShowError(uint32_t messageKey);
  void RestartNewPassword();
  void Focus(InputItem* item);
  void DrawFields();

  ItemList* _list = nullptr;
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
