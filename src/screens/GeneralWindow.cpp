// The System Customization menu. What the host allows is asked once, when
// the menu is built: entries the host cannot use now stay in their place but
// are greyed out and cannot be chosen, so the menu keeps the same shape on
// every host and the cursor never rests on something Enter cannot open.
#include "GeneralWindow.h"

#include <syslog.h>

#include <algorithm>
#include <string>

#include "ChangePasswordDialog.h"
#include "Command.h"
#include "DriverVMDialog.h"
#include "HostCtl/HostCtlException.h"
#include "Item.h"
#include "KeyboardDialog.h"
#include "LockdownDialog.h"
#include "LogViewer.h"
#include "MessageDialog.h"
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

// An empty row between groups of entries (the table's empty text).
constexpr uint32_t kSeparator = Strings::kEmpty;

const char* const kLeftFooterStart =
    "{color:black}<Up/Down>{/color}{color:dark-grey} Select{/color}";
const char* const kRightFooter =
    "{align:right}{color:white}<Esc>{/color}{color:light-grey} Log Out{/color}{/align}";
const char* const kSupportInformationHelp =
    "To view the support information of this host, press <Enter>.";

// The help text of the right pane for the entries whose help is a plain
// string-table text; 0 for the rest.
uint32_t HelpKey(uint32_t key) {
  switch (key) {
    case Strings::kMenuConfigurePassword:
      return Strings::kHelpPasswordUnset;
    case Strings::kMenuConfigureLockdown:
      return Strings::kHelpLockdown;
    case Strings::kMenuConfigureDriverVm:
      return Strings::kHelpDriverVm;
    case Strings::kMenuConfigureNetwork:
      return Strings::kHelpConfigureNetwork;
    case Strings::kMenuRestartNetwork:
      return Strings::kHelpRestartNetwork;
    case Strings::kMenuTestNetwork:
      return Strings::kHelpTestNetwork;
    case Strings::kMenuNetworkRestore:
      return Strings::kHelpNetworkRestore;
    case Strings::kMenuSystemLogs:
      return Strings::kHelpSystemLogs;
    case Strings::kMenuTroubleshooting:
      return Strings::kHelpTroubleshooting;
    case Strings::kMenuResetConfiguration:
      return Strings::kHelpResetConfiguration;
    case Strings::kMenuConfigureKeyboard:
      return Strings::kHelpKeyboard;
    default:
      return 0;
  }
}

// A menu entry with the string-table key that says what it opens.
class MenuItem : public EntryItem {
 public:
  MenuItem(uint32_t key, std::string text, bool shown, bool enabled)
      : EntryItem(std::move(text), enabled), _key(key) {
    _shown = shown;
  }

  uint32_t Key() const { return _key; }

 private:
  uint32_t _key;
};

bool LockdownAvailable() {
  return RoviQueryBool("rovisvc/auth/lockdown_is_enabled") ||
         RoviQueryBool("rovisvc/auth/lockdown_is_possible");
}

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

struct GeneralWindow::Impl {
  MenuFlags flags;
  LogViewer logs;
};

std::vector<MenuRow> GeneralWindow::BuildRows(const MenuFlags& flags) {
  const bool driverVMShown = flags.deviceAssignmentState == 1 || flags.deviceAssignmentState == 2;
  const bool network = flags.managementInterfaceFound;
  return {
      {Strings::kMenuConfigurePassword, true, true},
      {Strings::kMenuConfigureLockdown, true, flags.lockdownAvailable},
      {kSeparator, true, false},
      {Strings::kMenuConfigureDriverVm, driverVMShown, flags.deviceAssignmentState == 2},
      {Strings::kMenuConfigureNetwork, true, network},
      {Strings::kMenuRestartNetwork, true, network},
      {Strings::kMenuTestNetwork, true, network},
      {Strings::kMenuNetworkRestore, true, true},
      {kSeparator, true, false},
      {Strings::kMenuConfigureKeyboard, flags.usingKeyboard, true},
      {Strings::kMenuTroubleshooting, true, true},
      {kSeparator, true, false},
      {Strings::kMenuSystemLogs, true, true},
      {Strings::kMenuSupportInformation, true, true},
      {Strings::kMenuResetConfiguration, true, !flags.networkBooted},
  };
}

GeneralWindow::GeneralWindow(Frame* parent) : RootWindow(parent), _impl(std::make_unique<Impl>()) {
  MenuFlags& flags = _impl->flags;
  flags.lockdownAvailable = LockdownAvailable();
  LocateManagementInterface(_mgmtIntf);
  flags.managementInterfaceFound = _mgmtIntf != nullptr;
  flags.networkBooted = NetworkBooted();
  flags.deviceAssignmentState = DeviceAssignmentState();
  flags.usingKeyboard = _session.usingKeyboard;
  BuildMenu();
}

GeneralWindow::~GeneralWindow() = default;

void GeneralWindow::BuildMenu() {
  _impl->logs.CheckAvailability();
  std::vector<std::unique_ptr<Item>> items;
  for (const MenuRow& row : BuildRows(_impl->flags)) {
    items.push_back(
        std::make_unique<MenuItem>(row.key, _strings->GetString(row.key), row.shown, row.enabled));
  }
  _menu->SetItems(std::move(items));
}

