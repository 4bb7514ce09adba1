#include "PowerOffVms.h"

#include "Command.h"
#include "Frame.h"

namespace Merel {

namespace {

constexpr const char* kAutoStopCommand = "hostsvc/autostartmanager/autostop";
constexpr const char* kShutdownPowerOffTool = "/bin/powerOffVms";
// The tools print a line or two; nobody reads it, but the runner wants room.
constexpr size_t kOutputSize = 256;

}  // namespace

int PowerOffVms(const char* toolPath, bool terminate) {
  char program[] = "powerOffVms";
  char force[] = "--terminate";
  char* const argv[] = {program, terminate ? force : nullptr, nullptr};
  char out[kOutputSize];
  char err[kOutputSize];
  size_t outSize = sizeof(out);
  size_t errSize = sizeof(err);
  return RunCommand(toolPath, argv, out, &outSize, err, &errSize, nullptr, 0, 0);
}

void StopVirtualMachines(const std::string& user, bool graceful) {
  RoviCommand record{user, kAutoStopCommand, {}};
  char out[kOutputSize];
  char err[kOutputSize];
  size_t outSize = sizeof(out);
  size_t errSize = sizeof(err);
  RunRoviCommand(record, out, &outSize, err, &errSize, nullptr, 0);
  PowerOffVms(kShutdownPowerOffTool, !graceful);
}

}  // namespace Merel
