// The console login from the welcome screen, through the real PAM stack
// (pam_wrapper + pam_matrix on the simulated host's password file, plus the
// tests' own account module for expired and refused accounts).
#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "Harness.h"

namespace {

using namespace MerelTest;
using std::chrono::milliseconds;

// The 60 x 9 login dialog centred on 80 x 25: box at (10, 8).
constexpr int kLeft = 10;
constexpr int kPromptRow = 10;
constexpr int kKeyboardRow = 12;
constexpr int kNameRow = 13;
constexpr int kPasswordRow = 14;
constexpr int kFooterRow = 15;
// The fields: 54 columns of lines from x = 13; a field is 26 wide and starts
// 28 columns from the right edge of its line.
constexpr int kFieldX = 13 + 54 - 26 - 2;
constexpr int kFieldWidth = 26;

std::string Trimmed(std::string text) {
  while (!text.empty() && text.back() == ' ') {
    text.pop_back();
  }
  return text;
}

std::string CellText(const Terminal& console, int y, int x0, int width) {
  std::string text;
  for (int x = x0; x < x0 + width; ++x) {
    text += console.CellAt(x, y).text;
  }
  return Trimmed(text);
}

std::string FieldValue(const Terminal& console, int row) {
  return CellText(console, row, kFieldX, kFieldWidth);
}
std::string Label(const Terminal& console, int row) {
  return CellText(console, row, kLeft + 3, 23);
}

bool WaitQuiet(Terminal& console, const std::string& text) {
  return console.WaitForText(text) && console.WaitUntilQuiet();
}

// F2 on the welcome screen, up to the login dialog.
std::unique_ptr<Terminal> OpenLogin(SimHost& host, TerminalOptions options = {}) {
  auto console = host.StartConsole(options);
  console->SendKey(Key::kF2);
  if (!WaitQuiet(*console, "Authentication Required")) {
    ADD_FAILURE() << "no login dialog:\n" << console->Text();
  }
  return console;
}

void ModifyHost(const SimHost& host, const std::function<void(nlohmann::json&)>& change) {
  nlohmann::json state = host.HostJson();
  ASSERT_TRUE(state.is_object()) << "host.json unreadable";
  change(state);
  host.WriteFile("/host.json", state.dump(2) + "\n");
}

// Adds the tests' account module to the host's PAM service; the state of a
// user is the word in /etc/merel-test-accounts/<user>.
void UseAccountStates(const SimHost& host) {
  const std::string service = host.ReadFile("/etc/pam.d/merel");
  ASSERT_FALSE(service.empty()) << "the simulated host has no PAM service";
  host.WriteFile("/etc/pam.d/merel", service + "account required " MEREL_PAM_TEST_MODULE " state=" +
                                         host.Path("/etc/merel-test-accounts") + "\n");
}

void SetAccountState(const SimHost& host, const std::string& user, const std::string& state) {
  host.WriteFile("/etc/merel-test-accounts/" + user, state + "\n");
}

TEST(LoginScreenTest, DialogLayoutAndDefaults) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogin(host);
  EXPECT_NE(console->Find(kPromptRow, "Enter an authorized login name and password for"), -1)
      << console->Text();
  EXPECT_EQ(CellText(*console, kKeyboardRow, kLeft + 3, 54), "Configured Keyboard (US Default)");
  EXPECT_EQ(Label(*console, kNameRow), "Login Name:");
  EXPECT_EQ(FieldValue(*console, kNameRow), "root");
  EXPECT_EQ(Label(*console, kPasswordRow), "Password:");
  EXPECT_EQ(FieldValue(*console, kPasswordRow), "");
  // The demo host has no smart-card support: no F3 in the footer.
  EXPECT_NE(console->Find(kFooterRow, "<Enter> OK  <Esc> Cancel"), -1) << console->Text();
  EXPECT_EQ(console->Find(kFooterRow, "<F3>"), -1) << console->Text();
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
  EXPECT_TRUE(WaitQuiet(*console, "System Customization")) << console->Text();
  EXPECT_EQ(host.ObsvLog().find("login.failed"), std::string::npos) << host.ObsvLog();
}

TEST(LoginScreenTest, WrongPasswordClearsThePasswordAndStays) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogin(host);
  console->SendText("nope");
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(*console, "Invalid login or password.")) << console->Text();
  EXPECT_TRUE(console->WaitForText("Authentication failed"));
  // Only Enter closes the message.
  console->SendKey(Key::kEscape);
  console->WaitUntilQuiet(milliseconds(200));
  EXPECT_TRUE(console->WaitForText("Invalid login or password.", milliseconds(100)));
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(console->WaitFor([&] {
    return console->Text().find("Invalid login") == std::string::npos;
  })) << console->Text();
  console->WaitUntilQuiet();
  EXPECT_NE(console->Text().find("Authentication Required"), std::string::npos) << console->Text();
  EXPECT_EQ(FieldValue(*console, kNameRow), "root");
  EXPECT_EQ(FieldValue(*console, kPasswordRow), "");

  EXPECT_TRUE(host.WaitForSyslog("auth.err Authentication of user root failed")) << host.Syslog();
  EXPECT_TRUE(host.WaitForFileText(
      "/var/log/obsvd.log", "[obsv.user.merel.login.failed] Authentication of user root failed"))
      << host.ObsvLog();
  EXPECT_TRUE(host.WaitForFileText("/var/log/audit.log",
                                   "login.connect user=root success=0 reason=Invalid Login"))
      << host.AuditLog();
  EXPECT_EQ(host.Syslog().find("logged in"), std::string::npos);

  // The dialog is still live: the right password now gets in.
  console->SendText("merel");
  console->SendKey(Key::kEnter);
  EXPECT_TRUE(host.WaitForSyslog("User root logged in")) << host.Syslog();
}

