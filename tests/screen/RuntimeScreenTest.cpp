// The runtime seen from outside: how the process ends and leaves the terminal,
// job control, the pid file, the VT argument, the terminal type and the colours.
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <random>

#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;

const char kPidFile[] = "/var/run/merel.pid";

// The terminal is back in the line mode the console found: echo and
// canonical input on, the line characters as they were.
void ExpectModesRestored(const Terminal& console) {
  EXPECT_EQ(console.Modes().value().c_lflag & (ECHO | ICANON | ISIG),
            tcflag_t(ECHO | ICANON | ISIG))
      << "echo, canonical input or signals left off";
}

// The process ended by itself with status 0 and left the terminal usable:
// line modes restored, out of the alternate screen, cursor visible (the
// ncurses xterm sequences).
void ExpectBareExit(Terminal& console) {
  ExpectExit(console);
  ExpectModesRestored(console);
  const std::string& raw = console.Raw();
  const size_t left = raw.rfind("\x1b[?1049l");
  ASSERT_NE(left, std::string::npos) << "never left the alternate screen";
  EXPECT_GT(left, raw.rfind("\x1b[?1049h"));
  EXPECT_GE(raw.rfind("\x1b[?25h") + 1, raw.rfind("\x1b[?25l") + 1) << "cursor left invisible";
  // exit() from the key wait skips the palette reset of the orderly path.
  EXPECT_EQ(raw.find("\x1b]R"), std::string::npos);
}

// A signal, a real size change (the kernel's SIGWINCH) or bytes typed.
struct EndingCase {
  const char* name;
  int signal;         // 0: none
  const char* bytes;  // typed without a signal
  const char* syslog = "";
};

class EndingTest : public ::testing::TestWithParam<EndingCase> {};

TEST_P(EndingTest, ExitsWithStatusZeroAndRestoresTheTerminal) {
  const EndingCase& c = GetParam();
  SimHost host;
  auto console = host.StartConsole();
  ASSERT_TRUE(console->Running());
  if (c.signal == SIGWINCH) {
    console->Resize(100, 30);
  } else if (c.signal != 0) {
    console->Signal(c.signal);
  }
  console->Send(c.bytes);
  ExpectBareExit(*console);
  ExpectLogged(host, {c.syslog});
}

const EndingCase kEndings[] = {
    {"SIGTERM", SIGTERM, ""},
    {"SIGINT", SIGINT, ""},
    {"SIGQUIT", SIGQUIT, ""},
    // A hang-up is how a serial line or a remote session ends.
    {"SIGHUP", SIGHUP, ""},
    {"SIGWINCH", SIGWINCH, "", "Resized window to 100x30"},
    // A restart request with nobody logged in.
    {"SIGUSR2", SIGUSR2, ""},
    // How a resized serial terminal asks for a restart.
    {"EscR", 0, "\x1bR"},
    // The interrupt character in the middle of pasted text:
    // the terminal throws the rest of the paste away.
    {"CtrlCInPaste", 0, "\x1b[12~merel\x03\x1bOQroot\r"},
};
INSTANTIATE_TEST_SUITE_P(Ways, EndingTest, testing::ValuesIn(kEndings), ByName);

// A pid file naming a live process is left alone (this test process stands in
// for the running instance); anything else is replaced by the console's pid,
// in decimal without a line break, for other tools to signal it.
TEST(RuntimeScreenTest, PidFileRules) {
  SimHost host;
  const std::string live = std::to_string(getpid());
  // The file's content (none: no file), and whether it is kept. 4194305 is
  // above the highest pid the kernel hands out: no process has it.
  const std::pair<std::optional<std::string>, bool> cases[] = {
      {std::nullopt, false}, {"garbage", false}, {"4194305", false},
      {"0", false}, {"-1", false}, {"", false}, {live, true}};
  for (const auto& [content, kept] : cases) {
    SCOPED_TRACE("pid file \"" + content.value_or("<none>") + "\"");
    std::remove(host.Path(kPidFile).c_str());
    if (content) {
      host.WriteFile(kPidFile, *content);
    }
    auto console = host.StartConsole();
    EXPECT_EQ(host.ReadFile(kPidFile), kept ? live : std::to_string(console->Pid()));
    EXPECT_TRUE(console->Running());
    console->Signal(SIGTERM);
    ASSERT_TRUE(console->WaitForExit().has_value());
  }
  // Said once, for the live owner only (the last case).
  const std::string refused = "user.err Attempt to run multiple MEREL instances, not updating ";
  ASSERT_TRUE(host.WaitForSyslog(refused)) << host.Syslog();
  EXPECT_EQ(host.Syslog().find(refused), host.Syslog().rfind(refused));
}

