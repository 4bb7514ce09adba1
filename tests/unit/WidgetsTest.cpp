// The widgets screens are made of: the tree of curses windows, the markup
// line an input field renders, its editing keys, and the movement of an item
// list over shown, selectable items.
#include <curses.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "CursesFixture.h"
#include "ItemList.h"
#include "MessageDialog.h"
#include "StringFactory.h"
#include "Window.h"

namespace Merel {
namespace {

using MerelTest::Blanks;

TEST(InputItemTest, RenderLabelPaddedFieldBracketedFlushRight) {
  const char* selected = "{bgcolor:white}{color:black}root{/color}{/bgcolor}";
  const char* reversed = "{bgcolor:black}{color:white}root{/color}{/bgcolor}";
  const std::string longLabel = "A label that is far too long for it";
  const struct {
    std::string label, value;
    int fieldWidth, width;
    bool focused, edited, password;
    std::string expected;
  } cases[] = {
      // W - 5 - fw columns of label, then " [ ", the field, " ]", and a field
      // of its default width, are seen on the golden screens; a label that is
      // too long is not.
      {longLabel, "x", 10, 40, false, false, false, longLabel + " [ x" + Blanks(9) + " ]"},
      // A program value shows selected while focused, edited text reversed.
      {"User", "root", 8, 30, true, false, false,
       "User" + Blanks(13) + " [ " + selected + Blanks(4) + " ]"},
      {"User", "root", 8, 30, true, true, false,
       "User" + Blanks(13) + " [ " + reversed + Blanks(4) + " ]"},
      // Fourteen characters in ten: the last ten, as stars.
      {"Password:", "abcdefghijklmn", 10, 40, false, true, true,
       "Password:" + Blanks(16) + " [ " + std::string(10, '*') + " ]"},
  };
  for (const auto& c : cases) {
    InputItem item(c.label, c.value, c.fieldWidth);
    item.SetPassword(c.password);
    item.SetFocused(c.focused);
    if (c.edited)
      item.HandleKey(KEY_END);
    EXPECT_EQ(item.Render(c.width), c.expected);
  }
}

TEST(InputItemTest, EditingKeys) {
  const struct {
    const char* initial;
    int fieldWidth;
    std::string typed;  // typed first,
    int renderWidth;    // then a render at this width (it may move the view; 0: none),
    int lefts;          // then this many Left keys, then the keys
    std::vector<int> keys;
    const char* value;
    int cursor, scroll;
  } cases[] = {
      {"root", 10, "a", 0, 0, {}, "a", 1, 0},  // typing replaces a program value
      {"root", 10, "", 0, 0, {KEY_END, 'a'}, "roota", 5, 0},
      {"root", 10, "", 0, 1, {'x'}, "rooxt", 4, 0},
      {"root", 10, "", 0, 0, {KEY_HOME, KEY_DC}, "oot", 0, 0},
      {"root", 10, "", 0, 0, {KEY_RIGHT, KEY_BACKSPACE}, "roo", 3, 0},  // right at the end stays
      // Delete, backspace or any other key on a program value clears it.
      {"root", 10, "", 0, 0, {KEY_DC}, "", 0, 0},
      {"root", 10, "", 0, 0, {KEY_BACKSPACE}, "", 0, 0},
      {"root", 10, "", 0, 0, {KEY_F(1)}, "", 0, 0},
      {"root", 10, "", 0, 0, {KEY_END, 8, 8}, "ro", 2, 0},  // Ctrl-H is backspace
      {"root", 10, "", 0, 0, {KEY_HOME, KEY_BACKSPACE}, "root", 0, 0},
      {"", 10, "a", 0, 0, {1, 27, 300, 'b'}, "ab", 2, 0},  // non-printable inserts nothing
      {"ab", 10, "", 0, 0, {KEY_HOME, KEY_LEFT}, "ab", 0, 0},
      {"", 5, "abcdefg", 20, 6, {}, "abcdefg", 1, 1},  // left at the view's edge scrolls back
      // Backspace past the left edge of the view jumps to the end of the value.
      {"", 10, "abcdefghijklmn", 40, 10, {KEY_BACKSPACE}, "abcefghijklmn", 13, 0},
      {"", 10, "abcdefghijklmn", 40, 1, {KEY_BACKSPACE}, "abcdefghijkln", 12, 4},
  };
  for (const auto& c : cases) {
    InputItem item("Label", c.initial, c.fieldWidth);
    for (char ch : c.typed)
      item.HandleKey(ch);
    if (c.renderWidth > 0)
      item.Render(c.renderWidth);
    for (int i = 0; i < c.lefts; ++i)
      item.HandleKey(KEY_LEFT);
    for (int key : c.keys)
      item.HandleKey(key);
    EXPECT_EQ(std::tuple(item.GetValue(), item.GetCursor(), item.GetScroll(), item.IsPristine()),
              std::tuple(c.value, c.cursor, c.scroll, false))
        << c.initial << "|" << c.typed << "|" << c.lefts;
  }
}

// One item per letter: upper case selectable, lower case not, '.' hidden
// (though selectable); the label is the letter.
class ItemListTest : public testing::Test {
 protected:
  ItemList* MakeList(const std::string& letters) {
    ItemList* list = &_parent.AddChild<ItemList>(1, 1, 20, 3);
    std::vector<std::unique_ptr<Item>> items;
    for (char c : letters) {
      items.push_back(std::make_unique<LabelItem>(std::string(1, c), c == '.' || isupper(c)));
      items.back()->SetShown(c != '.');
    }
    list->SetItems(std::move(items));
    return list;
  }
  // current index, top, row, shown index; the first letter of each row.
  static std::pair<std::array<int, 4>, std::string> At(ItemList* list) {
    list->Draw(true);
    std::string rows;
    for (int y = 0; y < 3; ++y)
      rows += MerelTest::CursesScreen::RowText(list->GetWindow(), y)[0];
    return {{list->CurrentIndex(), list->GetTop(), list->GetRow(), list->GetShownIndex()}, rows};
  }

  MerelTest::CursesScreen _screen;
  Window _parent{0, 0, 30, 10, kYellow, kWhite};
};

TEST_F(ItemListTest, MovementSkipsUnselectableAndHiddenItemsAndScrollsTheView) {
  ItemList* list = MakeList("Ab.CDeF");  // 0 A, 1 b, 2 hidden, 3 C, 4 D, 5 e, 6 F
  EXPECT_EQ(At(list), std::pair(std::array{0, 0, 0, 0}, std::string("AbC")));
  // Down or up, then the position and the rows shown.
  const std::tuple<bool, std::array<int, 4>, const char*> steps[] = {
      {true, {3, 1, 2, 2}, "bCD"},  // past b and the hidden item (no row); the view scrolls
      {true, {4, 2, 2, 3}, "CDe"},  {true, {6, 4, 2, 5}, "DeF"},
      {true, {6, 4, 2, 5}, "DeF"},   // end of the list: nothing changes
      {false, {4, 4, 0, 3}, "DeF"},  // e is passed, D is in view
      {false, {3, 3, 0, 2}, "CDe"},  // above the view: it scrolls up to C
      {false, {0, 0, 0, 0}, "AbC"}, {false, {0, 0, 0, 0}, "AbC"},
  };
  for (const auto& [down, position, rows] : steps) {
    down ? list->Next() : list->Prev();
    EXPECT_EQ(At(list), std::pair(position, std::string(rows)));
    for (size_t i = 0; i < list->Count(); ++i)
      EXPECT_EQ(list->At(i)->IsFocused(), static_cast<int>(i) == position[0]) << i;
  }
}

TEST_F(ItemListTest, StartsOnTheFirstShownSelectableItemAndWithoutOneNothingMoves) {
  EXPECT_EQ(At(MakeList("a.bC")).first, (std::array{3, 0, 3, 2}));
  ItemList* list = MakeList("abc");
  list->Next();
  list->Prev();
  EXPECT_EQ(At(list).first, (std::array{0, 0, 0, 0}));
  ItemList* empty = MakeList("");
  empty->Next();
  empty->Prev();
  EXPECT_EQ(empty->Current(), nullptr);
}

// A menu whose entries change state (a service switched, a mode left) keeps
// its selection, and its view, while the selected entry can still be
// chosen; otherwise the selection starts again at the top.
TEST_F(ItemListTest, ChangedItemsKeepTheSelectionWhileItCanStillBeChosen) {
  // The items after the change, in MakeList's letter code; the position then.
  const std::pair<const char*, std::array<int, 4>> cases[] = {
      {".BCDE", {3, 1, 2, 2}},  // one shown item fewer above it
      {"ABCdE", {0, 0, 0, 0}},  // it cannot be chosen any more
      {"ABC.E", {0, 0, 0, 0}},  // it is hidden
  };
  for (const auto& [after, position] : cases) {
    ItemList* list = MakeList("ABCDE");
    for (int i = 0; i < 3; ++i)
      list->Next();
    for (size_t i = 0; i < list->Count(); ++i) {
      const char letter = after[i];
      list->At(i)->SetSelectable(letter == '.' || isupper(letter));
      list->At(i)->SetShown(letter != '.');
    }
    list->ItemsChanged();
    EXPECT_EQ(At(list).first, position) << after;
  }
}

// A password field's bytes are overwritten where they lie: while typing
// (also past the first buffer's size) the secret never moves, and Wipe
// leaves nothing of it behind.
TEST(InputItemTest, PasswordBytesAreWipedInPlace) {
  InputItem item("Password:", "", 20);
  item.SetPassword(true);
  for (int i = 0; i < 4096; ++i)
    item.HandleKey('s');
  const char* bytes = item.GetValue().data();
  const size_t capacity = item.GetValue().capacity();
  item.HandleKey(KEY_BACKSPACE);
  item.Wipe();
  EXPECT_EQ(item.GetValue().data(), bytes);  // still the field's own buffer
  EXPECT_EQ(std::string(bytes, capacity).find('s'), std::string::npos);
  EXPECT_TRUE(item.GetValue().empty());
}

// Window: the tree of curses windows every screen is made of.
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
  Window::UpdateTerminal();
  // The cursor is shown, where the child put it (curs_set answers what it was).
  EXPECT_EQ(std::tuple(Window::CursorShown(), getcurx(stdscr), getcury(stdscr), curs_set(1)),
            std::tuple(true, 11, 6, 1));
  wtimeout(stdscr, 200);
  EXPECT_EQ(wgetch(stdscr), ERR) << "keys typed before the draw were delivered";
}

// A message longer than the stock box's three lines (the VLAN 4095 warning
// has two paragraphs) makes the box taller rather than being cut off.
TEST_F(WindowTest, LongMessageGrowsTheBox) {
  const std::string paragraph(120, 'x');
  MessageDialog dialog(nullptr, Strings::kRestartNetworkErrorTitle, paragraph + "\n\n" + paragraph);
  EXPECT_EQ(std::pair(getmaxx(dialog.GetWindow()), getmaxy(dialog.GetWindow())), std::pair(70, 12));
}

}  // namespace
}  // namespace Merel
