#include "RestartNetworkDialog.h"

#include "DoRestartNetworkDialog.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

RestartNetworkDialog::RestartNetworkDialog(Frame* parent, HostCtl::Network::NexNic* nic)
    : Dialog(parent, {70, 12, 7}), _nic(nic) {
  _text = AddContentText();
}

int RestartNetworkDialog::Loop() {
  // Only F11 confirms: the restart cuts remote access, so an Enter meant for
  // something else must not set it off.
  if (!Ask(_strings->GetString(Strings::kRestartNetworkConfirmTitle),
           _strings->GetString(Strings::kRestartNetworkConfirmText), kF11OkCancelFooter, _text,
           _strings->GetString(Strings::kRestartNetworkQuestion), KEY_F(11))) {
    return 0;
  }
  DoRestartNetworkDialog restart(this, _nic);
  Frame::Run(&restart);
  return 1;
}

}  // namespace Merel
