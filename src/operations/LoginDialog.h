// The console login: a login name (or smart-card login id) and a password (or
// PIN) checked through PAM, with the outcome reported to syslog, the audit log
// and the event service.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "FormDialog.h"

namespace Merel {

// What one authentication result means for the console. The reporting (syslog,
// audit record, event) is done by RecordLoginResult; the dialog then shows
// the message, if any, and stays open unless `success`.
struct LoginOutcome {
  bool success = false;
  uint32_t titleKey = 0;    // message dialog title; 0 when nothing is shown
  uint32_t messageKey = 0;  // message dialog text
  bool clearPassword = false;
};
// Logs, audits and reports the PAM result of `user`'s login attempt. A
// failed attempt names the user only as LoggedUserName allows.
LoginOutcome RecordLoginResult(int pamResult, const std::string& user);

// The name a failed login is logged under: what was typed into the login
// name field, or "unknown user" when it is longer than the longest of the
// host's `accounts` or holds a character that none of them has. A password
// typed into the wrong field is so kept out of logs everyone can read.
std::string LoggedUserName(const std::string& typed, const std::vector<std::string>& accounts);

// The first user id on the smart card in the reader; empty when there is no
// card, no user on it, or the lookup failed (which is logged).
std::string CardUserId();

// Run by the key wait after a smart-card event: ends the process when the
// card of a smart-card session has gone, and notes a card that arrives while
// nobody is logged in. Installed as `session`'s smartCardCheck at start-up.
void SmartCardCheck(Session& session);

// The dialog's loop (FormDialog's, field by field) returns 1 when a user was
// authenticated (the session's loginName is set and the session flag
// raised), 0 when cancelled with Esc.
class LoginDialog : public FormDialog {
 public:
  explicit LoginDialog(Frame* parent);
  // A smart card came or went while the dialog is in front.
  void Update() override;

 private:
  // (Re)creates the three lines for the current mode; `name` goes into the
  // login name / login id field. The password / PIN field becomes current,
  // or the name field when `name` is empty.
  void BuildItems(const std::string& name);
  void ShowTexts() override;
  void SwitchMode();
  // Enter on the keyboard line: the layout chooser.
  void Activate(int row) override;
  // F3, and a letter the login name cannot take.
  void OtherKey(int row, int key) override;
  // One authentication attempt with the typed values; true on success.
  bool Finish() override;

  TextArea* _prompt = nullptr;
  LabelItem* _keyboardLine = nullptr;

  InputItem* _nameItem = nullptr;
  InputItem* _passwordItem = nullptr;
  bool _pinMode = false;
  bool _smartCardSupported = false;
};

}  // namespace Merel
