#include "backends/LinuxBackend.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <dlfcn.h>
#include <netdb.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "HostCtl/HostCtlException.h"
#include "DurableFile.h"
#include "backends/CleanSignals.h"
#include "backends/LinuxFacts.h"
#include "backends/LinuxNetwork.h"
#include "backends/LinuxServices.h"
#include "backends/RecordText.h"

namespace Platform {

namespace {

// systemctl gets a known environment, whatever the caller passed.
char* const kToolEnvironment[] = {const_cast<char*>("PATH=/usr/sbin:/usr/bin:/sbin:/bin"),
                                  const_cast<char*>("LANG=C"), nullptr};

pid_t SpawnArgv(const std::vector<std::string>& words,
                char* const envp[],
                int in,
                int out,
                int err) {
  std::vector<char*> argv;
  for (const auto& word : words)
    argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0)
    return -1;
  // Through a scratch range, so that a descriptor that already is 0, 1 or 2
  // is not overwritten before it has been copied.
  const int fds[3] = {in, out, err};
  for (int i = 0; i < 3; ++i)
    posix_spawn_file_actions_adddup2(&actions, fds[i], 100 + i);
  for (int i = 0; i < 3; ++i) {
    posix_spawn_file_actions_adddup2(&actions, 100 + i, i);
    posix_spawn_file_actions_addclose(&actions, 100 + i);
  }
  CleanSignals signals;
  pid_t pid = -1;
  const int rc = posix_spawn(&pid, argv[0], &actions, signals.Get(), argv.data(), envp);
  posix_spawn_file_actions_destroy(&actions);
  return rc == 0 ? pid : -1;
}

std::string OptionLine(const AdvancedOptionState& option) {
  return option.name + " = " +
         (option.type == "string" ? option.stringValue : std::to_string(option.value)) + "\n";
}

void ReadOptions(const std::string& path, HostState& state) {
  std::ifstream file(path);
  std::string line;
  while (std::getline(file, line)) {
    const auto equals = line.find(" = ");
    if (line.empty() || line[0] == '#' || equals == std::string::npos)
      continue;
    AdvancedOptionState* option = FindOption(state, line.substr(0, equals));
    if (!option)
      continue;
    const std::string value = line.substr(equals + 3);
    if (option->type == "string") {
      option->stringValue = value;
      continue;
    }
    char* end = nullptr;
    errno = 0;
    const long long number = std::strtoll(value.c_str(), &end, 10);
    // A value out of the option's range is the file's fault, not the
    // option's: the default stays.
    if (errno == 0 && end != value.c_str() && *end == '\0' && number >= option->min &&
        number <= option->max)
      option->value = number;
  }
}

// In a forked child: `in`, `out` and `err` become descriptors 0, 1 and 2
// (through spare numbers, as any of them may already be one of those).
void BecomeStandardFds(int in, int out, int err) {
  const int fds[3] = {in, out, err};
  for (int i = 0; i < 3; ++i)
    dup2(fds[i], 100 + i);
  for (int i = 0; i < 3; ++i)
    dup2(100 + i, i);
  for (int i = 0; i < 3; ++i)
    close(100 + i);
}

// The transient timers that switch the local shell and SSH off again.
const char* const kShellTimer = "merel-shell-availability";
const char* const kSshTimer = "merel-ssh-availability";

// How a tool ended, for a message; `status` is a wait status, -1 when the
// tool could not be started.
std::string ToolFailure(const std::string& tool, int status) {
  if (status < 0)
    return tool + " could not be started";
  if (WIFEXITED(status))
    return tool + " failed with exit status " + std::to_string(WEXITSTATUS(status));
  return tool + " was ended by signal " + std::to_string(WTERMSIG(status));
}

}  // namespace

