// The Linux host: the machine the console runs on. Its facts come from the
// kernel's /proc and /sys and the system's own files; logs go to the system
// logger, events to the journal, audit records to the audit subsystem; the
// console's host tools become systemd and libvirt calls (LinuxTools.h). The
// only state of the console's own is its options file in /etc/merel.
#pragma once

#include <string>

#include "Backend.h"
#include "backends/LinuxTools.h"

namespace Platform {

class LinuxBackend : public Backend {
 public:
  // `root` stands for "/" ("" on the machine itself; a prepared tree in
  // tests); `version` is the console's own.
  LinuxBackend(std::string root, std::string version);

  std::string HostPath(const std::string& hostPath) override;
  pid_t Spawn(const char* path, char* const argv[], char* const envp[], int in, int out, int err)
      override;
  int System(const char* command) override;
  void WriteSyslog(const std::string& ident,
                   bool withPid,
                   int facility,
                   int level,
                   const std::string& message) override;
  bool ResolveHostname(const std::string& name, std::vector<std::string>& addresses) override;

  HostState Load() override;
  // Only the advanced options can change (they are kept in the options
  // file); any other change is refused with an exception and nothing is
  // written.
  void Modify(const std::function<void(HostState&)>& change) override;

  bool EventServiceAvailable() override;
  void PostEvent(const std::string& text) override;
  void WriteAudit(const std::string& record,
                  const std::string& user,
                  bool success,
                  const std::string& name,
                  const std::string& value) override;

  const Linux::Config& Settings() const { return _config; }

 private:
  std::string OptionsPath() const;
  // The DriverVM devices saved for the next boot.
  std::string DeviceListPath() const;
  // Runs a tool of the machine (`argv[0]` its path) with no terminal and
  // the tools' environment; its wait status, -1 when it cannot start.
  int RunAndWait(const std::vector<std::string>& argv);
  // The work of "powerOffVms", in the child that stands for it: its exit
  // status (0 when every running domain stopped).
  int StopVirtualMachines(bool force);
  // The pager of `action` reading the journal's export through a pipe.
  pid_t PageJournal(const Linux::Action& action, char* const envp[], int in, int out, int err);

  std::string _root;
  std::string _version;
  Linux::Config _config;
  std::string _syslogIdent;
};

}  // namespace Platform
