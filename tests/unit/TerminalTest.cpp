// Colours and the key table on real curses.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CursesFixture.h"
#include "Terminal.h"

namespace {

using MerelTest::CursesOptions;
using MerelTest::CursesScreen;

// ColorAttr reads the terminal's colour count; tests of the arithmetic alone
// set it for a moment instead of finding a terminal with each count.
class ScopedColors {
 public:
  ScopedColors(int colors, bool blackAndWhite) : _colors(COLORS), _bw(bwColor) {
    COLORS = colors;
    bwColor = blackAndWhite;
  }
  ~ScopedColors() {
    COLORS = _colors;
    bwColor = _bw;
  }

 private:
  int _colors;
  bool _bw;
};

TEST(ColorAttrTest, PairNumberDependsOnTheTerminalsColourCount) {
  struct Case {
    int colors, background, foreground, pair;
  };
  const Case cases[] = {
      {8, Merel::kWhite, Merel::kYellow, 60},
      {16, Merel::kWhite, Merel::kYellow, 116},
      {8, Merel::kBlack, Merel::kWhite, 8},
      {8, Merel::kDarkGrey, Merel::kBlack, 49},
      {16, Merel::kRed, Merel::kDarkGrey, 23},
      // Past what a chtype can carry: the extended-pair calls must take it.
      {256, Merel::kWhite, Merel::kWhite, 1800},
  };
  for (const Case& c : cases) {
    ScopedColors colors(c.colors, false);
    const int attr = Merel::ColorAttr(c.background, c.foreground);
    EXPECT_EQ(attr, c.pair << 8) << c.colors << " colours, bg " << c.background;
    EXPECT_EQ(CursesScreen::PairOf(attr), c.pair);
  }
}

TEST(ColorAttrTest, BlackAndWhiteIsStandoutOnDarkBackgroundsOnly) {
  ScopedColors colors(8, true);
  const struct {
    int background;
    int expected;
  } cases[] = {
      {Merel::kDarkGrey, static_cast<int>(A_STANDOUT)},
      {Merel::kBlack, static_cast<int>(A_STANDOUT)},
      {Merel::kWhite, 0},
      {Merel::kYellow, 0},
      {Merel::kLightGrey, 0},
      {Merel::kRed, 0},
  };
  for (const auto& c : cases) {
    for (int foreground : {0, 1, 2, 3, 6, 7}) {
      EXPECT_EQ(Merel::ColorAttr(c.background, foreground), c.expected)
          << "bg " << c.background << " fg " << foreground;
    }
  }
}

const int kPalette[] = {Merel::kWhite,     Merel::kBlack,    Merel::kYellow,
                        Merel::kLightGrey, Merel::kDarkGrey, Merel::kRed};

class InitColorsTest : public testing::TestWithParam<const char*> {};

TEST_P(InitColorsTest, MakesAPairForEveryCombinationAndRedefinesThePalette) {
  CursesOptions options;
  options.term = GetParam();
  CursesScreen screen(options);
  ASSERT_TRUE(screen.Ok());
  EXPECT_FALSE(bwColor);
  for (int background : kPalette) {
    for (int foreground : kPalette) {
      const int pair = foreground + COLORS * background + 1;
      int fg = -99, bg = -99;
      ASSERT_EQ(extended_pair_content(pair, &fg, &bg), OK) << pair;
      EXPECT_EQ(fg, foreground) << "pair " << pair;
      EXPECT_EQ(bg, background) << "pair " << pair;
      // What a screen asks for is what was made.
      EXPECT_EQ(CursesScreen::PairOf(Merel::ColorAttr(background, foreground)), pair);
    }
  }
  const struct {
    int slot, red, green, blue;
  } palette[] = {
      {Merel::kYellow, 1000, 800, 0},     {Merel::kDarkGrey, 334, 334, 334},
      {Merel::kLightGrey, 667, 667, 667}, {Merel::kWhite, 1000, 1000, 1000},
      {Merel::kRed, 1000, 0, 0},
  };
  for (const auto& p : palette) {
    int r, g, b;
    ASSERT_EQ(extended_color_content(p.slot, &r, &g, &b), OK);
    // The terminal may round to its own scale; within a step is the same colour.
    EXPECT_NEAR(r, p.red, 4) << "slot " << p.slot;
    EXPECT_NEAR(g, p.green, 4) << "slot " << p.slot;
    EXPECT_NEAR(b, p.blue, 4) << "slot " << p.slot;
  }
}

INSTANTIATE_TEST_SUITE_P(ColourTerminals,
                         InitColorsTest,
                         testing::Values("xterm-256color", "linux"));

TEST(InitColorsTest, TerminalWithoutColourRedefinitionRunsBlackAndWhite) {
  CursesOptions options;
  options.term = "xterm";  // has colours, cannot redefine them
  CursesScreen screen(options);
  ASSERT_TRUE(screen.Ok());
  ASSERT_FALSE(can_change_color());
  EXPECT_TRUE(bwColor);
  for (int background : kPalette) {
    for (int foreground : kPalette) {
      int fg = -99, bg = -99;
      extended_pair_content(foreground + COLORS * background + 1, &fg, &bg);
      EXPECT_FALSE(fg == foreground && bg == background && (fg != 0 || bg != 0))
          << "pair made for fg " << foreground << " bg " << background;
    }
  }
  EXPECT_EQ(Merel::ColorAttr(Merel::kDarkGrey, Merel::kWhite), static_cast<int>(A_STANDOUT));
  EXPECT_EQ(Merel::ColorAttr(Merel::kWhite, Merel::kYellow), 0);
}

TEST(SetBackgroundTest, ExtendedPairsReachTheWindow) {
  CursesScreen screen;  // xterm-256color: pairs above 255
  ASSERT_TRUE(screen.Ok());
  WINDOW* window = newwin(3, 10, 0, 0);
  const int attr = Merel::ColorAttr(Merel::kWhite, Merel::kYellow);
  Merel::SetBackground(window, attr);
  EXPECT_EQ(CursesScreen::Background(window).pair, 3 + 256 * 7 + 1);
  EXPECT_EQ(CursesScreen::CellAt(window, 4, 1).pair, 3 + 256 * 7 + 1);

  Merel::SetAttributes(window, Merel::ColorAttr(Merel::kRed, Merel::kWhite));
  mvwaddstr(window, 0, 0, "x");
  MerelTest::Cell cell = CursesScreen::CellAt(window, 0, 0);
  EXPECT_EQ(cell.ch, L'x');
  EXPECT_EQ(cell.pair, 7 + 256 * 1 + 1);
  EXPECT_EQ(cell.attributes & A_ATTRIBUTES & ~A_COLOR, A_NORMAL);
  delwin(window);
}

// A new background recolours every cell (text and box lines too, as with a
// greyed dialog), keeps the characters and their line-drawing flag.
TEST(SetBackgroundTest, EveryCellTakesTheNewRendition) {
  CursesScreen screen;
  ASSERT_TRUE(screen.Ok());
  WINDOW* window = newwin(4, 10, 0, 0);
  Merel::SetBackground(window, Merel::ColorAttr(Merel::kYellow, Merel::kWhite));
  box(window, 0, 0);
  Merel::SetAttributes(window, Merel::ColorAttr(Merel::kWhite, Merel::kRed));
  mvwaddstr(window, 1, 1, "ab");
  wmove(window, 2, 3);

  Merel::SetBackground(window, Merel::ColorAttr(Merel::kBlack, Merel::kDarkGrey));
  const int grey = CursesScreen::PairOf(Merel::ColorAttr(Merel::kBlack, Merel::kDarkGrey));
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 10; ++x) {
      EXPECT_EQ(CursesScreen::CellAt(window, x, y).pair, grey) << x << "," << y;
    }
  }
  EXPECT_EQ(CursesScreen::CellAt(window, 1, 1).ch, L'a');
  const MerelTest::Cell corner = CursesScreen::CellAt(window, 0, 0);
  EXPECT_TRUE((corner.attributes & A_ALTCHARSET) != 0 || corner.ch > 127)
      << "box corner lost its line-drawing form";
  EXPECT_EQ(getcury(window), 2);
  EXPECT_EQ(getcurx(window), 3);
  delwin(window);
}

