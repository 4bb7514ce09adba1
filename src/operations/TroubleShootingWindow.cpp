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
#include "HostCtl/FirewallRuleset.h"
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

const char* const kShellScript = "/etc/init.d/TarvikShell";
const char* const kSshScript = "/etc/init.d/SSH";

const char* const kLeftFooter = "{color:black}<Up/Down>{/color} {color:dark-grey}Select{/color}";
const char* const kChangeFooter =
    "{color:white}<Enter>{/color}{color:light-grey} Change{/color}{align:right}"
    "{color:white}<Esc>{/color}{color:light-grey} Exit{/color}{/align}";
const char* const kRestartFooter =
    "{color:white}<Enter>{/color}{color:light-grey} Restart{/color}{align:right}"
    "{color:white}<Esc>{/color}{color:light-grey} Exit{/color}{/align}";

// An entry of the list, drawn like the menu's: a bar across the list when
// focused.
class EntryItem : public LabelItem {
 public:
  using LabelItem::LabelItem;
  void Draw(TextArea& area) override {
    if (!_focused) {
      area.SetText(GetLabel());
      return;
    }
    const int bar = std::max(1, area.GetWidth() - 2);
    area.SetText(Selected("{align:padding:" + std::to_string(bar) + "}" + GetLabel() + "{/align}"));
  }
};

int RunScript(const char* script, const char* action) {
  // The script is a file of the host: its path is the host's too.
  const std::string path = Platform::HostPath(script);
  char* const argv[] = {const_cast<char*>("sh"), const_cast<char*>(path.c_str()),
                        const_cast<char*>(action), nullptr};
  return RunCommand("/bin/sh", argv, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0);
}

bool RunManagement(const char* command) {
  RoviCommand record{Frame::_loginName, command, {}};
  char out[256];
  char err[256];
  size_t outSize = sizeof(out);
  size_t errSize = sizeof(err);
  return RunRoviCommand(record, out, &outSize, err, &errSize, nullptr, 0) == 0;
}

void UpdateSshFirewall(bool enable) {
  try {
    auto ruleset = NexCtl::System::SystemInfoImpl().GetFirewallRulesetById("sshServer");
    if (ruleset == nullptr) {
      return;
    }
    if (enable) {
      ruleset->Enable();
    } else {
      ruleset->Disable();
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_WARNING, "Failed to update firewall sshServer ruleset status: %s",
                     e.what());
  }
}

}  // namespace

TroubleShootingWindow::TroubleShootingWindow(Frame* parent) : RootWindow(parent) {
  shellEnabled = RunScript(kShellScript, "status") == 0;
  sshEnabled = RunScript(kSshScript, "status") == 0;
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
  const bool selectable = !shellEnabled && !sshEnabled;
  const std::string label = _strings->GetString(Strings::kShellTimeouts);
  _entries[kTimeouts]->SetSelectable(selectable);
  _entries[kTimeouts]->SetLabel(selectable ? label : "{color:dark-grey}" + label + "{/color}");
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

void TroubleShootingWindow::ToggleShell() {
  const bool on = shellEnabled;
  if (!RunManagement(on ? "hostsvc/stop_tarvik_shell" : "hostsvc/start_tarvik_shell")) {
    Platform::Syslog(LOG_WARNING, "Unable to run rovi-cmd to start/stop Tarvik Shell");
    RunScript(kShellScript, on ? "stop" : "start");
  }
  // Makes the state last across reboots; the script has no such step.
  if (!RunManagement(on ? "hostsvc/disable_tarvik_shell" : "hostsvc/enable_tarvik_shell")) {
    Platform::Syslog(LOG_WARNING, "Unable to run rovi-cmd to enable/disable Tarvik Shell");
  }
  shellEnabled = !on;
  Platform::Syslog(LOG_INFO, "%s",
                   ("User " + Frame::_loginName + (on ? " disabled" : " enabled") + " Tarvik Shell")
                       .c_str());
  _entries[kShell]->SetLabel(
      _strings->GetString(shellEnabled ? Strings::kDisableShell : Strings::kEnableShell));
  UpdateTimeoutEntry();
}

void TroubleShootingWindow::ToggleSsh() {
  const bool on = sshEnabled;
  if (!RunManagement(on ? "hostsvc/stop_ssh" : "hostsvc/start_ssh")) {
    Platform::Syslog(LOG_WARNING, "Unable to run rovi-cmd to start/stop ssh");
    RunScript(kSshScript, on ? "stop" : "start");
    // The management command opens and closes the firewall itself; the
    // script does not.
    UpdateSshFirewall(!on);
  }
  if (!RunManagement(on ? "hostsvc/disable_ssh" : "hostsvc/enable_ssh")) {
    Platform::Syslog(LOG_WARNING, "Unable to run rovi-cmd to enable/disable ssh");
  }
  sshEnabled = !on;
  Platform::Syslog(
      LOG_INFO, "%s",
      ("User " + Frame::_loginName + (on ? " disabled" : " enabled") + " SSH").c_str());
  _entries[kSsh]->SetLabel(
      _strings->GetString(sshEnabled ? Strings::kDisableSsh : Strings::kEnableSsh));
  UpdateTimeoutEntry();
}

void TroubleShootingWindow::Open(int index) {
  switch (index) {
    case kShell:
      ToggleShell();
      break;
    case kSsh:
      ToggleSsh();
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
