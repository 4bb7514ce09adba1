// The troubleshooting options: the local shell and SSH on and off, their
// time-outs, the console's own idle time-out and the agents' restart.
#pragma once

#include "RootWindow.h"

namespace Merel {

class TroubleShootingWindow : public RootWindow {
 public:
  explicit TroubleShootingWindow(Frame* parent);
  // 1 when the user leaves with Esc.
  int Loop() override;
  void UpdateFooter() override;

 private:
  // Switches the shell (kShell) or SSH (kSsh) on or off.
  void Toggle(int entry);

  bool shellEnabled = false;
  bool sshEnabled = false;
};

}  // namespace Merel
