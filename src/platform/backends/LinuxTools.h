// How the console's host tools map onto a Linux machine. The screens run the
// same programs and shell commands on every host; on a Linux host each one
// that has a meaning there becomes a systemd call, a libvirt call, or a
// plain success, and everything else is refused, so that no request can
// start an arbitrary program of the machine.
#pragma once

#include <string>
#include <vector>

namespace Platform::Linux {

// The console's settings for a Linux host (/etc/merel/merel.conf).
struct Config {
  std::string systemctl = "/bin/systemctl";
  // Sets the timers that switch the local shell and SSH off again.
  std::string systemdRun = "/usr/bin/systemd-run";
  std::string sshUnit = "ssh.service";
  // The "local shell": a login prompt on a second virtual terminal.
  std::string shellUnit = "getty@tty2.service";
  // The management agents that "Restart Management Agents" restarts.
  std::vector<std::string> agents = {"libvirtd.service", "virtlogd.service"};
  // The certificate the host's management service presents (libvirt's TLS
  // server certificate), whose fingerprint the console shows.
  std::string hostCertificate = "/etc/pki/libvirt/servercert.pem";
  // How long a shut down or restart waits for the virtual machines asked to
  // shut down before it goes on without them.
  int vmShutdownWait = 120;
};

// "key = value" lines; '#' starts a comment. Unknown keys, values that do
// not fit the key and a missing file leave the defaults; `host-certificate`
// is an absolute path; `agents` is a list
// of words, `vm-shutdown-wait` seconds (0 to 3600).
Config ReadConfig(const std::string& path);

struct Action {
  enum Kind {
    kRefuse,    // not available on this host: the start fails
    kSucceed,   // nothing to do here; `output` is what the tool prints
    kRun,       // run `argv` (argv[0] is the program's path)
    kStopVms,   // stop the running virtual machines (`force`: destroy them)
    kRunAll,    // run each of `commands` in turn
    kPageJournal,  // run `argv` (the pager) reading what `commands[0]` writes
    kReadShellIdle,   // print the shell idle time-out (TMOUT of the profile file)
    kWriteShellIdle,  // make `seconds` the shell idle time-out (0: none)
    kReadShellAvailability,   // print the availability time-out (the options file)
    kWriteShellAvailability,  // make `seconds` the availability time-out (0: none)
  };
  Kind kind = kRefuse;
  std::vector<std::string> argv;
  std::vector<std::vector<std::string>> commands;
  bool force = false;
  std::string output;
  long seconds = 0;
};

// Where the shell idle time-out of login shells lives on a Linux host: a
// profile file of the console's own, read by every login shell.
constexpr const char* kShellTimeoutProfile = "/etc/profile.d/merel-timeout.sh";

// The profile file that sets the idle time-out to `seconds` (> 0).
std::string ShellTimeoutProfile(long seconds);

// The seconds of TMOUT in such a file; 0 when it sets none.
long ShellTimeoutSeconds(const std::string& profile);

// The host tools' name of the availability time-out, kept in the console's
// options file.
constexpr const char* kShellAvailabilityOption = "/UserVars/TarvikShellTimeOut";

// The systemd-run call that has `unit` switched off (disabled and stopped)
// `seconds` from now, by the transient timer `timer` (and its service of the
// same name, unloaded once it has run, also when it failed).
std::vector<std::string> AvailabilityTimer(const Config& config,
                                           const std::string& timer,
                                           const std::string& unit,
                                           long seconds);

// A program start: `argv` as the console passes it, with `path` the program.
Action MapProgram(const std::string& path, const std::vector<std::string>& argv,
                  const Config& config);

// Where the log viewer's files are on a Linux host: the first of the usual
// places for each that exists under `root`; "" for a log that a Linux host
// does not keep, and `hostPath` itself for a path that is no such log. A
// machine without a syslog file keeps its log in the journal: the syslog's
// place is then the journal's file (JournalFile), which the pager is handed
// as the journal's export.
std::string LogFile(const std::string& root, const std::string& hostPath);

// The journal's file of the system's own entries ("system.journal" of this
// machine's id, kept on disk or in /run); "" when there is none.
std::string JournalFile(const std::string& root);

// A shell command line of system(3).
Action MapCommand(const std::string& command, const Config& config);

}  // namespace Platform::Linux
