#include "DoRestartNetworkDialog.h"

#include "NetworkRestore.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

DoRestartNetworkDialog::DoRestartNetworkDialog(Frame* parent, HostCtl::Network::NexNic* nic)
    : Dialog(parent, {60, 12, 5}), _nic(nic) {
  // The body from its top row down to the footer: the five lines of a
  // static interface with an IPv6 address need all of it.
  const int height = _bodyWindow->GetHeight() - 2;
  if (height >= 1) {
    _text = &_bodyWindow->AddChild<TextArea>(2, 0, _bodyWindow->GetWidth() - 4, height, kDarkGrey);
  }
}

std::string DoRestartNetworkDialog::Ipv6Lines(
    const std::vector<HostCtl::Network::Ipv6Network>& networks,
    const std::string& label) {
  std::string lines;
  int shown = 0;
  for (size_t i = 0; i < networks.size(); ++i) {
    if (networks.size() != 3 && shown == 2) {
      lines += "   ...\n";
      break;
    }
    const auto& network = networks[i];
    if (network.GetIpv6AddressType() == HostCtl::Network::kIpv6AddressPreferred &&
        network.GetIpv6Scope() != HostCtl::Network::kIpv6ScopeLinkLocal) {
      lines += "   " + label + " " + network.GetStringAddress() + "\n";
      ++shown;
    }
  }
  return lines;
}

int DoRestartNetworkDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kRestartNetworkTitle));
  SetText(_strings->GetString(Strings::kRestartNetworkWait));
  SetFooter("");
  const std::string done = _strings->GetString(Strings::kDone);
  const std::string label = _strings->GetString(Strings::kIpAddressIs);
  // A dialog too small for its text still restarts the interface.
  auto append = [this](const std::string& part) {
    if (_text != nullptr) {
      _text->AppendText(part);
    }
  };
  auto stopping = [&] {
    if (_text != nullptr) {
      _text->SetText(_strings->GetString(Strings::kStoppingNetwork));
    }
    append(" ");
    // On screen while the interface is down, not only afterwards.
    Window::UpdateTerminal();
  };
  auto stopped = [&] {
    append(done);
    append("\n");
  };
  const InterfaceRestart restart = RestartManagementInterface(*_nic, stopping, stopped);
  append(_strings->GetString(Strings::kStartingNetwork));
  append(" ");
  if (!restart.useDhcp) {
    // A leased address is not awaited, so only a static one is shown.
    append("\n   " + label + " " + restart.ipv4Address + "\n");
  }
  if (!restart.ipv6Networks.empty()) {
    if (restart.useDhcp) {
      append("\n");
    }
    append(Ipv6Lines(restart.ipv6Networks, label));
  }
  append(done);
  SetFooter("{align:right}{color:black}<Enter>{/color}{color:dark-grey} OK{/color}{/align}");
  WaitForEnter();
  return 1;
}

}  // namespace Merel
