#include "DoRestoreNetworkDialog.h"

#include <syslog.h>

#include <string>

#include "HostCtl/HostCtlException.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/ResourceInfoImpl.h"
#include "Platform.h"
#include "PowerOffVms.h"
#include "RunningVMsWarningDialog.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

// Not the shut-down tool: this one leaves the host up.
const char* const kPowerOffTool = "/sbin/powerOffVms";

}  // namespace

// As large as the confirmation it opens from, which it covers whole; two
// lines for the description.
DoRestoreNetworkDialog::DoRestoreNetworkDialog(Frame* parent) : Dialog(parent, 60, 13, 6) {
  const int height = _bodyWindow->GetHeight() - 2;
  if (height >= 1) {
    _text = &_bodyWindow->AddChild<TextArea>(2, 0, _bodyWindow->GetWidth() - 4, height, kDarkGrey);
  }
}

void DoRestoreNetworkDialog::Append(const std::string& text) {
  if (_text != nullptr) {
    _text->AppendText(text);
  }
}

int DoRestoreNetworkDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kRestoreNetworkTitle));
  SetText(_strings->GetString(Strings::kRestoreNetworkWait));
  SetFooter("");
  const std::string done = _strings->GetString(Strings::kDone) + std::string("\n");
  const std::string failed = _strings->GetString(Strings::kFailed) + std::string("\n");
  // A host that cannot say whether machines run is not restored either: the
  // restore would cut them off unasked.
  try {
    int powerOffStatus = 0;
    if (NexCtl::Resource::ResourceInfoImpl().HasRunningVirtualMachines()) {
      RunningVMsWarningDialog warning(this);
      if (Frame::Run(&warning) == 0) {
        return 0;
      }
      if (_text != nullptr) {
        _text->SetText(_strings->GetString(Strings::kPoweringOffVms));
      }
      Append(" ");
      // On screen while the machines stop, which can take minutes.
      Window::UpdateTerminal();
      powerOffStatus = PowerOffVms(kPowerOffTool, false);
      if (powerOffStatus == 0) {
        Append(done);
      }
    }
    NexCtl::Network::NetworkInfoImpl network;
    // A dump target on the old network would point nowhere afterwards; it
    // goes even when the network itself is left alone.
    network.DisableNetDumper();
    if (powerOffStatus != 0) {
      // Machines still running keep their network.
      Append(failed);
      Platform::Syslog(LOG_ERR, "%s", "Error powering off VMs");
    } else {
      Append(_strings->GetString(Strings::kAutoConfiguringNetwork) + std::string(" "));
      Window::UpdateTerminal();
      Platform::Syslog(LOG_INFO, "%s", "Clearing Network Config");
      network.ClearNetworkConfig();
      Platform::Syslog(LOG_INFO, "%s", "Auto-Configuring Network");
      network.AutoConfigNetwork();
      Append(done);
    }
  } catch (const HostCtl::Lib::HostCtlException&) {
    Append(failed);
    Platform::Syslog(LOG_ERR, "%s", "Error auto-configuring network");
  }
  SetFooter("{align:right}{color:black}<Enter>{/color}{color:dark-grey} OK{/color}{/align}");
  while (Frame::WaitForKey(this, true) != kKeyEnter) {
  }
  return 1;
}

}  // namespace Merel
