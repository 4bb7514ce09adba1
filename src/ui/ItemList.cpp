// The item list of dialogs and menus. The view is described in indices of the
// whole list (top, and row = current - top), while hidden items take no line
// on screen; the shown index (shown items before the current one) is what
// dialogs use to tell their fields apart.
#include "ItemList.h"

#include <algorithm>

namespace Merel {

ItemList::ItemList(Window* parent,
                   int x,
                   int y,
                   int width,
                   int height,
                   int background,
                   int foreground)
    : Window(parent, x, y, width, height, background, foreground) {
  for (int r = 0; r < height; ++r) {
    _rows.push_back(&AddChild<TextArea>(0, r, width, 1, _foreground));
  }
}

void ItemList::SetItems(std::vector<std::unique_ptr<Item>> items) {
  _items = std::move(items);
  _top = 0;
  _row = 0;
  _shownIndex = 0;
  int shown = 0;
  for (size_t i = 0; i < _items.size(); ++i) {
    if (_items[i]->IsShown() && _items[i]->IsSelectable()) {
      _row = static_cast<int>(i);
      _shownIndex = shown;
      break;
    }
    if (_items[i]->IsShown()) {
      ++shown;
    }
  }
  UpdateFocus();
}

void ItemList::ItemsChanged() {
  const Item* current = Current();
  if (current == nullptr || !current->IsShown() || !current->IsSelectable()) {
    SetItems(std::move(_items));
    return;
  }
  const size_t index = static_cast<size_t>(CurrentIndex());
  _shownIndex = static_cast<int>(std::count_if(_items.begin(), _items.begin() + index,
                                               [](const auto& item) { return item->IsShown(); }));
  UpdateFocus();
}

Item* ItemList::Current() const {
  const int index = _top + _row;
  if (index < 0 || static_cast<size_t>(index) >= _items.size()) {
    return nullptr;
  }
  return _items[static_cast<size_t>(index)].get();
}

void ItemList::Next() {
  const int count = static_cast<int>(_items.size());
  int i = _top + _row;
  if (i < 0 || i >= count) {
    return;
  }
  int shownIndex = _shownIndex;
  while (true) {
    if (_items[static_cast<size_t>(i)]->IsShown()) {
      ++shownIndex;
    }
    ++i;
    if (i >= count) {
      return;  // Nothing further down can take the focus.
    }
    const Item& item = *_items[static_cast<size_t>(i)];
    if (item.IsShown() && item.IsSelectable()) {
      break;
    }
  }
  const int rows = static_cast<int>(_rows.size());
  if (i >= _top + rows) {
    _top = i - rows + 1;
  }
  _row = i - _top;
  _shownIndex = shownIndex;
  UpdateFocus();
  DrawItems();
}

void ItemList::Prev() {
  const int count = static_cast<int>(_items.size());
  int shownIndex = _shownIndex;
  for (int i = std::min(_top + _row, count) - 1; i >= 0; --i) {
    const Item& item = *_items[static_cast<size_t>(i)];
    if (!item.IsShown()) {
      continue;
    }
    --shownIndex;
    if (!item.IsSelectable()) {
      continue;
    }
    if (i < _top) {
      _top = i;
      _row = 0;
    } else {
      _row = i - _top;
    }
    _shownIndex = shownIndex;
    UpdateFocus();
    DrawItems();
    return;
  }
}

void ItemList::SelectShown(int n) {
  int shown = 0;
  for (size_t i = 0; i < _items.size(); ++i) {
    if (!_items[i]->IsShown()) {
      continue;
    }
    if (shown == n) {
      // Meant for a view at the top (right after the items are set): the
      // view itself is not moved.
      _row = static_cast<int>(i);
      _shownIndex = n;
      UpdateFocus();
      return;
    }
    ++shown;
  }
}

void ItemList::Draw(bool active) {
  Window::Draw(active);
  DrawItems();
}

void ItemList::DrawItems() {
  UpdateFocus();
  // The current item is drawn last: an input field places the terminal
  // cursor, and a later row's refresh would take it away again.
  TextArea* currentRow = nullptr;
  Item* current = nullptr;
  size_t i = _top < 0 ? 0 : static_cast<size_t>(_top);
  for (TextArea* row : _rows) {
    while (i < _items.size() && !_items[i]->IsShown()) {
      ++i;
    }
    if (i >= _items.size()) {
      row->SetText("");
    } else if (_items[i]->IsFocused()) {
      currentRow = row;
      current = _items[i].get();
      ++i;
    } else {
      _items[i]->Draw(*row);
      ++i;
    }
  }
  if (current != nullptr) {
    current->Draw(*currentRow);
  }
}

void ItemList::UpdateFocus() {
  const int current = _top + _row;
  for (size_t i = 0; i < _items.size(); ++i) {
    _items[i]->SetFocused(static_cast<int>(i) == current);
  }
}

}  // namespace Merel
