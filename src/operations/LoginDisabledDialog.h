// Shown in place of the login when direct console access has been disabled
// for the host: it says so and closes on Enter.
#pragma once

#include "Dialog.h"

namespace Merel {

class LoginDisabledDialog : public Dialog {
 public:
  explicit LoginDisabledDialog(Frame* parent);
  // Waits for Enter; always 0 (nobody logged in).
  int Loop() override;
};

}  // namespace Merel
