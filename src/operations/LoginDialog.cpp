// The login dialog. It is only 60 x 9, so it does not use the stock content
// area (there is no room for one under a title and a two-line prompt): the
// prompt and the three lines live in the dark-grey title area, and the yellow
// body is just the footer strip.
//
//   row 0  border
//   row 1  "Authentication Required"
//   row 2  "Enter an authorized login name and password for <host>"
//   row 3    (a long host name wraps here)
//   row 4  Configured Keyboard (US Default)
//   row 5  Login Name:            [ root                       ]
//   row 6  Password:              [                            ]
//   row 7  footer
//   row 8  border
#include "LoginDialog.h"

#include <security/pam_appl.h>
#include <syslog.h>

#include <algorithm>
#include <vector>

#include "ChangePasswordDialog.h"
#include "Command.h"
#include "FieldKeys.h"
#include "HostCtl/HostCtlException.h"
#include "HostLibraries.h"
#include "ItemList.h"
#include "KeyboardDialog.h"
#include "MessageDialog.h"
#include "NexCtl/SmartCardInfoImpl.h"
#include "NexCtl/SystemInfoImpl.h"
#include "PamAuth.h"
#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"
#include "TextArea.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{60, 9, 7};
constexpr int kFieldsX = 3;
constexpr int kPromptY = 2;
constexpr int kPromptHeight = 2;
constexpr int kListY = kPromptY + kPromptHeight;
constexpr int kListRows = 3;

const char* const kNonAsciiNameTitle = "Invalid login name";
const char* const kNonAsciiNameText =
    "Login names are made of ASCII letters, digits and signs only; the character typed was "
    "not taken.";

// The stray ">" after "black" is how this footer has always been written; the
// markup treats the unknown colour name as no colour change.
const char* const kSmartCardSwitch =
    "{align:left}{color:black>}<F3>{/color} {color:dark-grey}Switch PIN/Password "
    "Login{/color}{/align}";

// The keys the fields take: printable characters, the bytes of UTF-8
// letters and the editing keys but Home.
bool IsPasswordKey(int key) {
  return (FieldKeys::IsEditing(key) && key != KEY_HOME) || FieldKeys::IsTextByte(key);
}

// The first byte of a UTF-8 letter such as "é".
bool StartsNonAsciiLetter(int key) {
  return key >= 0xc2 && key <= 0xf4;
}

// Account names on the host are plain ASCII: a letter beyond it is not
// taken (OtherKey says why).
bool IsNameKey(int key) {
  return IsPasswordKey(key) && !StartsNonAsciiLetter(key);
}

std::string KeyboardLineText() {
  std::string layout;
  try {
    layout = NexCtl::System::SystemInfoImpl().GetKeyboardLayout();
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting keyboard layout failed: %s", e.what());
    layout = "N/A";
  }
  return "Configured Keyboard (" + layout + ")";
}

// The login-failed event; `denied` picks the text for an account that may
// not log in (expired or no permission) over the one for a failed password.
void PostLoginFailedEvent(bool denied, const std::string& user) {
  if (InitObsvLibrary() != 0) {
    return;  // The event service is optional; the syslog line stands.
  }
  if (denied) {
    ObsvUserLib_AddObsv("@&!*@*@(obsv.user.merel.login.failed)Access denied for user %s",
                        user.c_str());
  } else {
    ObsvUserLib_AddObsv("@&!*@*@(obsv.user.merel.login.failed)Authentication of user %s failed",
                        user.c_str());
  }
  ObsvUserLib_Close();
}

}  // namespace

std::string LoggedUserName(const std::string& typed, const std::vector<std::string>& accounts) {
  size_t longest = 0;
  bool used[256] = {};
  for (const std::string& account : accounts) {
    longest = std::max(longest, account.size());
    for (unsigned char c : account) {
      used[c] = true;
    }
  }
  bool known = !typed.empty() && typed.size() <= longest;
  for (size_t i = 0; known && i < typed.size(); ++i) {
    known = used[static_cast<unsigned char>(typed[i])];
  }
  return known ? typed : "unknown user";
}

