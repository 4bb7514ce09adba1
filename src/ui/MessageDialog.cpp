// The simplest dialog: a title, a message and OK. Only Enter closes it, so a
// message cannot be dismissed by a stray Escape meant for the screen below.
#include "MessageDialog.h"

#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr int kWidth = 70;
constexpr int kHeight = 10;
constexpr int kTitleHeight = 7;

}  // namespace

MessageDialog::MessageDialog(Frame* parent, uint32_t titleKey, uint32_t messageKey)
    : Dialog(parent, kWidth, kHeight, kTitleHeight),
      _titleKey(titleKey),
      _message(_strings->GetString(messageKey)) {}

MessageDialog::MessageDialog(Frame* parent, uint32_t titleKey, std::string message)
    : Dialog(parent, kWidth, kHeight, kTitleHeight),
      _titleKey(titleKey),
      _message(std::move(message)) {}

int MessageDialog::Loop() {
  SetTitle(_strings->GetString(_titleKey));
  SetText(_message);
  SetFooter(kOkFooter);
  while (Frame::WaitForKey(this, true) != kKeyEnter) {
  }
  return 1;
}

}  // namespace Merel
