// A vertical list of items, one text area per row, with a current item that
// moves over the shown, selectable items.
#pragma once

#include <memory>
#include <vector>

#include "Item.h"
#include "TextArea.h"
#include "Window.h"

namespace Merel {

class ItemList : public Window {
 public:
  ItemList(Window* parent, int x, int y, int width, int height, int background = -1,
           int foreground = -1);

  // Takes the items; the first shown and selectable item becomes current.
  void SetItems(std::vector<std::unique_ptr<Item>> items);
  // After items were shown, hidden, enabled or disabled: the current item
  // stays current, and the view where it is, while it can still be chosen;
  // otherwise the first shown and selectable item becomes current.
  void ItemsChanged();
  void Prev();
  void Next();
  void SelectShown(int n);
  Item* Current() const;
  int CurrentIndex() const { return _top + _row; }
  int GetTop() const { return _top; }
  int GetRow() const { return _row; }
  int GetShownIndex() const { return _shownIndex; }
  size_t Count() const { return _items.size(); }
  Item* At(size_t i) const { return _items[i].get(); }
  void Draw(bool active) override;
  // Redraws the rows without the whole window machinery.
  void DrawItems();

 private:
  // Sets the focused flag on the current item and clears it on the others.
  void UpdateFocus();

  std::vector<std::unique_ptr<Item>> _items;
  std::vector<TextArea*> _rows;
  int _top = 0;
  int _row = 0;
  int _shownIndex = 0;
};

}  // namespace Merel
