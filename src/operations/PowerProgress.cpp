#include "PowerProgress.h"

#include "Platform.h"
#include "PowerOffVms.h"

namespace Merel {

int StopVmsAndGoDown(Dialog* dialog, const std::string& title, const std::string& text,
                     bool graceful, const char* command) {
  dialog->SetTitle(title);
  dialog->SetText(text);
  StopVirtualMachines(graceful);
  if (Platform::System(command) == -1) {
    return 0;
  }
  // The host is on its way down and will end this process; a key (or the
  // idle limit) must not take the user back into a menu meanwhile.
  for (;;) {
    Frame::WaitForKey(dialog, false);
  }
}

}  // namespace Merel
