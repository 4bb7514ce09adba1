// The common body of the shut down and restart progress screens.
#pragma once

#include <cstdint>

#include "Dialog.h"

namespace Merel {

// Shows its title and text, stops the virtual machines (forcing only when not
// `graceful`) and runs its command ("poweroff" or "reboot") on the host. It
// stays up, ignoring keys, while the host goes down.
class PowerProgressDialog : public Dialog {
 public:
  // 0 when the command could not be started; otherwise never returns.
  int Loop() override;

 protected:
  // `graceful`: leave virtual machines that refuse a soft stop to the host's
  // shutdown policy instead of terminating them.
  PowerProgressDialog(Frame* parent,
                      bool graceful,
                      uint32_t titleKey,
                      uint32_t textKey,
                      const char* command);

 private:
  bool _graceful;
  uint32_t _titleKey;
  uint32_t _textKey;
  const char* _command;
};

}  // namespace Merel
