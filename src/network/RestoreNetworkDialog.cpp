#include "RestoreNetworkDialog.h"

#include <syslog.h>

#include "Command.h"
#include "DoRestoreNetworkDialog.h"
#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

const char* const kFooter =
    "{color:black}<F11>{/color} {color:dark-grey}Yes, Reset{/color}{align:right}"
    "{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}";
const char* const kRestoring = "Restoring factory network settings";

}  // namespace

RestoreNetworkDialog::RestoreNetworkDialog(Frame* parent) : Dialog(parent, {60, 13, 7}) {
  // Two rows of body: the question takes two lines at this width.
  _text = AddContentText();
}

int RestoreNetworkDialog::Loop() {
  // Only F11 confirms, so that an Enter typed ahead cannot wipe the network.
  if (!Ask(_strings->GetString(Strings::kFactoryRestoreTitle),
           _strings->GetString(Strings::kFactoryRestoreText), kFooter, _text,
           _strings->GetString(Strings::kFactoryRestoreQuestion), KEY_F(11))) {
    return 0;
  }
  DoRestoreNetworkDialog restore(this);
  Frame::Run(&restore);
  // Recorded after the attempt, whatever became of it: the progress dialog
  // has already shown the user how far it got.
  Platform::Syslog(LOG_INFO, "%s", kRestoring);
  PostObsv("obsv.user.merel.factory.network.restored", kRestoring);
  return 1;
}

}  // namespace Merel
