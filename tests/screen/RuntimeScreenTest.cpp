// The console runtime seen from outside: how the process ends on signals and
// resizes, the pid file, the virtual-terminal argument, the key table on the
// three terminal types and the colour set-up.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Harness.h"

namespace {

using namespace MerelTest;

// ncurses under TERM=xterm: alternate screen on/off, cursor hidden/shown.
const char kEnterCa[] = "\x1b[?1049h";
const char kLeaveCa[] = "\x1b[?1049l";
const char kHideCursor[] = "\x1b[?25l";
const char kShowCursor[] = "\x1b[?25h";
// Written only by the orderly shutdown, after endwin.
const char kPaletteReset[] = "\x1b]R";

class RuntimeScreenTest : public ::testing::Test {
 protected:
  std::unique_ptr<Terminal> Start(const std::string& term = "xterm",
                                  const std::vector<std::string>& args = {},
                                  const std::map<std::string, std::string>& env = {}) {
    TerminalOptions options;
    options.term = term;
    options.env = env;
    return host.StartConsole(options, args);
  }

  // The process ended by itself with status 0 and left the terminal usable.
  static void ExpectBareExit(Terminal& console) {
    std::optional<ExitStatus> status = console.WaitForExit();
    ASSERT_TRUE(status.has_value()) << "still running; screen:\n" << console.Text();
    EXPECT_TRUE(status->CleanExit()) << status->Describe();
    const std::string& raw = console.Raw();
    size_t entered = raw.rfind(kEnterCa);
    size_t left = raw.rfind(kLeaveCa);
    ASSERT_NE(left, std::string::npos) << "never left the alternate screen";
    if (entered != std::string::npos) {
      EXPECT_GT(left, entered);
    }
    size_t hidden = raw.rfind(kHideCursor);
    if (hidden != std::string::npos) {
      size_t shown = raw.rfind(kShowCursor);
      EXPECT_TRUE(shown != std::string::npos && shown > hidden) << "cursor left invisible";
    }
    // exit() from the key wait skips the palette reset of the orderly path.
    EXPECT_EQ(raw.find(kPaletteReset), std::string::npos);
  }

  SimHost host;
};

struct SignalCase {
  int signal;
  const char* name;
};

class EndingSignalTest : public RuntimeScreenTest,
                         public ::testing::WithParamInterface<SignalCase> {};

TEST_P(EndingSignalTest, ExitsWithStatusZeroAndRestoresTheTerminal) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  ASSERT_TRUE(console->Running());
  console->Signal(GetParam().signal);
  ExpectBareExit(*console);
}

INSTANTIATE_TEST_SUITE_P(Signals,
                         EndingSignalTest,
                         ::testing::Values(SignalCase{SIGTERM, "SIGTERM"},
                                           SignalCase{SIGINT, "SIGINT"},
                                           SignalCase{SIGQUIT, "SIGQUIT"},
                                           SignalCase{SIGWINCH, "SIGWINCH"},
                                           // A restart request with nobody logged in.
                                           SignalCase{SIGUSR2, "SIGUSR2"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(RuntimeScreenTest, ResizedTerminalEndsTheProcess) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  console->Resize(100, 30);
  ExpectBareExit(*console);
  EXPECT_TRUE(host.WaitForSyslog("Resized window to 100x30")) << host.Syslog();
}

TEST_F(RuntimeScreenTest, ResizeKeyEndsTheProcess) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  console->Send("\x1bR");
  ExpectBareExit(*console);
}

TEST_F(RuntimeScreenTest, PidFileNamesTheRunningConsole) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  // Decimal, no line break: other tools read it to signal this process.
  EXPECT_EQ(host.ReadFile("/var/run/merel.pid"), std::to_string(console->Pid()));
  EXPECT_TRUE(host.WaitForSyslog("Starting MEREL")) << host.Syslog();
}