uint32_t GeneralWindow::SelectedKey() const {
  // The entry under the selection: the view's first index plus the row.
  const int index = _menu->GetTop() + _menu->GetRow();
  if (index < 0 || static_cast<size_t>(index) >= _menu->Count()) {
    return kSeparator;
  }
  return static_cast<const MenuItem*>(_menu->At(static_cast<size_t>(index)))->Key();
}

void GeneralWindow::UpdateFooter() {
  std::string footer = kLeftFooterStart;
  if (SelectedKey() == Strings::kMenuSystemLogs) {
    const size_t count = _impl->logs.AvailableCount();
    if (count > 0) {
      const std::string range = count == 1 ? "<1>" : "<1-" + std::to_string(count) + ">";
      footer += "  {color:black}" + range + "{/color}{color:dark-grey} View Log{/color}";
    }
  } else {
    footer += "  {color:black}<Enter>{/color}{color:dark-grey} More{/color}";
  }
  _leftFooter->SetText(footer);
}

void GeneralWindow::ShowSelection() {
  const uint32_t key = SelectedKey();
  _rightTitle->SetText(_strings->GetString(key));
  std::string help;
  if (key == Strings::kMenuSupportInformation) {
    help = kSupportInformationHelp;
  } else if (const uint32_t helpKey = HelpKey(key); helpKey != 0) {
    help = _strings->GetString(helpKey);
  }
  if (key == Strings::kMenuSystemLogs) {
    help += "\n\n" + _impl->logs.ListText();
  }
  _rightText->SetText(help);
  // The list and the right-pane text reach down to the footer line and
  // blank it when they are drawn: the footers always go last.
  _rightFooter->SetText(kRightFooter);
  UpdateFooter();
}

void GeneralWindow::DrawContents() {
  _leftTitle->SetText(_strings->GetString(Strings::kMenuTitle));
  _menu->DrawItems();
  ShowSelection();
}

void GeneralWindow::Update() {
  // Rebuilding resets the selection; put it back on the same entry when it
  // can still be chosen.
  const uint32_t selected = SelectedKey();
  BuildMenu();
  for (size_t i = 0; i < _menu->Count(); ++i) {
    const auto* item = static_cast<const MenuItem*>(_menu->At(i));
    if (item->Key() == selected && item->IsShown() && item->IsSelectable()) {
      while (_menu->CurrentIndex() < static_cast<int>(i)) {
        const int before = _menu->CurrentIndex();
        _menu->Next();
        if (_menu->CurrentIndex() == before) {
          break;
        }
      }
      break;
    }
  }
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

void GeneralWindow::Open(uint32_t key) {
  switch (key) {
    case Strings::kMenuConfigureNetwork: {
      NetworkWindow window(this);
      Frame::Run(&window);
      break;
    }
    case Strings::kMenuRestartNetwork:
      RestartManagementNetwork();
      break;
    case Strings::kMenuTestNetwork: {
      TestDialog dialog(this);
      Frame::Run(&dialog);
      break;
    }
    case Strings::kMenuSupportInformation: {
      SupportInformationDialog dialog(this);
      Frame::Run(&dialog);
      break;
    }
    case Strings::kMenuConfigureKeyboard: {
      KeyboardDialog dialog(this);
      Frame::Run(&dialog);
      break;
    }
    case Strings::kMenuConfigureDriverVm: {
      DriverVMDialog dialog(this);
      Frame::Run(&dialog);
      break;
    }
    case Strings::kMenuResetConfiguration: {
      RestoreDialog dialog(this);
      Frame::Run(&dialog);
      break;
    }
    case Strings::kMenuConfigurePassword: {
      ChangePasswordDialog dialog(this);
      Frame::Run(&dialog);
      break;
    }
    case Strings::kMenuConfigureLockdown: {
      LockdownDialog dialog(this);
      Frame::Run(&dialog);
      // The menu's rows follow the mode the host is in now.
      _impl->flags.lockdownAvailable = LockdownAvailable();
      Update();
      return;
    }
    case Strings::kMenuTroubleshooting: {
      TroubleShootingWindow window(this);
      Frame::Run(&window);
      break;
    }
    case Strings::kMenuNetworkRestore: {
      NetworkRestoreWindow window(this);
      Frame::Run(&window);
      break;
    }
    case Strings::kMenuSystemLogs:
      // The logs are opened by their number; the list is already on the right.
      return;
    default:
      // Separators: nothing opens.
      return;
  }
  DrawContents();
}

int GeneralWindow::Loop() {
  DrawContents();
  while (true) {
    const int key = Frame::WaitForKey(this, true);
    switch (key) {
      case kKeyEscape:
        return 1;
      case KEY_UP:
        _menu->Prev();
        ShowSelection();
        break;
      case KEY_DOWN:
        _menu->Next();
        ShowSelection();
        break;
      case KEY_PPAGE:
        SelectFirst();
        ShowSelection();
        break;
      case KEY_NPAGE:
        SelectLast();
        ShowSelection();
        break;
      case kKeyEnter:
        Open(SelectedKey());
        break;
      default:
        if (key >= '0' && key <= '9' && SelectedKey() == Strings::kMenuSystemLogs) {
          const int index = _impl->logs.Choose(key - '0');
          if (index >= 0) {
            _impl->logs.Show(static_cast<size_t>(index), this);
            DrawContents();
          }
        }
        break;
    }
  }
}

}  // namespace Merel
