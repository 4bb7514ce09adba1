// The one interface behind every platform call. A backend is chosen once
// (Platform::Select or Platform::Install); the facades of HostCtl/ and
// NexCtl/ and the C-style libraries only ever talk to Platform::Current().
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "HostFeatures.h"
#include "HostState.h"

namespace Platform {

class Backend {
 public:
  virtual ~Backend() = default;

  // See Platform.h for the meaning of these.
  virtual std::string HostPath(const std::string& hostPath) = 0;
  virtual pid_t Spawn(const char* path,
                      char* const argv[],
                      char* const envp[],
                      int in,
                      int out,
                      int err) = 0;
  virtual int System(const char* command) = 0;
  // One formatted syslog record; the mask has been applied already.
  virtual void WriteSyslog(const std::string& ident,
                           bool withPid,
                           int facility,
                           int level,
                           const std::string& message) = 0;
  virtual bool ResolveHostname(const std::string& name, std::vector<std::string>& addresses) = 0;
  // Brings virtual terminal `vt` to the front; false when it cannot. The
  // default is the real switch on the host's console (Platform.cpp).
  virtual bool SwitchVirtualTerminal(int vt);
  // Whether `fd` is the host's own console keyboard. The default asks the
  // kernel (the keyboard-type query only a console answers).
  virtual bool ConsoleKeyboard(int fd);
  // The names of the host's local accounts. The default reads the host's
  // "/etc/passwd".
  virtual std::vector<std::string> AccountNames();
  // See Platform::HostHas; every host has all of them unless it says not.
  virtual bool Has(Feature) { return true; }
  // See Platform::ServiceSwitched. The default has nothing to do: the host's
  // services read the availability time-out themselves when they start.
  virtual void ServiceSwitched(HostService, bool) {}

  // The host's state. Load reads it afresh; Modify is an atomic
  // read-modify-write (no update of another process is lost). Both throw
  // HostCtl::Lib::HostCtlException when the state cannot be read or written;
  // an exception thrown by `change` leaves the state untouched.
  virtual HostState Load() = 0;
  virtual void Modify(const std::function<void(HostState&)>& change) = 0;

  // Event service and audit log.
  virtual bool EventServiceAvailable() = 0;
  virtual void PostEvent(const std::string& text) = 0;
  virtual void WriteAudit(const std::string& record,
                          const std::string& user,
                          bool success,
                          const std::string& name,
                          const std::string& value) = 0;
};

// The first field of every line of a file in the password-file format
// ("name:..."); empty when the file cannot be read. Nothing else of a line
// is kept.
std::vector<std::string> ReadAccountNames(const std::string& path);

}  // namespace Platform
