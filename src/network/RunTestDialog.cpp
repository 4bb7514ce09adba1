#include "RunTestDialog.h"

#include <errno.h>
#include <string.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <fstream>
#include <sstream>
#include <system_error>

#include "DurableFile.h"
#include "HostCtl/HostCtlException.h"
#include "NexCtl/HostsFile.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

RunTestDialog* RunTestDialog::currentRunTest = nullptr;
std::vector<pid_t> RunTestDialog::_abandoned;

namespace {

// The handler does nothing but wake the key wait: the reaping and the
// verdict happen in the main thread, never in signal context.
extern "C" void OnChildExit(int) {
  Frame::NotifyChildExit();
}

// Installs the child-exit handler for one run and takes it away again on
// every way out, the idle time-out included.
class ChildWatch {
 public:
  explicit ChildWatch(Session& session) : _session(session) {
    struct sigaction action = {};
    action.sa_handler = OnChildExit;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_NOCLDSTOP | SA_RESTART;
    sigaction(SIGCHLD, &action, nullptr);
    _session.wakeOnChildExit = true;
  }
  ~ChildWatch() { Stop(); }
  void Stop() {
    signal(SIGCHLD, SIG_DFL);
    _session.wakeOnChildExit = false;
  }

 private:
  Session& _session;
};

bool IsLinkLocal(const HostCtl::Network::IpAddress& address) {
  if (address.GetFamily() != HostCtl::Network::IpAddress::Family::kIpv6) {
    return false;
  }
  const std::vector<uint8_t> bytes = address.GetBinaryAddress();
  return bytes.size() == 16 && bytes[0] == 0xfe && (bytes[1] & 0xc0) == 0x80;
}

// The child keeps nothing of the console's signal set-up: the tool starts
// with every signal at its default and none blocked.
void ResetSignalsInChild() {
  for (int sig = 1; sig < NSIG; ++sig) {
    if (sig != SIGKILL && sig != SIGSTOP) {
      signal(sig, SIG_DFL);
    }
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace

RunTestDialog::RunTestDialog(Frame* parent,
                             HostCtl::Network::IpAddress* target1,
                             HostCtl::Network::IpAddress* target2,
                             HostCtl::Network::IpAddress* target3,
                             std::string hostname)
    : Dialog(parent, 75, 13, 5),
      _targets{target1, target2, target3},
      _hostname(std::move(hostname)) {
  _text = AddContentText();
}

void RunTestDialog::ReapAbandoned() {
  std::erase_if(_abandoned, [](pid_t pid) {
    int status = 0;
    const pid_t rc = waitpid(pid, &status, WNOHANG);
    return rc == pid || (rc < 0 && errno == ECHILD);
  });
}

void RunTestDialog::RecoverHostsFile() {
  const std::string file = NexCtl::Network::HostsFile().GetPath();
  const std::string backup = Platform::HostPath("/etc/hosts.backup");
  if (access(backup.c_str(), F_OK) != 0) {
    return;
  }
  // The backup is the file as it was before the step: it goes back whole,
  // in one rename.
  if (rename(backup.c_str(), file.c_str()) != 0 || merel_sync_parent(file.c_str()) != 0) {
    Platform::Syslog(LOG_INFO, "failed to restore /etc/hosts: %s", strerror(errno));
  } else {
    Platform::Syslog(LOG_INFO, "restored /etc/hosts from /etc/hosts.backup");
  }
}

void RunTestDialog::EndChildren() {
  std::vector<pid_t> children = _abandoned;
  if (currentRunTest != nullptr && currentRunTest->childPid > 0) {
    children.push_back(currentRunTest->childPid);
  }
  for (pid_t pid : children) {
    kill(pid, SIGKILL);
  }
  for (pid_t pid : children) {
    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  _abandoned.clear();
  RecoverHostsFile();
}

void RunTestDialog::Report(int status) {
  if (_text != nullptr) {
    _text->AppendText(std::string("{align:right}") +
                      _strings->GetString(status == 0 ? Strings::kOk : Strings::kFailed) +
                      "{/align}\n");
  }
  testDone = 1;
  childPid = -1;
}

bool RunTestDialog::WaitStep(pid_t pid) {
  childPid = pid;
  if (pid < 0) {
    Report(1);
    return true;
  }
  for (;;) {
    // Asked before every wait: the child may have ended before its pid was
    // stored, and its wake-up byte is then already waiting in the pipe.
    int status = 0;
    pid_t rc;
    do {
      rc = waitpid(childPid, &status, WNOHANG);
    } while (rc < 0 && errno == EINTR);
    if (rc == childPid || rc < 0) {
      Report(rc < 0 ? 1 : status);
      break;
    }
    ReapAbandoned();
    int key;
    try {
      key = Frame::WaitForKey(this, true);
    } catch (const MerelTimeout&) {
      // The session ends with the step still running: reaped like an
      // interrupted one.
      _abandoned.push_back(childPid);
      childPid = -1;
      throw;
    }
    if (key == kKeyEscape) {
      // Not killed and not awaited: the next run (or the end of the
      // console) reaps it.
      _abandoned.push_back(childPid);
      childPid = -1;
      return false;
    }
  }
  testDone = 0;
  return true;
}

bool RunTestDialog::PingStep(int index, HostCtl::Network::IpAddress& target) {
  const std::string address = target.GetStringAddress();
  std::string shown = address;
  if (IsLinkLocal(target) && !_nicName.empty()) {
    shown += "%" + _nicName;
  }
  if (_text != nullptr) {
    _text->AppendText(std::string(_strings->GetString(Strings::kPingingAddress)) + " #" +
                      std::to_string(index) + " (" + shown + ").");
  }
  // The tool's own default count applies: no count option is passed.
  std::vector<std::string> args = {"nexping", address};
  if (!_nicName.empty()) {
    args.push_back("-I");
    args.push_back(_nicName);
  }
  std::vector<char*> argv;
  for (auto& arg : args) {
    argv.push_back(arg.data());
  }
  argv.push_back(nullptr);
  // Started like every host tool: the platform resolves the path on the
  // host and gives the child clean signals. It reads and writes nothing of
  // the console's terminal.
  char* const noEnv[] = {nullptr};
  Window::UpdateTerminal();
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  const pid_t pid =
      null < 0 ? -1 : Platform::Spawn("/sbin/nexping", argv.data(), noEnv, null, null, null);
  if (null >= 0) {
    close(null);
  }
  return WaitStep(pid);
}

int RunTestDialog::ResolveInChild(const std::string& hostname) {
  namespace fs = std::filesystem;
  std::error_code error;
  try {
    NexCtl::Network::HostsFile hosts;
    const fs::path file = hosts.GetPath();
    const fs::path backup = Platform::HostPath("/etc/hosts.backup");
    // A backup that is already there may be the only copy of the original
    // file (an earlier run that never finished): it is never overwritten.
    if (fs::exists(backup, error) || error) {
      if (!error) {
        error = std::make_error_code(std::errc::file_exists);
      }
      Platform::Syslog(LOG_INFO, "failed to backup /etc/hosts: %s", error.message().c_str());
      return 1;
    }
    std::string content;
    {
      std::ifstream in(file, std::ios::binary);
      std::ostringstream text;
      text << in.rdbuf();
      if (!in) {
        error = std::error_code(errno != 0 ? errno : EIO, std::generic_category());
        Platform::Syslog(LOG_INFO, "failed to backup /etc/hosts: %s", error.message().c_str());
        return 1;
      }
      content = text.str();
    }
    if (merel_write_file(backup.c_str(), content.data(), content.size(), 0644) != 0) {
      Platform::Syslog(LOG_INFO, "failed to backup /etc/hosts: %s", strerror(errno));
      return 1;
    }
    std::vector<std::string> addresses;
    try {
      // Resolved through DNS, not through the host's own entry.
      hosts.RemoveEntryByHostName(hostname);
      Platform::ResolveHostname(hostname, addresses);
    } catch (const HostCtl::Lib::HostCtlException& e) {
      Platform::Syslog(LOG_INFO, "Resolving %s failed: %s", hostname.c_str(), e.what());
    }
    // One rename puts the original back: there is no moment without a
    // hosts file.
    if (rename(backup.c_str(), file.c_str()) != 0 || merel_sync_parent(file.c_str()) != 0) {
      Platform::Syslog(LOG_INFO, "failed to restore /etc/hosts: %s", strerror(errno));
    }
    return addresses.empty() ? 1 : 0;
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_INFO, "failed to backup /etc/hosts: %s", e.what());
    return 1;
  }
}

bool RunTestDialog::ResolveStep() {
  if (_text != nullptr) {
    _text->AppendText(std::string(_strings->GetString(Strings::kResolvingHostname)) + " (" +
                      _hostname + ").");
  }
  Window::UpdateTerminal();
  const pid_t pid = fork();
  if (pid == 0) {
    ResetSignalsInChild();
    int status = 1;
    try {
      status = ResolveInChild(_hostname);
    } catch (...) {
      // Nothing may unwind into the console's own code in the child.
    }
    _exit(status);
  }
  return WaitStep(pid);
}

int RunTestDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kTestRunningTitle));
  SetText(_strings->GetString(Strings::kTestInterruptHint));
  SetFooter("{align:right}{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}");
  testDone = 0;
  currentRunTest = this;
  try {
    NexCtl::Network::NetworkInfoImpl info;
    auto nic = info.GetManagementInterface();
    if (nic != nullptr) {
      _nicName = nic->GetName();
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting the management interface failed: %s", e.what());
  }
  ReapAbandoned();
  static const bool endsWithTheConsole = [] {
    atexit(EndChildren);
    return true;
  }();
  (void)endsWithTheConsole;
  ChildWatch watch(_session);
  for (int k = 0; k < 3; ++k) {
    if (_targets[k] != nullptr && !PingStep(k + 1, *_targets[k])) {
      return 0;
    }
  }
  if (!_hostname.empty() && !ResolveStep()) {
    return 0;
  }
  watch.Stop();
  SetFooter(kOkFooter);
  while (Frame::WaitForKey(this, true) != kKeyEnter) {
  }
  return 1;
}

}  // namespace Merel
