// The password change from the menu and from an expired login, through the real
// PAM stack: pam_matrix keeps the passwords in the host root's password file, and
// the host's account module adds the outcomes it cannot give (etc/account-states).
#include <filesystem>

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

// Sets root's password and the account module's word for root, logs in
// and opens the password dialog.
std::unique_ptr<Terminal> OpenPassword(SimHost& host, const std::string& rootState = "") {
  host.WriteFile("/etc/pam_matrix.passwd", std::string("root:") + kOld + ":merel\n");
  if (!rootState.empty()) {
    host.WriteFile("/etc/account-states/root", rootState + "\n");
  }
  return OpenEntry(host, "Configure Password", "Old Password:", {}, kOld);
}

// Old, new and confirmed password, and the menu is back.
void ChangePassword(Terminal& console, const std::string& old, const std::string& changed) {
  Type(console, old);
  Type(console, changed);
  Type(console, changed);
  if (!WaitForMenu(console)) {
    Fail("no menu after the change:\n" + console.Text());
  }
}

// Logs out; `refused` is turned down at the login, `password` opens the menu.
void LogInAgain(Terminal& console, const std::string& refused, const std::string& password) {
  Press(console, Key::kEscape, "<F2>");
  Press(console, Key::kF2, "Authentication Required");
  if (!refused.empty()) {
    Type(console, refused);
    Expect(console, "Invalid login or password.");
    console.SendKey(Key::kEnter);
    console.WaitUntilQuiet(milliseconds(150));
  }
  Type(console, password);
  EXPECT_TRUE(WaitForMenu(console)) << console.Text();
}

// The files of the host root but the password file itself that hold `secret`.
std::string FindSecretIn(const SimHost& host, const std::string& secret) {
  namespace fs = std::filesystem;
  std::string found;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(host.Path(""))) {
    const std::string path = entry.path().string().substr(host.Path("").size());
    if (entry.is_regular_file() && !entry.is_symlink() && path != "/etc/pam_matrix.passwd" &&
        host.ReadFile(path).find(secret) != std::string::npos) {
      found += path + " ";
    }
  }
  return found;
}

TEST(PasswordScreenTest, ChangedPasswordIsTheOneThatLogsIn) {
  SimHost host;
  auto console = OpenPassword(host);
  ExpectGoldenScreen(*console, "password");
  ChangePassword(*console, kOld, kNew);
  ExpectLogged(host, {"user.info Login password for user root has changed"});
  ExpectLogged(host,
               {"[obsv.user.merel.login.passwd.changed] Login password for user root changed"},
               "/var/log/obsvd.log");
  ExpectHas(host.ReadFile("/var/log/tools.log"),
            {"backup.sh 0\n", "rovi-cmd -U root internalsvc/refresh\n"});
  EXPECT_EQ(host.ReadFile("/etc/pam_matrix.passwd").find(kOld), std::string::npos);
  for (const char* secret : {kOld, kNew}) {
    EXPECT_EQ(FindSecretIn(host, secret), "") << secret;
  }
  LogInAgain(*console, kOld, kNew);
}

// Any password a user can type is kept as typed: changed to it in the
// dialog, it is the one that logs in, and the password database stays
// readable for every later login (a ':' once cut root's line in two).
class TypablePasswordTest : public ::testing::TestWithParam<const char*> {};

TEST_P(TypablePasswordTest, ChangedToItLogsInWithIt) {
  const std::string password = GetParam();
  SimHost host;
  auto console = OpenPassword(host);
  ChangePassword(*console, kOld, password);
  ExpectLogged(host, {"Login password for user root has changed"});
  // A prefix is not enough: the whole password went into the database.
  LogInAgain(*console, password.substr(0, password.size() - 1), password);
}

INSTANTIATE_TEST_SUITE_P(Passwords,
                         TypablePasswordTest,
                         ::testing::Values("a:b", "C:\\dir\\x:", "two words here",
                                           "p\u00e9\u00df-\u00c5ngstr\u00f6m", "%3A%25 50%",
                                           "\u043f\u0430\u0440\u043e\u043b\u044c:\u00e9"),
                         [](const auto& info) { return "Password" + std::to_string(info.index); });

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