LoginOutcome RecordLoginResult(int pamResult, const std::string& user) {
  if (pamResult == PAM_SUCCESS) {
    const char* name = user.c_str();
    // Level 0 of the auth facility is deliberate: a console login is an
    // event the host's log collectors must never filter out.
    Platform::Syslog(LOG_AUTH | LOG_EMERG, "Authentication of user %s succeeded", name);
    Platform::Syslog(LOG_INFO, "User %s logged in", name);
    AuditLog_Session("login.connect", name, 1, nullptr, nullptr);
    return {.success = true};
  }
  // What was typed may be anything, a password included: only a name that
  // could be an account's goes into the logs.
  const std::string logged = LoggedUserName(user, Platform::AccountNames());
  const char* name = logged.c_str();
  LoginOutcome outcome;
  const char* reason = nullptr;
  switch (pamResult) {
    case PAM_NEW_AUTHTOK_REQD:
      Platform::Syslog(LOG_AUTH | LOG_ERR, "Password has expired for user %s", name);
      reason = "Password expired";
      // The old password is of no use once the new one is set.
      outcome = {.titleKey = Strings::kLoginDeniedTitle,
                 .messageKey = Strings::kLoginPasswordExpired,
                 .clearPassword = true};
      break;
    case PAM_PERM_DENIED:
      Platform::Syslog(LOG_AUTH | LOG_ERR, "Access denied for user %s", name);
      reason = "No permission";
      outcome = {.titleKey = Strings::kLoginDeniedTitle, .messageKey = Strings::kLoginNoPermission};
      break;
    default:
      // Every other PAM answer (wrong password, unknown user, a module that
      // cannot be loaded) is an invalid login as far as the user is told.
      Platform::Syslog(LOG_AUTH | LOG_ERR, "Authentication of user %s failed", name);
      reason = "Invalid Login";
      outcome = {.titleKey = Strings::kLoginFailedTitle,
                 .messageKey = Strings::kLoginInvalid,
                 .clearPassword = true};
      break;
  }
  AuditLog_Session("login.connect", name, 0, "reason", reason);
  PostLoginFailedEvent(outcome.titleKey == Strings::kLoginDeniedTitle, logged);
  return outcome;
}

std::string CardUserId() {
  NexCtl::Hardware::SmartCardInfoImpl card;
  try {
    if (!card.IsCardPresent()) {
      return "";
    }
    const std::vector<std::string> ids = card.LookupTokens();
    return ids.empty() ? "" : ids.front();
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Error trying to lookup smart card tokens: %s", e.what());
    return "";
  }
}

LoginDialog::LoginDialog(Frame* parent)
    : FormDialog(parent, kSize, Strings::kLoginTitle, Strings::kLoginPasswordPrompt,
                 kOkCancelFooter) {
  _moves = Moves::kFieldByField;
  // Nobody is logged in: there is no session to time out.
  _idleLimit = false;
  try {
    _smartCardSupported = NexCtl::Hardware::SmartCardInfoImpl().IsSupported();
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting smart card support failed: %s", e.what());
  }
  const int width = _titleWindow->GetWidth() - 2 * kFieldsX;
  _prompt = &_titleWindow->AddChild<TextArea>(kFieldsX, kPromptY, width, kPromptHeight,
                                              _titleWindow->GetForeground());
  BuildItems("root");
}

