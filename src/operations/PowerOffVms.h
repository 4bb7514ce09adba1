// Powering off the virtual machines that run on the host: the step every
// operation that takes the host (or its network) away from them goes through
// first. Shut down and restart use it, and so does the factory network
// restore.
#pragma once

#include <string>

namespace Merel {

// Runs the host's power-off tool at `toolPath` (a host path such as
// "/bin/powerOffVms" or "/sbin/powerOffVms") with the argument vector
// "powerOffVms", plus "--terminate" when `terminate`: virtual machines that
// refuse a soft stop are then killed. No time-out: the tool returns when the
// machines are down. Returns its exit status, or -1 when it could not run.
int PowerOffVms(const char* toolPath, bool terminate);

// What shut down and restart do before the host goes down: the host's
// configured automatic stop of virtual machines (as the logged-in user), then
// "/bin/powerOffVms", forcing only when not `graceful`. Results are not
// examined: the host goes down whatever they were.
void StopVirtualMachines(const std::string& user, bool graceful);

}  // namespace Merel