LinuxBackend::LinuxBackend(std::string root, std::string version)
    : _root(std::move(root)), _version(std::move(version)) {
  while (!_root.empty() && _root.back() == '/')
    _root.pop_back();
  _config = Linux::ReadConfig(_root + "/etc/merel/merel.conf");
  if (!_root.empty()) {
    _config.systemctl = _root + _config.systemctl;
    _config.systemdRun = _root + _config.systemdRun;
  }
}

std::string LinuxBackend::OptionsPath() const {
  return _root + "/etc/merel/options";
}

std::string LinuxBackend::DeviceListPath() const {
  return _root + "/etc/merel/driver-vm-devices";
}

std::string LinuxBackend::HostPath(const std::string& hostPath) {
  // The console is offered at the machine's console while this switch
  // exists (the package installs it; removing it locks the console).
  if (hostPath == "/var/run/ostrel/show-merel-login")
    return _root + "/etc/merel/console-login";
  if (hostPath.empty())
    return _root;
  if (hostPath == "/etc/ostrel/ssl/host.crt")
    return _root + _config.hostCertificate;
  if (hostPath[0] == '/') {
    // A log this host does not keep is a path that names nothing.
    const std::string log = Linux::LogFile(_root, hostPath);
    return log.empty() ? _root + "/nonexistent" + hostPath : _root + log;
  }
  for (const char* dir : {"/usr/sbin/", "/usr/bin/", "/sbin/", "/bin/"}) {
    const std::string candidate = _root + dir + hostPath;
    if (access(candidate.c_str(), X_OK) == 0)
      return candidate;
  }
  return _root + "/usr/bin/" + hostPath;
}

pid_t LinuxBackend::Spawn(const char* path,
                          char* const argv[],
                          char* const envp[],
                          int in,
                          int out,
                          int err) {
  if (!path)
    return -1;
  std::vector<std::string> words;
  for (size_t i = 0; argv && argv[i]; ++i)
    words.push_back(argv[i]);
  std::string program = path;
  if (!_root.empty() && program.rfind(_root + "/", 0) == 0)
    program = program.substr(_root.size());
  // A script path handed over through HostPath is the host's again.
  if (program == "/bin/sh" && words.size() == 3 && !_root.empty() &&
      words[1].rfind(_root + "/", 0) == 0)
    words[1] = words[1].substr(_root.size());
  const Linux::Action action = Linux::MapProgram(program, words, _config);
  switch (action.kind) {
    case Linux::Action::kRefuse:
      WriteSyslog("MEREL", true, LOG_USER, LOG_WARNING,
                  "not available on this host: " + program);
      return -1;
    case Linux::Action::kRun: {
      std::vector<std::string> run = action.argv;
      if (!_root.empty() && run[0].rfind(_root, 0) != 0)
        run[0] = _root + run[0];
      static char* const noEnv[] = {nullptr};
      char* const* environment =
          action.argv[0] == _config.systemctl ? kToolEnvironment : (envp ? envp : noEnv);
      return SpawnArgv(run, environment, in, out, err);
    }
    case Linux::Action::kPageJournal:
      return PageJournal(action, envp, in, out, err);
    case Linux::Action::kRunAll:
    case Linux::Action::kSucceed:
    case Linux::Action::kStopVms:
    case Linux::Action::kReadShellIdle:
    case Linux::Action::kWriteShellIdle:
    case Linux::Action::kReadShellAvailability:
    case Linux::Action::kWriteShellAvailability:
      break;
  }
  // The shell time-outs are the console's own files, read and written here
  // rather than in the child (a forked copy of a threaded process).
  Linux::Action done = action;
  bool written = true;
  if (action.kind == Linux::Action::kReadShellIdle)
    done.output = std::to_string(ShellIdleSeconds()) + "\n";
  else if (action.kind == Linux::Action::kWriteShellIdle)
    written = SetShellIdle(action.seconds);
  else if (action.kind == Linux::Action::kReadShellAvailability)
    done.output = std::to_string(AvailabilitySeconds()) + "\n";
  else if (action.kind == Linux::Action::kWriteShellAvailability)
    written = SetShellAvailability(action.seconds);
  // Work done by the console's own code runs in a child of its own, so that
  // the caller sees a program like any other (its output, its status).
  const pid_t pid = fork();
  if (pid != 0)
    return pid;
  BecomeStandardFds(in, out, err);
  int status = 0;
  if (action.kind == Linux::Action::kStopVms) {
    status = StopVirtualMachines(action.force);
  } else if (action.kind == Linux::Action::kWriteShellIdle ||
             action.kind == Linux::Action::kWriteShellAvailability) {
    status = written ? 0 : 1;
  } else if (!done.output.empty()) {
    if (write(1, done.output.data(), done.output.size()) < 0)
      status = 1;
  }
  _exit(status);
}

pid_t LinuxBackend::PageJournal(const Linux::Action& action,
                                char* const envp[],
                                int in,
                                int out,
                                int err) {
  int pipeFds[2];
  if (pipe2(pipeFds, O_CLOEXEC) != 0)
    return -1;
  // The pager is the child the caller waits for; the export is the pager's
  // own child (the pager ends it by closing the pipe, and it is reaped by
  // whoever inherits it once the pager is gone).
  const pid_t pid = fork();
  if (pid != 0) {
    close(pipeFds[0]);
    close(pipeFds[1]);
    return pid;
  }
  std::vector<std::string> exporter = action.commands.at(0);
  exporter[0] = _root + exporter[0];
  const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
  // What the journal says when it cannot be read is shown in the pager too.
  const pid_t exporting = SpawnArgv(exporter, kToolEnvironment, null, pipeFds[1], pipeFds[1]);
  if (exporting < 0)
    _exit(127);
  BecomeStandardFds(pipeFds[0], out, err);
  (void)in;  // the pager reads its keys from the terminal itself
  sigset_t none;
  sigemptyset(&none);
  for (int number = 1; number < NSIG; ++number)
    signal(number, SIG_DFL);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  std::vector<std::string> pager = action.argv;
  pager[0] = _root + pager[0];
  std::vector<char*> argv;
  for (auto& word : pager)
    argv.push_back(word.data());
  argv.push_back(nullptr);
  static char* const noEnv[] = {nullptr};
  execve(argv[0], argv.data(), envp ? envp : noEnv);
  _exit(127);
}

int LinuxBackend::StopVirtualMachines(bool force) {
  std::string error;
  std::vector<Linux::VmStop> outcome;
  const Linux::Services* services = Linux::LoadServices(error);
  const int stopped =
      services ? services->stopVirtualMachines("", force, _config.vmShutdownWait, outcome, error)
               : -1;
  if (stopped < 0) {
    // No libvirt on this machine: nothing runs that could be stopped.
    WriteSyslog("MEREL", true, LOG_USER, LOG_WARNING, "Stopping virtual machines failed: " + error);
    dprintf(2, "%s\n", error.c_str());
    return 1;
  }
  // Which guest went down how, for whoever reads the log after the restart.
  for (const auto& vm : outcome) {
    std::string line = "Virtual machine " + vm.name;
    if (force)
      line += vm.stopped ? " powered off" : " could not be powered off";
    else
      line += vm.stopped ? " shut down"
                         : " did not shut down within " + std::to_string(_config.vmShutdownWait) +
                               " seconds";
    WriteSyslog("MEREL", true, LOG_USER, vm.stopped ? LOG_INFO : LOG_WARNING, line);
  }
  dprintf(1, "%d\n", stopped);
  return stopped == static_cast<int>(outcome.size()) ? 0 : 1;
}

int LinuxBackend::System(const char* command) {
  if (!command)
    return 1;
  const Linux::Action action = Linux::MapCommand(command, _config);
  if (action.kind != Linux::Action::kRun) {
    WriteSyslog("MEREL", true, LOG_USER, LOG_WARNING,
                std::string("not available on this host: ") + command);
    return -1;
  }
  return RunAndWait(action.argv);
}

