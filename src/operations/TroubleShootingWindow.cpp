// The troubleshooting window. Every change is made by the host's own tools
// (the management command, else the service scripts); the window reads the
// services' states once and then trusts its own toggles, also when a tool
// failed, so that the labels follow what the user asked for.
#include "TroubleShootingWindow.h"

#include <syslog.h>

#include <memory>
#include <string>
#include <vector>

#include "Command.h"
#include "NexCtl/FirewallRuleset.h"
#include "HostCtl/HostCtlException.h"
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

bool RunManagement(const std::string& user, const char* command) {
  RoviCommand record{user, command, {}};
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
  using namespace Strings;
  auto help = [this](uint32_t key) {
    return [this, key] {
      return "{/color}{color:light-grey}" + std::string(_strings->GetString(key));
    };
  };
  // A service's entry switches it; its pane says how it is now.
  auto service = [this](int entry, uint32_t title, uint32_t helpKey, uint32_t on, uint32_t off) {
    const bool& enabled = entry == kShell ? shellEnabled : sshEnabled;
    const Service& s = kServices[entry];
    return MenuEntry{.label = s.enableKey,
                     .open = [this, entry] { Toggle(entry); },
                     .labelNow = [&enabled, &s] { return enabled ? s.disableKey : s.enableKey; },
                     .title = title,
                     .pane =
                         [this, &enabled, helpKey, on, off] {
                           return std::string("{/color}{color:white}") +
                                  _strings->GetString(enabled ? on : off) +
                                  "\n{/color}{color:light-grey}" + _strings->GetString(helpKey);
                         }};
  };
  SetEntries(kTroubleshootingTitle,
             {
                 service(kShell, kShellLabel, kHelpShellToggle, kShellEnabled, kShellDisabled),
                 service(kSsh, kSshLabel, kHelpSshToggle, kSshEnabled, kSshDisabled),
                 // Only while both services are off: a running service would
                 // keep its old time-outs.
                 {.label = kShellTimeouts,
                  .enabled = [this] { return !shellEnabled && !sshEnabled; },
                  .open = Opens<ShellTimeoutDialog>(this),
                  .pane = help(kHelpShellTimeouts)},
                 {.label = kMerelTimeout,
                  .open = Opens<MerelTimeoutDialog>(this),
                  .pane = help(kHelpMerelTimeout)},
                 {.label = kRestartAgents,
                  .open = Opens<RestartAgentsDialog>(this),
                  .pane = help(kHelpRestartAgents)},
             });
}

void TroubleShootingWindow::UpdateFooter() {
  _leftFooter->SetText(kLeftFooter);
  _rightFooter->SetText(SelectedIndex() == kAgents ? kRestartFooter : kChangeFooter);
}

void TroubleShootingWindow::Toggle(int entry) {
  const Service& service = kServices[entry];
  bool& enabled = entry == kShell ? shellEnabled : sshEnabled;
  const bool on = enabled;
  if (!RunManagement(_session.loginName, on ? service.stop : service.start)) {
    Platform::Syslog(LOG_WARNING, "Unable to run rovi-cmd to start/stop %s", service.toolName);
    RunServiceScript(service.script, on ? "stop" : "start");
    // The management command opens and closes the firewall itself; the
    // script does not.
    if (service.firewallRuleset != nullptr) {
      UpdateFirewall(service.firewallRuleset, !on);
    }
  }
  // Makes the state last across reboots; the script has no such step.
  if (!RunManagement(_session.loginName, on ? service.disable : service.enable)) {
    Platform::Syslog(LOG_WARNING, "Unable to run rovi-cmd to enable/disable %s", service.toolName);
  }
  enabled = !on;
  Platform::Syslog(
      LOG_INFO, "%s",
      ("User " + _session.loginName + (on ? " disabled " : " enabled ") + service.name).c_str());
}

int TroubleShootingWindow::Loop() {
  return RunEntries();
}

}  // namespace Merel
