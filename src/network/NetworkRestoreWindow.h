// Network Restore Options: the first aid for a management network broken
// elsewhere. Three entries, each confirmed in a dialog of its own: the
// factory network settings, a move onto a new standard switch, and the
// repair of a distributed-switch port.
#pragma once

#include "RootWindow.h"

namespace Merel {

class NetworkRestoreWindow : public RootWindow {
 public:
  explicit NetworkRestoreWindow(Frame* parent);
  // 1 when the user leaves with Esc.
  int Loop() override;
  // The footers and the status line at the bottom of the screen.
  void UpdateFooter() override;

 private:
  TextArea* _statusText = nullptr;
};

}  // namespace Merel
