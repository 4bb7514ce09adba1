// The progress screen of a host shut down: it stops the virtual machines and
// hands the host to "poweroff". It stays up, ignoring keys, while the host
// goes down; it returns only when "poweroff" could not be started at all.
#pragma once

#include "Dialog.h"

namespace Merel {

class ShutdownConfirmDialog : public Dialog {
 public:
  // `graceful`: leave virtual machines that refuse a soft stop to the host's
  // shutdown policy instead of terminating them.
  ShutdownConfirmDialog(Frame* parent, bool graceful);
  // 0 when "poweroff" could not be started; otherwise never returns.
  int Loop() override;

 private:
  bool _graceful;
};

}  // namespace Merel
