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

std::string FakeHostname() {
  return "host name.example";
}
std::string FakeIp() {
  return "10.0.0.1";
}
const TextArea::VariableTable kVariables = {{"hostname", &FakeHostname}, {"ip", &FakeIp}};

TEST(TextAreaLayoutTest, Table) {
  const struct {
    const char* name;
    const char* text;
    int width;
    const char* expected;
  } cases[] = {
      {"RightAlignedFooterIsFlushRight",
       "{align:right}{color:black}<Enter>{/color} {color:dark-grey}OK{/color}{/align}", 20,
       "          {color:black}<Enter>{/color} {color:dark-grey}OK{/color}"},
      {"LeftAndRightFooterShareOneLine",
       "{color:white}<Enter>{/color}{color:light-grey} Change{/color}{align:right}{color:white}"
       "<Esc>{/color}{color:light-grey} Log Out{/color}{/align}",
       40,
       "{color:white}<Enter>{/color}{color:light-grey} Change{/color}             "
       "{color:white}<Esc>{/color}{color:light-grey} Log Out{/color}"},
      {"CenteredRun", "{align:center}ab{/align}", 10, "    ab"},
      {"CenteredRunOddRemainderRoundsDown", "{align:center}abc{/align}", 10, "   abc"},
      {"PaddingColumns",
       "    {align:padding:13}Device Name{/align}{align:padding:30}Hardware Label (MAC "
       "Address){/align}Status",
       80, "    Device Name  Hardware Label (MAC Address)  Status"},
      {"PaddingCutsLongValue", "{align:padding:5}Hardware{/align}|", 20, "Hardw|"},
      {"PaddingZeroSwallows", "a{align:padding:0}hidden{/align}b", 10, "ab"},
      {"NegativePaddingDoesNotPad", "{align:padding:-3}ab{/align}|", 10, "ab|"},
      // The field is wider than the rest of the line: only what fits is
      // padded, and the line counts as full.
      {"PaddingWiderThanLine", "{align:padding:20}ab{/align}cd", 10, "ab        \ncd"},
      {"LeftAlignIsNoAlignment", "{align:left}x{/align}y", 10, "xy"},
      {"NestedAlignIgnored", "{align:right}ab{align:center}cd{/align}ef{/align}", 10,
       "      abcd\nef"},
      {"WordWrap", "hello world", 8, "hello\nworld"},
      {"WordWrapSeveralLines", "aa bb cc dd", 5, "aa bb\ncc dd"},
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
      {"TagsTakeNoRoom", "{color:red}abcd{/color}", 4, "{color:red}abcd{/color}"},
      {"UnknownColourNameKept", "{align:left}{color:black>}<F3>{/color}{/align}", 10,
       "{color:black>}<F3>{/color}"},
      {"VariableReplaced", "IP: {ip}", 20, "IP: 10.0.0.1"},
      {"VariableHardWrappedBlanksNoBreak", "ab {hostname}", 6, "ab hos\nt name\n.examp\nle"},
      {"VariableCutByPadding", "{align:padding:4}{hostname}{/align}|", 20, "host|"},
      {"VariableNamesAreCaseSensitive", "{Hostname}{HOSTNAME}", 20, "{Hostname}{HOSTNAME}"},
      {"ZeroWidthBreaksOnlyOnce", "ab", 0, "\nab"},
      // Runs of several lines drift (positions are not shifted by inserted
      // blanks); whatever that gives, laying out stays within the string.
      {"DriftedPadding", "{align:padding:6}ab{/align}cd efg", 4, "ab  \ncd efg"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(TextArea::Layout(c.text, c.width, kVariables), c.expected) << c.name;
  }
  EXPECT_NO_THROW(TextArea::Layout("{align:right}ab cd ef gh ij{/align}", 4, kVariables));
  EXPECT_NO_THROW(TextArea::Layout(
      "{align:center}a b c d e f g h{/align}{align:right}x y z{/align}", 3, kVariables));
  EXPECT_NO_THROW(TextArea::Layout("{align:padding:99999999999}ab{/align} cd ef", 4, kVariables));
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
       {{0, 1, kYellow, kRed}, {1, 2, kYellow, kWhite}, {2, 3, kWhite, kRed}, {3, 4, kYellow, kWhite}}},
      {"a{/color}{/bgcolor}{bogus}b{}c{Hostname}d{ef gh", 10, 1, {"abcd" + Blanks(6)},
       {{0, 10, kYellow, kWhite}}},
      // Inactive, tags change no colours: everything has the greyed look.
      {"{color:black}<Enter>{/color}", 20, 1, {"<Enter>" + Blanks(13)}, {{0, 20, kBlack, kDarkGrey}},
       false},
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
      TextArea* area = Window::Make<TextArea>(&parent, 0, 0, c.width, c.height, kWhite);
      area->SetText(c.text);
      area->AppendText(c.append);
      area->Draw(c.active);
      WINDOW* w = area->GetWindow();
      for (int y = 0; y < c.height; ++y) {
        EXPECT_EQ(CursesScreen::RowText(w, y), c.rows[y]) << term << " " << c.text;
      }
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

// Without colour redefinition, dark areas stand out and white ones are
// plain; colour tags inside do not matter.
TEST(TextAreaDrawTest, BlackAndWhiteIsStandoutOnBlackAndDarkGreyOnly) {
  CursesScreen screen;
  bwColor = true;
  for (const auto& [background, standout] :
       {std::pair{kBlack, true}, std::pair{kDarkGrey, true}, std::pair{kWhite, false}}) {
    Window parent(0, 0, 20, 2, background, kWhite);
    TextArea* area = Window::Make<TextArea>(&parent, 0, 0, 10, 1, kWhite);
    area->SetText("{color:black}x{/color}y{bgcolor:white}z{/bgcolor}");
    for (int x : {0, 1, 2, 5}) {
      const MerelTest::Cell cell = CursesScreen::CellAt(area->GetWindow(), x, 0);
      EXPECT_EQ((cell.attributes & A_STANDOUT) != 0, standout) << background << " " << x;
      EXPECT_EQ(cell.pair, 0);
    }
  }
}

}  // namespace
}  // namespace Merel
