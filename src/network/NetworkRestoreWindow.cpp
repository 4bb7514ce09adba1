#include "NetworkRestoreWindow.h"

#include <functional>

#include "NetworkOwner.h"
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

}  // namespace

NetworkRestoreWindow::NetworkRestoreWindow(Frame* parent) : RootWindow(parent) {
  using namespace Strings;
  // Each restore rebuilds the network: not one that another program owns.
  auto unlessOwned = [this](std::function<void()> open) {
    return [this, open = std::move(open)] {
      if (!RefuseOwnedNetwork(this, kRestoreWindowTitle)) {
        open();
      }
    };
  };
  SetEntries(
      kRestoreWindowTitle,
      {
          {.label = kRestoreNetworkSettings,
           .help = kHelpRestoreNetworkSettings,
           .open = unlessOwned(Opens<RestoreNetworkDialog>(this))},
          {.label = kRestoreStandardSwitch,
           .help = kHelpRestoreStandardSwitch,
           .open = unlessOwned([this] {
             if (RunDialog<SafeModeNetworkDialog>(this) != 0) {
               // A distributed switch the interface left may need its repair
               // next: the selection goes on to it.
               _menu->Next();
             }
           })},
          {.label = kRestoreDvs,
           .help = kHelpRestoreDvs,
           .open = unlessOwned(Opens<RestoreDVSDialog>(this))},
      });
  _statusText = &_statusLine->AddChild<TextArea>(1, 0, _statusLine->GetWidth() - 2, 1,
                                                 _statusLine->GetForeground());
}

void NetworkRestoreWindow::UpdateFooter() {
  _leftFooter->SetText(kLeftFooter);
  _rightFooter->SetText(kEntryFooter);
  _statusText->SetText(kStatusFooter);
}

int NetworkRestoreWindow::Loop() {
  return RunEntries();
}

}  // namespace Merel
