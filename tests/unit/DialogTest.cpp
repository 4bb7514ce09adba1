// The stock layouts on an 80 x 25 curses screen: where a dialog and its parts
// land, and the two-pane layout of the menu screens.
#include <curses.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "CursesFixture.h"
#include "Dialog.h"
#include "MessageDialog.h"
#include "RootWindow.h"

namespace Merel {
namespace {

using MerelTest::CursesScreen;

// x, y (absolute), width, height, background, foreground
using Rect = std::array<int, 6>;
Rect RectOf(const Window* w) {
  return {w->GetX(),      w->GetY(),          w->GetWidth(),
          w->GetHeight(), w->GetBackground(), w->GetForeground()};
}

// Opens up the protected parts for inspection.
class DialogProbe : public Dialog {
 public:
  using Dialog::Dialog;
  int Loop() override { return 0; }
  Window* Title() const { return _titleWindow; }
  Window* Body() const { return _bodyWindow; }
  Window* Content() const { return _contentWindow; }
  TextArea* TitleText() const { return _titleText; }
  TextArea* Description() const { return _descriptionText; }
  TextArea* Footer() const { return _footerText; }
};

class MenuProbe : public RootWindow {
 public:
  using RootWindow::RootWindow;
  int Loop() override { return 0; }
  void UpdateFooter() override {}
  std::vector<Rect> Parts() const {
    return {RectOf(_mainArea),   RectOf(_statusLine), RectOf(_leftPane),  RectOf(_rightPane),
            RectOf(_menu),       RectOf(_rightText),  RectOf(_leftTitle), RectOf(_rightTitle),
            RectOf(_leftFooter), RectOf(_rightFooter)};
  }
  WINDOW* Main() const { return _mainArea->GetWindow(); }
};

class DialogLayout : public testing::Test {
 protected:
  CursesScreen _screen;  // 80 x 25
};

std::string Text(WINDOW* window, int y, int x, int count) {
  return CursesScreen::RowText(window, y).substr(static_cast<size_t>(x),
                                                 static_cast<size_t>(count));
}

TEST_F(DialogLayout, MessageDialogIsCentredAtFiveSeven) {
  MessageDialog dialog(nullptr, 17, 20);
  EXPECT_EQ(RectOf(&dialog), (Rect{5, 7, 70, 10, kBlack, kWhite}));
}

TEST_F(DialogLayout, MessageDialogPartsAndNoContentWindow) {
  // Built as MessageDialog builds itself: 70 x 10, title 7 high.
  DialogProbe dialog(nullptr, 70, 10, 7);
  EXPECT_EQ(RectOf(dialog.Title()), (Rect{5, 7, 70, 7, kDarkGrey, kWhite}));
  EXPECT_EQ(RectOf(dialog.Body()), (Rect{5, 14, 70, 3, kYellow, kWhite}));
  EXPECT_EQ(RectOf(dialog.TitleText()), (Rect{8, 8, 64, 1, kDarkGrey, kWhite}));
  EXPECT_EQ(RectOf(dialog.Description()), (Rect{8, 10, 64, 3, kDarkGrey, kWhite}));
  EXPECT_EQ(RectOf(dialog.Footer()), (Rect{7, 15, 66, 1, kYellow, kWhite}));
  // The body is three lines: no room for content.
  EXPECT_EQ(dialog.Content(), nullptr);
}

TEST_F(DialogLayout, ContentWindowWhenTheBodyIsHighEnough) {
  DialogProbe dialog(nullptr, 60, 20, 5);
  ASSERT_NE(dialog.Content(), nullptr);
  EXPECT_EQ(RectOf(dialog.Content()), (Rect{12, 8, 56, 11, kYellow, kDarkGrey}));
  EXPECT_EQ(RectOf(dialog.Footer()), (Rect{12, 20, 56, 1, kYellow, kWhite}));

  DialogProbe lowest(nullptr, 60, 10, 5);  // body 5: content 1 high
  ASSERT_NE(lowest.Content(), nullptr);
  EXPECT_EQ(lowest.Content()->GetHeight(), 1);
}

TEST_F(DialogLayout, BoxAroundTheDialogAndTextsInTheirAreas) {
  DialogProbe dialog(nullptr, 70, 10, 7);
  dialog.Draw(true);
  WINDOW* w = dialog.GetWindow();
  EXPECT_EQ(mvwinch(w, 0, 0) & A_CHARTEXT, ACS_ULCORNER & A_CHARTEXT);
  EXPECT_EQ(mvwinch(w, 9, 69) & A_CHARTEXT, ACS_LRCORNER & A_CHARTEXT);
  dialog.SetTitle("Restart Management Network: Error");
  dialog.SetText("Management network interface cannot be found.");
  dialog.SetFooter("{align:right}{color:black}<Enter>{/color} {color:dark-grey}OK{/color}{/align}");
  EXPECT_EQ(Text(w, 1, 3, 33), "Restart Management Network: Error");
  EXPECT_EQ(Text(w, 3, 3, 45), "Management network interface cannot be found.");
  EXPECT_EQ(Text(w, 8, 58, 10), "<Enter> OK");
  EXPECT_EQ(CursesScreen::CellAt(w, 68, 8).ch, L' ');
}

TEST_F(DialogLayout, RootWindowPanes) {
  MenuProbe menu(nullptr);
  const std::vector<Rect> expected = {
      {0, 0, 80, 24, kLightGrey, kWhite},  // main area
      {0, 24, 80, 1, kBlack, kLightGrey},  // status line
      {0, 0, 40, 24, kYellow, kWhite},     // left pane
      {40, 0, 40, 24, kDarkGrey, kWhite},  // right pane
      {2, 4, 38, 19, kYellow, kWhite},     // menu list
      {42, 4, 36, 19, kDarkGrey, kWhite},  // right text
      {3, 1, 34, 1, kYellow, kWhite},      // left title
      {42, 1, 34, 1, kDarkGrey, kWhite},   // right title
      {2, 22, 37, 1, kYellow, kWhite},     // left footer
      {41, 22, 37, 1, kDarkGrey, kWhite},  // right footer
  };
  EXPECT_EQ(menu.Parts(), expected);
  // The frame around the panes and the rule under the titles.
  WINDOW* main = menu.Main();
  EXPECT_EQ(mvwinch(main, 0, 0) & A_CHARTEXT, ACS_ULCORNER & A_CHARTEXT);
  EXPECT_EQ(mvwinch(main, 23, 79) & A_CHARTEXT, ACS_LRCORNER & A_CHARTEXT);
  EXPECT_EQ(mvwinch(main, 2, 0) & A_CHARTEXT, ACS_VLINE & A_CHARTEXT);
  for (int x : {1, 40, 78}) {
    EXPECT_EQ(mvwinch(main, 2, x) & A_CHARTEXT, ACS_HLINE & A_CHARTEXT) << x;
  }
  EXPECT_EQ(mvwinch(main, 2, 79) & A_CHARTEXT, ACS_VLINE & A_CHARTEXT);
}

}  // namespace
}  // namespace Merel
