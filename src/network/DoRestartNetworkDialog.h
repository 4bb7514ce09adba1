// Restarting the management interface: the steps while they run, then the
// addresses the interface holds afterwards.
#pragma once

#include <string>
#include <vector>

#include "Dialog.h"
#include "HostCtl/Ipv6Network.h"
#include "NexCtl/NexNic.h"
#include "TextArea.h"

namespace Merel {

class DoRestartNetworkDialog : public Dialog {
 public:
  // `nic` is the management interface; it stays the caller's.
  DoRestartNetworkDialog(Frame* parent, HostCtl::Network::NexNic* nic);
  // Restarts at once (no key can stop it), then waits for Enter; returns 1.
  int Loop() override;

  // The result lines for the interface's IPv6 networks: at most two
  // addresses and an ellipsis, except that a list of exactly three is shown
  // whole. Only preferred addresses of a scope other than link-local show.
  static std::string Ipv6Lines(const std::vector<HostCtl::Network::Ipv6Network>& networks,
                               const std::string& label);

 private:
  HostCtl::Network::NexNic* _nic;
  TextArea* _text = nullptr;
};

}  // namespace Merel
