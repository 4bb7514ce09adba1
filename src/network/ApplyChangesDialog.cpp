// Only Y and N answer, in either case: Enter is what the user pressed to
// leave the dialogs before, and must not apply the changes by accident.
#include "ApplyChangesDialog.h"

#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{70, 15, 10};

const char* const kFooter =
    "{color:black}<Y>{/color} {color:dark-grey}Yes{/color}  {color:black}<N>{/color} "
    "{color:dark-grey}No{/color}{align:right}{color:black}<Esc>{/color} "
    "{color:dark-grey}Cancel{/color}{/align}";

}  // namespace

ApplyChangesDialog::ApplyChangesDialog(Frame* parent, bool ipv6Toggled)
    : Dialog(parent, kSize), _ipv6Toggled(ipv6Toggled) {
  if (_contentWindow != nullptr) {
    _question = &_contentWindow->AddChild<TextArea>(0, 0, _contentWindow->GetWidth(),
                                                    _contentWindow->GetHeight(), kBlack);
  }
}

int ApplyChangesDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kApplyConfirmTitle));
  SetText(_strings->GetString(Strings::kApplyConfirmText));
  if (_question != nullptr) {
    _question->SetText(_strings->GetString(_ipv6Toggled ? Strings::kApplyRebootQuestion
                                                        : Strings::kApplyRestartQuestion));
  }
  SetFooter(kFooter);
  while (true) {
    switch (Frame::WaitForKey(this, true)) {
      case 'y':
      case 'Y':
        return kYes;
      case 'n':
      case 'N':
        return kNo;
      case kKeyEscape:
        return kCancel;
      default:
        break;
    }
  }
}

}  // namespace Merel
