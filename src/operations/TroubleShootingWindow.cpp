// The troubleshooting window. Every change is made by the host's own tools
// (the management command, else the service scripts); the window reads the
// services' states once and then trusts its own toggles, also when a tool
// failed, so that the labels follow what the user asked for.
#include "TroubleShootingWindow.h"

#include <syslog.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "Command.h"
#include "NexCtl/FirewallRuleset.h"
#include "HostCtl/HostCtlException.h"
#include "Item.h"
#include "MerelTimeoutDialog.h"
#include "NexCtl/SystemInfoImpl.h"
#include "Platform.h"
#include "RestartAgentsDialog.h"
#include "ShellTimeoutDialog.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

enum Entry { kShell = 0, kSsh = 1, kTimeouts = 2, kMerel = 3, kAgents = 4 };

// The two services the window switches on and off.
struct Service {
  const char* script;
  const char* start;  // management commands
  const char* stop;
  const char* enable;
  const char* disable;
  const char* toolName;         // in the tool warnings
  const char* name;             // in the log line of the change
  const char* firewallRuleset;  // opened by the management command only
  uint32_t enableKey;
  uint32_t disableKey;
};
const Service kServices[] = {
    {"/etc/init.d/TarvikShell", "hostsvc/start_tarvik_shell", "hostsvc/stop_tarvik_shell",
     "hostsvc/enable_tarvik_shell", "hostsvc/disable_tarvik_shell", "Tarvik Shell", "Tarvik Shell",
     nullptr, Strings::kEnableShell, Strings::kDisableShell},
    {"/etc/init.d/SSH", "hostsvc/start_ssh", "hostsvc/stop_ssh", "hostsvc/enable_ssh",
     "hostsvc/disable_ssh", "ssh", "SSH", "sshServer", Strings::kEnableSsh, Strings::kDisableSsh},
};

const char* const kLeftFooter = "{color:black}<Up/Down>{/color} {color:dark-grey}Select{/color}";
const char* const kChangeFooter =
    "{color:white}<Enter>{/color}{color:light-grey} Change{/color}{align:right}"
    "{color:white}<Esc>{/color}{color:light-grey} Exit{/color}{/align}";
const char* const kRestartFooter =
    "{color:white}<Enter>{/color}{color:light-grey} Restart{/color}{align:right}"
    "{color:white}<Esc>{/color}{color:light-grey} Exit{/color}{/align}";

bool RunManagement(const char* command) {
  RoviCommand record{Frame::_loginName, command, {}};
  char out[256];
  char err[256];
  size_t outSize = sizeof(out);
  size_t errSize = sizeof(err);
  return RunRoviCommand(record, out, &outSize, err, &errSize, nullptr, 0) == 0;
}

void UpdateFirewall(const char* rulesetId, bool enable) {
  try {
    auto ruleset = NexCtl::System::SystemInfoImpl().GetFirewallRulesetById(rulesetId);
    if (ruleset == nullptr) {
      return;
    }
    if (enable) {
      ruleset->Enable();
    } else {
      ruleset->Disable();
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_WARNING, "Failed to update firewall %s ruleset status: %s", rulesetId,
                     e.what());
  }
}

}  // namespace

TroubleShootingWindow::TroubleShootingWindow(Frame* parent) : RootWindow(parent) {
  shellEnabled = RunServiceScript(kServices[kShell].script, "status") == 0;
  sshEnabled = RunServiceScript(kServices[kSsh].script, "status") == 0;
  std::vector<std::unique_ptr<Item>> items;
  for (uint32_t key : {shellEnabled ? Strings::kDisableShell : Strings::kEnableShell,
                       sshEnabled ? Strings::kDisableSsh : Strings::kEnableSsh,
                       Strings::kShellTimeouts, Strings::kMerelTimeout, Strings::kRestartAgents}) {
    auto item = std::make_unique<EntryItem>(_strings->GetString(key));
    _entries[items.size()] = item.get();
    items.push_back(std::move(item));
  }
  _menu->SetItems(std::move(items));
  UpdateTimeoutEntry();
}

