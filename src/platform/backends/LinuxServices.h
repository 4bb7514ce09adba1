// The system libraries only the Linux host needs (libvirt, the journal,
// audit) pull some sixty shared libraries in with them, which would
// quadruple the console's memory on every host. They live in a module of
// their own, merel-linux.so, beside the console (or in lib/merel when
// installed), loaded the first time the Linux host asks for one of them.
#pragma once

#include <string>
#include <vector>

#include "backends/LinuxVms.h"

namespace Platform::Linux {

struct Services {
  // See LinuxVms.h.
  int (*stopVirtualMachines)(const std::string& uri,
                             bool force,
                             int waitSeconds,
                             std::vector<VmStop>& outcome,
                             std::string& error);
  int (*runningVirtualMachines)(const std::string& uri,
                                std::vector<std::string>& names,
                                std::string& error);
  // One journal entry with the event id as a field of its own.
  void (*journalEvent)(const std::string& message, const std::string& id);
  // A login, logout or account record for the audit subsystem; false when
  // there is none to take it.
  bool (*auditAccount)(const std::string& record, const std::string& user, bool success);
};

// The module's table, loaded once; nullptr with the reason in `error` when
// the module cannot be loaded.
const Services* LoadServices(std::string& error);

}  // namespace Platform::Linux

extern "C" const Platform::Linux::Services* merel_linux_services();