pid_t DeadPid() {
  pid_t child = fork();
  if (child == 0) {
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  return child;
}

TEST_F(RuntimeScreenTest, StalePidFileIsTakenOver) {
  ASSERT_TRUE(host.Ok());
  const std::string stale[] = {"garbage", std::to_string(DeadPid()), "0", "-1", ""};
  for (const std::string& content : stale) {
    SCOPED_TRACE("pid file held \"" + content + "\"");
    host.WriteFile("/var/run/merel.pid", content);
    auto console = Start();
    EXPECT_EQ(host.ReadFile("/var/run/merel.pid"), std::to_string(console->Pid()));
    console->Signal(SIGTERM);
    ASSERT_TRUE(console->WaitForExit().has_value());
  }
  EXPECT_EQ(host.Syslog().find("Attempt to run multiple MEREL instances"), std::string::npos);
}

TEST_F(RuntimeScreenTest, LiveInstanceKeepsThePidFile) {
  ASSERT_TRUE(host.Ok());
  // This test process stands in for the instance that owns the file.
  const std::string owner = std::to_string(getpid());
  host.WriteFile("/var/run/merel.pid", owner);
  auto console = Start();
  EXPECT_TRUE(console->Running()) << "a second instance still runs";
  EXPECT_TRUE(host.WaitForSyslog("user.err Attempt to run multiple MEREL instances, not updating "))
      << host.Syslog();
  EXPECT_EQ(host.ReadFile("/var/run/merel.pid"), owner);
  console->Signal(SIGTERM);
  ExpectBareExit(*console);
}

class InvalidVtTest : public RuntimeScreenTest,
                      public ::testing::WithParamInterface<const char*> {};

TEST_P(InvalidVtTest, IsLoggedAndTheConsoleStartsAnyway) {
  ASSERT_TRUE(host.Ok());
  auto console = Start("xterm", {GetParam()});
  EXPECT_TRUE(
      host.WaitForSyslog(std::string("user.err Invalid VT specified for MEREL: ") + GetParam()))
      << host.Syslog();
  EXPECT_TRUE(console->Running());
  console->Signal(SIGTERM);
  ExpectBareExit(*console);
}

INSTANTIATE_TEST_SUITE_P(Arguments,
                         InvalidVtTest,
                         ::testing::Values("0", "64", "abc"),
                         [](const auto& info) { return std::string("vt_") + info.param; });

// Every sequence of the console's key table, and the keys each terminal type
// really sends, must reach the key wait as the same curses code whatever the
// terminal. MEREL_KEY_TRACE makes the console log each key it returns.
struct KeyCase {
  std::string bytes;
  int code;
};

std::vector<KeyCase> KeyTableCases() {
  const int F1 = 265;
  std::vector<KeyCase> cases = {
      {"\x1b[11~", F1},
      {"\x1b[12~", F1 + 1},
      {"\x1b[13~", F1 + 2},
      {"\x1b[14~", F1 + 3},
      {"\x1b[15~", F1 + 4},
      {"\x1b[17~", F1 + 5},
      {"\x1b[18~", F1 + 6},
      {"\x1b[19~", F1 + 7},
      {"\x1b[20~", F1 + 8},
      {"\x1b[21~", F1 + 9},
      {"\x1b[23~", F1 + 10},
      {"\x1b[24~", F1 + 11},
      {"\x1b"
       "1",
       F1},
      {"\x1b"
       "2",
       F1 + 1},
      {"\x1b"
       "3",
       F1 + 2},
      {"\x1b"
       "4",
       F1 + 3},
      {"\x1b"
       "5",
       F1 + 4},
      {"\x1b"
       "6",
       F1 + 5},
      {"\x1b"
       "7",
       F1 + 6},
      {"\x1b"
       "8",
       F1 + 7},
      {"\x1b"
       "9",
       F1 + 8},
      {"\x1b"
       "0",
       F1 + 9},
      {"\x1b!", F1 + 10},
      {"\x1b@", F1 + 11},
      {"\x1bh", 262},
      {"\x1bk", 360},
      {"\x1b+", 331},
      {"\x1b-", 330},
      {"\x1b?", 339},
      {"\x1b/", 338},
      {"\x1b[M", F1},
      {"\x1b[N", F1 + 1},
      {"\x1b[O", F1 + 2},
      {"\x1b[P", F1 + 3},
      {"\x1b[Q", F1 + 4},
      {"\x1b[R", F1 + 5},
      {"\x1b[S", F1 + 6},
      {"\x1b[T", F1 + 7},
      {"\x1b[U", F1 + 8},
      {"\x1b[V", F1 + 9},
      {"\x1b[W", F1 + 10},
      {"\x1b[X", F1 + 11},
      {"\x1bOP", F1},
      {"\x1bOQ", F1 + 1},
      {"\x1bOR", F1 + 2},
      {"\x1bOS", F1 + 3},
      {"\x1bOT", F1 + 4},
      {"\x1bOU", F1 + 5},
      {"\x1bOV", F1 + 6},
      {"\x1bOW", F1 + 7},
      {"\x1bOX", F1 + 8},
      {"\x1bOY", F1 + 11},
      {"\x1bOA", 259},
      {"\x1bOB", 258},
      {"\x1bOC", 261},
      {"\x1bOD", 260},
      {"\x1b[A", 259},
      {"\x1b[B", 258},
      {"\x1b[C", 261},
      {"\x1b[D", 260},
      {"\x1b[2~", 331},
      {"\x1b[3~", 330},
      {"\x1b[1~", 262},
      {"\x1b[4~", 360},
      {"\x1b[5~", 339},
      {"\x1b[6~", 338},
      {"\x7f", 263},
  };
  return cases;
}

std::string Printable(const std::string& bytes) {
  std::string out;
  for (char c : bytes) {
    if (c == '\x1b') {
      out += "ESC ";
    } else if (c == '\x7f') {
      out += "DEL";
    } else {
      out += c;
    }
  }
  return out;
}

class KeyTableTest : public RuntimeScreenTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(KeyTableTest, SequencesArriveAsTheSameKeys) {
  ASSERT_TRUE(host.Ok());
  const std::string trace = host.Root() + "/key-trace.log";
  auto console = Start(GetParam(), {}, {{"MEREL_KEY_TRACE", trace}});

  std::vector<KeyCase> cases = KeyTableCases();
  // And what this terminal type sends for its named keys.
  for (Key key :
       {Key::kF1,     Key::kF2,     Key::kF3,     Key::kF4,       Key::kF5,       Key::kF6,
        Key::kF7,     Key::kF8,     Key::kF9,     Key::kF10,      Key::kF11,      Key::kF12,
        Key::kUp,     Key::kDown,   Key::kLeft,   Key::kRight,    Key::kHome,     Key::kEnd,
        Key::kInsert, Key::kDelete, Key::kPageUp, Key::kPageDown, Key::kBackspace}) {
    std::string bytes = console->KeyBytes(key);
    if (std::none_of(cases.begin(), cases.end(),
                     [&](const KeyCase& c) { return c.bytes == bytes; })) {
      cases.push_back({bytes, CursesCode(key)});
    }
  }

  // One key at a time: each must show up in the trace before the next is
  // typed, so a sequence that curses splits or swallows is pinned down. The
  // console discards keys typed while it redraws (every key on the welcome
  // screen repaints it), so the next key waits for the screen to settle; a
  // key lost that way anyway is typed again, which is harmless here because
  // only the code each sequence becomes is checked.
  size_t seen = 0;
  for (const KeyCase& c : cases) {
    const std::string sent = Printable(c.bytes);
    std::vector<int> produced;
    for (int attempt = 0; attempt < 3 && produced.empty(); ++attempt) {
      console->Send(c.bytes);
      console->WaitFor([&] { return ReadKeyTrace(trace).size() > seen; },
                       Scaled(std::chrono::milliseconds(3000)));
      console->WaitUntilQuiet(Scaled(std::chrono::milliseconds(100)));
      std::vector<int> all = ReadKeyTrace(trace);
      produced.assign(all.begin() + static_cast<long>(std::min(seen, all.size())), all.end());
      seen = all.size();
    }
    EXPECT_FALSE(produced.empty()) << sent << " produced no key; screen:\n" << console->Text();
    for (int key : produced) {
      EXPECT_EQ(key, c.code) << sent;
    }
  }
  EXPECT_TRUE(console->Running());
}

INSTANTIATE_TEST_SUITE_P(Terminals,
                         KeyTableTest,
                         ::testing::Values("linux", "vt102", "xterm"),
                         [](const auto& info) { return std::string(info.param); });

// A colour change of the terminal's own palette is how the console gets its
// greys and golden yellow; a terminal that cannot do it runs in black and white.
TEST_F(RuntimeScreenTest, PaletteIsRedefinedWhereTheTerminalCan) {
  ASSERT_TRUE(host.Ok());
  auto console = Start("xterm-256color");
  ASSERT_TRUE(console->WaitForRaw("\x1b]4;"));
  const std::map<int, Rgb>& palette = console->Palette();
  const std::pair<int, Rgb> expected[] = {
      {3, {255, 204, 0}},   {6, {85, 85, 85}}, {2, {170, 170, 170}},
      {7, {255, 255, 255}}, {1, {255, 0, 0}},
  };
  for (const auto& [slot, rgb] : expected) {
    auto it = palette.find(slot);
    ASSERT_NE(it, palette.end()) << "slot " << slot << " not redefined";
    EXPECT_EQ(it->second, rgb) << "slot " << slot << " is " << ToString(it->second);
  }
  EXPECT_EQ(palette.count(0), 0u) << "black is left as the terminal has it";
  EXPECT_EQ(palette.size(), 5u);

  // The welcome screen in those colours: white on dark grey above, yellow
  // below (the pair numbers here are well past 255).
  ASSERT_TRUE(console->WaitForText("Customize System")) << console->Text();
  Cell upper = console->CellAt(0, 0);
  EXPECT_EQ(upper.bg.Console(), ConsoleColor::kDarkGrey) << ToString(upper.bg.rgb);
  EXPECT_EQ(upper.bg.rgb, (Rgb{85, 85, 85}));
  EXPECT_EQ(upper.fg.Console(), ConsoleColor::kWhite);
  Cell lower = console->CellAt(0, 24);
  EXPECT_EQ(lower.bg.Console(), ConsoleColor::kYellow) << ToString(lower.bg.rgb);
  EXPECT_EQ(lower.bg.rgb, (Rgb{255, 204, 0}));
  EXPECT_FALSE(upper.reverse || lower.reverse);
}

class BlackAndWhiteTest : public RuntimeScreenTest,
                          public ::testing::WithParamInterface<const char*> {};

TEST_P(BlackAndWhiteTest, NoColourIsUsed) {
  ASSERT_TRUE(host.Ok());
  auto console = Start(GetParam());
  console->SendKey(Key::kF4);  // the colour toggle must not switch colours on here
  console->WaitUntilQuiet(std::chrono::milliseconds(200));
  EXPECT_TRUE(console->Palette().empty());
  EXPECT_FALSE(console->RawContains("\x1b]4;"));
  // Foreground or background colours (39/49, the default pair, are allowed).
  static const std::regex kColour("\x1b\\[(?:[0-9;]*;)?(?:3[0-7]|4[0-7]|38;5;[0-9]+|48;5;[0-9]+)m");
  EXPECT_FALSE(std::regex_search(console->Raw(), kColour));
  // Dark backgrounds become standout text, light ones plain text.
  ASSERT_TRUE(console->WaitForText("Customize System")) << console->Text();
  Cell upper = console->CellAt(0, 0);
  Cell lower = console->CellAt(0, 24);
  EXPECT_TRUE(upper.reverse);
  EXPECT_FALSE(lower.reverse);
  EXPECT_EQ(upper.bg.Console(), ConsoleColor::kDefault);
  EXPECT_EQ(lower.bg.Console(), ConsoleColor::kDefault);
  EXPECT_TRUE(console->Running());
}

INSTANTIATE_TEST_SUITE_P(Terminals,
                         BlackAndWhiteTest,
                         ::testing::Values("xterm", "linux"),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace
