// Item lists: movement over shown, selectable items with the view scrolling,
// and what the rows show on a real curses screen.
#include <curses.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "CursesFixture.h"
#include "ItemList.h"

namespace Merel {
namespace {

using MerelTest::CursesScreen;

// One item per letter: upper case selectable, lower case not, '.' hidden
// (selectable); the label is the letter.
std::vector<std::unique_ptr<Item>> MakeItems(const std::string& letters) {
  std::vector<std::unique_ptr<Item>> items;
  for (char c : letters) {
    auto item = std::make_unique<LabelItem>(std::string(1, c), c == '.' || isupper(c));
    item->SetShown(c != '.');
    items.push_back(std::move(item));
  }
  return items;
}

// current index, top, row, shown index
using Position = std::array<int, 4>;

class ItemListTest : public testing::Test {
 protected:
  ItemList* MakeList(int rows, const std::string& letters) {
    ItemList* list = Window::Make<ItemList>(&_parent, 1, 1, 20, rows);
    list->SetItems(MakeItems(letters));
    return list;
  }

  static Position At(const ItemList& list) {
    return {list.CurrentIndex(), list.GetTop(), list.GetRow(), list.GetShownIndex()};
  }

  std::string Row(ItemList* list, int row) {
    std::string text = CursesScreen::RowText(list->GetWindow(), row);
    return text.substr(0, text.find_last_not_of(' ') + 1);
  }

  CursesScreen _screen;
  Window _parent{0, 0, 30, 10, kYellow, kWhite};
};

// Items:      0 A, 1 b (unselectable), 2 . (hidden), 3 C, 4 D, 5 e, 6 F; three rows.
TEST_F(ItemListTest, DownAndUpSkipUnselectableAndHiddenAndScrollTheView) {
  ItemList* list = MakeList(3, "Ab.CDeF");
  EXPECT_EQ(At(*list), (Position{0, 0, 0, 0}));
  const std::vector<std::pair<char, Position>> steps = {
      {'v', {3, 1, 2, 2}},  // past b and the hidden item; index 3 is below the view
      {'v', {4, 2, 2, 3}}, {'v', {6, 4, 2, 5}},
      {'v', {6, 4, 2, 5}},  // end of the list: nothing changes
      {'^', {4, 4, 0, 3}},  // e is passed, D is in view
      {'^', {3, 3, 0, 2}},  // above the view: it scrolls up to C
      {'^', {0, 0, 0, 0}},  // past the hidden item and b
      {'^', {0, 0, 0, 0}},  // top: nothing changes
  };
  for (const auto& [key, expected] : steps) {
    if (key == 'v') {
      list->Next();
    } else {
      list->Prev();
    }
    EXPECT_EQ(At(*list), expected);
    EXPECT_EQ(list->Current(), list->At(static_cast<size_t>(expected[0])));
    for (size_t i = 0; i < list->Count(); ++i) {
      EXPECT_EQ(list->At(i)->IsFocused(), static_cast<int>(i) == expected[0]) << i;
    }
  }
}

TEST_F(ItemListTest, FirstShownSelectableItemIsCurrentAfterSetItems) {
  ItemList* list = MakeList(3, "a.bC");
  EXPECT_EQ(At(*list), (Position{3, 0, 3, 2}));
  EXPECT_TRUE(list->Current()->IsFocused());
}

TEST_F(ItemListTest, NoSelectableItemsNothingMoves) {
  ItemList* list = MakeList(3, "abc");
  EXPECT_EQ(At(*list), (Position{0, 0, 0, 0}));
  list->Next();
  EXPECT_EQ(At(*list), (Position{0, 0, 0, 0}));
  list->Prev();
  EXPECT_EQ(At(*list), (Position{0, 0, 0, 0}));

  ItemList* empty = MakeList(3, "");
  empty->Next();
  empty->Prev();
  EXPECT_EQ(empty->Current(), nullptr);
}

TEST_F(ItemListTest, SelectShownCountsShownItemsSelectableOrNot) {
  ItemList* list = MakeList(5, "Ab.CDeF");
  list->SelectShown(3);  // A b C D: the fourth shown item is D, index 4
  EXPECT_EQ(At(*list), (Position{4, 0, 4, 3}));
  list->SelectShown(1);  // b, although it cannot be chosen with the keys
  EXPECT_EQ(At(*list), (Position{1, 0, 1, 1}));
  list->SelectShown(6);  // only six shown items (0..5): nothing changes
  EXPECT_EQ(At(*list), (Position{1, 0, 1, 1}));
  list->Next();
  EXPECT_EQ(At(*list), (Position{3, 0, 3, 2}));
}

TEST_F(ItemListTest, RowsShowShownItemsFromTheTopOfTheView) {
  ItemList* list = MakeList(3, "Ab.CDeF");
  list->Draw(true);
  EXPECT_EQ(Row(list, 0), "A");
  EXPECT_EQ(Row(list, 1), "b");
  EXPECT_EQ(Row(list, 2), "C");
  list->Next();
  list->Next();  // D; view from index 2: the hidden item takes no row
  EXPECT_EQ(Row(list, 0), "C");
  EXPECT_EQ(Row(list, 1), "D");
  EXPECT_EQ(Row(list, 2), "e");
  list->Next();  // F; view from index 4
  EXPECT_EQ(Row(list, 0), "D");
  EXPECT_EQ(Row(list, 1), "e");
  EXPECT_EQ(Row(list, 2), "F");

  ItemList* shortList = MakeList(3, "A");
  shortList->Draw(true);
  EXPECT_EQ(Row(shortList, 1), "");
}

TEST_F(ItemListTest, CheckRadioAndInputItemsDrawTheirLines) {
  ItemList* list = Window::Make<ItemList>(&_parent, 0, 0, 30, 4);
  std::vector<std::unique_ptr<Item>> items;
  items.push_back(std::make_unique<CheckItem>("Enable", true, 2));
  items.push_back(std::make_unique<RadioItem>("German", false));
  auto input = std::make_unique<InputItem>("Host", "esx", 10);
  InputItem* field = input.get();
  items.push_back(std::move(input));
  list->SetItems(std::move(items));
  list->SelectShown(2);
  list->Draw(true);
  EXPECT_EQ(Row(list, 0), "  [X] Enable");
  EXPECT_EQ(Row(list, 1), "( ) German");
  EXPECT_EQ(Row(list, 2), "Host" + std::string(11, ' ') + " [ esx        ]");
  // The focused field puts the terminal cursor after its text:
  // column cursor - scroll + W - fw - 2 of the item's row.
  EXPECT_TRUE(field->IsFocused());
  EXPECT_EQ(Window::_xCursor, list->GetX() + 3 + 30 - 10 - 2);
  EXPECT_EQ(Window::_yCursor, list->GetY() + 2);
}

}  // namespace
}  // namespace Merel
