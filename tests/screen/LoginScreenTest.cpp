// The console login from the welcome screen through the real PAM stack
// (pam_wrapper + pam_matrix on the simulated host's password file, plus the
// host's account module for expired and refused accounts), and the
// keyboard layout dialog reached from the login's first line.
#include <algorithm>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;

// The 60 x 9 login dialog centred on 80 x 25: the keyboard line, the name and
// the password (their fields are 26 wide from x = 39), and the footer.
constexpr int kKeyboardRow = 12, kNameRow = 13, kPasswordRow = 14, kFooterRow = 15;

std::string FieldValue(const Terminal& console, int row) {
  return CellText(console, row, 39, 26);
}
std::string Label(const Terminal& console, int row) {
  return CellText(console, row, 13, 23);
}

TEST(LoginScreenTest, DialogLayoutAndDefaults) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogin(host);
  // The name preset to root, the demo host without smart cards: no F3.
  ExpectGoldenScreen(*console, "login");
}

TEST(LoginScreenTest, SuccessLogsAuditsAndOpensTheMenu) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogin(host);
  console->SendText("merel");
  ASSERT_TRUE(console->WaitFor([&] { return FieldValue(*console, kPasswordRow) == "*****"; }))
      << console->Text();
  console->SendKey(Key::kEnter);
  EXPECT_TRUE(host.WaitForSyslog("auth.emerg Authentication of user root succeeded"))
      << host.Syslog();
  EXPECT_TRUE(host.WaitForSyslog("user.info User root logged in")) << host.Syslog();
  EXPECT_TRUE(host.WaitForFileText("/var/log/audit.log", "login.connect user=root success=1"))
      << host.AuditLog();
  ASSERT_TRUE(WaitForMenu(*console)) << console->Text();
  // The session stack frames the session: opened at the login, closed at
  // the logout (Esc leaves the menu).
  EXPECT_EQ(host.ReadFile("/var/log/sessions.log"), "open root\n");
  console->SendKey(Key::kEscape);
  EXPECT_TRUE(host.WaitForFileText("/var/log/sessions.log", "open root\nclose root\n"))
      << host.ReadFile("/var/log/sessions.log");
}

// A console told to end in the middle of a session (a termination signal,
// as when the system stops it) still closes the session on its way out.
TEST(LoginScreenTest, EndingTheConsoleClosesTheSession) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogin(host);
  console->SendText("merel");
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitForMenu(*console)) << console->Text();
  console->Signal(SIGTERM);
  console->WaitForExit();
  EXPECT_EQ(host.ReadFile("/var/log/sessions.log"), "open root\nclose root\n");
}

// Every refused login through the real stack: what PAM answers for it and
// what the console makes of that answer.
struct RefusedCase {
  const char* name;
  const char* user;  // typed over the preset "root" unless it is root
  const char* password;
  const char* passwd;  // a line added to pam_matrix's password file
  const char* state;   // the account module's word for the user
  const char* title;
  const char* message;
  const char* syslog;
  const char* event;
  const char* audit;
  const char* passwordAfter;  // what the password field shows once the message is gone
};

const char kInvalid[] = "Invalid login or password.";
const char kExpired[] = "Password has expired.";
const char kNoPermission[] = "User does not have permission to login to MEREL.";

class LoginRefusedTest : public ::testing::TestWithParam<RefusedCase> {};

