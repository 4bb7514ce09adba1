// The host's virtual machines through libvirt. The connection is libvirt's
// default (LIBVIRT_DEFAULT_URI, else the system's hypervisor), so tests use
// its test driver and never a daemon.
#pragma once

#include <string>
#include <vector>

namespace Platform::Linux {

// What became of one running domain when the host stopped its virtual
// machines.
struct VmStop {
  std::string name;
  bool stopped = false;  // shut down (or destroyed) in time
};

// With `force` destroys every running domain at once. Otherwise asks each
// to shut down and waits up to `waitSeconds` for all of them to have
// stopped; a guest that ignores the request is left running (the power-off
// that follows ends it). One entry per domain in `outcome`. Returns the
// number stopped; -1 with a one-line reason in `error` when libvirt cannot
// be reached (no daemon, no driver).
int StopVirtualMachines(const std::string& uri,
                        bool force,
                        int waitSeconds,
                        std::vector<VmStop>& outcome,
                        std::string& error);

// The names of the running domains; -1 as above.
int RunningVirtualMachines(const std::string& uri,
                           std::vector<std::string>& names,
                           std::string& error);

}  // namespace Platform::Linux