// An invalid virtual terminal is logged and the console starts anyway; a
// valid one switches the host's console.
TEST(RuntimeScreenTest, VirtualTerminalArgument) {
  SimHost host;
  for (const std::string vt : {"0", "64", "abc"}) {
    auto console = host.StartConsole({}, {vt});
    EXPECT_TRUE(host.WaitForSyslog("user.err Invalid VT specified for MEREL: " + vt + "\n"))
        << host.Syslog();
    EXPECT_TRUE(console->Running()) << vt;
  }
  EXPECT_EQ(host.HostJson()["activeVirtualTerminal"], 0) << "an invalid VT switched the console";
  auto console = host.StartConsole({}, {"63"});
  EXPECT_TRUE(console->Running());
  EXPECT_EQ(host.HostJson()["activeVirtualTerminal"], 63);
}

// Ctrl-Z must neither suspend the console nor hand the terminal back for a
// moment: the screen stays (no leaving the alternate screen) and the
// console keeps answering keys.
TEST(RuntimeScreenTest, StopCharacterIsIgnored) {
  SimHost host;
  auto console = host.StartConsole();
  const size_t before = console->Raw().size();
  for (const char* bytes : {"\x1a", "x\x1a\x1a", "\x1a\x1bOQ"}) {
    console->Send(bytes);
    console->WaitUntilQuiet(Scaled(milliseconds(200)));
  }
  EXPECT_EQ(console->Raw().find("\x1b[?1049l", before), std::string::npos)
      << "left the screen on the stop character";
  // The last F2 still opened the login.
  EXPECT_TRUE(console->WaitForText("Authentication Required")) << console->Text();
  EXPECT_FALSE(console->Modes().value().c_lflag & (ECHO | ICANON)) << "curses modes lost";
  console->Signal(SIGTERM);
  ExpectBareExit(*console);
}

// Bursts of random bytes, as a paste of garbage would be, with stop and
// interrupt characters inside: whatever the console makes of the bytes, the
// interrupt ends it cleanly (status 0, so no sanitizer report either) with
// the terminal restored.
TEST(RuntimeScreenTest, RandomPastesWithStopAndInterruptEndCleanly) {
  SimHost host;
  for (unsigned seed = 1; seed <= 6; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> byte(0, 255);
    std::string burst;
    while (burst.size() < 300) {
      const char c = static_cast<char>(byte(random));
      // Flow control (XON/XOFF) and the literal-next character would change
      // what the terminal does with the rest, not what the console does.
      if (c != '\x11' && c != '\x13' && c != '\x16' && c != '\x03') {
        burst += c;
      }
      if (burst.size() % 40 == 0) {
        burst += '\x1a';
      }
    }
    burst.insert(burst.size() * 2 / 3, "\x03");
    auto console = host.StartConsole();
    console->Send(burst);
    ExpectBareExit(*console);
  }
}

// A hang-up while the log pager has the terminal: both the pager and the
// console are in the terminal's foreground group, so both hear it. The pager
// ends, the console takes its terminal back and ends on the pending
// termination; nothing of the session is left running. The line dropped
// takes the terminal along; a hang-up signal to the group leaves it.
class PagerHangUpTest : public ::testing::TestWithParam<bool> {};

TEST_P(PagerHangUpTest, PagerAndConsoleEnd) {
  SimHost host;
  auto console = LogIn(host);
  ASSERT_TRUE(SelectEntry(*console, "View System Logs")) << console->Text();
  console->SendText("1");
  Expect(*console, "<Q> Quit </> RegExp Search <H> Help");
  ASSERT_GE(console->SessionProcesses().size(), 2u) << "no pager running";
  if (GetParam()) {
    kill(-console->Pid(), SIGHUP);
  } else {
    console->HangUp();
  }
  ExpectExit(*console);
  EXPECT_TRUE(console->WaitFor([&] { return console->SessionProcesses().empty(); }))
      << "left running: " << console->SessionProcesses().size();
  if (GetParam()) {
    ExpectModesRestored(*console);
  }
}