TEST_P(LoginRefusedTest, ReportsAndReturnsToTheLogin) {
  const RefusedCase& c = GetParam();
  SimHost host;
  ASSERT_TRUE(host.Ok());
  host.WriteFile("/etc/pam_matrix.passwd", host.ReadFile("/etc/pam_matrix.passwd") + c.passwd);
  host.WriteFile(std::string("/etc/account-states/") + c.user, std::string(c.state) + "\n");
  auto console = OpenLogin(host);
  if (std::string(c.user) != "root") {
    console->SendKey(Key::kUp);
    console->SendText(c.user);
    ASSERT_TRUE(console->WaitFor([&] { return FieldValue(*console, kNameRow) == c.user; }));
    console->SendKey(Key::kDown);
  }
  console->SendText(c.password);
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(*console, c.message)) << console->Text();
  EXPECT_NE(console->Text().find(c.title), std::string::npos) << console->Text();
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitGone(*console, c.message)) << console->Text();
  if (c.message == kExpired) {
    // The password change comes next; left with Esc, the login is back.
    ASSERT_TRUE(WaitQuiet(*console, "Old Password:")) << console->Text();
    console->SendKey(Key::kEscape);
    ASSERT_TRUE(WaitGone(*console, "Old Password:")) << console->Text();
  }
  // The dialog stays, the name as typed.
  EXPECT_NE(console->Text().find("Authentication Required"), std::string::npos) << console->Text();
  EXPECT_EQ(FieldValue(*console, kNameRow), c.user);
  EXPECT_EQ(FieldValue(*console, kPasswordRow), c.passwordAfter);

  EXPECT_TRUE(host.WaitForSyslog(std::string("auth.err ") + c.syslog)) << host.Syslog();
  EXPECT_TRUE(host.WaitForFileText("/var/log/obsvd.log",
                                   std::string("[obsv.user.merel.login.failed] ") + c.event))
      << host.ObsvLog();
  EXPECT_TRUE(host.WaitForFileText("/var/log/audit.log", c.audit)) << host.AuditLog();
  EXPECT_EQ(host.Syslog().find("logged in"), std::string::npos) << host.Syslog();
  EXPECT_EQ(host.ReadFile("/var/log/sessions.log"), "");
}


INSTANTIATE_TEST_SUITE_P(
    Accounts,
    LoginRefusedTest,
    ::testing::Values(
        RefusedCase{"WrongPassword", "root", "nope", "", "", "Authentication failed", kInvalid,
                    "Authentication of user root failed", "Authentication of user root failed",
                    "login.connect user=root success=0 reason=\"Invalid Login\"", ""},
        // No such account, but a name one could have: logged as typed.
        RefusedCase{"UnknownUser", "toor", "merel", "", "", "Authentication failed", kInvalid,
                    "Authentication of user toor failed", "Authentication of user toor failed",
                    "login.connect user=toor success=0 reason=\"Invalid Login\"", ""},
        // PAM_NEW_AUTHTOK_REQD (12).
        RefusedCase{"Expired", "root", "merel", "", "expired", "Authentication Denied", kExpired,
                    "Password has expired for user root", "Access denied for user root",
                    "login.connect user=root success=0 reason=\"Password expired\"", ""},
        // The account stack runs only after a good password.
        RefusedCase{"ExpiredWrongPassword", "root", "nope", "", "expired", "Authentication failed",
                    kInvalid, "Authentication of user root failed",
                    "Authentication of user root failed",
                    "login.connect user=root success=0 reason=\"Invalid Login\"", ""},
        // PAM_PERM_DENIED (6), from the account module or from pam_matrix
        // for an account of another service. The password is kept.
        RefusedCase{"Denied", "root", "merel", "", "denied", "Authentication Denied", kNoPermission,
                    "Access denied for user root", "Access denied for user root",
                    "login.connect user=root success=0 reason=\"No permission\"", "*****"},
        RefusedCase{"OtherService", "sshonly", "pw", "sshonly:pw:sshd\n", "",
                    "Authentication Denied", kNoPermission, "Access denied for user sshonly",
                    "Access denied for user sshonly",
                    "login.connect user=sshonly success=0 reason=\"No permission\"", "**"}),
    [](const auto& info) { return std::string(info.param.name); });

// A page pasted into the login name field: refused like any unknown name,
// and none of it reaches the logs, so no log line grows with it.
TEST(LoginScreenTest, PastedLoginNameStaysOutOfTheLogs) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogin(host);
  std::string pasted;
  while (pasted.size() < 10240) {
    pasted += "hunter2 ";
  }
  console->SendKey(Key::kUp);
  console->SendText(pasted);
  console->SendKey(Key::kDown);
  console->SendText("merel");
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(*console, kInvalid)) << console->Text();
  EXPECT_TRUE(host.WaitForSyslog("auth.err Authentication of user unknown user failed"))
      << host.Syslog();
  EXPECT_TRUE(host.WaitForFileText("/var/log/audit.log", "user=\"unknown user\" success=0"))
      << host.AuditLog();
  for (const std::string& log : {host.Syslog(), host.AuditLog(), host.ObsvLog()}) {
    EXPECT_EQ(log.find("hunter2"), std::string::npos) << log.substr(0, 400);
    size_t longest = 0;
    for (size_t start = 0; start < log.size();) {
      const size_t end = std::min(log.find('\n', start), log.size());
      longest = std::max(longest, end - start);
      start = end + 1;
    }
    EXPECT_LT(longest, 300u) << log.substr(0, 400);
  }
}

