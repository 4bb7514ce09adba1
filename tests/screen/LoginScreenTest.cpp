// The login through the real PAM stack (pam_wrapper + pam_matrix, plus the host's
// account module for expired and refused accounts), and the keyboard layout dialog.
#include <signal.h>

#include <cstdio>

#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;

// The 60 x 9 login dialog centred on 80 x 25: the keyboard line, the name and
// the password (their fields are 26 wide from x = 39), and the footer.
constexpr int kKeyboardRow = 12, kNameRow = 13, kPasswordRow = 14, kFooterRow = 15;

// The name's and the password's label and field.
std::vector<std::string> Form(const Terminal& console) {
  return {CellText(console, kNameRow, 13, 23), CellText(console, kNameRow, 39, 26),
          CellText(console, kPasswordRow, 13, 23), CellText(console, kPasswordRow, 39, 26)};
}

// The login and the logout, as the logs, the audit trail and PAM's session
// stack record them. A console told to end in the middle of a session (a
// termination signal, as when the system stops it) still closes the session
// on its way out.
TEST(LoginScreenTest, SuccessLogsAuditsAndOpensTheMenu) {
  SimHost host;
  auto console = OpenLogin(host);
  // The name preset to root, the demo host without smart cards: no F3.
  ExpectGoldenScreen(*console, "login");
  console->SendText("merel\r");
  ExpectLogged(
      host, {"auth.emerg Authentication of user root succeeded", "user.info User root logged in"});
  ExpectLogged(host, {"login.connect user=root success=1"}, "/var/log/audit.log");
  ASSERT_TRUE(WaitForMenu(*console)) << console->Text();
  // The demo host from a console keyboard (TERM=xterm, no SSH_CLIENT): every
  // entry, the keyboard entry included.
  ExpectGoldenScreen(*console, "menu");
  // Esc leaves the menu: logged out, back at the welcome screen.
  console->SendKey(Key::kEscape);
  ExpectLogged(host, {"user.info User root logged out\n"});
  ExpectLogged(host, {"login.disconnect user=root success=1 reason=\"Session closed\""},
               "/var/log/audit.log");
  Press(*console, Key::kF2, "Authentication Required");  // only the welcome screen opens it
  console->SendText("merel\r");
  ASSERT_TRUE(WaitForMenu(*console)) << console->Text();
  console->Signal(SIGTERM);
  console->WaitForExit();
  EXPECT_EQ(host.ReadFile("/var/log/sessions.log"),
            "open root\nclose root\nopen root\nclose root\n");
}

// What the console makes of each answer of PAM: the dialog's title and
// message, the syslog line around the user's name, and the audit's reason.
// The event names the user as the syslog does for an invalid login, and
// says "Access denied" otherwise.
struct Answer {
  const char* title;
  const char* message;
  const char* syslog;
  const char* syslogEnd;
  const char* reason;
};

const Answer kInvalid{"Authentication failed", "Invalid login or password.",
                      "Authentication of user ", " failed", "Invalid Login"};
const Answer kExpired{"Authentication Denied", "Password has expired.",
                      "Password has expired for user ", "", "Password expired"};
const Answer kDenied{"Authentication Denied", "User does not have permission to login to MEREL.",
                     "Access denied for user ", "", "No permission"};

// Every refused login through the real stack.
struct RefusedCase {
  const char* name;
  const char* user;  // typed over the preset "root" unless it is root
  const char* password;
  const char* passwd;  // a line added to pam_matrix's password file
  const char* state;   // the account module's word for the user
  const Answer* answer;
  const char* passwordAfter;  // what the password field shows once the message is gone
};

class LoginRefusedTest : public ::testing::TestWithParam<RefusedCase> {};

