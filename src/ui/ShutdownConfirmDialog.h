// The progress screen of a host shut down: it stops the virtual machines and
// hands the host to "poweroff". It stays up, ignoring keys, while the host
// goes down; it returns (0) only when "poweroff" could not be started at all.
#pragma once

#include "PowerProgress.h"
#include "StringFactory.h"

namespace Merel {

class ShutdownConfirmDialog : public PowerProgressDialog {
 public:
  ShutdownConfirmDialog(Frame* parent, bool graceful)
      : PowerProgressDialog(parent,
                            graceful,
                            Strings::kShutdownHost,
                            Strings::kShutdownInProgress,
                            "poweroff") {}
};

}  // namespace Merel