// The old password again as the new one needs a confirmation; Esc there
// keeps all three fields as typed, Enter goes on with the change.
TEST(PasswordScreenTest, SamePasswordAsksFirst) {
  SimHost host;
  auto console = OpenPassword(host);
  Type(*console, kOld);
  Type(*console, kOld);
  Type(*console, kOld);
  Expect(*console, "New password is same as old password. Are you sure?");
  ExpectGoldenScreen(*console, "password-same");
  console->SendKey(Key::kEscape);
  ASSERT_TRUE(console->WaitFor([&] { return !Contains(console->Text(), "Are you sure?"); }));
  const std::string screen = console->Text();
  EXPECT_EQ(std::count(screen.begin(), screen.end(), '*'), 3 * static_cast<long>(sizeof(kOld) - 1))
      << screen;
  Press(*console, Key::kEnter, "Are you sure?");
  PressToMenu(*console, Key::kEnter);
  ExpectLogged(host, {"Login password for user root has changed"});
}

// What the dialog answers for each input and each answer of the stack; after
// every refusal the old password still logs in.
struct RefusalCase {
  const char* name;
  const char* state;  // the tests' module's word for root
  std::string oldPassword, newPassword, confirm;
  const char* message;
};

class PasswordRefusedTest : public ::testing::TestWithParam<RefusalCase> {};

TEST_P(PasswordRefusedTest, ReportsAndKeepsTheOldPassword) {
  const RefusalCase& c = GetParam();
  SimHost host;
  if (std::string(c.state) == "nomodule") {
    host.WriteFile("/etc/pam.d/merel", host.ReadFile("/etc/pam.d/merel") + "password required " +
                                           host.Path("/missing/pam_gone.so") + "\n");
  }
  auto console = OpenPassword(host, c.state);
  Type(*console, c.oldPassword);
  if (std::string(c.message) != "The old password you entered is incorrect") {
    Type(*console, c.newPassword);
    Type(*console, c.confirm);
  }
  Expect(*console, c.message);
  console->SendKey(Key::kEnter);
  // The message goes and the dialog stays.
  EXPECT_TRUE(console->WaitFor([&] {
    const std::string screen = console->Text();
    return !Contains(screen, c.message) && Contains(screen, "Old Password:");
  })) << console->Text();
  EXPECT_NE(host.ReadFile("/etc/pam_matrix.passwd").find(kOld), std::string::npos);
  EXPECT_EQ(host.Syslog().find("has changed"), std::string::npos) << host.Syslog();
}

const char kIncorrect[] = "The old password you entered is incorrect";
const char kMismatch[] = "The new password and the confirmed password do not match.";
const char kEmpty[] = "Empty passwords are not allowed.";
const char kFailed[] = "The password change operation failed.";

INSTANTIATE_TEST_SUITE_P(
    Outcomes,
    PasswordRefusedTest,
    ::testing::Values(RefusalCase{"WrongOld", "", "nope", "", "", kIncorrect},
                      RefusalCase{"EmptyOld", "", "", "", "", kIncorrect},
                      RefusalCase{"Mismatch", "", kOld, "abc", "abd", kMismatch},
                      RefusalCase{"EmptyAgainstOne", "", kOld, "", "x", kMismatch},
                      RefusalCase{"Empty", "", kOld, "", "", kEmpty},
                      // Tab in the confirmation goes back to the new password
                      // (never to the old one): "c" ends "abc", which is then
                      // confirmed and handed to the stack.
                      RefusalCase{"TabBackToNew", "authtok", kOld, "ab", "\tc\rabc", kFailed},
                      // Control characters never reach a field.
                      RefusalCase{"ControlDropped", "", kOld, "\x01\x02", "\x01\x02", kEmpty},
                      RefusalCase{"ModuleMissing", "nomodule", kOld, "x", "x", kFailed},
                      RefusalCase{"TokenManipulation", "authtok", kOld, "x", "x", kFailed},
                      RefusalCase{"ConversationError", "conv", kOld, std::string(512, 'p'),
                                  std::string(512, 'p'), kFailed},
                      RefusalCase{"LongPasswordTokenError", "authtok", kOld, std::string(4096, 'q'),
                                  std::string(4096, 'q'), kFailed}),
    ByName);

}  // namespace