void TroubleShootingWindow::UpdateTimeoutEntry() {
  _entries[kTimeouts]->SetSelectable(!shellEnabled && !sshEnabled);
}

int TroubleShootingWindow::FocusedIndex() const {
  return _menu->GetTop() + _menu->GetRow();
}

void TroubleShootingWindow::UpdateFooter() {
  _leftFooter->SetText(kLeftFooter);
  _rightFooter->SetText(FocusedIndex() == kAgents ? kRestartFooter : kChangeFooter);
}

void TroubleShootingWindow::RefreshContents() {
  _leftTitle->SetText(_strings->GetString(Strings::kTroubleshootingTitle));
  _menu->DrawItems();
  const int index = FocusedIndex();
  uint32_t heading = 0;
  std::string text;
  switch (index) {
    case kShell:
      heading = Strings::kShellLabel;
      text = std::string("{/color}{color:white}") +
             _strings->GetString(shellEnabled ? Strings::kShellEnabled : Strings::kShellDisabled) +
             "\n{/color}{color:light-grey}" + _strings->GetString(Strings::kHelpShellToggle);
      break;
    case kSsh:
      heading = Strings::kSshLabel;
      text = std::string("{/color}{color:white}") +
             _strings->GetString(sshEnabled ? Strings::kSshEnabled : Strings::kSshDisabled) +
             "\n{/color}{color:light-grey}" + _strings->GetString(Strings::kHelpSshToggle);
      break;
    case kTimeouts:
      heading = Strings::kShellTimeouts;
      text = std::string("{/color}{color:light-grey}") +
             _strings->GetString(Strings::kHelpShellTimeouts);
      break;
    case kMerel:
      heading = Strings::kMerelTimeout;
      text = std::string("{/color}{color:light-grey}") +
             _strings->GetString(Strings::kHelpMerelTimeout);
      break;
    default:
      heading = Strings::kRestartAgents;
      text = std::string("{/color}{color:light-grey}") +
             _strings->GetString(Strings::kHelpRestartAgents);
      break;
  }
  _rightTitle->SetText(_strings->GetString(heading));
  _rightText->SetText(text);
  // The list and the pane reach down to the footer line: footers go last.
  UpdateFooter();
}

void TroubleShootingWindow::Toggle(int entry) {
  const Service& service = kServices[entry];
  bool& enabled = entry == kShell ? shellEnabled : sshEnabled;
  const bool on = enabled;
  if (!RunManagement(on ? service.stop : service.start)) {
    Platform::Syslog(LOG_WARNING, "Unable to run rovi-cmd to start/stop %s", service.toolName);
    RunServiceScript(service.script, on ? "stop" : "start");
    // The management command opens and closes the firewall itself; the
    // script does not.
    if (service.firewallRuleset != nullptr) {
      UpdateFirewall(service.firewallRuleset, !on);
    }
  }
  // Makes the state last across reboots; the script has no such step.
  if (!RunManagement(on ? service.disable : service.enable)) {
    Platform::Syslog(LOG_WARNING, "Unable to run rovi-cmd to enable/disable %s", service.toolName);
  }
  enabled = !on;
  Platform::Syslog(
      LOG_INFO, "%s",
      ("User " + Frame::_loginName + (on ? " disabled " : " enabled ") + service.name).c_str());
  _entries[entry]->SetLabel(_strings->GetString(enabled ? service.disableKey : service.enableKey));
  UpdateTimeoutEntry();
}

void TroubleShootingWindow::Open(int index) {
  switch (index) {
    case kShell:
    case kSsh:
      Toggle(index);
      break;
    case kTimeouts: {
      ShellTimeoutDialog dialog(this);
      Frame::Run(&dialog);
      break;
    }
    case kMerel: {
      MerelTimeoutDialog dialog(this);
      Frame::Run(&dialog);
      break;
    }
    case kAgents: {
      RestartAgentsDialog dialog(this);
      Frame::Run(&dialog);
      break;
    }
    default:
      return;
  }
  RefreshContents();
}

int TroubleShootingWindow::Loop() {
  return RunEntries();
}

void TroubleShootingWindow::OpenSelected() {
  Open(FocusedIndex());
}

}  // namespace Merel
