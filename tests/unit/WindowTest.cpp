// Window: the tree of curses windows every screen is made of.

#include "Window.h"

#include <gtest/gtest.h>

#include <memory>

#include "CursesFixture.h"
#include "Terminal.h"

namespace {

using Merel::ColorAttr;
using Merel::Window;
using MerelTest::CursesOptions;
using MerelTest::CursesScreen;

int BackgroundPair(const Window* window) {
  return CursesScreen::Background(window->GetWindow()).pair;
}

int PairFor(int background, int foreground) {
  return CursesScreen::PairOf(ColorAttr(background, foreground));
}

class WindowTest : public testing::Test {
 protected:
  void SetUp() override {
    CursesOptions options;
    options.standardInput = true;  // Draw's flushinp acts on the typed-ahead keys
    _screen = std::make_unique<CursesScreen>(options);
    ASSERT_TRUE(_screen->Ok());
    Window::_cursor = false;
    Window::_xCursor = Window::_yCursor = 0;
  }
  void TearDown() override { _screen.reset(); }

  std::unique_ptr<CursesScreen> _screen;
};

TEST_F(WindowTest, ChildrenInheritColoursAndSitAtAbsolutePositions) {
  Window top(10, 5, 40, 12, Merel::kYellow, Merel::kWhite);
  struct Case {
    int x, y, background, foreground;
    int expectBackground, expectForeground;
  } cases[] = {
      {2, 1, -1, -1, Merel::kYellow, Merel::kWhite},
      {0, 0, -1, Merel::kDarkGrey, Merel::kYellow, Merel::kDarkGrey},
      {3, 4, Merel::kLightGrey, -1, Merel::kLightGrey, Merel::kWhite},
  };
  for (const Case& c : cases) {
    Window* child = Window::Make<Window>(&top, c.x, c.y, 5, 3, c.background, c.foreground);
    EXPECT_EQ(child->GetBackground(), c.expectBackground);
    EXPECT_EQ(child->GetForeground(), c.expectForeground);
    EXPECT_EQ(child->GetX(), 10 + c.x);
    EXPECT_EQ(child->GetY(), 5 + c.y);
    EXPECT_EQ(getbegx(child->GetWindow()), 10 + c.x);
    EXPECT_EQ(getbegy(child->GetWindow()), 5 + c.y);
    EXPECT_EQ(child->GetParent(), &top);
    EXPECT_FALSE(child->IsTopLevel());
  }
  ASSERT_EQ(top.GetChildren().size(), 3u);

  // A grandchild inherits from its own parent, and positions add up.
  Window* middle = top.GetChildren().back();
  Window* grandchild = Window::Make<Window>(middle, 1, 1, 2, 1, -1, -1);
  EXPECT_EQ(grandchild->GetBackground(), Merel::kLightGrey);
  EXPECT_EQ(getbegx(grandchild->GetWindow()), 14);
  EXPECT_EQ(getbegy(grandchild->GetWindow()), 10);
}

// Counts destructions so the test can see the parent deleting its children.
class CountedWindow : public Window {
 public:
  CountedWindow(Window* parent, int* deaths)
      : Window(parent, 0, 0, 2, 2, -1, -1), _deaths(deaths) {}
  ~CountedWindow() override { ++*_deaths; }

