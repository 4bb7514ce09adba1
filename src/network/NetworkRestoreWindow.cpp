#include "NetworkRestoreWindow.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "Item.h"
#include "RestoreDVSDialog.h"
#include "RestoreNetworkDialog.h"
#include "SafeModeNetworkDialog.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

const char* const kLeftFooter = "{color:black}<Up/Down>{/color} {color:dark-grey}Select{/color}";
const char* const kEntryFooter =
    "{color:white}<Enter>{/color}{color:light-grey} Restore{/color}{align:right}"
    "{color:white}<Esc>{/color}{color:light-grey} Log Out{/color}{/align}";
const char* const kStatusFooter =
    "{color:white}<Enter>{/color}{color:light-grey} Change{/color}{align:right}"
    "{color:white}<Esc> {/color}{color:light-grey}Exit{/color}{/align}";

// The entries, in list order, with the help shown for each.
struct Entry {
  uint32_t key;
  uint32_t help;
};
constexpr Entry kEntries[] = {
    {Strings::kRestoreNetworkSettings, Strings::kHelpRestoreNetworkSettings},
    {Strings::kRestoreStandardSwitch, Strings::kHelpRestoreStandardSwitch},
    {Strings::kRestoreDvs, Strings::kHelpRestoreDvs},
};

}  // namespace

NetworkRestoreWindow::NetworkRestoreWindow(Frame* parent) : RootWindow(parent) {
  std::vector<std::unique_ptr<Item>> items;
  for (const Entry& entry : kEntries) {
    items.push_back(std::make_unique<EntryItem>(_strings->GetString(entry.key)));
  }
  _menu->SetItems(std::move(items));
  _statusText = &_statusLine->AddChild<TextArea>(1, 0, _statusLine->GetWidth() - 2, 1,
                                                 _statusLine->GetForeground());
}

uint32_t NetworkRestoreWindow::SelectedKey() const {
  const int index = _menu->CurrentIndex();
  return kEntries[std::clamp(index, 0, static_cast<int>(std::size(kEntries)) - 1)].key;
}

void NetworkRestoreWindow::UpdateFooter() {
  _statusText->SetText(kStatusFooter);
}

void NetworkRestoreWindow::RefreshContents() {
  _leftTitle->SetText(_strings->GetString(Strings::kRestoreWindowTitle));
  _menu->DrawItems();
  const uint32_t key = SelectedKey();
  for (const Entry& entry : kEntries) {
    if (entry.key == key) {
      _rightTitle->SetText(_strings->GetString(entry.key));
      _rightText->SetText(_strings->GetString(entry.help));
    }
  }
  // The list and the pane reach down to the footer row: footers go last.
  _leftFooter->SetText(kLeftFooter);
  _rightFooter->SetText(kEntryFooter);
  UpdateFooter();
}

void NetworkRestoreWindow::Open(uint32_t key) {
  switch (key) {
    case Strings::kRestoreNetworkSettings: {
      RestoreNetworkDialog dialog(this);
      Frame::Run(&dialog);
      break;
    }
    case Strings::kRestoreStandardSwitch: {
      SafeModeNetworkDialog dialog(this);
      if (Frame::Run(&dialog) != 0) {
        // A distributed switch the interface left may need its repair
        // next: the selection goes on to it.
        _menu->Next();
      }
      break;
    }
    case Strings::kRestoreDvs: {
      RestoreDVSDialog dialog(this);
      Frame::Run(&dialog);
      break;
    }
    default:
      break;
  }
  RefreshContents();
}

int NetworkRestoreWindow::Loop() {
  return RunEntries();
}

void NetworkRestoreWindow::OpenSelected() {
  Open(SelectedKey());
}

}  // namespace Merel
