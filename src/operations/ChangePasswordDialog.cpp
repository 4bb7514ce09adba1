// Changing the logged-in user's password. The console never writes the
// password anywhere itself: PAM and its modules do. The passwords live only
// in the three fields, whose buffers are wiped when the dialog goes, and are
// handed to PAM's conversation by reference.
#include "ChangePasswordDialog.h"

#include <cctype>
#include <memory>
#include <vector>

#include "FieldKeys.h"
#include "MessageDialog.h"
#include "PasswordChange.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{60, 14, 6};
constexpr int kFieldLength = 30;
constexpr int kTab = 9;
constexpr int kCtrlH = 8;

const char* const kConfirmFooter =
    "{color:black}<Enter>{/color} {color:dark-grey}Confirm{/color}{align:right}"
    "{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}";

// Passwords take any printable character, UTF-8 letters included (their
// bytes arrive one by one); the editing keys move and delete.
bool IsEditingKey(int key) {
  return FieldKeys::IsEditing(key) || (key >= 0 && key <= 255 && (isprint(key) || key >= 0x80));
}

}  // namespace

ChangePasswordDialog::ChangePasswordDialog(Frame* parent)
    : Dialog(parent, kSize) {
  std::vector<std::unique_ptr<Item>> items;
  for (uint32_t key :
       {Strings::kOldPasswordLabel, Strings::kNewPasswordLabel, Strings::kConfirmPasswordLabel}) {
    auto field = std::make_unique<InputItem>(_strings->GetString(key), "", kFieldLength);
    field->SetPassword(true);
    items.push_back(std::move(field));
  }
  _old = static_cast<InputItem*>(items[0].get());
  _new = static_cast<InputItem*>(items[1].get());
  _confirm = static_cast<InputItem*>(items[2].get());
  if (_contentWindow != nullptr) {
    _list = &_contentWindow->AddChild<ItemList>(0, 0, _contentWindow->GetWidth(),
                                                _contentWindow->GetHeight());
    _list->SetItems(std::move(items));
  } else {
    // No room for the fields (a terminal far too small): the dialog only
    // cancels, and the empty fields go now.
    _old = _new = _confirm = nullptr;
  }
}

ChangePasswordDialog::~ChangePasswordDialog() {
  for (InputItem* field : {_old, _new, _confirm}) {
    if (field != nullptr) {
      field->Wipe();
    }
  }
}

void ChangePasswordDialog::DrawFields() {
  Window::ShowCursor(true);
  _list->DrawItems();
}

void ChangePasswordDialog::Focus(InputItem* item) {
  while (_list->Current() != item) {
    const int before = _list->CurrentIndex();
    if (_list->CurrentIndex() < (item == _old ? 0 : item == _new ? 1 : 2)) {
      _list->Next();
    } else {
      _list->Prev();
    }
    if (_list->CurrentIndex() == before) {
      break;
    }
  }
  DrawFields();
}

void ChangePasswordDialog::ShowError(uint32_t messageKey) {
  MessageDialog message(this, Strings::kPasswordErrorTitle, messageKey);
  Frame::Run(&message);
}

void ChangePasswordDialog::RestartNewPassword() {
  _new->SetValue("");
  _confirm->SetValue("");
  Focus(_new);
}

bool ChangePasswordDialog::OldPasswordAccepted() {
  return PasswordAccepted(_session.loginName, _old->GetValue());
}

bool ChangePasswordDialog::Submit() {
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
      DrawFields();
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

int ChangePasswordDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kPasswordTitle));
  SetText(_strings->GetString(Strings::kPasswordText));
  SetFooter(kOkCancelFooter);
  if (_list == nullptr) {
    return 0;
  }
  DrawFields();
  while (true) {
    // From an expired login nobody is logged in yet: no idle limit then.
    const int key = Frame::WaitForKey(this, _session.loggedIn);
    Item* current = _list->Current();
    if (key == kKeyEscape) {
      Window::ShowCursor(false);
      return 0;
    }
    if (key == KEY_UP) {
      // Once accepted, the old password is left behind for good.
      if (current == _confirm) {
        Focus(_new);
      }
    } else if (key == kTab || key == kKeyEnter || key == KEY_DOWN) {
      if (current == _old) {
        if (OldPasswordAccepted()) {
          Focus(_new);
        } else {
          ShowError(Strings::kOldPasswordIncorrect);
          _old->SetValue("");
          DrawFields();
        }
      } else if (current == _new) {
        Focus(_confirm);
      } else if (key == kTab) {
        Focus(_new);
      } else if (key == kKeyEnter && Submit()) {
        Window::ShowCursor(false);
        return 1;
      }
    } else if (IsEditingKey(key)) {
      static_cast<InputItem*>(current)->HandleKey(key == kCtrlH ? KEY_BACKSPACE : key);
      DrawFields();
    }
  }
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
