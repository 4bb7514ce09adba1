// The progress screen of a host restart: it stops the virtual machines and
// hands the host to "reboot". It stays up, ignoring keys, while the host goes
// down; it returns (0) only when "reboot" could not be started at all.
#pragma once

#include "PowerProgress.h"
#include "StringFactory.h"

namespace Merel {

class RebootConfirmDialog : public PowerProgressDialog {
 public:
  RebootConfirmDialog(Frame* parent, bool graceful)
      : PowerProgressDialog(parent,
                            graceful,
                            Strings::kRestartHost,
                            Strings::kRestartInProgress,
                            "reboot") {}
};

}  // namespace Merel
