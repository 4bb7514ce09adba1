// The common body of the shut down and restart progress screens.
#pragma once

#include <string>

#include "Dialog.h"

namespace Merel {

// Shows `title` and `text` on `dialog`, stops the virtual machines (forcing
// only when not `graceful`) and runs `command` ("poweroff" or "reboot") on the
// host. Returns 0 when the command could not be started; otherwise ignores
// keys until the host takes the console down.
int StopVmsAndGoDown(Dialog* dialog, const std::string& title, const std::string& text,
                     bool graceful, const char* command);

}  // namespace Merel
