// The System Customization menu. What the host allows is asked once, when
// the menu is built: entries the host cannot use now stay in their place but
// are greyed out and cannot be chosen, so the menu keeps the same shape on
// every host and the cursor never rests on something Enter cannot open.
#include "GeneralWindow.h"

#include <syslog.h>

#include <string>

#include "ChangePasswordDialog.h"
#include "DriverVMDialog.h"
#include "HostCtl/HostCtlException.h"
#include "HostSettings.h"
#include "KeyboardDialog.h"
#include "LockdownDialog.h"
#include "LogViewer.h"
#include "MessageDialog.h"
#include "NetworkOwner.h"
#include "NetworkRestoreWindow.h"
#include "NetworkWindow.h"
#include "NexCtl/AdvancedOptionImpl.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/PciInfoImpl.h"
#include "Platform.h"
#include "RestartNetworkDialog.h"
#include "RestoreDialog.h"
#include "StringFactory.h"
#include "SupportInformationDialog.h"
#include "Terminal.h"
#include "TestDialog.h"
#include "TroubleShootingWindow.h"

namespace Merel {


namespace {

const char* const kLeftFooterStart =
    "{color:black}<Up/Down>{/color}{color:dark-grey} Select{/color}";
const char* const kRightFooter =
    "{align:right}{color:white}<Esc>{/color}{color:light-grey} Log Out{/color}{/align}";
const char* const kSupportInformationHelp =
    "To view the support information of this host, press <Enter>.";

// Locates the management interface afresh into `mgmtIntf` the
// way the network screens do; the previous one is released first. False when
// the host failed to answer (then there is none), so that a failure can be
// told from a host without a management interface.
bool LocateManagementInterface(std::unique_ptr<HostCtl::Network::NexNic>& mgmtIntf) {
  mgmtIntf.reset();
  try {
    NexCtl::Network::NetworkInfoImpl info;
    info.UpdateManagementInterface();
    mgmtIntf = info.GetManagementInterface();
    return true;
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Locating the management interface failed: %s", e.what());
    return false;
  }
}

bool NetworkBooted() {
  try {
    return NexCtl::Adv::AdvancedOptionImpl().FindOption("/UserVars/PXEBootEnabled") != nullptr;
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting PXEBootEnabled failed: %s", e.what());
    return false;
  }
}

int DeviceAssignmentState() {
  try {
    return NexCtl::Hardware::PciInfoImpl().GetDeviceAssignmentState();
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting device assignment state failed: %s", e.what());
    return 0;
  }
}

}  // namespace

// What the host allows, as found when the menu is built.
struct MenuFlags {
  bool lockdownOnHost = true;  // whether the host has lockdown mode at all
  bool resetOnHost = true;     // whether it has a configuration to reset to
  bool lockdownAvailable = false;
  bool managementInterfaceFound = false;
  bool networkBooted = false;
  int deviceAssignmentState = 0;  // 0 unsupported, 1 supported, 2 configurable
  bool usingKeyboard = false;
};

struct GeneralWindow::Impl {
  MenuFlags flags;
  LogViewer logs;
};

std::vector<MenuEntry> GeneralWindow::Entries() {
  using namespace Strings;
  const MenuFlags& flags = _impl->flags;
  auto network = [&flags] { return flags.managementInterfaceFound; };
  return {
      {.label = kMenuConfigurePassword,
       .help = kHelpPasswordUnset,
       .open = Opens<ChangePasswordDialog>(this)},
      // A host without lockdown mode keeps the entry, to say so.
      {.label = kMenuConfigureLockdown,
       .help = flags.lockdownOnHost ? kHelpLockdown : kLockdownUnavailable,
       .enabled = [&flags] { return flags.lockdownAvailable || !flags.lockdownOnHost; },
       .open = [this] { OpenLockdown(); }},
      {},
      {.label = kMenuConfigureDriverVm,
       .help = kHelpDriverVm,
       .shown =
           [&flags] {
             return flags.deviceAssignmentState == 1 || flags.deviceAssignmentState == 2;
           },
       .enabled = [&flags] { return flags.deviceAssignmentState == 2; },
       .open = Opens<DriverVMDialog>(this)},
      {.label = kMenuConfigureNetwork,
       .help = kHelpConfigureNetwork,
       .enabled = network,
       .open = Opens<NetworkWindow>(this)},
      {.label = kMenuRestartNetwork,
       .help = kHelpRestartNetwork,
       .enabled = network,
       .open = [this] { RestartManagementNetwork(); }},
      {.label = kMenuTestNetwork,
       .help = kHelpTestNetwork,
       .enabled = network,
       .open = Opens<TestDialog>(this)},
      {.label = kMenuNetworkRestore,
       .help = kHelpNetworkRestore,
       .open = Opens<NetworkRestoreWindow>(this)},
      {},
      {.label = kMenuConfigureKeyboard,
       .help = kHelpKeyboard,
       .shown = [&flags] { return flags.usingKeyboard; },
       .open = Opens<KeyboardDialog>(this)},
      {.label = kMenuTroubleshooting,
       .help = kHelpTroubleshooting,
       .open = Opens<TroubleShootingWindow>(this)},
      {},
      // The logs are opened by their number; the list stands in the pane.
      {.label = kMenuSystemLogs,
       .pane =
           [this] {
             return _strings->GetString(kHelpSystemLogs) + std::string("\n\n") +
                    _impl->logs.ListText();
           }},
      {.label = kMenuSupportInformation,
       .open = Opens<SupportInformationDialog>(this),
       .pane = [] { return std::string(kSupportInformationHelp); }},
      {.label = kMenuResetConfiguration,
       .help = flags.resetOnHost ? kHelpResetConfiguration : kResetUnavailable,
       .enabled = [&flags] { return !flags.networkBooted; },
       .open =
           [this, &flags] {
             if (flags.resetOnHost) {
               RunDialog<RestoreDialog>(this);
             } else {
               MessageDialog refusal(this, kResetTitle,
                                     _strings->GetString(kResetUnavailable) + std::string("\n\n") +
                                         _strings->GetString(kNothingChanged));
               Frame::Run(&refusal);
             }
           }},
  };
}

GeneralWindow::GeneralWindow(Frame* parent) : RootWindow(parent), _impl(std::make_unique<Impl>()) {
  MenuFlags& flags = _impl->flags;
  flags.lockdownOnHost = Platform::HostHas(Platform::Feature::kLockdownMode);
  flags.resetOnHost = Platform::HostHas(Platform::Feature::kConfigurationReset);
  flags.lockdownAvailable = LockdownAvailable();
  LocateManagementInterface(_mgmtIntf);
  flags.managementInterfaceFound = _mgmtIntf != nullptr;
  flags.networkBooted = NetworkBooted();
  flags.deviceAssignmentState = DeviceAssignmentState();
  flags.usingKeyboard = _session.usingKeyboard;
  _impl->logs.CheckAvailability();
  SetEntries(Strings::kMenuTitle, Entries());
}

GeneralWindow::~GeneralWindow() = default;

bool GeneralWindow::LogsSelected() const {
  const MenuEntry* entry = Selected();
  return entry != nullptr && entry->label == Strings::kMenuSystemLogs;
}

void GeneralWindow::UpdateFooter() {
  std::string footer = kLeftFooterStart;
  if (LogsSelected()) {
    const size_t count = _impl->logs.AvailableCount();
    if (count > 0) {
      const std::string range = count == 1 ? "<1>" : "<1-" + std::to_string(count) + ">";
      footer += "  {color:black}" + range + "{/color}{color:dark-grey} View Log{/color}";
    }
  } else {
    footer += "  {color:black}<Enter>{/color}{color:dark-grey} More{/color}";
  }
  _rightFooter->SetText(kRightFooter);
  _leftFooter->SetText(footer);
}

void GeneralWindow::Update() {
  _impl->logs.CheckAvailability();
  RefreshEntries();
  DrawContents();
}

void GeneralWindow::SelectFirst() {
  for (int before = -1; before != _menu->CurrentIndex();) {
    before = _menu->CurrentIndex();
    _menu->Prev();
  }
}

void GeneralWindow::SelectLast() {
  for (int before = -1; before != _menu->CurrentIndex();) {
    before = _menu->CurrentIndex();
    _menu->Next();
  }
}

void GeneralWindow::OpenLockdown() {
  if (!_impl->flags.lockdownOnHost) {
    MessageDialog refusal(this, Strings::kLockdownTitle, Strings::kLockdownUnavailable);
    Frame::Run(&refusal);
    return;
  }
  RunDialog<LockdownDialog>(this);
  // The menu's rows follow the mode the host is in now.
  _impl->flags.lockdownAvailable = LockdownAvailable();
  _impl->logs.CheckAvailability();
}

void GeneralWindow::RestartManagementNetwork() {
  // Located afresh: the interface may have changed since the menu was built.
  uint32_t message = 0;
  if (!LocateManagementInterface(_mgmtIntf)) {
    message = Strings::kManagementInterfaceFailed;
  } else if (_mgmtIntf == nullptr) {
    message = Strings::kNoManagementInterface;
  }
  if (message != 0) {
    MessageDialog dialog(this, Strings::kRestartNetworkErrorTitle, message);
    Frame::Run(&dialog);
    return;
  }
  if (RefuseOwnedNetwork(this, Strings::kRestartNetworkErrorTitle)) {
    return;
  }
  try {
    RestartNetworkDialog dialog(this, _mgmtIntf.get());
    Frame::Run(&dialog);
  } catch (const HostCtl::Lib::HostCtlException& e) {
    // The interface may be left down: the user must be told, and can try again.
    Platform::Syslog(LOG_ERR, "Restarting the management network failed: %s", e.what());
    MessageDialog dialog(this, Strings::kRestartNetworkErrorTitle,
                         Strings::kManagementInterfaceFailed);
    Frame::Run(&dialog);
  }
}

int GeneralWindow::Loop() {
  return RunEntries();
}

void GeneralWindow::HandleKey(int key) {
  switch (key) {
    case KEY_PPAGE:
      SelectFirst();
      ShowSelection();
      break;
    case KEY_NPAGE:
      SelectLast();
      ShowSelection();
      break;
    default:
      if (key >= '0' && key <= '9' && LogsSelected()) {
        const int index = _impl->logs.Choose(key - '0');
        if (index >= 0) {
          _impl->logs.Show(static_cast<size_t>(index), this);
          DrawContents();
        }
      }
      break;
  }
}

}  // namespace Merel