// Black-and-white mode carries standout instead of a pair.
TEST(SetBackgroundTest, BlackAndWhiteUsesStandout) {
  CursesOptions options;
  options.term = "xterm";
  CursesScreen screen(options);
  ASSERT_TRUE(screen.Ok());
  ASSERT_TRUE(bwColor);
  WINDOW* window = newwin(2, 4, 0, 0);
  Merel::SetBackground(window, Merel::ColorAttr(Merel::kDarkGrey, Merel::kWhite));
  EXPECT_NE(CursesScreen::CellAt(window, 1, 1).attributes & A_STANDOUT, 0u);
  EXPECT_EQ(CursesScreen::CellAt(window, 1, 1).pair, 0);
  Merel::SetBackground(window, Merel::ColorAttr(Merel::kWhite, Merel::kYellow));
  EXPECT_EQ(CursesScreen::CellAt(window, 1, 1).attributes & A_STANDOUT, 0u);
  delwin(window);
}

// The key table as the console documents it, written out independently of the
// implementation so a typo in either shows up.
#define ESC "\033"
const std::vector<std::pair<std::string, int>> kExpectedKeys = {
    {ESC "R", KEY_RESIZE},   {ESC "[11~", KEY_F(1)},  {ESC "[12~", KEY_F(2)},
    {ESC "[13~", KEY_F(3)},  {ESC "[14~", KEY_F(4)},  {ESC "[15~", KEY_F(5)},
    {ESC "[17~", KEY_F(6)},  {ESC "[18~", KEY_F(7)},  {ESC "[19~", KEY_F(8)},
    {ESC "[20~", KEY_F(9)},  {ESC "[21~", KEY_F(10)}, {ESC "[23~", KEY_F(11)},
    {ESC "[24~", KEY_F(12)}, {ESC "1", KEY_F(1)},     {ESC "2", KEY_F(2)},
    {ESC "3", KEY_F(3)},     {ESC "4", KEY_F(4)},     {ESC "5", KEY_F(5)},
    {ESC "6", KEY_F(6)},     {ESC "7", KEY_F(7)},     {ESC "8", KEY_F(8)},
    {ESC "9", KEY_F(9)},     {ESC "0", KEY_F(10)},    {ESC "!", KEY_F(11)},
    {ESC "@", KEY_F(12)},    {ESC "h", KEY_HOME},     {ESC "k", KEY_END},
    {ESC "+", KEY_IC},       {ESC "-", KEY_DC},       {ESC "?", KEY_PPAGE},
    {ESC "/", KEY_NPAGE},    {ESC "[M", KEY_F(1)},    {ESC "[N", KEY_F(2)},
    {ESC "[O", KEY_F(3)},    {ESC "[P", KEY_F(4)},    {ESC "[Q", KEY_F(5)},
    {ESC "[R", KEY_F(6)},    {ESC "[S", KEY_F(7)},    {ESC "[T", KEY_F(8)},
    {ESC "[U", KEY_F(9)},    {ESC "[V", KEY_F(10)},   {ESC "[W", KEY_F(11)},
    {ESC "[X", KEY_F(12)},   {ESC "OP", KEY_F(1)},    {ESC "OQ", KEY_F(2)},
    {ESC "OR", KEY_F(3)},    {ESC "OS", KEY_F(4)},    {ESC "OT", KEY_F(5)},
    {ESC "OU", KEY_F(6)},    {ESC "OV", KEY_F(7)},    {ESC "OW", KEY_F(8)},
    {ESC "OX", KEY_F(9)},    {ESC "OY", KEY_F(12)},   {ESC "OA", KEY_UP},
    {ESC "OB", KEY_DOWN},    {ESC "OC", KEY_RIGHT},   {ESC "OD", KEY_LEFT},
    {ESC "[A", KEY_UP},      {ESC "[B", KEY_DOWN},    {ESC "[C", KEY_RIGHT},
    {ESC "[D", KEY_LEFT},    {ESC "[2~", KEY_IC},     {ESC "[3~", KEY_DC},
    {ESC "[1~", KEY_HOME},   {ESC "[4~", KEY_END},    {ESC "[5~", KEY_PPAGE},
    {ESC "[6~", KEY_NPAGE},  {"\x7f", KEY_BACKSPACE},
};