TEST_P(LoginRefusedTest, ReportsAndReturnsToTheLogin) {
  const RefusedCase& c = GetParam();
  const Answer& answer = *c.answer;
  const std::string user = c.user;
  SimHost host;
  host.WriteFile("/etc/pam_matrix.passwd", host.ReadFile("/etc/pam_matrix.passwd") + c.passwd);
  host.WriteFile("/etc/account-states/" + user, std::string(c.state) + "\n");
  auto console = OpenLogin(host);
  if (user != "root") {
    TypeLoginName(*console, user);
  }
  console->SendText(c.password);
  Press(*console, Key::kEnter, answer.message);
  ExpectHas(console->Text(), {answer.title});
  PressGone(*console, Key::kEnter, answer.message);
  if (c.answer == &kExpired) {
    // The password change comes next; left with Esc, the login is back.
    Expect(*console, "Old Password:");
    PressGone(*console, Key::kEscape, "Old Password:");
  }
  // The dialog stays, the name as typed.
  EXPECT_EQ(Form(*console),
            (std::vector<std::string>{"Login Name:", user, "Password:", c.passwordAfter}));

  const std::string syslog = answer.syslog + user + answer.syslogEnd;
  ExpectLogged(host, {"auth.err " + syslog});
  ExpectLogged(host,
               {"[obsv.user.merel.login.failed] " +
                (c.answer == &kInvalid ? syslog : "Access denied for user " + user)},
               "/var/log/obsvd.log");
  ExpectLogged(host, {"login.connect user=" + user + " success=0 reason=\"" + answer.reason + "\""},
               "/var/log/audit.log");
  ExpectLacks(host.Syslog(), {"logged in"});
  EXPECT_EQ(host.ReadFile("/var/log/sessions.log"), "");
}

const RefusedCase kRefusals[] = {
    {"WrongPassword", "root", "nope", "", "", &kInvalid, ""},
    // No such account, but a name one could have: logged as typed.
    {"UnknownUser", "toor", "merel", "", "", &kInvalid, ""},
    // PAM_NEW_AUTHTOK_REQD (12).
    {"Expired", "root", "merel", "", "expired", &kExpired, ""},
    // The account stack runs only after a good password.
    {"ExpiredWrongPassword", "root", "nope", "", "expired", &kInvalid, ""},
    // PAM_PERM_DENIED (6), from the account module; pam_matrix's refusal of
    // an account of another service takes the same path. The password is kept.
    {"Denied", "root", "merel", "", "denied", &kDenied, "*****"},
};
INSTANTIATE_TEST_SUITE_P(Accounts, LoginRefusedTest, testing::ValuesIn(kRefusals), ByName);

// The screen goes out once per key and the cursor is placed at the end of
// that update, so it must sit where the focused field types next, whatever
// was drawn after the field; on the keyboard line there is nothing to type.
// Then a letter no account name can hold is refused out loud, not dropped,
// and Esc cancels the login without a record.
TEST(LoginScreenTest, CursorOnTheFocusedFieldNonAsciiNameRefusedAndEscapeCancels) {
  SimHost host;
  auto console = OpenLogin(host);
  console->TrackScreen();
  EXPECT_EQ(console->CursorPosition(), std::pair(39, kPasswordRow)) << "first draw";
  // What the keys do, the keys, and where the cursor shows ((-1, -1): hidden).
  const std::tuple<const char*, const char*, std::pair<int, int>> steps[] = {
      {"typing", "mer", {42, kPasswordRow}},
      {"up to the name", "\x1b[A", {43, kNameRow}},
      {"left in the name", "\x1b[D\x1b[D", {41, kNameRow}},
      {"up to the keyboard line", "\x1b[A", {-1, -1}},
      {"down to the name again", "\x1b[B", {41, kNameRow}},
      {"tab to the password", "\t", {42, kPasswordRow}},
  };
  for (const auto& [name, keys, at] : steps) {
    console->Send(keys);
    ASSERT_TRUE(console->WaitUntilQuiet(milliseconds(150))) << name;
    EXPECT_EQ(console->CursorVisible() ? console->CursorPosition() : std::pair(-1, -1), at)
        << name << "\n"
        << console->Text();
  }

  console->SendKey(Key::kUp);
  console->SendText("\xc3\xa9");
  Expect(*console, "Invalid login name");
  PressGone(*console, Key::kEnter, "Invalid login name");
  EXPECT_EQ(Form(*console)[1], "root") << console->Text();
  console->SendText("mer");
  PressGone(*console, Key::kEscape, "Authentication Required");
  ExpectHas(console->Text(), {"<F2>"});
  ExpectLacks(host.ReadFile("/var/log/audit.log"), {"login."});
  ExpectLacks(host.Syslog(), {"logged out", "Authentication of user"});
}

