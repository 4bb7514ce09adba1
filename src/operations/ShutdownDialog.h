// Shut down or restart the host (F12 on the welcome screen, after a login):
// F2 shuts down, F11 restarts, each at once on the single key; the check
// item chooses whether virtual machines that will not stop are terminated.
#pragma once

#include "ChoiceListDialog.h"

namespace Merel {

class CheckItem;

// Run, it gives 0 when the user leaves with Esc; once an action has started
// it returns only if the host's command could not be started, and then keeps
// reading.
class ShutdownDialog : public ChoiceListDialog {
 public:
  explicit ShutdownDialog(Frame* parent);

 private:
  void Mark(size_t index) override;
  // F2 shuts down, F11 restarts.
  void OtherKey(int key) override;

  CheckItem* _force = nullptr;
};

}  // namespace Merel
