#include "TimeoutInput.h"

#include <limits>

#include "FieldKeys.h"
#include "FormDialog.h"
#include "MessageDialog.h"
#include "StringFactory.h"

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

namespace {

constexpr int kFieldLength = 5;

bool IsTimeoutFieldKey(int key) {
  return FieldKeys::IsEditing(key) || FieldKeys::IsDigit(key);
}

}  // namespace

FieldSpec TimeoutField(const std::string& label, int minutes) {
  return FieldSpec{label, std::to_string(minutes), kFieldLength, IsTimeoutFieldKey,
                   std::numeric_limits<size_t>::max()};
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
