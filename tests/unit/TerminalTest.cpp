// The key table and the escape delay on real curses, and the terminal given back on an abort.

#include <gtest/gtest.h>
#include <signal.h>
#include <termios.h>

#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "CursesFixture.h"
#include "Terminal.h"

namespace {

using namespace Merel;
using MerelTest::CursesScreen;

// An Esc acts after a short wait for the rest of a sequence, not after
// curses' own second; ESCDELAY in the environment still decides.
TEST(InitKeysTest, EscapeDelayIsShortUnlessTheEnvironmentSetsIt) {
  const char* runner = getenv("ESCDELAY");
  const auto saved = runner ? std::optional<std::string>(runner) : std::nullopt;
  const std::pair<std::optional<std::string>, int> cases[] = {
      {std::nullopt, kEscapeDelayMs}, {"250", 250}, {"1000", 1000}};
  for (const auto& [env, expected] : cases) {
    env ? setenv("ESCDELAY", env->c_str(), 1) : unsetenv("ESCDELAY");
    CursesScreen screen("xterm");
    ASSERT_TRUE(screen.Ok());
    EXPECT_EQ(get_escdelay(), expected) << env.value_or("unset");
  }
  saved ? setenv("ESCDELAY", saved->c_str(), 1) : unsetenv("ESCDELAY");
}

// Every sequence of the console's key table arrives as its key, whatever the
// terminal's own description says about the same bytes; what is not in the
// table stays itself (a lone Esc after the delay).
TEST(KeyInputTest, EverySequenceArrivesAsItsKeyOnEveryTerminal) {
  std::vector<std::pair<std::string, int>> expected = {{"\033", 27}, {"\n", 10}, {"a", 'a'}};
  for (const KeyDefinition& definition : kKeyTable)
    expected.emplace_back(definition.sequence, definition.key);
  for (const char* term : {"linux", "vt102", "xterm", "xterm-256color"}) {
    CursesScreen screen(term);
    ASSERT_TRUE(screen.Ok());
    wtimeout(stdscr, 2000);
    for (const auto& [sequence, key] : expected) {
      screen.Type(sequence);
      EXPECT_EQ(wgetch(stdscr), key) << term << ": ESC" << sequence.substr(1);
    }
  }
}

// An exception nobody catches still ends the process abnormally, but with
// the terminal given back: line modes as curses found them.
TEST(TerminateTest, UncaughtExceptionRestoresTheTerminalBeforeAborting) {
  // A forked child, so that it shares this test's terminal and its curses;
  // forked from this one thread only.
  GTEST_FLAG_SET(death_test_style, "fast");
  CursesScreen screen("xterm", false, /*drained=*/false);
  ASSERT_TRUE(screen.Ok());
  // The test framework would catch it here; a thread's exception has nobody
  // to catch it.
  EXPECT_EXIT(
      {
        RestoreTerminalOnTerminate();
        std::thread([] { throw std::runtime_error("nobody catches this"); }).join();
      },
      testing::KilledBySignal(SIGABRT), "nobody catches this");
  struct termios modes = {};
  ASSERT_EQ(tcgetattr(screen.Slave(), &modes), 0);
  EXPECT_EQ(modes.c_lflag & (ECHO | ICANON), tcflag_t{ECHO | ICANON}) << "line modes left off";
}

}  // namespace
