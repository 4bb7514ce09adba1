// The simplest dialog: a title, a message and OK. Only Enter closes it, so a
// message cannot be dismissed by a stray Escape meant for the screen below.
#include "MessageDialog.h"

#include <algorithm>

#include "StringFactory.h"
#include "TextArea.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{70, 10, 7};
// The message sits in the title area, 3 columns in from either side and
// below the title: 3 lines in the stock size.
constexpr int kMessageWidth = kSize.width - 6;
constexpr int kMessageLines = kSize.titleHeight - 4;

// Rows the box grows by so that a long message (a host's error text, the
// two paragraphs of a warning) is shown whole instead of cut off; the stock
// 70 x 10 box for everything that fits, and never taller than the screen.
int ExtraRows(const std::string& message) {
  const int lines =
      TextArea::CountLines(TextArea::Layout(message, kMessageWidth, TextArea::Variables()));
  return std::clamp(lines - kMessageLines, 0, std::max(0, LINES - kSize.height));
}

const char* MessageText(uint32_t messageKey) {
  return GetStringFactory("en_US")->GetString(messageKey);
}

}  // namespace

MessageDialog::MessageDialog(Frame* parent, uint32_t titleKey, uint32_t messageKey)
    : MessageDialog(parent, titleKey, std::string(MessageText(messageKey))) {}

MessageDialog::MessageDialog(Frame* parent, uint32_t titleKey, std::string message)
    : MessageDialog(parent, std::string(MessageText(titleKey)), std::move(message)) {}

MessageDialog::MessageDialog(Frame* parent, std::string title, std::string message)
    : Dialog(
          parent,
          {kSize.width, kSize.height + ExtraRows(message), kSize.titleHeight + ExtraRows(message)}),
      _title(std::move(title)),
      _message(std::move(message)) {}

int MessageDialog::Loop() {
  SetTitle(_title);
  SetText(_message);
  SetFooter(kOkFooter);
  WaitForEnter();
  return 1;
}

}  // namespace Merel
