#include "TimeoutInput.h"

#include <curses.h>
#include <syslog.h>

#include <cerrno>
#include <cstdlib>

#include "FieldKeys.h"
#include "ItemList.h"
#include "MessageDialog.h"
#include "Platform.h"
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

int AdvcfgMinutes(std::string output) {
  if (!output.empty()) {
    output.pop_back();
  }
  errno = 0;
  char* end = nullptr;
  const long long seconds = std::strtoll(output.c_str(), &end, 10);
  if (end == output.c_str() || errno != 0 || seconds < 0 || seconds / 60 > 1000000) {
    return 0;
  }
  return static_cast<int>(seconds / 60);
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

void LogTimeoutChange(const char* what, int minutes) {
  if (minutes == 0) {
    Platform::Syslog(LOG_INFO, "Disabled %s", what);
  } else {
    Platform::Syslog(LOG_INFO, "Modified %s to %d minutes", what, minutes);
  }
}

}  // namespace Merel
