#include "RestartNetworkDialog.h"

#include "DoRestartNetworkDialog.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

const char* const kF11Footer =
    "{align:right}{color:black}<F11>{/color} {color:dark-grey}OK{/color}  "
    "{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}";

}  // namespace

RestartNetworkDialog::RestartNetworkDialog(Frame* parent, HostCtl::Network::NexNic* nic)
    : Dialog(parent, 70, 12, 7), _nic(nic) {
  if (_contentWindow != nullptr) {
    _text = &_contentWindow->AddChild<TextArea>(0, 0, _contentWindow->GetWidth(),
                                                _contentWindow->GetHeight(),
                                                _contentWindow->GetForeground());
  }
}

int RestartNetworkDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kRestartNetworkConfirmTitle));
  SetText(_strings->GetString(Strings::kRestartNetworkConfirmText));
  SetFooter(kF11Footer);
  if (_text != nullptr) {
    _text->SetText(_strings->GetString(Strings::kRestartNetworkQuestion));
  }
  // Only F11 confirms: the restart cuts remote access, so an Enter meant for
  // something else must not set it off.
  for (;;) {
    const int key = Frame::WaitForKey(this, true);
    if (key == kKeyEscape) {
      return 0;
    }
    if (key == KEY_F(11)) {
      break;
    }
  }
  DoRestartNetworkDialog restart(this, _nic);
  Frame::Run(&restart);
  return 1;
}

}  // namespace Merel
