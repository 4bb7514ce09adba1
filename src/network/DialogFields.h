// What a network dialog does when a field fails its check. Each field takes
// only the characters its value can hold (FieldKeys): a paste of a thousand
// characters, a control character or the bytes of a UTF-8 character stop at
// the key filter and never reach the value.
#pragma once

#include <curses.h>

#include <cstddef>
#include <cstdint>

#include "FieldKeys.h"
#include "Item.h"
#include "ItemList.h"
#include "MessageDialog.h"

namespace Merel {

// A field that failed its check: which field takes the focus, and the message
// (string-table keys) shown about it.
struct FieldError {
  int field = -1;
  uint32_t titleKey = 0;
  uint32_t textKey = 0;
  bool operator==(const FieldError&) const = default;
};

// Focuses list item `listIndex`, shows the message of `error` over `dialog`,
// and leaves the cursor in the field for the correction.
inline void ShowFieldError(Frame* dialog, ItemList& list, int listIndex, const FieldError& error) {
  list.SelectShown(listIndex);
  list.DrawItems();
  MessageDialog message(dialog, error.titleKey, error.textKey);
  Frame::Run(&message);
  Window::ShowCursor(true);
  list.DrawItems();
}

}  // namespace Merel
