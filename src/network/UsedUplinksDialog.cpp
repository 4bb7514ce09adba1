// Names every adapter and the standard switch that loses it, so that
// nobody cuts off a virtual machine network without seeing it.
#include "UsedUplinksDialog.h"

#include "StringFactory.h"
#include "Terminal.h"
#include "UsedAdaptersDialog.h"

namespace Merel {

namespace {

constexpr int kWidth = 70;
constexpr int kHeight = 16;
constexpr int kTitleHeight = 6;

}  // namespace

UsedUplinksDialog::UsedUplinksDialog(Frame* parent,
                                     const std::vector<Adapter>& adapters,
                                     const std::string& dvSwitch)
    : Dialog(parent, kWidth, kHeight, kTitleHeight),
      _body(UsedAdaptersDialog::Body(adapters, dvSwitch)) {
  if (_contentWindow != nullptr) {
    _bodyText = &_contentWindow->AddChild<TextArea>(0, 0, _contentWindow->GetWidth(),
                                                    _contentWindow->GetHeight(),
                                                    _contentWindow->GetForeground());
  }
}

int UsedUplinksDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kDvsUplinksWarningTitle));
  SetText(_strings->GetString(Strings::kAdaptersInUse));
  SetFooter(kOkCancelFooter);
  if (_bodyText != nullptr) {
    _bodyText->SetText(_body + "\n" + _strings->GetString(Strings::kContinueQuestion));
  }
  while (true) {
    const int key = Frame::WaitForKey(this, true);
    if (key == kKeyEnter || key == kKeyEscape) {
      return key == kKeyEnter ? 1 : 0;
    }
  }
}

}  // namespace Merel
