// merel-sim: makes and runs simulated host roots, and is every host tool of
// such a root (the tool entries in ROOT/bin and ROOT/sbin call it back).
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "Faults.h"
#include "HostModel.h"
#include "HostState.h"
#include "Tools.h"
#include "backends/HostStore.h"
#include "backends/SimHostInit.h"

extern char** environ;

namespace {

const char kUsage[] =
    "usage: merel-sim init ROOT [DESCRIPTION.json]\n"
    "       merel-sim run [--now] ROOT [ARGS...]\n"
    "       merel-sim show ROOT\n"
    "       merel-sim tool ROOT NAME [ARGS...]\n"
    "       merel-sim fail ROOT CALL TEXT [--once]\n"
    "       merel-sim fail ROOT --clear\n"
    "       merel-sim calls\n"
    "       merel-sim --help | --version\n"
    "\n"
    "fail: host-library call CALL (a method name such as SetHostname, or\n"
    "Class.Method such as PnicImpl.GetMacAddress; `calls` lists them) throws\n"
    "TEXT from now on, or only the next time with --once. A fault set for\n"
    "Class.Method wins over one set for the bare method name. --clear\n"
    "removes every fault.\n";

int Usage() {
  std::cerr << kUsage;
  return 2;
}

std::string Absolute(const std::string& path) {
  char resolved[PATH_MAX];
  return realpath(path.c_str(), resolved) ? std::string(resolved) : path;
}

int Init(const std::vector<std::string>& args) {
  if (args.empty() || args.size() > 2)
    return Usage();
  std::string description = Platform::BundledDemoHost();
  std::string name = "built-in demo host";
  if (args.size() == 2) {
    name = args[1];
    std::ifstream in(name, std::ios::binary);
    if (!in) {
      std::cerr << "merel-sim: " << name << ": cannot read: " << std::strerror(errno) << "\n";
      return 1;
    }
    std::stringstream text;
    text << in.rdbuf();
    description = text.str();
  }
  std::string error;
  std::vector<std::string> notes;
  bool ok = Platform::InitHostRoot(args[0], description, name,
                                   Platform::SiblingProgram("merel-sim"), error, &notes);
  for (const auto& note : notes)
    std::cerr << "merel-sim: note: " << note << "\n";
  if (!ok) {
    std::cerr << "merel-sim: " << error << "\n";
    return 1;
  }
  return 0;
}

int Show(const std::vector<std::string>& args) {
  if (args.size() != 1)
    return Usage();
  Platform::HostStore store(Absolute(args[0]));
  Platform::HostState state;
  std::string error;
  if (!store.Read(state, error)) {
    std::cerr << "merel-sim: " << error << "\n";
    return 1;
  }
  std::cout << Platform::ToJson(state);
  return 0;
}

void AppendLog(const std::string& root, const std::string& log, const std::string& line) {
  std::ofstream(root + "/var/log/" + log, std::ios::app) << line << "\n";
}

// Brings a host that is off or restarting up before its console starts, as
// pressing the power button (or waiting out a restart) would. A restart
// takes a little while unless `now`.
bool BootHost(const std::string& root, bool now, std::string& error) {
  Platform::HostStore store(root);
  Platform::HostState state;
  if (!store.Read(state, error))
    return false;
  if (state.powerState == "on")
    return true;
  if (state.powerState == "rebooting" && !now) {
    std::cerr << "merel-sim: the host is restarting...\n";
    sleep(3);
  } else if (state.powerState == "off") {
    std::cerr << "merel-sim: powering the host on\n";
  }
  int boot = 0;
  std::string host;
  if (!store.Modify(
          [&](Platform::HostState& s) {
            Platform::Model::Boot(s);
            boot = s.bootCount;
            host = s.network.dns.hostname;
          },
          error)) {
    return false;
  }
  const std::string stamp = "2024-05-14T07:10:00.000Z ";
  AppendLog(root, "hostboot.log", stamp + "hostinit: boot " + std::to_string(boot) +
                                      ": configuration complete");
  AppendLog(root, "obsvd.log", stamp + "[obsv.system.boot] Host " + host + " booted");
  AppendLog(root, "syslog.log", stamp + "syslogd[2101]: syslogd started, log files in /var/log");
  return true;
}

int Run(std::vector<std::string> args) {
  bool now = false;
  if (!args.empty() && args[0] == "--now") {
    now = true;
    args.erase(args.begin());
  }
  if (args.empty())
    return Usage();
  std::string root = Absolute(args[0]);
  Platform::HostStore store(root);
  Platform::HostState state;
  std::string error;
  if (!store.Read(state, error) || !BootHost(root, now, error)) {
    std::cerr << "merel-sim: " << error << "\n";
    return 1;
  }
  const char* bin = std::getenv("MEREL_BIN");
  std::string merel = bin && *bin ? bin : Platform::SiblingProgram("merel");

  const int lock = Platform::LockPamWrapperStart();
  std::string preload = "libpam_wrapper.so";
  if (const char* asan = Platform::AsanRuntime())
    preload = std::string(asan) + " " + preload;
  setenv("MEREL_SIM_ROOT", root.c_str(), 1);
  setenv("LD_PRELOAD", preload.c_str(), 1);
  setenv("PAM_WRAPPER", "1", 1);
  setenv("PAM_WRAPPER_SERVICE_DIR", (root + "/etc/pam.d").c_str(), 1);
  setenv("PAM_MATRIX_PASSWD", (root + "/etc/pam_matrix.passwd").c_str(), 1);

  std::vector<char*> argv = {const_cast<char*>("merel")};
  for (size_t i = 1; i < args.size(); ++i)
    argv.push_back(const_cast<char*>(args[i].c_str()));
  argv.push_back(nullptr);
  if (lock >= 0)
    Platform::HoldPamWrapperLockUntilStarted(lock);
  execve(merel.c_str(), argv.data(), environ);
  std::cerr << "merel-sim: " << merel << ": cannot start: " << std::strerror(errno) << "\n";
  return 127;
}

int Fail(const std::vector<std::string>& args) {
  bool clear = args.size() == 2 && args[1] == "--clear";
  bool once = args.size() == 4 && args[3] == "--once";
  if (!clear && args.size() != 3 && !once)
    return Usage();
  if (!clear && !Platform::IsFaultableCall(args[1])) {
    std::cerr << "merel-sim: fail: unknown host-library call '" << args[1]
              << "' (merel-sim calls lists them)\n";
    return 2;
  }
  Platform::HostStore store(Absolute(args[0]));
  std::string error;
  bool ok = store.Modify(
      [&](Platform::HostState& state) {
        if (clear) {
          state.faults.clear();
          return;
        }
        std::erase_if(state.faults, [&](const auto& fault) { return fault.call == args[1]; });
        state.faults.push_back({args[1], args[2], once});
      },
      error);
  if (!ok) {
    std::cerr << "merel-sim: " << error << "\n";
    return 1;
  }
  return 0;
}

int Calls(const std::vector<std::string>& args) {
  if (!args.empty())
    return Usage();
  for (auto call : Platform::FaultableCalls())
    std::cout << call << "\n";
  return 0;
}

int Tool(const std::vector<std::string>& args) {
  if (args.size() < 2)
    return Usage();
  std::vector<std::string> rest(args.begin() + 2, args.end());
  return MerelSim::RunTool(Absolute(args[0]), args[1], rest);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2)
    return Usage();
  std::string command = argv[1];
  if (command == "--help" || command == "-h") {
    std::cout << kUsage;
    return 0;
  }
  if (command == "--version" || command == "-V") {
    std::cout << "merel-sim " << MEREL_VERSION << "\n";
    return 0;
  }
  if (command.size() > 1 && command[0] == '-') {
    std::cerr << "merel-sim: unknown option '" << command << "' (try 'merel-sim --help')\n";
    return 2;
  }
  std::vector<std::string> args(argv + 2, argv + argc);
  if (command == "init")
    return Init(args);
  if (command == "run")
    return Run(args);
  if (command == "show")
    return Show(args);
  if (command == "tool")
    return Tool(args);
  if (command == "fail")
    return Fail(args);
  if (command == "calls")
    return Calls(args);
  return Usage();
}
