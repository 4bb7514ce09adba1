#include "TimeoutInput.h"

#include <curses.h>


#include "FieldKeys.h"
#include "ItemList.h"
#include "MessageDialog.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

int ParseTimeoutMinutes(const std::string& digits) {
  int minutes = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') {
      return kMaxTimeoutMinutes + 1;
    }
    minutes = minutes * 10 + (c - '0');
    if (minutes > kMaxTimeoutMinutes) {
      return kMaxTimeoutMinutes + 1;
    }
  }
  return minutes;
}

bool IsTimeoutFieldKey(int key) {
  return FieldKeys::IsEditing(key) || FieldKeys::IsDigit(key);
}

bool EditTimeoutFields(Frame* dialog, ItemList* list) {
  while (true) {
    const int key = Frame::WaitForKey(dialog, true);
    if (key == kKeyEscape) {
      Window::ShowCursor(false);
      return false;
    }
    if (key == kKeyEnter) {
      return true;
    }
    if (key == KEY_UP) {
      list->Prev();
    } else if (key == KEY_DOWN) {
      list->Next();
    } else if (IsTimeoutFieldKey(key)) {
      static_cast<InputItem*>(list->Current())->HandleKey(key);
    } else {
      continue;
    }
    list->DrawItems();
  }
}

void ShowInvalidTimeout(Frame* parent) {
  MessageDialog message(parent, Strings::kInvalidTimeoutTitle, Strings::kInvalidTimeoutText);
  Frame::Run(&message);
}

std::optional<int> ChangedMinutes(Frame* parent, const std::string& text, int currentSeconds) {
  if (text.empty()) {
    return std::nullopt;
  }
  const int minutes = ParseTimeoutMinutes(text);
  if (minutes > kMaxTimeoutMinutes) {
    ShowInvalidTimeout(parent);
    return std::nullopt;
  }
  if (minutes * 60 == currentSeconds) {
    return std::nullopt;
  }
  return minutes;
}

}  // namespace Merel