int LinuxBackend::RunAndWait(const std::vector<std::string>& argv, std::string* output) {
  // The tools' words must not reach the screen the console draws.
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (null < 0)
    return -1;
  int pipe[2] = {-1, -1};
  if (output && pipe2(pipe, O_CLOEXEC) != 0) {
    close(null);
    return -1;
  }
  const pid_t pid = SpawnArgv(argv, kToolEnvironment, null, output ? pipe[1] : null, null);
  close(null);
  if (output) {
    close(pipe[1]);
    char buffer[4096];
    for (ssize_t n; (n = read(pipe[0], buffer, sizeof(buffer))) != 0;) {
      if (n > 0)
        output->append(buffer, static_cast<size_t>(n));
      else if (errno != EINTR)
        break;
    }
    close(pipe[0]);
  }
  if (pid < 0)
    return -1;
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR)
      return -1;
  }
  return status;
}

bool LinuxBackend::RunTool(const std::vector<std::string>& words,
                           std::string& error,
                           std::string* output) {
  const int status = RunAndWait(words, output);
  if (status >= 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0)
    return true;
  error = ToolFailure(words[0] + " " + words.back(), status);
  return false;
}

void LinuxBackend::WriteSyslog(const std::string& ident,
                               bool withPid,
                               int facility,
                               int level,
                               const std::string& message) {
  // openlog keeps the pointer: the text must outlive the call.
  if (ident != _syslogIdent) {
    _syslogIdent = ident;
  }
  openlog(_syslogIdent.c_str(), withPid ? LOG_PID : 0, facility);
  syslog(facility | level, "%s", message.c_str());
}

bool LinuxBackend::ResolveHostname(const std::string& name, std::vector<std::string>& addresses) {
  addresses.clear();
  if (name.empty())
    return false;
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* result = nullptr;
  if (getaddrinfo(name.c_str(), nullptr, &hints, &result) != 0)
    return false;
  for (addrinfo* entry = result; entry; entry = entry->ai_next) {
    char text[INET6_ADDRSTRLEN] = {};
    if (getnameinfo(entry->ai_addr, entry->ai_addrlen, text, sizeof(text), nullptr, 0,
                    NI_NUMERICHOST) == 0)
      addresses.push_back(text);
  }
  freeaddrinfo(result);
  return !addresses.empty();
}