// Without the host's permission for console logins F2 only informs; Enter,
// not Esc, closes that.
TEST(LoginScreenTest, DisabledConsoleAccessOnlyInforms) {
  SimHost host;
  ASSERT_EQ(0, std::remove(host.Path("/var/run/ostrel/show-merel-login").c_str()));
  auto console = host.StartConsole();
  Press(*console, Key::kF2, "Direct console access has been disabled by the");
  Type(*console, {Key::kEscape});
  ExpectHas(console->Text(), {"Authentication Denied"});
  PressGone(*console, Key::kEnter, "Authentication Denied");

  // Esc and Enter in one write: curses reads the Enter while it looks for
  // the rest of an Esc sequence, and the key wait must still hand it out.
  // The Esc is ignored by this dialog; the Enter closes it. (F2 answers only
  // on the welcome screen: Enter above led back there, not to a login.)
  Press(*console, Key::kF2, "Authentication Denied");
  console->Send("\x1b\r");
  EXPECT_TRUE(WaitGone(*console, "Authentication Denied")) << console->Text();
}

// With smart-card support a card event is checked from start-up on, not
// only once somebody has opened the login. F3 switches between the password
// and the PIN form; the card's user is filled in as the login id.
TEST(LoginScreenTest, CardEventBeforeAnyLoginAndF3SwitchesToThePinAndBack) {
  SimHost host("smart-card");
  auto console = host.StartConsole();
  console->Signal(SIGUSR1);
  EXPECT_TRUE(host.WaitForSyslog("user.info Found smart card with user id 'root'\n"))
      << host.Syslog();
  ModifyHost(host,
             [](nlohmann::json& state) { state["hardware"]["smartCard"]["users"] = {"alice"}; });
  Press(*console, Key::kF2, "Authentication Required");
  EXPECT_NE(console->Find(kFooterRow, "<F3> Switch PIN/Password Login"), -1) << console->Text();
  Press(*console, Key::kF3, "Enter the smart card login PIN for");
  EXPECT_EQ(Form(*console), (std::vector<std::string>{"Login Id:", "alice", "PIN:", ""}));
  Press(*console, Key::kF3, "Enter an authorized login name and password for");
  EXPECT_EQ(Form(*console), (std::vector<std::string>{"Login Name:", "alice", "Password:", ""}));
}

// In the layout dialog Esc after Space changes nothing and keeps the login
// as typed; moving alone chooses nothing; Space then Enter sets the layout,
// and the login's first line follows the change. (What the host records and
// logs for a change is checked through the menu's keyboard entry.)
TEST(KeyboardScreenTest, EscapeKeepsTheLayoutSpaceThenEnterSetsIt) {
  SimHost host;
  auto console = OpenLogin(host, {.term = "xterm-256color"});  // the focus shows in the colours
  TypeLoginName(*console, "operator");
  console->SendText("pw");
  // Up twice from the password reaches the keyboard line.
  console->SendKeys({Key::kUp, Key::kUp});
  EXPECT_TRUE(console->WaitFor([&] {
    return console->CellAt(13, kKeyboardRow).bg == ConsoleColor::kWhite;
  }) && console->WaitUntilQuiet()) << console->Text();
  Press(*console, Key::kEnter, "Toggle Selected");
  console->SendKeys({Key::kDown, Key::kDown, Key::kSpace});
  Expect(*console, "(o) German");
  PressGone(*console, Key::kEscape, "Toggle Selected");
  EXPECT_EQ(host.HostJson().value("keyboardLayout", ""), "US Default");
  ExpectLacks(host.Syslog(), {"Keyboard Layout changed"});
  ExpectHas(console->Text(), {"Configured Keyboard (US Default)"});
  EXPECT_EQ(Form(*console),
            (std::vector<std::string>{"Login Name:", "operator", "Password:", "**"}));
  ExpectLacks(host.ReadFile("/var/log/audit.log"), {"login."});

  // Back on the keyboard line: Enter opens the layouts again.
  Press(*console, Key::kEnter, "Toggle Selected");
  // From "US Default" one down is "United Kingdom".
  Type(*console, {Key::kDown});
  ExpectHas(console->Text(), {"(o) US Default"});
  Press(*console, Key::kSpace, "(o) United Kingdom");
  ExpectHas(console->Text(), {"( ) US Default"});
  PressGone(*console, Key::kEnter, "Toggle Selected");
  EXPECT_TRUE(WaitQuiet(*console, "Configured Keyboard (United Kingdom)")) << console->Text();
}

}  // namespace
