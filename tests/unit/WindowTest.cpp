// Window: the tree of curses windows every screen is made of.

#include "Window.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "CursesFixture.h"
#include "MessageDialog.h"
#include "StringFactory.h"

namespace Merel {
namespace {

using MerelTest::CursesScreen;

// The colours of a window's blank bottom-right cell (no child covers it).
int PairOf(const Window* window) {
  WINDOW* w = window->GetWindow();
  return CursesScreen::CellAt(w, getmaxx(w) - 1, getmaxy(w) - 1).pair;
}
int PairFor(int background, int foreground) {
  return CursesScreen::PairOf(ColorAttr(background, foreground));
}

class WindowTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(_screen.Ok());
    Window::ShowCursor(false);
    Window(0, 0, 1, 1, kBlack, kWhite).SetCursor(0, 0);
  }
  MerelTest::CursesScreen _screen{"xterm-256color", true};  // Draw's flushinp reads descriptor 0
};

// Curses would mark a new full-screen window for clearing, and opening the
// menu or the network window would then send a clear and every cell. A frame
// of any size opens sending only what differs.
TEST_F(WindowTest, NewTopLevelWindowsAreNotMarkedForClearing) {
  const struct {
    int x, y, width, height;
  } cases[] = {{0, 0, COLS, LINES}, {5, 7, 70, 10}, {0, 0, COLS, LINES - 1}};
  for (const auto& c : cases) {
    Window window(c.x, c.y, c.width, c.height, kBlack, kWhite);
    EXPECT_FALSE(is_cleared(window.GetWindow())) << c.width << "x" << c.height;
  }
}

TEST_F(WindowTest, ChildrenTakeTheColoursTheyLeaveUnsetAndPositionsAddUp) {
  Window top(10, 5, 40, 12, kYellow, kWhite);
  Window* ownForeground = &top.AddChild<Window>(0, 0, 5, 3, -1, kDarkGrey);
  Window* ownBackground = &top.AddChild<Window>(3, 4, 5, 3, kLightGrey, -1);
  Window* grandchild = &ownBackground->AddChild<Window>(1, 1, 2, 1, -1, -1);
  top.Draw(true);
  EXPECT_EQ(std::tuple(PairOf(ownForeground), PairOf(ownBackground), PairOf(grandchild)),
            std::tuple(PairFor(kYellow, kDarkGrey), PairFor(kLightGrey, kWhite),
                       PairFor(kLightGrey, kWhite)));
  EXPECT_EQ(std::pair(getbegx(grandchild->GetWindow()), getbegy(grandchild->GetWindow())),
            std::pair(14, 10));
}

TEST_F(WindowTest, RemovedChildGoesAtOnceAndTheParentTakesTheRestDepthFirst) {
  struct Named : Window {
    Named(Window* parent, char name, std::string* deaths)
        : Window(parent, 0, 0, 2, 2, -1, -1), name(name), deaths(deaths) {}
    ~Named() override { *deaths += name; }
    char name;
    std::string* deaths;
  };
  std::string deaths;
  auto top = std::make_unique<Window>(0, 0, 20, 10, 0, 7);
  Named& a = top->AddChild<Named>('a', &deaths);
  Named& b = top->AddChild<Named>('b', &deaths);
  Named& c = b.AddChild<Named>('c', &deaths);
  c.AddChild<Named>('d', &deaths);
  top->AddChild<Named>('e', &deaths);
  top->RemoveChild(&a);
  EXPECT_EQ(deaths, "a");
  ASSERT_EQ(top->GetChildren().size(), 2u);
  EXPECT_EQ(top->GetChildren().front().get(), &b);
  top->RemoveChild(&c);  // not a child of top: stays
  EXPECT_EQ(deaths, "a");
  top.reset();
  // Youngest first, each with its whole subtree (whose curses windows go
  // before the one they are cut from; LeakSanitizer sees it otherwise).
  EXPECT_EQ(deaths, "aebcd");
}

