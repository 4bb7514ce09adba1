// The console runtime seen from outside: how the process ends on signals and
// resizes, the pid file, the virtual-terminal argument, the key table on the
// three terminal types and the colour set-up.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Harness.h"

namespace {

using namespace MerelTest;

const char kPidFile[] = "/var/run/merel.pid";

// The process ended by itself with status 0 and left the terminal usable:
// out of the alternate screen, cursor visible (the ncurses xterm sequences).
void ExpectBareExit(Terminal& console) {
  std::optional<ExitStatus> status = console.WaitForExit();
  ASSERT_TRUE(status.has_value()) << "still running; screen:\n" << console.Text();
  EXPECT_TRUE(status->CleanExit()) << status->Describe();
  const std::string& raw = console.Raw();
  const size_t left = raw.rfind("\x1b[?1049l");
  ASSERT_NE(left, std::string::npos) << "never left the alternate screen";
  EXPECT_GT(left, raw.rfind("\x1b[?1049h"));
  EXPECT_GE(raw.rfind("\x1b[?25h") + 1, raw.rfind("\x1b[?25l") + 1) << "cursor left invisible";
  // exit() from the key wait skips the palette reset of the orderly path.
  EXPECT_EQ(raw.find("\x1b]R"), std::string::npos);
}

struct EndingCase {
  const char* name;
  std::function<void(Terminal&)> act;
  const char* syslog;  // "" for none
};

class EndingTest : public ::testing::TestWithParam<EndingCase> {};

TEST_P(EndingTest, ExitsWithStatusZeroAndRestoresTheTerminal) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = host.StartConsole();
  ASSERT_TRUE(console->Running());
  GetParam().act(*console);
  ExpectBareExit(*console);
  EXPECT_TRUE(host.WaitForSyslog(GetParam().syslog)) << host.Syslog();
}

auto Kill(int signal) {
  return [signal](Terminal& console) { console.Signal(signal); };
}

INSTANTIATE_TEST_SUITE_P(
    Ways,
    EndingTest,
    ::testing::Values(EndingCase{"SIGTERM", Kill(SIGTERM), ""},
                      EndingCase{"SIGINT", Kill(SIGINT), ""},
                      EndingCase{"SIGQUIT", Kill(SIGQUIT), ""},
                      // The kernel's SIGWINCH on a real size change.
                      EndingCase{"SIGWINCH", [](Terminal& c) { c.Resize(100, 30); },
                                 "Resized window to 100x30"},
                      // A restart request with nobody logged in.
                      EndingCase{"SIGUSR2", Kill(SIGUSR2), ""},
                      // How a resized serial terminal asks for a restart.
                      EndingCase{"EscR", [](Terminal& c) { c.Send("\x1bR"); }, ""}),
    [](const auto& info) { return std::string(info.param.name); });

pid_t DeadPid() {
  pid_t child = fork();
  if (child == 0) {
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  return child;
}

// A pid file naming a live process is left alone (this test process stands in
// for the running instance); anything else is replaced by the console's pid,
// in decimal without a line break, for other tools to signal it.
TEST(RuntimeScreenTest, PidFileRules) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  const std::string live = std::to_string(getpid());
  const struct {
    std::optional<std::string> content;
    bool kept;
  } cases[] = {{std::nullopt, false}, {"garbage", false}, {std::to_string(DeadPid()), false},
               {"0", false},          {"-1", false},      {"", false},
               {live, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE("pid file \"" + c.content.value_or("<none>") + "\"");
    std::remove(host.Path(kPidFile).c_str());
    if (c.content) {
      host.WriteFile(kPidFile, *c.content);
    }
    auto console = host.StartConsole();
    EXPECT_EQ(host.ReadFile(kPidFile), c.kept ? live : std::to_string(console->Pid()));
    EXPECT_TRUE(console->Running());
    console->Signal(SIGTERM);
    ASSERT_TRUE(console->WaitForExit().has_value());
  }
  // Said once, for the live owner only (the last case).
  const std::string refused = "user.err Attempt to run multiple MEREL instances, not updating ";
  ASSERT_TRUE(host.WaitForSyslog(refused)) << host.Syslog();
  EXPECT_EQ(host.Syslog().find(refused), host.Syslog().rfind(refused));
}

TEST(RuntimeScreenTest, InvalidVtIsLoggedAndTheConsoleStartsAnyway) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  for (const std::string vt : {"0", "64", "abc"}) {
    auto console = host.StartConsole({}, {vt});
    EXPECT_TRUE(host.WaitForSyslog("user.err Invalid VT specified for MEREL: " + vt + "\n"))
        << host.Syslog();
    EXPECT_TRUE(console->Running()) << vt;
  }
  EXPECT_EQ(host.HostJson()["activeVirtualTerminal"], 0) << "an invalid VT switched the console";
}