// A letter no account name can hold is refused out loud, not dropped: the
// name stays as it was.
TEST(LoginScreenTest, NonAsciiLetterInTheNameIsRefusedWithAMessage) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogin(host);
  console->SendKey(Key::kUp);
  console->SendText("\xc3\xa9");
  ASSERT_TRUE(WaitQuiet(*console, "Invalid login name")) << console->Text();
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitGone(*console, "Invalid login name")) << console->Text();
  EXPECT_EQ(FieldValue(*console, kNameRow), "root") << console->Text();
}

TEST(LoginScreenTest, EscapeCancelsWithoutARecord) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogin(host);
  console->SendText("mer");
  console->SendKey(Key::kEscape);
  ASSERT_TRUE(WaitGone(*console, "Authentication Required")) << console->Text();
  EXPECT_NE(console->Text().find("<F2>"), std::string::npos) << console->Text();
  EXPECT_EQ(host.AuditLog().find("login."), std::string::npos) << host.AuditLog();
  EXPECT_EQ(host.Syslog().find("logged out"), std::string::npos) << host.Syslog();
  EXPECT_EQ(host.Syslog().find("Authentication of user"), std::string::npos) << host.Syslog();
}

// The screen goes out once per key and the cursor is placed at the end of
// that update, so it must sit where the focused field types next, whatever
// was drawn after the field; on the keyboard line there is nothing to type.
TEST(LoginScreenTest, TerminalCursorSitsOnTheFocusedField) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogin(host);
  console->TrackScreen();
  EXPECT_EQ(console->CursorPosition(), std::pair(39, kPasswordRow)) << "first draw";
  struct Step {
    const char* name;
    std::string keys;
    bool visible;
    std::pair<int, int> at;
  };
  const Step steps[] = {
      {"typing", "mer", true, {42, kPasswordRow}},
      {"up to the name", "\x1b[A", true, {43, kNameRow}},
      {"left in the name", "\x1b[D\x1b[D", true, {41, kNameRow}},
      {"up to the keyboard line", "\x1b[A", false, {}},
      {"down to the name again", "\x1b[B", true, {41, kNameRow}},
      {"tab to the password", "\t", true, {42, kPasswordRow}},
  };
  for (const Step& step : steps) {
    console->Send(step.keys);
    ASSERT_TRUE(console->WaitUntilQuiet(milliseconds(150))) << step.name;
    EXPECT_EQ(console->CursorVisible(), step.visible) << step.name;
    if (step.visible) {
      EXPECT_EQ(console->CursorPosition(), step.at) << step.name << "\n" << console->Text();
    }
  }
}

// Without the host's permission for console logins F2 only informs; Enter,
// not Esc, closes that.
TEST(LoginScreenTest, DisabledConsoleAccessOnlyInforms) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  ASSERT_EQ(0, std::remove(host.Path("/var/run/ostrel/show-merel-login").c_str()));
  auto console = host.StartConsole();
  console->SendKey(Key::kF2);
  ASSERT_TRUE(WaitQuiet(*console, "Direct console access has been disabled by the"))
      << console->Text();
  console->SendKey(Key::kEscape);
  console->WaitUntilQuiet(milliseconds(200));
  EXPECT_NE(console->Text().find("Authentication Denied"), std::string::npos);
  console->SendKey(Key::kEnter);
  EXPECT_TRUE(WaitGone(*console, "Authentication Denied")) << console->Text();
  EXPECT_EQ(console->Text().find("Login Name:"), std::string::npos);
}

