// Restarting the management interface from the menu: the confirmation.
#pragma once

#include "Dialog.h"
#include "NexCtl/NexNic.h"
#include "TextArea.h"

namespace Merel {

class RestartNetworkDialog : public Dialog {
 public:
  // `nic` is the management interface; it stays the caller's.
  RestartNetworkDialog(Frame* parent, HostCtl::Network::NexNic* nic);
  // 1 when the restart was performed, 0 when cancelled with Esc.
  int Loop() override;

 private:
  HostCtl::Network::NexNic* _nic;
  TextArea* _text = nullptr;
};

}  // namespace Merel