 private:
  int* _deaths;
};

TEST_F(WindowTest, DestroyingAChildLeavesTheParentAndTheParentDestroysTheRest) {
  int deaths = 0;
  auto top = std::make_unique<Window>(0, 0, 20, 10, 0, 7);
  CountedWindow* first = Window::Make<CountedWindow>(top.get(), &deaths);
  CountedWindow* second = Window::Make<CountedWindow>(top.get(), &deaths);
  Window::Make<CountedWindow>(second, &deaths);  // grandchild

  delete first;
  EXPECT_EQ(deaths, 1);
  ASSERT_EQ(top->GetChildren().size(), 1u);
  EXPECT_EQ(top->GetChildren().front(), second);

  top.reset();
  EXPECT_EQ(deaths, 3);
}

TEST_F(WindowTest, SetColorsPassesTheSameArgumentsDownTheTree) {
  Window top(0, 0, 30, 10, Merel::kBlack, Merel::kWhite);
  Window* child = Window::Make<Window>(&top, 1, 1, 20, 6, Merel::kLightGrey, Merel::kRed);
  Window* grandchild = Window::Make<Window>(child, 1, 1, 5, 2, -1, -1);

  top.SetColors(Merel::kDarkGrey, -1);
  // -1 takes the parent's (new) colour in every window, so the child's own red
  // foreground gives way to the parent's white.
  const Window* all[] = {&top, child, grandchild};
  for (const Window* window : all) {
    EXPECT_EQ(window->GetBackground(), Merel::kDarkGrey);
    EXPECT_EQ(window->GetForeground(), Merel::kWhite);
    EXPECT_EQ(BackgroundPair(window), PairFor(Merel::kDarkGrey, Merel::kWhite));
  }

  child->SetColors(Merel::kYellow, Merel::kBlack);
  EXPECT_EQ(BackgroundPair(grandchild), PairFor(Merel::kYellow, Merel::kBlack));
  EXPECT_EQ(top.GetBackground(), Merel::kDarkGrey);
}

TEST_F(WindowTest, SetColorsOnAnInactiveWindowWaitsForTheNextActiveDraw) {
  Window top(0, 0, 30, 10, Merel::kYellow, Merel::kWhite);
  top.Draw(false);
  top.SetColors(Merel::kLightGrey, Merel::kBlack);
  EXPECT_EQ(BackgroundPair(&top), PairFor(Merel::kBlack, Merel::kDarkGrey));
  top.Draw(true);
  EXPECT_EQ(BackgroundPair(&top), PairFor(Merel::kLightGrey, Merel::kBlack));
}

TEST_F(WindowTest, PrintAtWritesInsideTheWindowOnly) {
  Window top(5, 2, 20, 5, Merel::kYellow, Merel::kWhite);
  Window* child = Window::Make<Window>(&top, 2, 1, 10, 3, -1, -1);
  child->PrintAt(1, 1, "abc");
  EXPECT_EQ(CursesScreen::RowText(top.GetWindow(), 2).substr(0, 7), "   abc ");
  child->PrintAt(10, 0, "x");  // one past the right edge: nothing written
  child->PrintAt(0, 3, "y");   // one below the bottom
  for (int y = 0; y < 5; ++y) {
    const std::string row = CursesScreen::RowText(top.GetWindow(), y);
    EXPECT_EQ(row.find_first_of("xy"), std::string::npos) << "row " << y << ": " << row;
  }
}

TEST_F(WindowTest, InactiveDrawIsDarkGreyOnBlackForTheWholeTree) {
  Window top(0, 0, 30, 10, Merel::kYellow, Merel::kWhite);
  Window* child = Window::Make<Window>(&top, 1, 1, 10, 3, Merel::kLightGrey, Merel::kRed);
  top.Draw(false);
  EXPECT_FALSE(top.IsActive());
  EXPECT_FALSE(child->IsActive());
  EXPECT_EQ(BackgroundPair(&top), PairFor(Merel::kBlack, Merel::kDarkGrey));
  EXPECT_EQ(BackgroundPair(child), PairFor(Merel::kBlack, Merel::kDarkGrey));
  top.Draw(true);
  EXPECT_EQ(BackgroundPair(&top), PairFor(Merel::kYellow, Merel::kWhite));
  EXPECT_EQ(BackgroundPair(child), PairFor(Merel::kLightGrey, Merel::kRed));
  EXPECT_EQ(CursesScreen::CellAt(top.GetWindow(), 5, 2).pair,
            PairFor(Merel::kLightGrey, Merel::kRed));
}

TEST_F(WindowTest, InactiveThenActiveRestoresTheCursorAndDropsTypedKeys) {
  Window top(4, 3, 30, 10, Merel::kYellow, Merel::kWhite);
  Window* child = Window::Make<Window>(&top, 2, 2, 10, 3, -1, -1);
  Window::ShowCursor(true);
  child->SetCursor(5, 1);
  EXPECT_EQ(Window::_xCursor, 11);
  EXPECT_EQ(Window::_yCursor, 6);

  top.Draw(false);
  EXPECT_FALSE(Window::_cursor);
  // A second inactive draw in the same period (a dialog over a dialog, or
  // dimming behind one) must not save the already hidden state over the real one.
  top.Draw(false);
  // Whoever is in front moves and hides the cursor meanwhile.
  Window::_xCursor = Window::_yCursor = 0;
  move(0, 0);

  _screen->Type("abc");
  ASSERT_TRUE(_screen->WaitForInput());
  top.Draw(true);

  EXPECT_TRUE(Window::_cursor);
  EXPECT_EQ(Window::_xCursor, 11);
  EXPECT_EQ(Window::_yCursor, 6);
  int y, x;
  getyx(stdscr, y, x);
  EXPECT_EQ(x, 11);
  EXPECT_EQ(y, 6);
  EXPECT_EQ(curs_set(1), 1) << "cursor hidden after the active draw";

  wtimeout(stdscr, 200);
  EXPECT_EQ(wgetch(stdscr), ERR) << "keys typed before the draw were delivered";
  wtimeout(stdscr, -1);
}

TEST_F(WindowTest, HiddenCursorStaysHiddenAndChildrenLeaveTheCursorAlone) {
  Window top(0, 0, 30, 10, Merel::kYellow, Merel::kWhite);
  Window* child = Window::Make<Window>(&top, 1, 1, 10, 3, -1, -1);
  Window::ShowCursor(false);
  top.Draw(false);
  top.Draw(true);
  EXPECT_FALSE(Window::_cursor);

  // Only top-level windows save and restore: a child drawn on its own changes
  // nothing about the cursor.
  Window::ShowCursor(true);
  top.SetCursor(3, 3);
  child->Draw(false);
  EXPECT_TRUE(Window::_cursor);
  child->Draw(true);
  EXPECT_TRUE(Window::_cursor);
  EXPECT_EQ(Window::_xCursor, 3);
}

}  // namespace