// With smart-card support F3 switches between the password and the PIN
// form; the card's user is filled in as the login id.
TEST(LoginScreenTest, F3SwitchesToThePinAndBack) {
  SimHost host("smart-card");
  ASSERT_TRUE(host.Ok());
  ModifyHost(host,
             [](nlohmann::json& state) { state["hardware"]["smartCard"]["users"] = {"alice"}; });
  auto console = OpenLogin(host);
  EXPECT_NE(console->Find(kFooterRow, "<F3> Switch PIN/Password Login"), -1) << console->Text();
  console->SendKey(Key::kF3);
  ASSERT_TRUE(WaitQuiet(*console, "Enter the smart card login PIN for")) << console->Text();
  EXPECT_EQ(Label(*console, kNameRow), "Login Id:");
  EXPECT_EQ(Label(*console, kPasswordRow), "PIN:");
  EXPECT_EQ(FieldValue(*console, kNameRow), "alice");
  console->SendKey(Key::kF3);
  ASSERT_TRUE(WaitQuiet(*console, "Enter an authorized login name and password for"))
      << console->Text();
  EXPECT_EQ(Label(*console, kNameRow), "Login Name:");
  EXPECT_EQ(Label(*console, kPasswordRow), "Password:");
}

TEST(KeyboardScreenTest, SpaceThenEnterSetsTheLayout) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogin(host);
  // Up twice from the password reaches the keyboard line.
  console->SendKeys({Key::kUp, Key::kUp, Key::kEnter});
  ASSERT_TRUE(WaitQuiet(*console, "<Space> Toggle Selected")) << console->Text();
  // From "US Default" one down is "United Kingdom"; moving alone chooses nothing.
  console->SendKey(Key::kDown);
  console->WaitUntilQuiet();
  EXPECT_NE(console->Text().find("(o) US Default"), std::string::npos) << console->Text();
  console->SendKey(Key::kSpace);
  ASSERT_TRUE(WaitQuiet(*console, "(o) United Kingdom")) << console->Text();
  EXPECT_NE(console->Text().find("( ) US Default"), std::string::npos) << console->Text();
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitGone(*console, "Toggle Selected")) << console->Text();
  EXPECT_EQ(host.HostJson().value("keyboardLayout", ""), "United Kingdom");
  EXPECT_TRUE(host.WaitForSyslog("user.info Keyboard Layout changed to United Kingdom"))
      << host.Syslog();
  // Back in the login, whose first line follows the change.
  EXPECT_TRUE(WaitQuiet(*console, "Configured Keyboard (United Kingdom)")) << console->Text();
}

TEST(KeyboardScreenTest, EscapeAfterSpaceChangesNothingAndKeepsTheLogin) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  TerminalOptions options;
  options.term = "xterm-256color";  // the focus shows in the colours
  auto console = OpenLogin(host, options);
  console->SendKey(Key::kUp);
  console->SendText("operator");
  console->SendKey(Key::kDown);
  console->SendText("pw");
  console->SendKeys({Key::kUp, Key::kUp});
  EXPECT_TRUE(console->WaitFor([&] {
    return console->CellAt(13, kKeyboardRow).bg.Console() == ConsoleColor::kWhite;
  })) << console->Text();
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(*console, "Toggle Selected")) << console->Text();
  console->SendKeys({Key::kDown, Key::kDown, Key::kSpace});
  ASSERT_TRUE(WaitQuiet(*console, "(o) German")) << console->Text();
  console->SendKey(Key::kEscape);
  ASSERT_TRUE(WaitGone(*console, "Toggle Selected")) << console->Text();
  EXPECT_EQ(host.HostJson().value("keyboardLayout", ""), "US Default");
  EXPECT_EQ(host.Syslog().find("Keyboard Layout changed"), std::string::npos) << host.Syslog();
  EXPECT_NE(console->Text().find("Configured Keyboard (US Default)"), std::string::npos);
  EXPECT_EQ(FieldValue(*console, kNameRow), "operator");
  EXPECT_EQ(FieldValue(*console, kPasswordRow), "**");
  EXPECT_EQ(host.AuditLog().find("login."), std::string::npos);
}

}  // namespace

namespace {

// Esc and Enter in one write: curses reads the Enter while it looks for the
// rest of an Esc sequence, and the key wait must still hand it out. The Esc
// is ignored by this dialog; the Enter closes it.
TEST(LoginScreenTest, KeyAfterEscInTheSameWriteIsNotHeldBack) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  ASSERT_EQ(0, std::remove(host.Path("/var/run/ostrel/show-merel-login").c_str()));
  auto console = host.StartConsole();
  console->SendKey(Key::kF2);
  ASSERT_TRUE(WaitQuiet(*console, "Authentication Denied")) << console->Text();
  console->Send("\x1b\r");
  EXPECT_TRUE(WaitGone(*console, "Authentication Denied")) << console->Text();
}

}  // namespace