HostState LinuxBackend::Load() {
  HostState state;
  // What the simulated host describes and a Linux host does not have.
  state.accounts.clear();
  state.logs.clear();
  state.services.clear();
  state.showLoginMarker = false;
  FillDefaults(state);
  ReadOptions(OptionsPath(), state);

  const auto os = Linux::ReadOsRelease(_root);
  auto value = [&os](const char* key, const char* fallback) {
    auto it = os.find(key);
    return it != os.end() && !it->second.empty() ? it->second : std::string(fallback);
  };
  state.product.name = value("NAME", "Linux");
  state.product.version = value("VERSION_ID", "");
  state.product.build = _version;
  std::ifstream release(_root + "/proc/sys/kernel/osrelease");
  std::getline(release, state.product.kernelVersion);

  // The machine's own network only on the machine: a prepared tree has no
  // kernel of its own, only its files.
  Linux::KernelNetwork kernel;
  std::string error;
  const Linux::Netlink* netlink = _root.empty() ? Linux::LoadNetlink(error) : nullptr;
  if (netlink && netlink->read(kernel, error)) {
    ReadNetwork(kernel, state.network);
    state.network.managedBy = NetworkOwner(kernel);
  } else {
    Linux::ReadNetwork(_root,
                       _root.empty() ? Linux::MachineAddresses()
                                     : std::vector<Linux::InterfaceAddress>{},
                       state.network);
    // What a simulated host's network offers around it does not exist here.
    state.network.dhcp.available = false;
    state.network.dhcp.ipv6DhcpAvailable = false;
  }
  state.network.dns.hostname = Linux::ReadHostname(_root);
  const long pageSize = sysconf(_SC_PAGESIZE);
  state.hardware.cpu = Linux::ReadCpu(_root);
  state.hardware.memory = Linux::ReadMemory(_root, pageSize > 0 ? pageSize : 4096);
  Linux::ReadDmi(_root, state.hardware);
  state.hardware.storageAdapters = Linux::ReadStorageAdapters(_root);
  state.hardware.pciDevices =
      Linux::ReadPciDevices(_root, Linux::ReadPciNames(Linux::FindPciNames(_root)));
  // Devices without a driver of the host's can be handed to the DriverVM
  // from the next boot on (merel-driver-vm.service binds them to vfio-pci);
  // without an IOMMU the entry stays, and says why nothing can be.
  state.hardware.deviceAssignmentState = 2;
  if (!Linux::HasIommu(_root)) {
    state.hardware.deviceAssignmentNote =
        "No IOMMU is enabled on this host, so no device can be handed to the DriverVM. Enable "
        "it in the firmware (VT-d or AMD-Vi) and on the kernel command line (intel_iommu=on), "
        "then restart the host.";
  }
  std::ifstream list(DeviceListPath());
  if (list) {
    std::stringstream text;
    text << list.rdbuf();
    const auto saved = Linux::ParseDeviceList(text.str());
    for (auto& device : state.hardware.pciDevices) {
      const bool wanted = std::find(saved.begin(), saved.end(), device.address) != saved.end();
      device.passthroughAfterReboot = wanted == device.passthrough ? -1 : (wanted ? 1 : 0);
    }
  }
  state.eventServiceAvailable = EventServiceAvailable();
  return state;
}

void LinuxBackend::Modify(const std::function<void(HostState&)>& change) {
  const HostState before = Load();
  HostState after = before;
  change(after);
  // The network restore clears the network and then lays the factory one
  // out: on a Linux host both are the one restore, made at the first call.
  if (_root.empty() && !before.network.nics.empty() && after.network.nics.empty()) {
    RestoreNetwork();
    return;
  }
  if (after.network.autoConfigCount != before.network.autoConfigCount)
    return;
  // Only the options, the devices' next owners and the network settings
  // that map onto the machine may change.
  HostState rest = Untracked(after);
  const HostState restBefore = Untracked(before);
  const auto& beforeDevices = before.hardware.pciDevices;
  for (size_t i = 0; i < rest.hardware.pciDevices.size() && i < beforeDevices.size(); ++i)
    rest.hardware.pciDevices[i].passthroughAfterReboot = beforeDevices[i].passthroughAfterReboot;
  if (ToJson(rest) != ToJson(restBefore))
    throw HostCtl::Lib::HostCtlException("Not supported on this host");
  if (NetworkJson(after.network) != NetworkJson(before.network)) {
    if (!_root.empty())
      throw HostCtl::Lib::HostCtlException("Not supported on this host");
    ApplyNetwork(before, after);
  }
  std::string error;
  HostState options;
  options.advancedOptions = after.advancedOptions;
  HostState optionsBefore;
  optionsBefore.advancedOptions = before.advancedOptions;
  // The console's own folder, which the package makes; a machine without
  // the package gets it at the first change.
  std::error_code ignored;
  std::filesystem::create_directories(_root + "/etc/merel", ignored);
  if (ToJson(options) != ToJson(optionsBefore)) {
    std::string text = "# The console's host options; written by the console.\n";
    for (const auto& option : after.advancedOptions)
      text += OptionLine(option);
    if (!WriteFileDurably(OptionsPath(), text, 0644, error))
      throw HostCtl::Lib::HostCtlException(error);
  }
  bool devicesChanged = false;
  for (size_t i = 0; i < beforeDevices.size(); ++i) {
    devicesChanged = devicesChanged || after.hardware.pciDevices[i].passthroughAfterReboot !=
                                           beforeDevices[i].passthroughAfterReboot;
  }
  if (devicesChanged) {
    std::vector<std::string> addresses;
    for (const auto& device : after.hardware.pciDevices) {
      const bool next = device.passthroughAfterReboot < 0 ? device.passthrough
                                                          : device.passthroughAfterReboot == 1;
      if (next)
        addresses.push_back(device.address);
    }
    if (!WriteFileDurably(DeviceListPath(), Linux::FormatDeviceList(addresses), 0644, error))
      throw HostCtl::Lib::HostCtlException(error);
    // The list is applied at boot by the package's unit, which is enabled
    // the first time there is something to apply.
    if (!addresses.empty() &&
        RunAndWait({_config.systemctl, "enable", "--quiet", "merel-driver-vm.service"}) != 0)
      throw HostCtl::Lib::HostCtlException(
          "saved, but merel-driver-vm.service, which applies it at boot, could not be enabled");
  }
}

