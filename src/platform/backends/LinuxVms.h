// The host's virtual machines through libvirt. The connection is libvirt's
// default (LIBVIRT_DEFAULT_URI, else the system's hypervisor), so tests use
// its test driver and never a daemon.
#pragma once

#include <string>
#include <vector>

namespace Platform::Linux {

// Asks every running domain to shut down, or with `force` destroys it.
// Returns the number of domains handled; -1 with a one-line reason in
// `error` when libvirt cannot be reached (no daemon, no driver).
int StopVirtualMachines(const std::string& uri, bool force, std::string& error);

// The names of the running domains; -1 as above.
int RunningVirtualMachines(const std::string& uri,
                           std::vector<std::string>& names,
                           std::string& error);

}  // namespace Platform::Linux
