#include "NetworkTest.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <vector>

#include "DurableFile.h"
#include "HostCtl/HostCtlException.h"
#include "NexCtl/HostsFile.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "Platform.h"

namespace Merel::NetworkTest {

namespace {

// The step child under way (-1 when none) and those given up. Pids, not
// the dialog that started them: a dialog may be gone while they run.
pid_t running = -1;
std::vector<pid_t> abandoned;

void ReapAbandoned() {
  std::erase_if(abandoned, [](pid_t pid) {
    int status = 0;
    const pid_t rc = waitpid(pid, &status, WNOHANG);
    return rc == pid || (rc < 0 && errno == ECHILD);
  });
}

// At the console's end: the test's children end with it, then the hosts
// file is put back.
void EndChildren() {
  std::vector<pid_t> children = abandoned;
  if (running > 0) {
    children.push_back(running);
  }
  for (pid_t pid : children) {
    kill(pid, SIGKILL);
  }
  for (pid_t pid : children) {
    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  abandoned.clear();
  running = -1;
  RecoverHostsFile();
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

pid_t Started(pid_t pid) {
  running = pid;
  return pid;
}

}  // namespace

std::string ManagementInterfaceName() {
  try {
    NexCtl::Network::NetworkInfoImpl info;
    auto nic = info.GetManagementInterface();
    if (nic != nullptr) {
      return nic->GetName();
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting the management interface failed: %s", e.what());
  }
  return "";
}

pid_t StartPing(const std::string& address, const std::string& nic) {
  // The tool's own default count applies: no count option is passed.
  std::vector<std::string> args = {"nexping", address};
  if (!nic.empty()) {
    args.push_back("-I");
    args.push_back(nic);
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
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  const pid_t pid =
      null < 0 ? -1 : Platform::Spawn("/sbin/nexping", argv.data(), noEnv, null, null, null);
  if (null >= 0) {
    close(null);
  }
  return Started(pid);
}

pid_t StartResolve(const std::string& hostname) {
  const pid_t pid = fork();
  if (pid == 0) {
    ResetSignalsInChild();
    int status = 1;
    try {
      status = ResolveInChild(hostname);
    } catch (...) {
      // Nothing may unwind into the console's own code in the child.
    }
    _exit(status);
  }
  return Started(pid);
}

int ResolveInChild(const std::string& hostname) {
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

void RecoverHostsFile() {
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

std::optional<int> StepEnded(pid_t pid) {
  int status = 0;
  pid_t rc;
  do {
    rc = waitpid(pid, &status, WNOHANG);
  } while (rc < 0 && errno == EINTR);
  if (rc != pid && rc >= 0) {
    ReapAbandoned();
    return std::nullopt;
  }
  if (running == pid) {
    running = -1;
  }
  return rc < 0 ? 1 : status;
}

void Abandon(pid_t pid) {
  abandoned.push_back(pid);
  if (running == pid) {
    running = -1;
  }
}

void BeginRun() {
  ReapAbandoned();
  static const bool endsWithTheConsole = [] {
    atexit(EndChildren);
    return true;
  }();
  (void)endsWithTheConsole;
}

}  // namespace Merel::NetworkTest
