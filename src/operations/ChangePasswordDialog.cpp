// Changing the logged-in user's password. The console never writes the
// password anywhere itself: PAM and its modules do. The passwords live only
// in the three fields, whose buffers are wiped when the dialog goes, and are
// handed to PAM's conversation by reference.
#include "ChangePasswordDialog.h"

#include "FieldKeys.h"
#include "MessageDialog.h"
#include "PasswordChange.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{60, 14, 6};
constexpr int kFieldLength = 30;
constexpr int kOldField = 0;
constexpr int kNewField = 1;

const char* const kConfirmFooter =
    "{color:black}<Enter>{/color} {color:dark-grey}Confirm{/color}{align:right}"
    "{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}";

// Passwords take any printable character, UTF-8 letters included; the
// editing keys move and delete.
bool IsPasswordKey(int key) {
  return FieldKeys::IsEditing(key) || FieldKeys::IsTextByte(key);
}

}  // namespace

ChangePasswordDialog::ChangePasswordDialog(Frame* parent)
    : FormDialog(parent, kSize, Strings::kPasswordTitle, Strings::kPasswordText,
                 kOkCancelFooter) {
  _moves = Moves::kFieldByFieldAround;
  // From an expired login nobody is logged in yet: no idle limit then.
  _idleLimit = _session.loggedIn;
  const auto addPassword = [this](uint32_t label) {
    return AddField(
        {_strings->GetString(label), "", kFieldLength, IsPasswordKey, FieldSpec::kAnyLength, true});
  };
  _old = addPassword(Strings::kOldPasswordLabel);
  _new = addPassword(Strings::kNewPasswordLabel);
  _confirm = addPassword(Strings::kConfirmPasswordLabel);
  // Without room for the fields (a terminal far too small) the dialog only
  // cancels.
  ShowRows();
}

void ChangePasswordDialog::ShowError(uint32_t messageKey) {
  MessageDialog message(this, Strings::kPasswordErrorTitle, messageKey);
  Frame::Run(&message);
}

void ChangePasswordDialog::RestartNewPassword() {
  _new->SetValue("");
  _confirm->SetValue("");
  FocusField(kNewField);
}

bool ChangePasswordDialog::Leave(int field) {
  if (field != kOldField) {
    return true;
  }
  if (!PasswordAccepted(_session.loginName, _old->GetValue())) {
    ShowError(Strings::kOldPasswordIncorrect);
    _old->SetValue("");
    return false;
  }
  // Once accepted, the old password is left behind: Up and Tab no longer
  // reach it.
  _old->SetSelectable(false);
  return true;
}

bool ChangePasswordDialog::Finish() {
  if (_confirm->GetValue() != _new->GetValue()) {
    ShowError(Strings::kPasswordMismatch);
    RestartNewPassword();
    return false;
  }
  if (_new->GetValue().empty()) {
    ShowError(Strings::kPasswordEmpty);
    RestartNewPassword();
    return false;
  }
  if (_new->GetValue() == _old->GetValue()) {
    SamePasswordConfirmDialog confirm(this);
    if (Frame::Run(&confirm) == 0) {
      Redraw();
      return false;
    }
  }
  if (!ChangeLoginPassword(_session.loginName, _old->GetValue(), _new->GetValue())) {
    ShowError(Strings::kPasswordChangeFailed);
    RestartNewPassword();
    return false;
  }
  return true;
}

SamePasswordConfirmDialog::SamePasswordConfirmDialog(Frame* parent)
    : Dialog(parent, {60, 10, 7}) {}

int SamePasswordConfirmDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kPasswordWarningTitle));
  SetText(_strings->GetString(Strings::kPasswordSameQuestion));
  SetFooter(kConfirmFooter);
  Window::ShowCursor(false);
  return WaitForKeyOrEscape(kKeyEnter, _session.loggedIn) ? 1 : 0;
}

}  // namespace Merel