TEST(RuntimeScreenTest, ValidVtSwitchesTheHostConsole) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = host.StartConsole({}, {"63"});
  EXPECT_TRUE(console->Running());
  EXPECT_EQ(host.HostJson()["activeVirtualTerminal"], 63);
  EXPECT_EQ(host.Syslog().find("Invalid VT"), std::string::npos);
}

// A sample of the console's key table, from each of its families (CSI, SS3,
// ESC plus one character, DEL) and including sequences the terminal
// descriptions give another meaning or none, must reach the key wait as the
// same key on every terminal type. The in-process key table test feeds every
// sequence; this one checks the real program on the real descriptions.
class KeyTableTest : public ::testing::TestWithParam<const char*> {};

TEST_P(KeyTableTest, SequencesArriveAsTheSameKeys) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  const std::string trace = host.Path("/key-trace.log");
  auto console = host.StartConsole({.term = GetParam(), .env = {{"MEREL_KEY_TRACE", trace}}});
  const int F1 = 265, kUp = 259, kHome = 262, kEnd = 360, kInsert = 331, kPageUp = 339;
  const std::pair<std::string, int> cases[] = {
      {"\033[11~", F1},     {"\033OP", F1},      {"\033[M", F1},     {"\0331", F1},
      {"\0335", F1 + 4},    {"\0330", F1 + 9},   {"\033!", F1 + 10}, {"\033[24~", F1 + 11},
      {"\033OY", F1 + 11},  {"\033[X", F1 + 11}, {"\033[A", kUp},    {"\033OA", kUp},
      {"\033[1~", kHome},   {"\033h", kHome},    {"\033[4~", kEnd},  {"\033+", kInsert},
      {"\033[5~", kPageUp}, {"\033?", kPageUp},  {"\177", 263}};
  // One key at a time, each seen in the trace before the next is typed, so a
  // sequence that curses splits or swallows is pinned down. A key the console
  // threw away while redrawing is typed again: only its code matters here.
  size_t seen = 0;
  for (const auto& [bytes, code] : cases) {
    std::vector<int> produced;
    for (int attempt = 0; attempt < 3 && produced.empty(); ++attempt) {
      console->Send(bytes);
      console->WaitFor([&] { return ReadKeyTrace(trace).size() > seen; },
                       Scaled(milliseconds(3000)));
      console->WaitUntilQuiet(Scaled(milliseconds(100)));
      std::vector<int> all = ReadKeyTrace(trace);
      produced.assign(all.begin() + static_cast<long>(std::min(seen, all.size())), all.end());
      seen = all.size();
    }
    const std::string shown = std::regex_replace(bytes, std::regex("\x1b"), "ESC ");
    EXPECT_EQ(produced, std::vector<int>{code}) << shown << "; screen:\n" << console->Text();
  }
  EXPECT_TRUE(console->Running());
}

INSTANTIATE_TEST_SUITE_P(Terminals,
                         KeyTableTest,
                         ::testing::Values("linux", "vt102", "xterm"),
                         [](const auto& info) { return std::string(info.param); });

// Where the terminal can redefine its palette the console gets its greys and
// golden yellow that way; elsewhere it draws in black and white, and F4 (the
// colour toggle) must not switch colours on there.
TEST(RuntimeScreenTest, PaletteIsRedefinedWhereTheTerminalCan) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = host.StartConsole({.term = "xterm-256color"});
  // Black is left as the terminal has it.
  const std::map<int, Rgb> expected = {{1, {255, 0, 0}},
                                       {2, {170, 170, 170}},
                                       {3, {255, 204, 0}},
                                       {6, {85, 85, 85}},
                                       {7, {255, 255, 255}}};
  EXPECT_EQ(console->Palette(), expected);
  ASSERT_TRUE(console->WaitForText("Customize System")) << console->Text();
  EXPECT_EQ(console->CellAt(0, 0).bg.Console(), ConsoleColor::kDarkGrey);
  EXPECT_EQ(console->CellAt(0, 0).fg.Console(), ConsoleColor::kWhite);
  EXPECT_EQ(console->CellAt(0, 24).bg.Console(), ConsoleColor::kYellow);
}

TEST(RuntimeScreenTest, BlackAndWhiteWhereTheTerminalCannot) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = host.StartConsole();
  console->SendKey(Key::kF4);
  console->WaitUntilQuiet(milliseconds(200));
  EXPECT_TRUE(console->Palette().empty());
  // No foreground or background colour (39/49, the default pair, are allowed).
  static const std::regex kColour("\x1b\\[(?:[0-9;]*;)?(?:3[0-7]|4[0-7]|38;5;[0-9]+|48;5;[0-9]+)m");
  EXPECT_FALSE(std::regex_search(console->Raw(), kColour));
  // Dark backgrounds become standout text, light ones plain text.
  ASSERT_TRUE(console->WaitForText("Customize System")) << console->Text();
  EXPECT_TRUE(console->CellAt(0, 0).reverse);
  EXPECT_FALSE(console->CellAt(0, 24).reverse);
  EXPECT_EQ(console->CellAt(0, 24).bg.Console(), ConsoleColor::kDefault);
}

}  // namespace