TEST(KeyTableTest, HoldsTheDocumentedSequencesInOrder) {
  ASSERT_EQ(std::size(Merel::kKeyTable), kExpectedKeys.size());
  for (size_t i = 0; i < kExpectedKeys.size(); ++i) {
    EXPECT_EQ(Merel::kKeyTable[i].sequence, kExpectedKeys[i].first) << "entry " << i + 1;
    EXPECT_EQ(Merel::kKeyTable[i].key, kExpectedKeys[i].second) << "entry " << i + 1;
  }
}

class KeyInputTest : public testing::TestWithParam<const char*> {
 protected:
  // One key as curses delivers it after `bytes` were typed.
  static int Read(const CursesScreen& screen, const std::string& bytes) {
    screen.Type(bytes);
    wtimeout(stdscr, 2000);
    int key = wgetch(stdscr);
    wtimeout(stdscr, -1);
    return key;
  }
};

// Every terminal the console is driven on must deliver the same codes,
// whatever its own terminfo says about these sequences.
TEST_P(KeyInputTest, EverySequenceArrivesAsItsKey) {
  CursesOptions options;
  options.term = GetParam();
  CursesScreen screen(options);
  ASSERT_TRUE(screen.Ok());
  for (const auto& [sequence, key] : kExpectedKeys) {
    std::string printable;
    for (char c : sequence) {
      printable += c == '\033' ? std::string("ESC ") : std::string(1, c);
    }
    EXPECT_EQ(Read(screen, sequence), key) << GetParam() << ": " << printable;
  }
}

TEST_P(KeyInputTest, LoneEscapeAndPlainKeysStayThemselves) {
  CursesOptions options;
  options.term = GetParam();
  CursesScreen screen(options);
  ASSERT_TRUE(screen.Ok());
  EXPECT_EQ(Read(screen, ESC), 27);  // after the escape delay
  EXPECT_EQ(Read(screen, "\n"), 10);
  EXPECT_EQ(Read(screen, "a"), 'a');
}

INSTANTIATE_TEST_SUITE_P(Terminals,
                         KeyInputTest,
                         testing::Values("linux", "vt102", "xterm", "xterm-256color"));
#undef ESC

}  // namespace