INSTANTIATE_TEST_SUITE_P(Ways, PagerHangUpTest, ::testing::Bool(), [](const auto& info) {
  return info.param ? "GroupSignalled" : "LineDropped";
});

// The terminal type the console drives, and whether it treats the keyboard
// as the host's own, follow from the console keyboard, TERM and SSH_CLIENT.
// Seen from outside: the terminal's own sequences in the output (xterm's
// alternate screen, the linux console's cursor mode; a VT102 has neither)
// and the keyboard entry of the menu, offered only on the host's keyboard.
struct TermCase {
  const char* name;
  std::string term;  // "" = unset
  bool ssh;
  bool consoleKeyboard;
  const char* drives;  // "linux", "vt102" or "xterm"
  bool keyboardEntry;
};

class TerminalTypeTest : public ::testing::TestWithParam<TermCase> {};

TEST_P(TerminalTypeTest, DrivesTheTerminalAndOffersTheKeyboardEntry) {
  const TermCase& c = GetParam();
  SimHost host;
  ModifyHost(host, [&](nlohmann::json& state) { state["consoleKeyboard"] = c.consoleKeyboard; });
  TerminalOptions options{.term = c.term};
  if (c.ssh) {
    options.env["SSH_CLIENT"] = "192.0.2.7 50022 22";
  }
  auto console = LogIn(host, options);
  // xterm's alternate screen, else the linux console's cursor mode; a VT102 has neither.
  const auto sent = [&](const char* bytes) { return Contains(console->Raw(), bytes); };
  const std::string drives = sent("\x1b[?1049h")         ? "xterm"
                             : sent("\x1b[?25l\x1b[?1c") ? "linux"
                             : sent("\x1b[?25l")         ? "unknown"
                                                         : "vt102";
  const std::vector<std::string> rows = MenuRows(*console);
  // Without the entry its row goes too: no two separators in a row.
  const bool twoSeparators = std::adjacent_find(rows.begin(), rows.end(), [](auto& a, auto& b) {
                               return a.empty() && b.empty();
                             }) != rows.end();
  EXPECT_EQ(std::tuple(drives, MenuRow(*console, "Configure Keyboard") >= 0, twoSeparators),
            std::tuple(std::string(c.drives), c.keyboardEntry, false))
      << console->Text();
}

const TermCase kTerminals[] = {
    // The host's own keyboard is always driven as the linux console, whatever TERM says.
    {"ConsoleKeyboard", "xterm", false, true, "linux", true},
    // A remote terminal calling itself linux is driven as a VT102, over SSH too.
    {"LinuxRemote", "linux", false, false, "vt102", false},
    {"XtermLocal", "xterm", false, false, "xterm", true},
    {"XtermOverSsh", "xterm", true, false, "xterm", false},
    // Only plain "xterm" counts as a local keyboard.
    {"Xterm256", "xterm-256color", false, false, "xterm", false},
    {"Unset", "", false, false, "vt102", false},
    // A type without a terminal description is driven as a VT102.
    {"Unknown", "no-such-terminal", false, false, "vt102", false},
};
INSTANTIATE_TEST_SUITE_P(Rules, TerminalTypeTest, testing::ValuesIn(kTerminals), ByName);

// Input that has ended without a hang-up (a file, /dev/null) is always
// readable: the console must take it as the end of its terminal, not spin on
// it for ever, deaf to signals. The limit is generous: this checks that it
// ends at all, not how fast.
TEST(RuntimeScreenTest, InputAtEndOfFileEndsTheConsole) {
  SimHost host;
  const std::string command = "MEREL_SIM_ROOT='" + host.Path("") +
                              "' TERM=xterm timeout -s KILL 30 '" MEREL_BIN
                              "' </dev/null >/dev/null 2>&1";
  EXPECT_EQ(std::system(command.c_str()), 0);
}

}  // namespace
