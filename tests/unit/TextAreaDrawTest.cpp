// The draw pass on real curses: placement, clipping, and the colours the
// markup tags give each cell, read back from the window.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "CursesFixture.h"
#include "TextArea.h"

namespace Merel {
namespace {

using MerelTest::CursesOptions;
using MerelTest::CursesScreen;

std::string Row(WINDOW* window, int y, int x = 0, int count = -1) {
  return CursesScreen::RowText(window, y).substr(static_cast<size_t>(x), count < 0 ? -1 : count);
}

// Cells [from, to) of row 0 must carry ColorAttr(background, foreground), and
// the pair must really show those colours.
void ExpectColors(WINDOW* window, int from, int to, int background, int foreground) {
  for (int x = from; x < to; ++x) {
    const MerelTest::Cell cell = CursesScreen::CellAt(window, x, 0);
    ASSERT_EQ(cell.pair, CursesScreen::PairOf(ColorAttr(background, foreground))) << "column " << x;
    int fg = -1;
    int bg = -1;
    extended_pair_content(cell.pair, &fg, &bg);
    EXPECT_EQ(std::make_pair(fg, bg), std::make_pair(foreground, background)) << "column " << x;
  }
}

class TextAreaDraw : public testing::TestWithParam<const char*> {
 protected:
  TextArea* MakeArea(int width, int height) {
    return Window::Make<TextArea>(&_parent, 0, 0, width, height, kWhite);
  }

  CursesScreen _screen{CursesOptions{.term = GetParam()}};
  Window _parent{0, 0, 60, 8, kYellow, kWhite};
};

TEST_P(TextAreaDraw, RightAlignedFooterIsFlushRightInItsColours) {
  TextArea* area = MakeArea(30, 1);
  area->SetText("{align:right}{color:black}<Enter>{/color} {color:dark-grey}OK{/color}{/align}");
  WINDOW* w = area->GetWindow();
  EXPECT_EQ(Row(w, 0), std::string(20, ' ') + "<Enter> OK");
  ExpectColors(w, 0, 20, kYellow, kWhite);
  ExpectColors(w, 20, 27, kYellow, kBlack);
  ExpectColors(w, 27, 28, kYellow, kWhite);
  ExpectColors(w, 28, 30, kYellow, kDarkGrey);
}

TEST_P(TextAreaDraw, UnknownColourNameKeepsTheAreaColourAndCountsAsOpen) {
  TextArea* area = MakeArea(40, 1);
  area->SetText(
      "{align:left}{color:black>}<F3>{/color} {color:dark-grey}Switch PIN/Password "
      "Login{/color}{/align}");
  EXPECT_EQ(Row(area->GetWindow(), 0, 0, 30), "<F3> Switch PIN/Password Login");
  ExpectColors(area->GetWindow(), 0, 5, kYellow, kWhite);
  ExpectColors(area->GetWindow(), 5, 30, kYellow, kDarkGrey);
}

TEST_P(TextAreaDraw, BackgroundCombinesWithTheRememberedForeground) {
  TextArea* area = MakeArea(10, 1);
  area->SetText("{color:red}a{/color}b{bgcolor:white}c{/bgcolor}d");
  WINDOW* w = area->GetWindow();
  EXPECT_EQ(Row(w, 0, 0, 4), "abcd");
  ExpectColors(w, 0, 1, kYellow, kRed);
  ExpectColors(w, 1, 2, kYellow, kWhite);
  ExpectColors(w, 2, 3, kWhite, kRed);
  ExpectColors(w, 3, 4, kYellow, kWhite);
}

TEST_P(TextAreaDraw, StrayTagsAndBracesAreInvisible) {
  TextArea* area = MakeArea(10, 1);
  area->SetText("a{/color}{/bgcolor}{bogus}b{}c{Hostname}d{ef gh");
  EXPECT_EQ(Row(area->GetWindow(), 0), "abcd      ");
  ExpectColors(area->GetWindow(), 0, 10, kYellow, kWhite);
}

TEST_P(TextAreaDraw, WithoutTheDrawingFlagTagsChangeNoColours) {
  TextArea* area = MakeArea(20, 1);
  area->SetText("{color:black}<Enter>{/color}");
  area->Draw(false);
  EXPECT_EQ(Row(area->GetWindow(), 0, 0, 7), "<Enter>");
  ExpectColors(area->GetWindow(), 0, 20, kBlack, kDarkGrey);  // the inactive look
}

TEST_P(TextAreaDraw, OnlyTheFinalSegmentIsClipped) {
  // A padding field wider than the line drifts the layout into a line longer
  // than the area: "ab  \ncd efg".
  TextArea* area = MakeArea(4, 3);
  WINDOW* w = area->GetWindow();
  area->SetText("{align:padding:6}ab{/align}cd efg");
  EXPECT_EQ(Row(w, 0), "ab  ");
  EXPECT_EQ(Row(w, 1), "cd e");
  EXPECT_EQ(Row(w, 2), "    ");
  // Ended by a tag, the same line is printed whole and curses wraps it.
  area->SetText("{align:padding:6}ab{/align}cd efg{color:red}");
  EXPECT_EQ(Row(w, 1), "cd e");
  EXPECT_EQ(Row(w, 2), "fg  ");
}

TEST_P(TextAreaDraw, LinesPastTheHeightAreNotDrawnAndAppendExtends) {
  TextArea* area = MakeArea(10, 2);
  area->SetText("one\ntwo");
  area->AppendText("\nthree");
  EXPECT_EQ(area->GetText(), "one\ntwo\nthree");
  EXPECT_EQ(Row(area->GetWindow(), 1), "two       ");
  EXPECT_EQ(Row(_parent.GetWindow(), 2, 0, 10), std::string(10, ' '));
}

INSTANTIATE_TEST_SUITE_P(Terminals,
                         TextAreaDraw,
                         testing::Values("xterm-256color", "linux"),
                         [](const testing::TestParamInfo<const char*>& info) {
                           return std::string(info.param[0] == 'x' ? "xterm256" : "linux");
                         });

// Without colour redefinition, dark areas stand out and white ones are plain;
// colour tags inside do not matter (the area's own background attribute
// stays on every cell).
TEST(TextAreaBlackAndWhite, StandoutOnBlackAndDarkGreyPlainOnWhite) {
  CursesScreen screen;
  bwColor = true;
  for (const auto& [background, standout] :
       {std::pair{kBlack, true}, std::pair{kDarkGrey, true}, std::pair{kWhite, false}}) {
    Window parent(0, 0, 20, 2, background, kWhite);
    TextArea* area = Window::Make<TextArea>(&parent, 0, 0, 10, 1, kWhite);
    area->SetText("{color:black}x{/color}y{bgcolor:white}z{/bgcolor}");
    EXPECT_EQ(Row(area->GetWindow(), 0, 0, 3), "xyz");
    for (int x : {0, 1, 2, 5}) {
      const MerelTest::Cell cell = CursesScreen::CellAt(area->GetWindow(), x, 0);
      EXPECT_EQ((cell.attributes & A_STANDOUT) != 0, standout) << background << " " << x;
      EXPECT_EQ(cell.pair, 0);
    }
  }
}

}  // namespace
}  // namespace Merel
