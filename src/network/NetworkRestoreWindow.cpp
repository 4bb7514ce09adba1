#include "NetworkRestoreWindow.h"

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
  SetEntries(
      kRestoreWindowTitle,
      {
          {.label = kRestoreNetworkSettings,
           .help = kHelpRestoreNetworkSettings,
           .open = Opens<RestoreNetworkDialog>(this)},
          {.label = kRestoreStandardSwitch,
           .help = kHelpRestoreStandardSwitch,
           .open =
               [this] {
                 if (RunDialog<SafeModeNetworkDialog>(this) != 0) {
                   // A distributed switch the interface left may need
                   // its repair next: the selection goes on to it.
                   _menu->Next();
                 }
               }},
          {.label = kRestoreDvs, .help = kHelpRestoreDvs, .open = Opens<RestoreDVSDialog>(this)},
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