struct RefusedCase {
  const char* state;
  const char* message;
  const char* syslog;
  const char* audit;
};

class LoginRefusedTest : public ::testing::TestWithParam<RefusedCase> {};

TEST_P(LoginRefusedTest, ReportsAndReturnsToTheLogin) {
  const RefusedCase& c = GetParam();
  SimHost host;
  ASSERT_TRUE(host.Ok());
  UseAccountStates(host);
  SetAccountState(host, "root", c.state);
  auto console = OpenLogin(host);
  console->SendText("merel");
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(*console, c.message)) << console->Text();
  EXPECT_NE(console->Text().find("Authentication Denied"), std::string::npos) << console->Text();
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(
      console->WaitFor([&] { return console->Text().find(c.message) == std::string::npos; }));
  console->WaitUntilQuiet();
  EXPECT_NE(console->Text().find("Authentication Required"), std::string::npos) << console->Text();

  EXPECT_TRUE(host.WaitForSyslog(std::string("auth.err ") + c.syslog)) << host.Syslog();
  EXPECT_TRUE(host.WaitForFileText("/var/log/obsvd.log",
                                   "[obsv.user.merel.login.failed] Access denied for user root"))
      << host.ObsvLog();
  EXPECT_TRUE(host.WaitForFileText(
      "/var/log/audit.log", std::string("login.connect user=root success=0 reason=") + c.audit))
      << host.AuditLog();
  EXPECT_EQ(host.Syslog().find("logged in"), std::string::npos) << host.Syslog();
}

INSTANTIATE_TEST_SUITE_P(
    Accounts,
    LoginRefusedTest,
    ::testing::Values(RefusedCase{"expired", "Password has expired.",
                                  "Password has expired for user root", "Password expired"},
                      RefusedCase{"denied", "User does not have permission to login to MEREL.",
                                  "Access denied for user root", "No permission"}),
    [](const ::testing::TestParamInfo<RefusedCase>& info) {
      return std::string(info.param.state);
    });

TEST(LoginScreenTest, EscapeCancelsWithoutARecord) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogin(host);
  console->SendText("mer");
  console->SendKey(Key::kEscape);
  ASSERT_TRUE(console->WaitFor([&] {
    return console->Text().find("Authentication Required") == std::string::npos;
  })) << console->Text();
  console->WaitUntilQuiet();
  EXPECT_NE(console->Text().find("<F2>"), std::string::npos) << console->Text();
  EXPECT_EQ(host.AuditLog().find("login."), std::string::npos) << host.AuditLog();
  const std::string syslog = host.Syslog();
  EXPECT_EQ(syslog.find("logged in"), std::string::npos) << syslog;
  EXPECT_EQ(syslog.find("logged out"), std::string::npos) << syslog;
  EXPECT_EQ(syslog.find("Authentication of user"), std::string::npos) << syslog;
}

TEST(LoginScreenTest, EditingKeysAndFieldMovement) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogin(host);
  // Up to the name: "root" is preset, so the first key replaces it.
  console->SendKey(Key::kUp);
  console->SendText("admin");
  ASSERT_TRUE(console->WaitFor([&] { return FieldValue(*console, kNameRow) == "admin"; }))
      << console->Text();
  // Left and Backspace edit in place; Home is not one of the login's keys.
  console->SendKeys({Key::kLeft, Key::kBackspace});
  console->SendText("X");
  EXPECT_TRUE(console->WaitFor([&] { return FieldValue(*console, kNameRow) == "admXn"; }))
      << console->Text();
  // Tab and Enter move on to the password without logging in.
  console->SendKey(Key::kTab);
  console->SendText("abc");
  EXPECT_TRUE(console->WaitFor([&] { return FieldValue(*console, kPasswordRow) == "***"; }))
      << console->Text();
  EXPECT_EQ(FieldValue(*console, kNameRow), "admXn");
  // Down past the last field and Tab on it change nothing.
  console->SendKeys({Key::kDown, Key::kTab});
  console->SendText("d");
  EXPECT_TRUE(console->WaitFor([&] { return FieldValue(*console, kPasswordRow) == "****"; }))
      << console->Text();
  EXPECT_EQ(host.AuditLog().find("login."), std::string::npos);
}

