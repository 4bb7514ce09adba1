// Shut down or restart the host (F12 on the welcome screen, after a login):
// F2 shuts down, F11 restarts, each at once on the single key; the check
// item chooses whether virtual machines that will not stop are terminated.
#pragma once

#include "Dialog.h"

namespace Merel {

class CheckItem;
class ItemList;

class ShutdownDialog : public Dialog {
 public:
  explicit ShutdownDialog(Frame* parent);
  // 0 when the user leaves with Esc; once an action has started it returns
  // only if the host's command could not be started, and then keeps reading.
  int Loop() override;

 private:
  ItemList* _list = nullptr;
  CheckItem* _force = nullptr;
};

}  // namespace Merel