bool LinuxBackend::Has(Feature feature) {
  if (feature != Feature::kManagementVlan || !_root.empty())
    return false;
  // The management port group's VLAN is its bridge's VLAN filtering, which
  // only some kernels are built with.
  std::string error;
  Linux::KernelNetwork kernel;
  const Linux::Netlink* netlink = Linux::LoadNetlink(error);
  return netlink && netlink->read(kernel, error) &&
         Linux::BridgeFiltersVlans(_root, Linux::ManagementLink(kernel));
}

long LinuxBackend::AvailabilitySeconds() const {
  HostState state;
  FillDefaults(state);
  ReadOptions(OptionsPath(), state);
  const AdvancedOptionState* option = FindOption(state, Linux::kShellAvailabilityOption);
  return option ? static_cast<long>(option->value) : 0;
}

bool LinuxBackend::SetShellAvailability(long seconds) {
  try {
    Modify([seconds](HostState& state) {
      AdvancedOptionState* option = FindOption(state, Linux::kShellAvailabilityOption);
      if (!option || seconds < option->min || seconds > option->max)
        throw HostCtl::Lib::HostCtlException("out of range: " + std::to_string(seconds));
      option->value = seconds;
    });
    // No time-out, so no service is waiting to be switched off. Any other
    // value applies from the next time a service is switched on: those on
    // now were switched on under the old one.
    if (seconds == 0) {
      StopAvailabilityTimer(kShellTimer);
      StopAvailabilityTimer(kSshTimer);
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    WriteSyslog("MEREL", true, LOG_USER, LOG_ERR,
                std::string("Setting the shell availability timeout failed: ") + e.what());
    return false;
  }
  return true;
}

void LinuxBackend::StopAvailabilityTimer(const std::string& timer) {
  const int status = RunAndWait({_config.systemctl, "stop", timer + ".timer"});
  // 5: no such unit loaded, so nothing is pending.
  if (status != 0 && !(WIFEXITED(status) && WEXITSTATUS(status) == 5))
    throw HostCtl::Lib::HostCtlException(
        ToolFailure("systemctl stop " + timer + ".timer", status));
}

void LinuxBackend::ServiceSwitched(HostService service, bool on) {
  const bool ssh = service == HostService::kSsh;
  const std::string timer = ssh ? kSshTimer : kShellTimer;
  // Switched on again, the service gets a full time-out from now; switched
  // off, it has nothing left to wait for.
  StopAvailabilityTimer(timer);
  const long seconds = on ? AvailabilitySeconds() : 0;
  if (seconds == 0)
    return;
  const std::string& unit = ssh ? _config.sshUnit : _config.shellUnit;
  const int status = RunAndWait(Linux::AvailabilityTimer(_config, timer, unit, seconds));
  if (status != 0)
    throw HostCtl::Lib::HostCtlException(ToolFailure(_config.systemdRun, status));
}

long LinuxBackend::ShellIdleSeconds() const {
  std::ifstream file(_root + Linux::kShellTimeoutProfile);
  std::stringstream text;
  text << file.rdbuf();
  return Linux::ShellTimeoutSeconds(text.str());
}

bool LinuxBackend::SetShellIdle(long seconds) {
  const std::string path = _root + Linux::kShellTimeoutProfile;
  std::string error;
  if (seconds == 0) {
    // No time-out is no file: the shells keep whatever else sets TMOUT.
    if ((unlink(path.c_str()) != 0 && errno != ENOENT) || merel_sync_parent(path.c_str()) != 0)
      error = path + ": " + strerror(errno);
  } else {
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    WriteFileDurably(path, Linux::ShellTimeoutProfile(seconds), 0644, error);
  }
  if (!error.empty()) {
    WriteSyslog("MEREL", true, LOG_USER, LOG_ERR,
                "Setting the shell idle timeout failed: " + error);
    return false;
  }
  return true;
}

bool LinuxBackend::EventServiceAvailable() {
  return access((_root + "/run/systemd/journal/socket").c_str(), F_OK) == 0;
}

void LinuxBackend::PostEvent(const std::string& text) {
  // "@&!*@*@(<event id>)<message>" is how the event library frames an event;
  // the id becomes a field of its own, so that the journal can be searched
  // by it.
  static const std::string prefix = "@&!*@*@(";
  std::string id;
  std::string message = text;
  if (text.rfind(prefix, 0) == 0 && text.find(')') != std::string::npos) {
    const size_t close = text.find(')');
    id = text.substr(prefix.size(), close - prefix.size());
    message = text.substr(close + 1);
  }
  std::string error;
  if (const Linux::Services* services = Linux::LoadServices(error)) {
    services->journalEvent(message, id);
  } else {
    WriteSyslog("MEREL", true, LOG_USER, LOG_INFO, message);
  }
}

void LinuxBackend::WriteAudit(const std::string& record,
                              const std::string& user,
                              bool success,
                              const std::string& name,
                              const std::string& value) {
  std::string error;
  const Linux::Services* services = Linux::LoadServices(error);
  if (services && services->auditAccount(record, user, success))
    return;
  // No audit subsystem (a kernel without it, a container, another network
  // namespace, or no module to reach it): the record goes to the auth facility instead.
  std::string line = RecordToken(record) + " user=" + QuoteRecordValue(user) +
                     " success=" + (success ? "1" : "0");
  if (!name.empty())
    line += " " + RecordToken(name) + "=" + QuoteRecordValue(value);
  WriteSyslog("MEREL", true, LOG_AUTH, LOG_NOTICE, line);
}

namespace Linux {

void* ModuleEntry(const char* symbol, std::string& error) {
  // Looked for once: beside the console in the build folder, in lib/merel
  // next to its bin folder when installed.
  static std::string reason;
  static void* const module = []() -> void* {
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof(self) - 1);
    std::string dir = length > 0 ? std::string(self, static_cast<size_t>(length)) : "";
    dir = dir.substr(0, dir.rfind('/'));
    for (const char* candidate : {"/merel-linux.so", "/../lib/merel/merel-linux.so"}) {
      if (void* found = dlopen((dir + candidate).c_str(), RTLD_NOW | RTLD_LOCAL))
        return found;
      reason = dlerror();
    }
    return nullptr;
  }();
  void* entry = module != nullptr ? dlsym(module, symbol) : nullptr;
  if (entry == nullptr)
    error = "the Linux host's services module is missing: " +
            (module != nullptr ? "merel-linux.so has no " + std::string(symbol) : reason);
  return entry;
}

const Services* LoadServices(std::string& error) {
  using Table = const Services* (*)();
  const auto table = reinterpret_cast<Table>(ModuleEntry("merel_linux_services", error));
  return table != nullptr ? table() : nullptr;
}

}  // namespace Linux

}  // namespace Platform
