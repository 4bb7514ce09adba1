// The key table and the escape delay on real curses, and the terminal given back on an abort.

#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

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
  for (const KeyDefinition& definition : kKeyTable) {
    expected.emplace_back(definition.sequence, definition.key);
  }
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
  int master = -1, slave = -1;
  struct winsize size = {25, 80, 0, 0};
  ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, &size), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    close(master);
    dup2(slave, STDIN_FILENO);
    dup2(slave, STDOUT_FILENO);
    FILE* out = fdopen(dup(slave), "w");
    FILE* in = fdopen(dup(slave), "r");
    if (newterm("xterm", out, in) == nullptr) {
      _exit(2);
    }
    cbreak();
    noecho();
    refresh();
    RestoreTerminalOnTerminate();
    // The test framework would catch it here; a thread's exception has
    // nobody to catch it.
    std::thread([] { throw std::runtime_error("nobody catches this"); }).join();
    _exit(1);
  }
  close(slave);
  // The child's output must not fill the pty while it starts.
  std::thread drain([master] {
    char buffer[4096];
    while (read(master, buffer, sizeof buffer) > 0 || errno == EINTR) {
    }
  });
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  struct termios modes = {};
  EXPECT_EQ(tcgetattr(master, &modes), 0);
  drain.join();  // ends once nobody holds the terminal side
  close(master);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status;
  EXPECT_TRUE(modes.c_lflag & ECHO) << "echo left off";
  EXPECT_TRUE(modes.c_lflag & ICANON) << "canonical input left off";
}

}  // namespace
