// The password change from the menu and from an expired login, through the real
// PAM stack: pam_matrix keeps the passwords in the host root's password file, and
// the host's account module adds the outcomes it cannot give (etc/account-states).
#include "../common/CommandOutput.h"
#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;

const char kOld[] = "0ld-Secret-7q";
const char kNew[] = "N3w-Secret-9z";

// Types `text` into the focused field and presses Enter.
void Type(Terminal& console, const std::string& text) {
  TypeText(console, text);
  console.Send("\r");
  console.WaitUntilQuiet(milliseconds(150));
}

// Sets root's password, logs in and opens the password dialog.
std::unique_ptr<Terminal> OpenPassword(SimHost& host) {
  host.WriteFile("/etc/pam_matrix.passwd", std::string("root:") + kOld + ":merel\n");
  return OpenEntry(host, "Configure Password", "Old Password:", {}, kOld);
}

// The files of the host root but the password file itself that hold `secret`.
std::string FindSecretIn(const SimHost& host, const std::string& secret) {
  return MerelTestCommon::CommandOutput("grep -rlF -D skip --exclude=pam_matrix.passwd -e '" +
                                        secret + "' '" + host.Path("") + "'");
}

// The old password again as the new one needs a confirmation; Esc there
// keeps all three fields as typed, Enter goes on with the change. Then each
// password, changed to from the one before, is the one that logs in, and
// nothing else of the host holds it. Any password a user can type is kept
// as typed, and the password database stays readable for every later login
// (a ':' once cut root's line in two); a prefix is not enough: the whole
// password went into the database.
TEST(PasswordScreenTest, EachChangedPasswordIsTheOneThatLogsIn) {
  SimHost host;
  auto console = OpenPassword(host);
  ExpectGoldenScreen(*console, "password");
  Type(*console, kOld);
  Type(*console, kOld);
  Type(*console, kOld);
  Expect(*console, "New password is same as old password. Are you sure?");
  ExpectGoldenScreen(*console, "password-same");
  PressGone(*console, Key::kEscape, "Are you sure?");
  EXPECT_EQ(std::ranges::count(console->Text(), '*'), 3 * static_cast<long>(sizeof(kOld) - 1))
      << console->Text();
  Press(*console, Key::kEnter, "Are you sure?");
  PressToMenu(*console, Key::kEnter);
  ExpectLogged(host, {"user.info Login password for user root has changed"});
  ExpectLogged(host,
               {"[obsv.user.merel.login.passwd.changed] Login password for user root changed"},
               "/var/log/obsvd.log");
  ExpectHas(host.ReadFile("/var/log/tools.log"),
            {"backup.sh 0\n", "rovi-cmd -U root internalsvc/refresh\n"});
  std::string current = kOld;
  for (const std::string password :
       {kNew, "a:b", "C:\\dir\\x:", "two words here", "p\u00e9\u00df-\u00c5ngstr\u00f6m",
        "%3A%25 50%", "\u043f\u0430\u0440\u043e\u043b\u044c:\u00e9"}) {
    SCOPED_TRACE(password);
    Choose(*console, "Configure Password", "Old Password:");
    Type(*console, current);  // the old, the new and the confirmed password
    Type(*console, password);
    Type(*console, password);
    ASSERT_TRUE(WaitForMenu(*console)) << console->Text();
    LogInAgain(*console, password.substr(0, password.size() - 1), password);
    current = password;
  }
  EXPECT_EQ(std::tuple(Contains(host.ReadFile("/etc/pam_matrix.passwd"), kOld),
                       FindSecretIn(host, kOld), FindSecretIn(host, kNew)),
            std::tuple(false, "", ""));
}

// A host whose root password has expired: the login leads through the
// change back to the login, the new password opens the menu, and the
// expiry is over for the next login.
TEST(PasswordScreenTest, ExpiredPasswordLeadsThroughTheChangeBackToTheLogin) {
  SimHost host("expired-password");
  auto console = OpenLogin(host);
  Type(*console, "merel");
  Expect(*console, "Password has expired.");
  Press(*console, Key::kEnter, "Old Password:");
  // The expired password passes the old-password check.
  Type(*console, "merel");
  Type(*console, kNew);
  Type(*console, kNew);
  Expect(*console, "Authentication Required");
  ExpectLacks(console->Text(), {"Old Password:"});
  ExpectLogged(host, {"Login password for user root has changed"});
  Type(*console, kNew);
  ASSERT_TRUE(WaitForMenu(*console)) << console->Text();
  LogInAgain(*console, "", kNew);
}

const char kIncorrect[] = "The old password you entered is incorrect";
const char kMismatch[] = "The new password and the confirmed password do not match.";
const char kEmpty[] = "Empty passwords are not allowed.";
const char kFailed[] = "The password change operation failed.";

// What the dialog answers for each input and each answer of the stack; after
// every refusal the dialog stays and the old password is kept.
TEST(PasswordScreenTest, RefusalsReportAndKeepTheOldPassword) {
  // The tests' module's word for root, the old, new and confirmed password,
  // the message.
  const std::tuple<const char*, std::string, std::string, std::string, const char*> cases[] = {
      {"", "nope", "", "", kIncorrect},
      {"", kOld, "abc", "abd", kMismatch},
      {"", kOld, "", "x", kMismatch},
      {"", kOld, "", "", kEmpty},
      // Tab in the confirmation goes back to the new password (never to the
      // old one): "c" ends "abc", which is then confirmed and handed to the stack.
      {"authtok", kOld, "ab", "\tc\rabc", kFailed},
      // Control characters never reach a field.
      {"", kOld, "\x01\x02", "\x01\x02", kEmpty},
      {"conv", kOld, std::string(512, 'p'), std::string(512, 'p'), kFailed},
      {"authtok", kOld, std::string(4096, 'q'), std::string(4096, 'q'), kFailed},
      // A module of the stack that cannot be loaded (added below), last.
      {"nomodule", kOld, "x", "x", kFailed},
  };
  SimHost host;
  auto console = OpenPassword(host);
  PressToMenu(*console, Key::kEscape);
  for (const auto& [state, oldPassword, newPassword, confirm, message] : cases) {
    const std::string name = std::string(state) + " " + oldPassword + "/" + newPassword;
    Step(name.substr(0, 40), [&] {
      host.WriteFile("/etc/account-states/root", std::string(state) + "\n");
      if (std::string(state) == "nomodule") {
        const std::string missing = host.Path("/missing/pam_gone.so");
        host.WriteFile("/etc/pam.d/merel",
                       host.ReadFile("/etc/pam.d/merel") + "password required " + missing + "\n");
        // pam_wrapper reads the stack once, when the console starts.
        console.reset();
        console = OpenPassword(host);
        PressToMenu(*console, Key::kEscape);
      }
      Choose(*console, "Configure Password", "Old Password:");
      Type(*console, oldPassword);
      if (std::string(message) != kIncorrect) {
        Type(*console, newPassword);
        Type(*console, confirm);
      }
      Expect(*console, message);
      // The message goes and the dialog stays (Esc from the menu would log out).
      PressGone(*console, Key::kEnter, message);
      EXPECT_NE(host.ReadFile("/etc/pam_matrix.passwd").find(kOld), std::string::npos);
      EXPECT_EQ(host.Syslog().find("has changed"), std::string::npos) << host.Syslog();
      PressToMenu(*console, Key::kEscape);
    });
  }
}

}  // namespace
