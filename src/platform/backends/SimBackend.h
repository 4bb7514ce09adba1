// The simulated host: a directory (the host root) that looks like the host's
// file system for everything the console touches, with the host's state in
// ROOT/host.json. Nothing done through this backend reaches the machine the
// console runs on: paths map into the root, and programs are the root's.
#pragma once

#include <memory>
#include <string>

#include "Backend.h"
#include "backends/HostStore.h"

namespace Platform {

class SimBackend : public Backend {
 public:
  // `root` should be absolute; Open makes it so.
  explicit SimBackend(std::string root, std::unique_ptr<HostStore> store = nullptr);

  // Checks that ROOT/host.json is there and valid; null with a one-line
  // reason otherwise.
  static std::unique_ptr<SimBackend> Open(const std::string& root, std::string& error);

  const std::string& Root() const { return _root; }

  // "/x/y" -> ROOT/x/y; a bare name -> ROOT/bin/name or ROOT/sbin/name.
  std::string HostPath(const std::string& hostPath) override;
  pid_t Spawn(const char* path, char* const argv[], char* const envp[], int in, int out, int err)
      override;
  // /bin/sh -c with PATH=ROOT/bin:ROOT/sbin and every absolute path of the
  // command into the host's file system (/bin, /sbin, /etc, /usr, /var, /tmp,
  // ...) moved into the root; /dev and non-paths (/UserVars/...) stay.
  int System(const char* command) override;
  void WriteSyslog(const std::string& ident,
                   bool withPid,
                   int facility,
                   int level,
                   const std::string& message) override;
  bool ResolveHostname(const std::string& name, std::vector<std::string>& addresses) override;
  // Recorded in the state; the machine's own console is never switched.
  bool SwitchVirtualTerminal(int vt) override;
  // The host's "consoleKeyboard"; the terminal itself is not asked.
  bool ConsoleKeyboard(int fd) override;
  // The accounts of the host's PAM password database.
  std::vector<std::string> AccountNames() override;

  // Within a read scope (ReadScope.h) the first reading of an action is
  // kept and handed to the later calls, as long as the file is unchanged.
  HostState Load() override;
  void Modify(const std::function<void(HostState&)>& change) override;

  bool EventServiceAvailable() override;
  void PostEvent(const std::string& text) override;
  void WriteAudit(const std::string& record,
                  const std::string& user,
                  bool success,
                  const std::string& name,
                  const std::string& value) override;

  // The command System() hands to the shell.
  std::string RewriteCommand(const std::string& command) const;
  // Whether `program` (a path after HostPath, or a bare name for the shell)
  // is one of the root's; a refusal is logged to the host's syslog. Spawn
  // and System start nothing else, so no request can reach the machine's
  // own programs ("/../sbin/poweroff", "PATH=/sbin poweroff").
  bool IsHostProgram(const std::string& program);

 private:
  void AppendLine(const std::string& hostPath, const std::string& line);
  std::shared_ptr<const HostState> Reading();

  std::string _root;
  std::unique_ptr<HostStore> _store;
};

}  // namespace Platform
