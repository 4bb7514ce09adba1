// Text areas: the layout pass as a table of (text, width) -> laid-out text
// (colour and unknown tags pass through; alignment, fields, variables and
// wrapping are resolved), and the draw pass on real curses.
#include "TextArea.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CursesFixture.h"

namespace Merel {
namespace {

using MerelTest::Blanks;
using MerelTest::CursesScreen;

const TextArea::VariableTable kVariables = {
    {"hostname", [] { return std::string("host name.example"); }}};

TEST(TextAreaLayoutTest, Table) {
  const struct {
    const char* name;
    const char* text;
    int width;
    const char* expected;
  } cases[] = {
      // Footers flush right, on one line with a left part, centred lines,
      // tags that take no room and the padded columns of the adapter list
      // are read off the golden screens; variables filled in, off the custom
      // welcome message's screen test.
      {"PaddingCutsLongValue", "{align:padding:5}Hardware{/align}|", 20, "Hardw|"},
      {"PaddingZeroSwallows", "a{align:padding:0}hidden{/align}b", 10, "ab"},
      {"NegativePaddingDoesNotPad", "{align:padding:-3}ab{/align}|", 10, "ab|"},
      // The field is wider than the rest of the line: only what fits is
      // padded, and the line counts as full.
      {"PaddingWiderThanLine", "{align:padding:20}ab{/align}cd", 10, "ab        \ncd"},
      {"LeftAlignIsNoAlignment", "{align:left}x{/align}y", 10, "xy"},
      {"NestedAlignIgnored", "{align:right}ab{align:center}cd{/align}ef{/align}", 10,
       "      abcd\nef"},
      {"LongWordBrokenHard", "abcdefghij", 4, "abcd\nefgh\nij"},
      {"LongWordAfterShortOneBrokenHard", "ab cdefghij", 4, "ab\ncdef\nghij"},
      {"WhitespaceAtEdgeBecomesTheBreak", "abcd efgh", 4, "abcd\nefgh"},
      {"LineFeedResetsTheLine", "ab\ncdef", 4, "ab\ncdef"},
      {"LineFeedAfterRightRunGivesOneBreak", "{align:right}ab{/align}\ncd", 6, "    ab\ncd"},
      {"TextAfterRightRunStartsNewLine", "{align:right}ab{/align}cd", 6, "    ab\ncd"},
      {"RightRunWrappedOverTwoLines", "{align:right}abc de{/align}", 5, "  abc\n   de"},
      {"UnclosedBraceSwallowsTheRest", "abc{color:black def", 10, "abc"},
      {"EmptyBracesGoToDrawPass", "a{}b", 10, "a{}b"},
      {"UnknownTagGoesToDrawPass", "{foo:bar}x{/foo}", 10, "{foo:bar}x{/foo}"},
      {"UnknownColourNameKept", "{align:left}{color:black>}<F3>{/color}{/align}", 10,
       "{color:black>}<F3>{/color}"},
      {"VariableHardWrappedBlanksNoBreak", "ab {hostname}", 6, "ab hos\nt name\n.examp\nle"},
      {"VariableCutByPadding", "{align:padding:4}{hostname}{/align}|", 20, "host|"},
      {"VariableNamesAreCaseSensitive", "{Hostname}{HOSTNAME}", 20, "{Hostname}{HOSTNAME}"},
      {"ZeroWidthBreaksOnlyOnce", "ab", 0, "\nab"},
      // Runs of several lines drift (positions are not shifted by inserted
      // blanks); whatever that gives, laying out stays within the string.
      {"DriftedPadding", "{align:padding:6}ab{/align}cd efg", 4, "ab  \ncd efg"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(TextArea::Layout(c.text, c.width, kVariables), c.expected) << c.name;
  EXPECT_NO_THROW(TextArea::Layout("{align:right}ab cd ef gh ij{/align}", 4, kVariables));
  EXPECT_NO_THROW(TextArea::Layout(
      "{align:center}a b c d e f g h{/align}{align:right}x y z{/align}", 3, kVariables));
  EXPECT_NO_THROW(TextArea::Layout("{align:padding:99999999999}ab{/align} cd ef", 4, kVariables));
}

// What the area shows, row by row.
std::vector<std::string> Rows(const TextArea& area) {
  std::vector<std::string> rows;
  for (int y = 0; y < area.GetHeight(); ++y)
    rows.push_back(CursesScreen::RowText(area.GetWindow(), y));
  return rows;
}

// The rows an area shows, and which colours cells of its first row carry
// (read back from the window, and the pair must really show those colours).
TEST(TextAreaDrawTest, RowsAndColoursOnColourTerminals) {
  struct Span {
    int from, to, background, foreground;
  };
  const struct {
    const char* text;
    int width, height;
    std::vector<std::string> rows;
    std::vector<Span> spans;
    bool active = true;
    const char* append = "";
  } cases[] = {
      // clang-format off
      {"{align:right}{color:black}<Enter>{/color} {color:dark-grey}OK{/color}{/align}", 30, 1,
       {Blanks(20) + "<Enter> OK"},
       {{0, 20, kYellow, kWhite}, {20, 27, kYellow, kBlack}, {27, 28, kYellow, kWhite},
        {28, 30, kYellow, kDarkGrey}}},
      // An unknown colour name keeps the area's colour but still counts as open.
      {"{align:left}{color:black>}<F3>{/color} {color:dark-grey}Switch PIN/Password "
       "Login{/color}{/align}", 40, 1, {"<F3> Switch PIN/Password Login" + Blanks(10)},
       {{0, 5, kYellow, kWhite}, {5, 30, kYellow, kDarkGrey}}},
      // A background tag combines with the remembered foreground.
      {"{color:red}a{/color}b{bgcolor:white}c{/bgcolor}d", 10, 1, {"abcd" + Blanks(6)},
       {{0, 1, kYellow, kRed}, {1, 2, kYellow, kWhite}, {2, 3, kWhite, kRed},
        {3, 4, kYellow, kWhite}}},
      {"a{/color}{/bgcolor}{bogus}b{}c{Hostname}d{ef gh", 10, 1, {"abcd" + Blanks(6)},
       {{0, 10, kYellow, kWhite}}},
      // Inactive, tags change no colours: everything has the greyed look.
      {"{color:black}<Enter>{/color}", 20, 1, {"<Enter>" + Blanks(13)},
       {{0, 20, kBlack, kDarkGrey}}, false},
      // The drifted layout "ab  \ncd efg": only the final segment is clipped ...
      {"{align:padding:6}ab{/align}cd efg", 4, 3, {"ab  ", "cd e", "    "}, {}},
      // ... ended by a tag, the line is printed whole and curses wraps it.
      {"{align:padding:6}ab{/align}cd efg{color:red}", 4, 3, {"ab  ", "cd e", "fg  "}, {}},
      // Lines past the height are not drawn.
      {"one\ntwo", 10, 2, {"one       ", "two       "}, {}, true, "\nthree"},
      // clang-format on
  };
  for (const char* term : {"xterm-256color", "linux"}) {
    CursesScreen screen(term);
    ASSERT_TRUE(screen.Ok());
    for (const auto& c : cases) {
      Window parent(0, 0, 60, 8, kYellow, kWhite);
      TextArea* area = &parent.AddChild<TextArea>(0, 0, c.width, c.height, kWhite);
      area->SetText(c.text);
      area->AppendText(c.append);
      area->Draw(c.active);
      WINDOW* w = area->GetWindow();
      EXPECT_EQ(Rows(*area), c.rows) << term << " " << c.text;
      EXPECT_EQ(CursesScreen::RowText(parent.GetWindow(), c.height).substr(0, 10), Blanks(10));
      for (const Span& span : c.spans) {
        for (int x = span.from; x < span.to; ++x) {
          const int pair = CursesScreen::CellAt(w, x, 0).pair;
          ASSERT_EQ(pair, CursesScreen::PairOf(ColorAttr(span.background, span.foreground)))
              << term << " " << c.text << " column " << x;
          int fg = -1, bg = -1;
          extended_pair_content(pair, &fg, &bg);
          EXPECT_EQ(std::pair(fg, bg), std::pair(span.foreground, span.background));
        }
      }
    }
  }
}

// Without colour redefinition, dark areas stand out, a white background
// (the selection) is reverse video, and on the light panes greyed text is
// faint, or plain between bold text where the terminal has no faint text.
// Nothing of a pane's own rendition may leak into the text written on it.
TEST(TextAreaDrawTest, BlackAndWhiteAttributesPerCell) {
  const attr_t kShown = A_STANDOUT | A_REVERSE | A_BOLD | A_DIM;
  // The terminal, the pane's background, and the attributes of grey, plain
  // and selected text.
  const std::tuple<const char*, int, attr_t, attr_t, attr_t> cases[] = {
      {"xterm", kYellow, A_DIM, 0, A_REVERSE},
      {"vt102", kYellow, 0, A_BOLD, A_REVERSE},
      {"xterm", kDarkGrey, A_STANDOUT, A_STANDOUT, A_STANDOUT | A_REVERSE},
  };
  for (const auto& [term, background, grey, plain, selected] : cases) {
    CursesScreen screen(term);
    ASSERT_TRUE(screen.Ok());
    ASSERT_TRUE(Merel::BwColor()) << term;
    Window parent(0, 0, 20, 2, background, kWhite);
    TextArea* area = &parent.AddChild<TextArea>(0, 0, 10, 1, kWhite);
    parent.Draw(true);
    area->SetText("{color:dark-grey}g{/color}w{bgcolor:white}{color:black}s{/color}{/bgcolor}w");
    const attr_t expected[] = {grey, plain, selected, plain};
    for (int x = 0; x < 4; ++x) {
      const MerelTest::Cell cell = CursesScreen::CellAt(area->GetWindow(), x, 0);
      EXPECT_EQ(std::pair(cell.attributes & kShown, cell.pair), std::pair(expected[x], 0))
          << term << " " << background << " " << x;
    }
  }
}

// "line 0" to "line <n-1>", one per line.
std::string NumberedLines(int n) {
  std::string text;
  for (int i = 0; i < n; ++i)
    text += (i == 0 ? "" : "\n") + std::string("line ") + std::to_string(i);
  return text;
}

// What an area of `rows` rows and 10 columns shows at scroll position `top`.
std::vector<std::string> NumberedRows(int top, int rows, int lines) {
  std::vector<std::string> shown;
  for (int i = top; i < top + rows; ++i)
    shown.push_back(i < lines ? "line " + std::to_string(i) + Blanks(4 - (i >= 10)) : Blanks(10));
  return shown;
}

class TextAreaScrollTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(_screen.Ok()); }
  TextArea& Area(int rows) { return _parent.AddChild<TextArea>(0, 0, 10, rows, kWhite); }

  CursesScreen _screen;
  Window _parent{0, 0, 40, 20, kYellow, kWhite};
};

// What stays in view is moved by curses (wscrl), not drawn again: a mark
// put on screen behind the area's back moves with its line, while the lines
// that come into view are drawn fresh.
TEST_F(TextAreaScrollTest, ScrollsWithCursesAndDrawsOnlyTheLinesThatComeIntoView) {
  const std::pair<int, int> cases[] = {{0, 1}, {0, 3}, {5, -1}, {6, -3}, {2, 2}};
  for (const auto& [start, step] : cases) {
    TextArea& area = Area(4);
    area.SetText(NumberedLines(12));
    area.ScrollBy(start);
    ASSERT_EQ(area.GetScroll(), start);
    for (int y = 0; y < 4; ++y)
      mvwaddch(area.GetWindow(), y, 9, '*');
    ASSERT_TRUE(area.ScrollBy(step));
    std::vector<std::string> expected = NumberedRows(start + step, 4, 12);
    for (int y = 0; y < 4; ++y) {
      if (y + step >= 0 && y + step < 4) {  // the line stayed in view
        expected[y][9] = '*';
      }
    }
    EXPECT_EQ(Rows(area), expected) << start << " by " << step;
    EXPECT_FALSE(is_scrollok(area.GetWindow())) << "a write in the corner would scroll";
    _parent.RemoveChild(&area);
  }
}

// A line that comes into view keeps the colour opened on a line above it,
// even one that is out of view.
TEST_F(TextAreaScrollTest, NewLinesKeepColoursOpenedAboveThem) {
  TextArea& area = Area(2);
  area.Draw(true);
  area.SetText("{color:red}a\nb\nc{/color}d\ne");
  area.ScrollBy(1);
  area.ScrollBy(1);
  EXPECT_EQ(Rows(area), (std::vector<std::string>{"cd" + Blanks(8), "e" + Blanks(9)}));
  const auto pairAt = [&](int x, int y) {
    return CursesScreen::CellAt(area.GetWindow(), x, y).pair;
  };
  const int red = CursesScreen::PairOf(ColorAttr(kYellow, kRed));
  const int white = CursesScreen::PairOf(ColorAttr(kYellow, kWhite));
  EXPECT_EQ(std::tuple(pairAt(0, 0), pairAt(1, 0), pairAt(0, 1)), std::tuple(red, white, white));
}

TEST_F(TextAreaScrollTest, SettingOrAppendingTextGoesBackToTheTop) {
  TextArea& area = Area(3);
  area.SetText(NumberedLines(8));
  area.ScrollBy(4);
  area.AppendText("\nline 8");
  EXPECT_EQ(std::pair(area.GetScroll(), Rows(area)), std::pair(0, NumberedRows(0, 3, 9)));
  area.ScrollBy(2);
  area.SetText(NumberedLines(8));
  EXPECT_EQ(std::pair(area.GetScroll(), Rows(area)), std::pair(0, NumberedRows(0, 3, 8)));
  area.SetText(NumberedLines(2));  // text that fits never moves
  EXPECT_FALSE(area.ScrollBy(1));
  EXPECT_EQ(area.GetScroll(), 0);
}

}  // namespace
}  // namespace Merel