TEST(LoginScreenTest, EnterOnTheKeyboardLineKeepsTheTypedName) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  TerminalOptions options;
  options.term = "xterm-256color";  // for the colours
  auto console = OpenLogin(host, options);
  console->SendKey(Key::kUp);
  console->SendText("operator");
  console->SendKey(Key::kDown);
  console->SendText("pw");
  console->SendKeys({Key::kUp, Key::kUp});
  // The keyboard line shows that it has the focus.
  EXPECT_TRUE(console->WaitFor([&] {
    return console->CellAt(kLeft + 3, kKeyboardRow).bg.Console() == ConsoleColor::kWhite;
  })) << console->Text();
  EXPECT_EQ(console->CellAt(kLeft + 3, kNameRow).bg.Console(), ConsoleColor::kDarkGrey);
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(*console, "Configure Keyboard")) << console->Text();
  console->SendKey(Key::kEscape);
  ASSERT_TRUE(console->WaitFor([&] {
    return console->Text().find("Configure Keyboard") == std::string::npos &&
           console->Text().find("Authentication Required") != std::string::npos;
  })) << console->Text();
  console->WaitUntilQuiet();
  EXPECT_EQ(FieldValue(*console, kNameRow), "operator");
  EXPECT_EQ(FieldValue(*console, kPasswordRow), "**");
  EXPECT_EQ(host.AuditLog().find("login."), std::string::npos);
}

// A host with smart-card support and a card for "alice" in the reader.
void UseSmartCard(SimHost& host) {
  ModifyHost(host, [](nlohmann::json& state) {
    state["hardware"]["smartCard"]["supported"] = true;
    state["hardware"]["smartCard"]["present"] = true;
    state["hardware"]["smartCard"]["users"] = {"alice"};
  });
  const std::string passdb = host.ReadFile("/etc/pam_matrix.passwd");
  host.WriteFile("/etc/pam_matrix.passwd", passdb + "alice:2468:merel\n");
}

TEST(LoginScreenTest, F3SwitchesToThePinAndBack) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  UseSmartCard(host);
  auto console = OpenLogin(host);
  EXPECT_NE(console->Find(kFooterRow, "<F3> Switch PIN/Password Login"), -1) << console->Text();

  console->SendKey(Key::kF3);
  ASSERT_TRUE(WaitQuiet(*console, "Enter the smart card login PIN for")) << console->Text();
  EXPECT_EQ(Label(*console, kNameRow), "Login Id:");
  EXPECT_EQ(Label(*console, kPasswordRow), "PIN:");
  // The card's user is filled in as the login id.
  EXPECT_EQ(FieldValue(*console, kNameRow), "alice");
  EXPECT_EQ(console->Find(kFooterRow, "<F3>"), -1) << console->Text();

  console->SendKey(Key::kF3);
  ASSERT_TRUE(WaitQuiet(*console, "Enter an authorized login name and password for"))
      << console->Text();
  EXPECT_EQ(Label(*console, kNameRow), "Login Name:");
  EXPECT_EQ(Label(*console, kPasswordRow), "Password:");
}

TEST(LoginScreenTest, PinGoesThroughTheSameOutcomes) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  UseSmartCard(host);
  auto console = OpenLogin(host);
  console->SendKey(Key::kF3);
  ASSERT_TRUE(WaitQuiet(*console, "PIN:")) << console->Text();
  console->SendText("1111");
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(*console, "Invalid login or password.")) << console->Text();
  EXPECT_TRUE(host.WaitForSyslog("auth.err Authentication of user alice failed")) << host.Syslog();
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(
      console->WaitFor([&] { return console->Text().find("Invalid login") == std::string::npos; }));
  console->WaitUntilQuiet();
  EXPECT_EQ(Label(*console, kPasswordRow), "PIN:");
  EXPECT_EQ(FieldValue(*console, kPasswordRow), "");
  console->SendText("2468");
  console->SendKey(Key::kEnter);
  EXPECT_TRUE(host.WaitForSyslog("auth.emerg Authentication of user alice succeeded"))
      << host.Syslog();
  EXPECT_TRUE(host.WaitForFileText("/var/log/audit.log", "login.connect user=alice success=1"))
      << host.AuditLog();
}

TEST(LoginScreenTest, DisabledConsoleAccessOnlyInforms) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  ASSERT_TRUE(host.Exists("/var/run/ostrel/show-merel-login"));
  ASSERT_EQ(0, remove(host.Path("/var/run/ostrel/show-merel-login").c_str()));
  auto console = host.StartConsole();
  console->SendKey(Key::kF2);
  ASSERT_TRUE(WaitQuiet(*console, "Authentication Denied")) << console->Text();
  EXPECT_NE(console->Text().find("Direct console access has been disabled by the"),
            std::string::npos)
      << console->Text();
  EXPECT_EQ(console->Text().find("Login Name:"), std::string::npos);
  // Esc is not a way out; Enter is.
  console->SendKey(Key::kEscape);
  console->WaitUntilQuiet(milliseconds(200));
  EXPECT_NE(console->Text().find("Authentication Denied"), std::string::npos);
  console->SendKey(Key::kEnter);
  EXPECT_TRUE(console->WaitFor([&] {
    return console->Text().find("Authentication Denied") == std::string::npos;
  })) << console->Text();
  EXPECT_EQ(host.AuditLog().find("login."), std::string::npos);
}

}  // namespace
