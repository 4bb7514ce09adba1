// The keys a dialog lets into its typed fields, as classes: a dialog's key
// filter is built of these, so that every field edits alike.
#pragma once

#include <curses.h>

#include <cctype>
#include <cstddef>

#include "Item.h"

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

// A printable character or a byte of a UTF-8 letter (they arrive one by
// one; the field decides what it keeps).
inline bool IsTextByte(int key) {
  return key >= 0 && key <= 255 && (isprint(key) || key >= 0x80);
}

// Whether `key` may go on to `field`: editing keys always; a character only
// while the value is shorter than `limit`, the longest value the field can
// validly hold. A field that still shows the value it came with is replaced
// by the first character typed, so that one always fits.
inline bool Fits(const InputItem& field, int key, size_t limit) {
  return IsEditing(key) || field.IsPristine() || field.GetValue().size() < limit;
}

}  // namespace Merel::FieldKeys
