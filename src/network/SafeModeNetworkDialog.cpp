// Restore Standard Switch: the question (F11 only) and the message about a
// move that failed; the move is MoveManagementToStandardSwitch.
#include "SafeModeNetworkDialog.h"

#include <string>

#include "AdapterChoiceDialog.h"
#include "MessageDialog.h"
#include "StandardSwitchMove.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

SafeModeNetworkDialog::SafeModeNetworkDialog(Frame* parent) : Dialog(parent, {60, 12, 7}) {
  _text = AddContentText();
}

int SafeModeNetworkDialog::Loop() {
  // Only F11 confirms: the move takes every other interface down.
  if (!Ask(_strings->GetString(Strings::kRestoreStandardSwitchTitle),
           _strings->GetString(Strings::kRestoreStandardSwitchText), kF11OkCancelFooter, _text,
           _strings->GetString(Strings::kRestoreStandardSwitchQuestion), KEY_F(11))) {
    return 0;
  }
  using Outcome = StandardSwitchMove::Outcome;
  const StandardSwitchMove move = MoveManagementToStandardSwitch();
  if (move.outcome == Outcome::kMoved) {
    return 1;
  }
  std::string text;
  if (move.outcome == Outcome::kNoInterface) {
    text = "The host has no management interface. Nothing was changed.";
  } else {
    text = "Unable to move the management network onto a standard switch. Failed: " +
           AdapterChoiceDialog::Plain(move.failure) + "\n";
    text += move.outcome == Outcome::kFailedNotRestored
                ? "The network could not be put back completely. Check logs for details."
                : "The network was left as it was.";
  }
  MessageDialog message(this, Strings::kRestoreStandardSwitchTitle, text);
  Frame::Run(&message);
  return 0;
}

}  // namespace Merel
