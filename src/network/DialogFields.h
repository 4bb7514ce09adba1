// The keys the network dialogs let into their fields, and what a dialog does
// when a field fails its check. Each field takes only the characters its value
// can hold: a paste of a thousand characters, a control character or the bytes
// of a UTF-8 character stop at the key filter and never reach the value.
#pragma once

#include <curses.h>

#include <cstddef>
#include <cstdint>

#include "Item.h"
#include "ItemList.h"
#include "MessageDialog.h"

namespace Merel::FieldKeys {

// Cursor movement and deletion inside a field.
inline bool IsEditing(int key) {
  switch (key) {
    case 8:
    case KEY_BACKSPACE:
    case KEY_DC:
    case KEY_LEFT:
    case KEY_RIGHT:
    case KEY_HOME:
    case KEY_END:
      return true;
    default:
      return false;
  }
}

inline bool IsDigit(int key) {
  return key >= '0' && key <= '9';
}

inline bool IsLetter(int key) {
  return (key >= 'a' && key <= 'z') || (key >= 'A' && key <= 'Z');
}

inline bool IsHexDigit(int key) {
  return IsDigit(key) || (key >= 'a' && key <= 'f') || (key >= 'A' && key <= 'F');
}

// Whether `key` may go on to `field`: editing keys always; a character only
// while the value is shorter than `limit`, the longest value the field can
// validly hold. A field that still shows the value it came with is replaced
// by the first character typed, so that one always fits.
inline bool Fits(const InputItem& field, int key, size_t limit) {
  return IsEditing(key) || field.IsPristine() || field.GetValue().size() < limit;
}

}  // namespace Merel::FieldKeys

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