void LoginDialog::BuildItems(const std::string& name) {
  StringFactory& strings = *_strings;
  ClearRows();
  _keyboardLine = AddAction(KeyboardLineText());
  _nameItem = AddField({strings.GetString(_pinMode ? Strings::kLoginIdLabel
                                                   : Strings::kLoginNameLabel),
                        name, -1, IsNameKey, FieldSpec::kAnyLength});
  _passwordItem =
      AddField({strings.GetString(_pinMode ? Strings::kPinLabel : Strings::kPasswordLabel), "",
                -1, IsPasswordKey, FieldSpec::kAnyLength, true});
  ShowRowsIn(*_titleWindow, kFieldsX, kListY, _titleWindow->GetWidth() - 2 * kFieldsX,
             kListRows);
  // With a name in place (normally "root") the password is all that is left
  // to type; the other lines are one or two Up away.
  _list->SelectShown(name.empty() ? 1 : 2);
}

void LoginDialog::ShowTexts() {
  SetTitle(_strings->GetString(Strings::kLoginTitle));
  _prompt->SetText(std::string(_strings->GetString(_pinMode ? Strings::kLoginPinPrompt
                                                            : Strings::kLoginPasswordPrompt)) +
                   TextArea::VariableValue("hostname"));
  SetFooter(_smartCardSupported && !_pinMode ? std::string(kSmartCardSwitch) + kOkCancelFooter
                                             : std::string(kOkCancelFooter));
}

void LoginDialog::SwitchMode() {
  _pinMode = !_pinMode;
  // The secret never carries over between a password and a PIN. The login
  // id starts as the card's user when a card is in the reader.
  std::string name = _nameItem->GetValue();
  if (_pinMode) {
    const std::string id = CardUserId();
    if (!id.empty()) {
      name = id;
    }
  }
  BuildItems(name);
  ShowTexts();
  Redraw();
}

void LoginDialog::Update() {
  // A card put in while the PIN form is open fills in its user, unless the
  // user has already typed a login id of their own.
  if (!_pinMode || !_nameItem->IsPristine()) {
    return;
  }
  const std::string id = CardUserId();
  if (!id.empty() && id != _nameItem->GetValue()) {
    _nameItem->SetValue(id);
    Redraw();
  }
}

void LoginDialog::Activate(int /*row*/) {
  {
    KeyboardDialog dialog(this);
    Frame::Run(&dialog);
  }
  // The chooser may have changed the layout; the typed values stay.
  _keyboardLine->SetLabel(KeyboardLineText());
}

bool LoginDialog::Finish() {
  const std::string user = _nameItem->GetValue();
  const int result = Authenticate(user, _passwordItem->GetValue(), &LoginSession());
  const LoginOutcome outcome = RecordLoginResult(result, user);
  if (outcome.success) {
    _session.loginName = user;
    _session.isLoggedWithSmartCard = _pinMode;
    _session.smartCardLoginId = _pinMode ? user : std::string();
    _session.cardInfo.clear();
    _session.SetLoggedIn(true);
    return true;
  }
  {
    MessageDialog message(this, outcome.titleKey, outcome.messageKey);
    Frame::Run(&message);
  }
  if (result == PAM_NEW_AUTHTOK_REQD) {
    // The change dialog works on the frame's login name; nobody is logged in
    // yet, so it is borrowed for the change only. Changed or not, the user
    // then logs in again, with the new password.
    const std::string previous = _session.loginName;
    _session.loginName = user;
    {
      ChangePasswordDialog change(this);
      Frame::Run(&change);
    }
    _session.loginName = previous;
  }
  if (outcome.clearPassword) {
    _passwordItem->SetValue("");
  }
  Redraw();
  return false;
}

void LoginDialog::OtherKey(int row, int key) {
  if (key == KEY_F(3)) {
    if (_smartCardSupported) {
      SwitchMode();
    }
  } else if (_list->At(static_cast<size_t>(row)) == _nameItem && StartsNonAsciiLetter(key)) {
    // Dropping the letter silently would log in (or fail) with a name other
    // than the one typed, so the user is told. The rest of the letter's
    // bytes go with the message.
    {
      MessageDialog message(this, std::string(kNonAsciiNameTitle),
                            std::string(kNonAsciiNameText));
      Frame::Run(&message);
    }
    Redraw();
  }
}

}  // namespace Merel
