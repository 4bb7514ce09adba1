// The repair of the management interface's port on a distributed switch.
// Every opening reads the host afresh. When the interface is not on a
// distributed switch there is nothing to repair: a message says so and
// nothing changes. Otherwise the dialog names the switch and the port and
// says what is wrong with it, and Enter goes on to choose the uplinks of
// the replacement host-local port (see RestoreDvs.h for why a host-local
// port). The host is changed only after the uplinks are confirmed; a host
// failure is logged and shown with its text.
#include "RestoreDVSDialog.h"

#include <syslog.h>

#include <string>

#include "HostCtl/HostCtlException.h"
#include "MessageDialog.h"
#include "NoUplinksDialog.h"
#include "Platform.h"
#include "RestoreDvs.h"
#include "StringFactory.h"
#include "Terminal.h"
#include "UplinksDialog.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{70, 20, 6};

const char* const kQuestion = "Choose the uplinks of the new port?";
const char* const kFooter =
    "{align:right}{color:black}<Enter>{/color} {color:dark-grey}Choose Uplinks{/color}  "
    "{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}";

std::string StateText(const DvsPortHealth& health) {
  std::string text;
  auto add = [&](const char* part) { text += (text.empty() ? "" : "; ") + std::string(part); };
  if (health.missing) {
    add("missing on the switch");
  }
  if (health.blocked) {
    add("blocked");
  }
  if (health.noLink) {
    add("none of its uplinks has link");
  }
  return text.empty() ? "no fault found" : text;
}

std::string Summary(const DvsRepair& repair) {
  const std::string key = AdapterChoiceDialog::Plain(repair.portKey);
  const std::string port = key + (IsHostLocalPort(repair.portKey) ? " (host-local)" : "");
  const std::string settings = repair.health.missing ? "the switch's defaults" : "port " + key;
  const char* oldPort = IsHostLocalPort(repair.portKey) && !repair.health.missing
                            ? " The old host-local port is removed."
                            : " The old port stays for the switch's manager.";
  return "{align:padding:23}Management interface:{/align}" +
         AdapterChoiceDialog::Plain(repair.nic) +
         "\n{align:padding:23}Distributed switch:{/align}" +
         AdapterChoiceDialog::Plain(repair.dvSwitch) + "\n{align:padding:23}Port:{/align}" + port +
         "\n{align:padding:23}Port state:{/align}" + StateText(repair.health) +
         "\n\nA new host-local port, unblocked and on the uplinks you choose, takes over; its "
         "other settings come from " +
         settings + "." + oldPort + "\n\n" + kQuestion;
}

}  // namespace

RestoreDVSDialog::RestoreDVSDialog(Frame* parent) : Dialog(parent, kSize) {
  _body = AddContentText();
}

void RestoreDVSDialog::ShowFailure(const char* text) {
  Platform::Syslog(LOG_ERR, "%s", (std::string("Restoring DVS port failed: ") + text).c_str());
  MessageDialog message(this, Strings::kRestoreDvsErrorTitle,
                        std::string(_strings->GetString(Strings::kRestoreDvsFailed)) + "\n" +
                            AdapterChoiceDialog::Plain(text));
  Frame::Run(&message);
}

int RestoreDVSDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kRestoreDvsTitle));
  SetText(_strings->GetString(Strings::kRestoreDvsText));
  SetFooter("");
  DvsRepair repair;
  DvsReadResult read = DvsReadResult::kNoInterface;
  try {
    read = ReadDvsRepair(repair);
  } catch (const HostCtl::Lib::HostCtlException& e) {
    ShowFailure(e.what());
    return 0;
  }
  if (read != DvsReadResult::kReady) {
    const std::string text =
        read == DvsReadResult::kNoInterface
            ? "The host has no management interface. Nothing was changed."
            : "The management interface " + AdapterChoiceDialog::Plain(repair.nic) +
                  " is not on a distributed switch; there is no port to repair. Nothing was "
                  "changed.";
    MessageDialog message(this, Strings::kRestoreDvsTitle, text);
    Frame::Run(&message);
    return 0;
  }
  // The port's state stays in view behind a refusal.
  if (_body != nullptr) {
    _body->SetText(Summary(repair));
  }
  if (repair.candidates.empty()) {
    NoUplinksDialog refusal(this, AdapterChoiceDialog::Plain(repair.dvSwitch));
    Frame::Run(&refusal);
    return 0;
  }
  SetFooter(kFooter);
  while (true) {
    if (!WaitForKeyOrEscape(kKeyEnter)) {
      return 0;
    }
    UplinksDialog uplinks(this, repair);
    if (Frame::Run(&uplinks) == 0) {
      continue;  // back to the question; Esc here leaves
    }
    std::string portKey;
    try {
      portKey = ApplyDvsRepair(repair, uplinks.GetChosen());
    } catch (const HostCtl::Lib::HostCtlException& e) {
      ShowFailure(e.what());
      return 0;
    }
    MessageDialog done(this, Strings::kRestoreDvsTitle,
                       "The management interface " + AdapterChoiceDialog::Plain(repair.nic) +
                           " was moved to the host-local port " +
                           AdapterChoiceDialog::Plain(portKey) + " of " +
                           AdapterChoiceDialog::Plain(repair.dvSwitch) + ".");
    Frame::Run(&done);
    return 1;
  }
}

}  // namespace Merel
