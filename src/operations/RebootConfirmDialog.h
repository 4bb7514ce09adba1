// The progress screen of a host restart: it stops the virtual machines and
// hands the host to "reboot". It stays up, ignoring keys, while the host goes
// down; it returns only when "reboot" could not be started at all.
#pragma once

#include "Dialog.h"

namespace Merel {

class RebootConfirmDialog : public Dialog {
 public:
  // `graceful`: leave virtual machines that refuse a soft stop to the host's
  // shutdown policy instead of terminating them.
  RebootConfirmDialog(Frame* parent, bool graceful);
  // 0 when "reboot" could not be started; otherwise never returns.
  int Loop() override;

 private:
  bool _graceful;
};

}  // namespace Merel
