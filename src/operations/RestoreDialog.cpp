#include "RestoreDialog.h"

#include "HostSettings.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{60, 12, 7};

const char* const kRestartFooter =
    "{align:right}{color:black}<Enter>{/color} {color:dark-grey}Restart Host{/color}{/align}";

}  // namespace

RestoreDialog::RestoreDialog(Frame* parent) : Dialog(parent, kSize) {
  _text = AddContentText();
}

int RestoreDialog::Loop() {
  // Only F11 confirms: Enter is too easily pressed for something this final.
  if (!Ask(_strings->GetString(Strings::kResetConfirmTitle),
           _strings->GetString(Strings::kResetConfirmText), kF11OkCancelFooter, _text,
           _strings->GetString(Strings::kResetQuestion), KEY_F(11))) {
    return 0;
  }

  const bool reset = ResetConfiguration([this] {
    SetTitle(_strings->GetString(Strings::kResetTitle));
    SetText(_strings->GetString(Strings::kResetWait));
    Window::UpdateTerminal();
  });
  if (!reset) {
    return 0;
  }

  if (_text != nullptr) {
    _text->SetText("");
  }
  SetFooter(kRestartFooter);
  SetText(_strings->GetString(Strings::kResetDone));
  // The old configuration is gone; the only way on is the restart.
  WaitForEnter(false);
  if (!RestartAfterReset()) {
    return 0;
  }
  WaitForTheEnd();
}

}  // namespace Merel
