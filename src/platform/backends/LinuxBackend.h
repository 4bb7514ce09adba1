// The Linux host: the machine the console runs on. Its facts come from the
// kernel's /proc and /sys and the system's own files; logs go to the system
// logger, events to the journal, audit records to the audit subsystem; the
// console's host tools become systemd and libvirt calls (LinuxTools.h). The
// only state of the console's own is its options file in /etc/merel.
#pragma once

#include <string>

#include "Backend.h"
#include "backends/LinuxNetlink.h"
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
  // The advanced options (kept in the options file) and the network
  // settings that map onto the machine (LinuxNetwork.h) can change; any
  // other change is refused with an exception and nothing is written. A
  // network change the kernel refuses throws with its reason after the
  // rest of the change has been made.
  void Modify(const std::function<void(HostState&)>& change) override;

  bool EventServiceAvailable() override;
  void PostEvent(const std::string& text) override;
  void WriteAudit(const std::string& record,
                  const std::string& user,
                  bool success,
                  const std::string& name,
                  const std::string& value) override;

  // A Linux machine has no lockdown mode and no factory configuration; the
  // management VLAN is there where the kernel filters VLANs on the
  // management bridge. Its resolver is written with the network settings
  // (LinuxBackendNetwork.cpp), not by the DNS save.
  bool Has(Feature feature) override;
  // The availability time-out is a transient systemd timer per service
  // (systemd-run), which disables and stops the service when it expires.
  void ServiceSwitched(HostService service, bool on) override;

  const Linux::Config& Settings() const { return _config; }

 private:
  std::string OptionsPath() const;
  // The DriverVM devices saved for the next boot.
  std::string DeviceListPath() const;
  // Runs a tool of the machine (`argv[0]` its path) with no terminal and
  // the tools' environment; its wait status, -1 when it cannot start.
  // With `output`, what the tool prints is added to it.
  int RunAndWait(const std::vector<std::string>& argv, std::string* output = nullptr);
  // RunAndWait for the network's tools: false, with what it was in
  // `error`, when the tool cannot start or does not succeed.
  bool RunTool(const std::vector<std::string>& words,
               std::string& error,
               std::string* output = nullptr);
  // Hands the name servers and search suffixes of `nic` to
  // systemd-resolved: the DHCP lease's servers when DNS comes from DHCP,
  // else the console's.
  bool DnsToResolved(const NetworkState& network, const NexNicState& nic, std::string& error);
  void ReadNetwork(const Linux::KernelNetwork& kernel, NetworkState& network) const;
  void ApplyNetwork(const HostState& before, const HostState& after);
  // The factory layout: one bridge (the management bridge, else a new
  // "br0") on the first adapter with a link, DHCP on it, the names reset.
  void RestoreNetwork();
  // The manager that owns the machine's interfaces when it is not the
  // console (systemd-networkd is the console's own); "" when none.
  std::string NetworkOwner(const Linux::KernelNetwork& kernel) const;
  // The netlink table, with the kernel's network read into `kernel`; throws
  // when it cannot be read or another manager owns it.
  const Linux::Netlink& ChangeableNetwork(Linux::KernelNetwork& kernel) const;
  // The console's sysctl file that switches IPv6 on or off at boot.
  std::string Ipv6SysctlPath() const;
  // The DHCP client of the machine ("" when it has none).
  std::string DhcpClient() const;
  // Whether systemd-resolved keeps the resolver: /run/systemd/resolve/
  // exists and /etc/resolv.conf is a link into it.
  bool ResolvedRuns() const;
  // Its control tool ("" when the machine has none).
  std::string Resolvectl() const;
  void WriteNetworkd(const NetworkState& network, const Linux::KernelNetwork& kernel,
                     std::vector<std::string>& failures);
  // The shell idle time-out of login shells, in seconds (0: none).
  long ShellIdleSeconds() const;
  // Writes it (or removes the file for 0); false, logged, when it cannot.
  bool SetShellIdle(long seconds);
  // The availability time-out in seconds (0: none), from the options file.
  long AvailabilitySeconds() const;
  // Writes it; false, logged, when it cannot. 0 also stops pending timers.
  bool SetShellAvailability(long seconds);
  // Stops the timer `timer` (a unit name without ".timer") if one is
  // pending; throws when systemctl fails otherwise.
  void StopAvailabilityTimer(const std::string& timer);
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

// The state with what a Linux host keeps or changes left out: what remains
// must not change.
HostState Untracked(HostState state);
std::string NetworkJson(const NetworkState& network);

}  // namespace Platform
