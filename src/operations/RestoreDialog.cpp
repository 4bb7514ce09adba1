#include "RestoreDialog.h"

#include <syslog.h>

#include "Command.h"
#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr int kWidth = 60;
constexpr int kHeight = 12;
constexpr int kTitleHeight = 7;

const char* const kRestartFooter =
    "{align:right}{color:black}<Enter>{/color} {color:dark-grey}Restart Host{/color}{/align}";

}  // namespace

RestoreDialog::RestoreDialog(Frame* parent) : Dialog(parent, kWidth, kHeight, kTitleHeight) {
  _text = AddContentText();
}

int RestoreDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kResetConfirmTitle));
  SetText(_strings->GetString(Strings::kResetConfirmText));
  if (_text != nullptr) {
    _text->SetText(_strings->GetString(Strings::kResetQuestion));
  }
  SetFooter(kF11OkCancelFooter);
  // Only F11 confirms: Enter is too easily pressed for something this final.
  if (!WaitForKeyOrEscape(KEY_F(11))) {
    return 0;
  }

  Platform::Syslog(LOG_INFO, "%s", "Restoring factory defaults");
  PostObsv("obsv.user.merel.restore.factory.defaults", "Restoring factory defaults");
  SetTitle(_strings->GetString(Strings::kResetTitle));
  SetText(_strings->GetString(Strings::kResetWait));
  Window::UpdateTerminal();
  // The tool's own verdict is not examined: the host restarts either way.
  if (Platform::System("/sbin/configReset.sh --reset-only > /dev/null 2>&1") == -1) {
    return 0;
  }

  if (_text != nullptr) {
    _text->SetText("");
  }
  SetFooter(kRestartFooter);
  SetText(_strings->GetString(Strings::kResetDone));
  // The old configuration is gone; the only way on is the restart.
  while (Frame::WaitForKey(this, false) != kKeyEnter) {
  }
  if (Platform::System("reboot -f") == -1) {
    return 0;
  }
  for (;;) {
    Frame::WaitForKey(this, false);
  }
}

}  // namespace Merel
