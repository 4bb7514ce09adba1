// What a network dialog does when a field fails its check. Each field takes
// only the characters its value can hold (FieldKeys): a paste of a thousand
// characters, a control character or the bytes of a UTF-8 character stop at
// the key filter and never reach the value.
#pragma once

#include <curses.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "FieldKeys.h"
#include "Item.h"
#include "ItemList.h"
#include "MessageDialog.h"
#include "StringFactory.h"

namespace Merel {

// A field that failed its check: which field takes the focus, and the message
// (string-table keys) shown about it. A value that is well formed but means
// nothing on a network says why before the usual text: `text`, when set,
// is the whole text, and `title` the title where the table has none.
struct FieldError {
  int field = -1;
  uint32_t titleKey = 0;
  uint32_t textKey = 0;
  std::string title = {};
  std::string text = {};
  bool operator==(const FieldError&) const = default;

  std::string Title() const {
    return title.empty() ? GetStringFactory("en_US")->GetString(titleKey) : title;
  }
  std::string Text() const {
    return text.empty() ? GetStringFactory("en_US")->GetString(textKey) : text;
  }
};

// The error of `field` for a value refused with `reason` (from the address
// and name rules): the reason, then the text of `textKey`.
inline FieldError ReasonError(int field,
                              uint32_t titleKey,
                              uint32_t textKey,
                              const std::string& reason) {
  return FieldError{field, titleKey, textKey, "",
                    reason + " " + GetStringFactory("en_US")->GetString(textKey)};
}

// Focuses list item `listIndex`, shows the message of `error` over `dialog`,
// and leaves the cursor in the field for the correction.
inline void ShowFieldError(Frame* dialog, ItemList& list, int listIndex, const FieldError& error) {
  list.SelectShown(listIndex);
  list.DrawItems();
  MessageDialog message(dialog, error.Title(), error.Text());
  Frame::Run(&message);
  Window::ShowCursor(true);
  list.DrawItems();
}

}  // namespace Merel