TEST_F(WindowTest, RedrawLinesReachesEveryWindowOfTheTree) {
  Window top(0, 0, 30, 10, kBlack, kWhite);
  Window& child = top.AddChild<Window>(1, 1, 20, 6, kLightGrey, kRed);
  Window& grandchild = child.AddChild<Window>(1, 2, 5, 3, -1, -1);
  for (Window* window : {&top, &child, &grandchild}) {
    wrefresh(window->GetWindow());
  }
  ASSERT_FALSE(is_linetouched(grandchild.GetWindow(), 2));
  top.RedrawLines();
  for (const Window* window : {&top, &child, &grandchild}) {
    for (int y = 0; y < window->GetHeight(); ++y) {
      EXPECT_TRUE(is_linetouched(window->GetWindow(), y)) << window->GetWidth() << " line " << y;
    }
  }
}

TEST_F(WindowTest, SetColorsPassesTheSameArgumentsDownTheTree) {
  Window top(0, 0, 30, 10, kBlack, kWhite);
  Window* child = &top.AddChild<Window>(1, 1, 20, 6, kLightGrey, kRed);
  Window* grandchild = &child->AddChild<Window>(1, 1, 5, 2, -1, -1);
  top.Draw(true);
  // -1 takes the parent's new colour in every window: the child's red goes.
  top.SetColors(kDarkGrey, -1);
  for (const Window* window : {&top, child, grandchild}) {
    EXPECT_EQ(PairOf(window), PairFor(kDarkGrey, kWhite));
  }
  child->SetColors(kYellow, kBlack);
  EXPECT_EQ(std::pair(PairOf(grandchild), PairOf(&top)),
            std::pair(PairFor(kYellow, kBlack), PairFor(kDarkGrey, kWhite)));
}

TEST_F(WindowTest, InactiveDrawGreysTheTreeActiveDrawRestoresItsColoursCursorAndDropsKeys) {
  Window top(4, 3, 30, 10, kYellow, kWhite);
  Window* child = &top.AddChild<Window>(2, 2, 10, 3, kLightGrey, kRed);
  Window::ShowCursor(true);
  child->SetCursor(5, 1);
  top.Draw(false);
  // A second inactive draw (a dialog over a dialog, or dimming behind one)
  // must not save the already hidden state over the real one.
  top.Draw(false);
  EXPECT_FALSE(Window::CursorShown());
  EXPECT_EQ(std::pair(PairOf(&top), PairOf(child)),
            std::pair(PairFor(kBlack, kDarkGrey), PairFor(kBlack, kDarkGrey)));
  child->SetColors(kYellow, kBlack);  // waits for the next active draw
  EXPECT_EQ(PairOf(child), PairFor(kBlack, kDarkGrey));
  // Whoever is in front moves the cursor meanwhile; keys are typed ahead.
  Window(0, 0, 1, 1, kBlack, kWhite).SetCursor(0, 0);
  move(0, 0);
  _screen.Type("abc");
  ASSERT_TRUE(_screen.WaitForInput());

  top.Draw(true);
  EXPECT_EQ(std::pair(PairOf(&top), PairOf(child)),
            std::pair(PairFor(kYellow, kWhite), PairFor(kYellow, kBlack)));
  EXPECT_TRUE(Window::CursorShown());
  Window::UpdateTerminal();
  EXPECT_EQ(std::pair(getcurx(stdscr), getcury(stdscr)), std::pair(11, 6));
  EXPECT_EQ(curs_set(1), 1) << "cursor hidden after the active draw";
  wtimeout(stdscr, 200);
  EXPECT_EQ(wgetch(stdscr), ERR) << "keys typed before the draw were delivered";
}

// A message longer than the stock box's three lines (the VLAN 4095 warning
// has two paragraphs) makes the box taller rather than being cut off.
TEST_F(WindowTest, LongMessageGrowsTheBox) {
  const std::string paragraph(120, 'x');
  MessageDialog dialog(nullptr, Strings::kRestartNetworkErrorTitle, paragraph + "\n\n" + paragraph);
  EXPECT_EQ(getmaxy(dialog.GetWindow()), 10 + 2);
  EXPECT_EQ(getmaxx(dialog.GetWindow()), 70);
}

}  // namespace
}  // namespace Merel
