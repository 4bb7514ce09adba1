#include "Platform.h"

#include <fcntl.h>
#include <linux/kd.h>
#include <linux/vt.h>
#include <sys/ioctl.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>

#include "Backend.h"
#include "HostCtl/AdvancedOption.h"
#include "HostCtl/HostCtlException.h"
#include "NexCtl/AdvancedOptionImpl.h"
#include "NexCtl/SystemInfoImpl.h"
#include "backends/LinuxBackend.h"
#include "backends/SimBackend.h"
#include "backends/SimHostInit.h"

namespace Platform {

namespace {

// Used until a backend is selected: every host call fails, and nothing can
// reach the machine through it.
class NoHostBackend : public Backend {
 public:
  std::string HostPath(const std::string& hostPath) override {
    return "/nonexistent/merel-no-host" +
           (hostPath.empty() || hostPath[0] != '/' ? "/" + hostPath : hostPath);
  }
  pid_t Spawn(const char*, char* const[], char* const[], int, int, int) override { return -1; }
  int System(const char*) override { return -1; }
  void WriteSyslog(const std::string&, bool, int, int, const std::string&) override {}
  bool ResolveHostname(const std::string&, std::vector<std::string>&) override { return false; }
  HostState Load() override { throw HostCtl::Lib::HostCtlException("No host selected"); }
  void Modify(const std::function<void(HostState&)>&) override {
    throw HostCtl::Lib::HostCtlException("No host selected");
  }
  bool SwitchVirtualTerminal(int) override { return false; }
  bool ConsoleKeyboard(int) override { return false; }
  bool EventServiceAvailable() override { return false; }
  void PostEvent(const std::string&) override {}
  void WriteAudit(const std::string&,
                  const std::string&,
                  bool,
                  const std::string&,
                  const std::string&) override {}
};

std::unique_ptr<Backend>& Slot() {
  static std::unique_ptr<Backend> backend = std::make_unique<NoHostBackend>();
  return backend;
}

struct LogSettings {
  std::string ident = "MEREL";
  bool withPid = true;
  int facility = LOG_USER;
  int mask = 0xff;
};

LogSettings& Log() {
  static LogSettings settings;
  return settings;
}

}  // namespace

bool Backend::SwitchVirtualTerminal(int vt) {
  const int fd = open(HostPath("/dev/console").c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) {
    return false;
  }
  // Activation can be refused while another switch is pending; waiting for
  // the terminal then still brings the console to it.
  bool switched = ioctl(fd, VT_ACTIVATE, vt) == 0 || ioctl(fd, VT_WAITACTIVE, vt) == 0;
  close(fd);
  return switched;
}

bool Backend::ConsoleKeyboard(int fd) {
  char type = 0;
  return ioctl(fd, KDGKBTYPE, &type) == 0;
}

std::vector<std::string> Backend::AccountNames() {
  return ReadAccountNames(HostPath("/etc/passwd"));
}

std::vector<std::string> ReadAccountNames(const std::string& path) {
  std::vector<std::string> names;
  std::ifstream file(path);
  std::string line;
  while (std::getline(file, line)) {
    const std::string name = line.substr(0, line.find(':'));
    if (!name.empty() && name[0] != '#') {
      names.push_back(name);
    }
  }
  return names;
}

bool Select(std::string& error) {
  const char* root = std::getenv("MEREL_SIM_ROOT");
  std::unique_ptr<SimBackend> backend;
  if (root && *root) {
    backend = SimBackend::Open(root, error);
    if (!backend) {
      error = "MEREL_SIM_ROOT=" + std::string(root) + ": " + error;
      return false;
    }
  } else {
    std::string stateRoot = DefaultStateRoot();
    if (stateRoot.empty()) {
      error =
          "cannot find a state directory for the demo host (neither XDG_STATE_HOME nor HOME is "
          "set)";
      return false;
    }
    if (access((stateRoot + "/host.json").c_str(), F_OK) != 0) {
      std::string simBinary = SiblingProgram("merel-sim");
      if (!InitHostRoot(stateRoot, BundledDemoHost(), "built-in demo host", simBinary, error,
                        nullptr)) {
        return false;
      }
    }
    backend = SimBackend::Open(stateRoot, error);
    if (!backend) {
      return false;
    }
  }
  Install(std::move(backend));
  return true;
}

void SelectLinux(const std::string& version) {
  Install(std::make_unique<LinuxBackend>("", version));
}

void Install(std::unique_ptr<Backend> backend) {
  Slot() = backend ? std::move(backend) : std::make_unique<NoHostBackend>();
}

Backend& Current() {
  return *Slot();
}

std::string HostPath(const std::string& hostPath) {
  return Current().HostPath(hostPath);
}

pid_t Spawn(const char* path, char* const argv[], char* const envp[], int in, int out, int err) {
  return Current().Spawn(path, argv, envp, in, out, err);
}

int System(const char* command) {
  return Current().System(command);
}

void OpenLog(const char* ident, int option, int facility) {
  Log().ident = ident ? ident : "";
  Log().withPid = (option & LOG_PID) != 0;
  Log().facility = facility;
}

void SetLogMask(int mask) {
  if (mask != 0) {
    Log().mask = mask;
  }
}

void Syslog(int priority, const char* format, ...) {
  int level = LOG_PRI(priority);
  if (!(Log().mask & LOG_MASK(level))) {
    return;
  }
  int facility = priority & LOG_FACMASK;
  if (facility == 0) {
    facility = Log().facility;
  }
  // %m is syslog's own conversion; expand it before vsnprintf sees it.
  int savedErrno = errno;
  std::string fmt;
  for (const char* p = format; *p; ++p) {
    if (p[0] == '%' && p[1] == '%') {
      fmt += "%%";
      ++p;
    } else if (p[0] == '%' && p[1] == 'm') {
      for (char c : std::string(strerror(savedErrno))) {
        fmt += c;
        if (c == '%')
          fmt += '%';
      }
      ++p;
    } else {
      fmt += *p;
    }
  }
  va_list args;
  va_start(args, format);
  char buffer[2048];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::vsnprintf(buffer, sizeof(buffer), fmt.c_str(), args);
#pragma GCC diagnostic pop
  va_end(args);
  Current().WriteSyslog(Log().ident, Log().withPid, facility, level, buffer);
  errno = savedErrno;
}

bool ResolveHostname(const std::string& name, std::vector<std::string>& addresses) {
  return Current().ResolveHostname(name, addresses);
}

std::vector<std::string> AccountNames() {
  return Current().AccountNames();
}

bool SwitchVirtualTerminal(int vt) {
  return Current().SwitchVirtualTerminal(vt);
}

bool ConsoleKeyboard(int fd) {
  return Current().ConsoleKeyboard(fd);
}

bool HostHas(Feature feature) {
  return Current().Has(feature);
}

void ServiceSwitched(HostService service, bool on) {
  Current().ServiceSwitched(service, on);
}

int64_t IntegerOption(const std::string& name, int64_t fallback) {
  try {
    NexCtl::Adv::AdvancedOptionImpl options;
    std::unique_ptr<HostCtl::Adv::AdvancedOption> option = options.FindOption(name);
    auto* integer = dynamic_cast<HostCtl::Adv::AdvancedIntegerOption*>(option.get());
    if (integer != nullptr) {
      return integer->GetValue();
    }
  } catch (const HostCtl::Lib::HostCtlException&) {
  }
  return fallback;
}

bool ProductLine(std::string& line) {
  try {
    NexCtl::System::SystemInfoImpl info;
    const NexCtl::System::SystemVersion version = info.GetSystemVersion();
    line = version.product + " " + version.version + " (Nexel " + version.kernelVersion +
           " Build " + version.build + ")";
    return true;
  } catch (const HostCtl::Lib::HostCtlException&) {
    return false;
  }
}

}  // namespace Platform
