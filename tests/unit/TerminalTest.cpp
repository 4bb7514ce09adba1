// Colours and the key table on real curses.

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

// Black and white: dark backgrounds stand out, a selection (white
// background) is reverse video, and greyed (dark grey) text on the light
// backgrounds is faint, or plain against bold text where the terminal has
// no faint text.
TEST(ColorAttrTest, BlackAndWhiteKeepsSelectionAndGreyVisible) {
  const struct {
    int background, foreground;
    attr_t withDim, withoutDim;
  } cases[] = {
      {kDarkGrey, kWhite, A_STANDOUT, A_STANDOUT},  // title bars, the right pane
      {kBlack, kDarkGrey, A_STANDOUT, A_STANDOUT},  // inactive and dimmed screens
      {kWhite, kBlack, A_REVERSE, A_REVERSE},       // the selection
      {kWhite, kDarkGrey, A_REVERSE, A_REVERSE},    // a greyed entry selected
      {kYellow, kWhite, 0, A_BOLD},                 // a menu entry
      {kYellow, kDarkGrey, A_DIM, 0},               // a greyed menu entry
      {kLightGrey, kDarkGrey, A_DIM, 0},
      {kYellow, kBlack, 0, 0},  // footer keys
  };
  for (const auto& c : cases) {
    EXPECT_EQ(std::pair(static_cast<attr_t>(BlackAndWhiteAttr(c.background, c.foreground, true)),
                        static_cast<attr_t>(BlackAndWhiteAttr(c.background, c.foreground, false))),
              std::pair(c.withDim, c.withoutDim))
        << c.background << " " << c.foreground;
  }
}

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

// Where the palette can be redefined every combination gets its pair; where
// it cannot (xterm), the console runs black and white and makes none.
TEST(InitColorsTest, PairsWhereColoursCanBeRedefinedBlackAndWhiteElsewhere) {
  const int palette[] = {kWhite, kBlack, kYellow, kLightGrey, kDarkGrey, kRed};
  for (const auto& [term, bw] :
       {std::pair{"xterm-256color", false}, std::pair{"linux", false}, std::pair{"xterm", true}}) {
    CursesScreen screen(term);
    ASSERT_TRUE(screen.Ok());
    EXPECT_EQ(Merel::BwColor(), bw) << term;
    for (int background : palette) {
      for (int foreground : palette) {
        const int pair = foreground + COLORS * background + 1;
        int fg = -1, bg = -1;
        extended_pair_content(pair, &fg, &bg);
        if (background != kBlack || foreground != kBlack) {  // an unmade pair reads 0, 0
          EXPECT_EQ(fg == foreground && bg == background, !bw) << term << " " << pair;
        }
        if (!bw && pair > 255) {  // past what a chtype carries
          EXPECT_EQ(CursesScreen::PairOf(ColorAttr(background, foreground)), pair);
        }
      }
    }
    if (!bw) {  // yellow is one of the redefined slots
      int r, g, b;
      extended_color_content(kYellow, &r, &g, &b);
      EXPECT_TRUE(std::abs(r - 1000) <= 4 && std::abs(g - 800) <= 4 && b <= 4) << term;
    }
  }
}

// Every terminal the console is driven on must deliver the same codes,
// whatever its own terminfo says. Written out independently of the table.
// clang-format off
#define ESC "\033"
const std::vector<std::pair<std::string, int>> kExpectedKeys = {
    {ESC "R", KEY_RESIZE},   {ESC "[11~", KEY_F(1)},  {ESC "[12~", KEY_F(2)},  {ESC "[13~", KEY_F(3)},
    {ESC "[14~", KEY_F(4)},  {ESC "[15~", KEY_F(5)},  {ESC "[17~", KEY_F(6)},  {ESC "[18~", KEY_F(7)},
    {ESC "[19~", KEY_F(8)},  {ESC "[20~", KEY_F(9)},  {ESC "[21~", KEY_F(10)}, {ESC "[23~", KEY_F(11)},
    {ESC "[24~", KEY_F(12)}, {ESC "1", KEY_F(1)},     {ESC "2", KEY_F(2)},     {ESC "3", KEY_F(3)},
    {ESC "4", KEY_F(4)},     {ESC "5", KEY_F(5)},     {ESC "6", KEY_F(6)},     {ESC "7", KEY_F(7)},
    {ESC "8", KEY_F(8)},     {ESC "9", KEY_F(9)},     {ESC "0", KEY_F(10)},    {ESC "!", KEY_F(11)},
    {ESC "@", KEY_F(12)},    {ESC "h", KEY_HOME},     {ESC "k", KEY_END},      {ESC "+", KEY_IC},
    {ESC "-", KEY_DC},       {ESC "?", KEY_PPAGE},    {ESC "/", KEY_NPAGE},    {ESC "[M", KEY_F(1)},
    {ESC "[N", KEY_F(2)},    {ESC "[O", KEY_F(3)},    {ESC "[P", KEY_F(4)},    {ESC "[Q", KEY_F(5)},
    {ESC "[R", KEY_F(6)},    {ESC "[S", KEY_F(7)},    {ESC "[T", KEY_F(8)},    {ESC "[U", KEY_F(9)},
    {ESC "[V", KEY_F(10)},   {ESC "[W", KEY_F(11)},   {ESC "[X", KEY_F(12)},   {ESC "OP", KEY_F(1)},
    {ESC "OQ", KEY_F(2)},    {ESC "OR", KEY_F(3)},    {ESC "OS", KEY_F(4)},    {ESC "OT", KEY_F(5)},
    {ESC "OU", KEY_F(6)},    {ESC "OV", KEY_F(7)},    {ESC "OW", KEY_F(8)},    {ESC "OX", KEY_F(9)},
    {ESC "OY", KEY_F(12)},   {ESC "OA", KEY_UP},      {ESC "OB", KEY_DOWN},    {ESC "OC", KEY_RIGHT},
    {ESC "OD", KEY_LEFT},    {ESC "[A", KEY_UP},      {ESC "[B", KEY_DOWN},    {ESC "[C", KEY_RIGHT},
    {ESC "[D", KEY_LEFT},    {ESC "[2~", KEY_IC},     {ESC "[3~", KEY_DC},     {ESC "[1~", KEY_HOME},
    {ESC "[4~", KEY_END},    {ESC "[5~", KEY_PPAGE},  {ESC "[6~", KEY_NPAGE},  {"\x7f", KEY_BACKSPACE},
    // Not in the table: they stay themselves (a lone Esc after the delay).
    {ESC, 27},               {"\n", 10},              {"a", 'a'},
};
// clang-format on
#undef ESC

TEST(KeyInputTest, EverySequenceArrivesAsItsKeyOnEveryTerminal) {
  ASSERT_EQ(std::size(kKeyTable) + 3, kExpectedKeys.size());
  for (const char* term : {"linux", "vt102", "xterm", "xterm-256color"}) {
    CursesScreen screen(term);
    ASSERT_TRUE(screen.Ok());
    wtimeout(stdscr, 2000);
    for (const auto& [sequence, key] : kExpectedKeys) {
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
