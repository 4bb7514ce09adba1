// The console's only door to the host it runs on. Everything that differs
// between a real hypervisor host and a simulated one (file locations,
// starting programs, system(), syslog, name resolution, the host's state) is
// reached through these calls, which forward to the one backend chosen at
// start-up. Screens never build a host path or start a program any other way.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Platform {

class Backend;

// Selects the backend once, in main, before anything else touches the host:
// MEREL_SIM_ROOT set -> the simulated host at that directory; otherwise the
// bundled demo host in the user's state directory. Returns false (with a one
// line reason in `error`) when the host cannot be used; nothing is written then.
bool Select(std::string& error);
// Selects the machine the console runs on (`merel --host linux`); `version`
// is the console's own, shown in the product line.
void SelectLinux(const std::string& version);
// For tests and tools: install a backend explicitly.
void Install(std::unique_ptr<Backend> backend);
// The selected backend; a backend that fails every host call when none is.
Backend& Current();

// Where an absolute host path ("/etc/hosts", "/bin/rovi-cmd") lives for the
// selected backend. A bare program name ("ssh-keygen") is looked up among the
// host's tool folders.
std::string HostPath(const std::string& hostPath);

// Starts `path` (a host path) with exactly `argv` and `envp`, with `in`, `out`
// and `err` as its standard input, output and error. Returns the child's pid,
// or -1 when it could not be started.
pid_t Spawn(const char* path, char* const argv[], char* const envp[], int in, int out, int err);

// system(3) on the host: in simulation the shell sees only the host's tools.
int System(const char* command);

// syslog(3): openlog/setlogmask/syslog. `priority` may carry a facility
// (LOG_AUTH | LOG_ERR); without one the facility given to OpenLog applies.
void OpenLog(const char* ident, int option, int facility);
void SetLogMask(int mask);
void Syslog(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Name resolution as the host does it (its own /etc/hosts first).
bool ResolveHostname(const std::string& name, std::vector<std::string>& addresses);

// The names of the host's local accounts; empty when they cannot be read.
std::vector<std::string> AccountNames();

// Brings virtual terminal `vt` of the host's console to the front (on a real
// host: VT_ACTIVATE, else VT_WAITACTIVE, on /dev/console). A simulated host
// only records it: the machine's own console is never switched.
bool SwitchVirtualTerminal(int vt);

// Whether the terminal on descriptor `fd` is the host's own console keyboard
// (on a real host: the KDGKBTYPE query succeeds). A simulated host answers
// from its state ("consoleKeyboard"), whatever terminal the console is in.
bool ConsoleKeyboard(int fd);

// Host operations a host may lack altogether (not just for now): the
// screens then say so instead of offering them, and the host library leaves
// out what the host does otherwise.
enum class Feature {
  kLockdownMode,        // the management service's lockdown mode
  kConfigurationReset,  // a factory configuration to reset to
  kManagementVlan,      // a VLAN set on the management port group
  // The DNS save writes the resolver file; a host whose backend writes it
  // with the settings themselves, or leaves it to a resolver service,
  // lacks it.
  kResolverFileOnSave,
};
// Whether the host has `feature`.
bool HostHas(Feature feature);

// The services the troubleshooting window switches on and off.
enum class HostService { kShell, kSsh };

// Called once the console has switched `service` on or off. Where the
// host's services do not keep the availability time-out themselves, the
// service is set here to be switched off again once the time-out expires
// ("/UserVars/TarvikShellTimeOut", from now; 0 sets nothing), replacing what
// an earlier switch set, and switching it off cancels that. Throws
// HostCtl::Lib::HostCtlException, with the reason, when it cannot.
void ServiceSwitched(HostService service, bool on);

// The value of the host's integer advanced option `name` ("/UserVars/
// MerelTimeOut"), or `fallback` when the host has no such integer option or
// cannot be read.
int64_t IntegerOption(const std::string& name, int64_t fallback);

// The product line of the welcome screen ("<product> <version> (Nexel
// <kernel> Build <build>)"); false when the host cannot tell.
bool ProductLine(std::string& line);

}  // namespace Platform
