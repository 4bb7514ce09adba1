#pragma once

#include <string>

namespace NexCtl::Util {

// Runs a shell command line on the host. `background`: do not wait for it
// (status 0); `wait`: wait for it and return its exit status; `logOutput`:
// write what it prints to the host's syslog instead of discarding it.
// Throws HostCtl::Lib::HostCtlException when it cannot be started.
int NexCtl_Exec(const std::string& commandLine, bool background, bool wait, bool logOutput);

}  // namespace NexCtl::Util
