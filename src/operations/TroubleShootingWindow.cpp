// The troubleshooting window. Every change is made by the host's own tools
// (the management command, else the service scripts); the window reads the
// services' states once and then trusts its own toggles, also when a tool
// failed, so that the labels follow what the user asked for.
#include "TroubleShootingWindow.h"

#include <memory>
#include <string>
#include <vector>

#include "HostServices.h"
#include "MerelTimeoutDialog.h"
#include "MessageDialog.h"
#include "RestartAgentsDialog.h"
#include "ShellTimeoutDialog.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

enum Entry { kShell = 0, kSsh = 1, kTimeouts = 2, kMerel = 3, kAgents = 4 };

// The two services the window switches on and off, and their texts.
struct ServiceTexts {
  HostService service;
  uint32_t enableKey;
  uint32_t disableKey;
};
const ServiceTexts kServices[] = {
    {HostService::kShell, Strings::kEnableShell, Strings::kDisableShell},
    {HostService::kSsh, Strings::kEnableSsh, Strings::kDisableSsh},
};

const char* const kLeftFooter = "{color:black}<Up/Down>{/color} {color:dark-grey}Select{/color}";
const char* const kChangeFooter =
    "{color:white}<Enter>{/color}{color:light-grey} Change{/color}{align:right}"
    "{color:white}<Esc>{/color}{color:light-grey} Exit{/color}{/align}";
const char* const kRestartFooter =
    "{color:white}<Enter>{/color}{color:light-grey} Restart{/color}{align:right}"
    "{color:white}<Esc>{/color}{color:light-grey} Exit{/color}{/align}";

}  // namespace

TroubleShootingWindow::TroubleShootingWindow(Frame* parent) : RootWindow(parent) {
  shellEnabled = ServiceRunning(HostService::kShell);
  sshEnabled = ServiceRunning(HostService::kSsh);
  using namespace Strings;
  auto help = [this](uint32_t key) {
    return [this, key] {
      return "{/color}{color:light-grey}" + std::string(_strings->GetString(key));
    };
  };
  // A service's entry switches it; its pane says how it is now.
  auto service = [this](int entry, uint32_t title, uint32_t helpKey, uint32_t on, uint32_t off) {
    const bool& enabled = entry == kShell ? shellEnabled : sshEnabled;
    const ServiceTexts& s = kServices[entry];
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
  bool& enabled = entry == kShell ? shellEnabled : sshEnabled;
  const std::string failure =
      SwitchService(_session.loginName, kServices[entry].service, !enabled);
  enabled = !enabled;
  if (!failure.empty()) {
    MessageDialog message(this, Strings::kAvailabilityTimeoutErrorTitle,
                          std::string(_strings->GetString(Strings::kAvailabilityTimerFailed)) +
                              "\n" + failure);
    Frame::Run(&message);
  }
}

int TroubleShootingWindow::Loop() {
  return RunEntries();
}

}  // namespace Merel
