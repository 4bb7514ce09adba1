// merel-sim: makes and runs simulated host roots, and is every host tool of
// such a root (the tool entries in ROOT/bin and ROOT/sbin call it back).
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
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

// pam_wrapper gives each process a folder /tmp/pam.X holding its pid. It
// clears the folders of processes that have ended only on its way to a free
// name, and never one whose pid file is empty (its process was killed between
// making the folder and writing its pid), though a later start that picks
// that name fails. Consoles killed at the end of a test leave theirs too. So
// before a console starts, the folders of ended processes go, and those that
// have held only an empty pid file for two seconds (the pid follows the folder
// at once).
void RemoveAbandonedPamWrapperFolders() {
  namespace fs = std::filesystem;
  std::error_code listing;
  for (const fs::directory_entry& folder : fs::directory_iterator("/tmp", listing)) {
    std::error_code error;
    if (!folder.path().filename().string().starts_with("pam.") || !folder.is_directory(error))
      continue;
    const fs::path pid = folder.path() / "pid";
    std::string owner;
    std::getline(std::ifstream(pid), owner);
    char* end = nullptr;
    const long number = std::strtol(owner.c_str(), &end, 10);
    if (!owner.empty()) {
      if (*end == '\0' && number > 0 && kill(static_cast<pid_t>(number), 0) != 0 && errno == ESRCH)
        fs::remove_all(folder.path(), error);
      continue;
    }
    int entries = 0;
    for (fs::directory_iterator it(folder.path(), error), last; !error && it != last;
         it.increment(error))
      ++entries;
    const auto changed = fs::last_write_time(pid, error);
    if (error || entries != 1 || fs::file_size(pid, error) != 0 || error)
      continue;
    if (fs::file_time_type::clock::now() - changed > std::chrono::seconds(2))
      fs::remove_all(folder.path(), error);
  }
}

// Whether a pam_wrapper folder holds `pid` as its owner's.
bool HasPamWrapperFolder(pid_t pid) {
  namespace fs = std::filesystem;
  std::error_code listing;
  for (const fs::directory_entry& folder : fs::directory_iterator("/tmp", listing)) {
    std::string owner;
    if (folder.path().filename().string().starts_with("pam.") &&
        std::getline(std::ifstream(folder.path() / "pid"), owner) && owner == std::to_string(pid))
      return true;
  }
  return false;
}

// The console about to be started here makes its pam_wrapper folder as it
// loads, after the exec: the lock (LockPamWrapperStart) goes to a detached
// process of its own, which lets go once that folder holds the console's pid,
// when the console has ended, or after ten seconds.
void HoldUntilPamWrapperFolder(int lock) {
  const pid_t console = getpid();
  const pid_t child = fork();
  if (child == 0) {
    if (fork() == 0) {
      setsid();
      const int null = open("/dev/null", O_RDWR);
      for (int fd = 0; fd < 3; ++fd)
        dup2(null, fd);
      for (int i = 0; i < 1000 && kill(console, 0) == 0 && !HasPamWrapperFolder(console); ++i)
        usleep(10000);
    }
    _exit(0);
  }
  if (child > 0)
    waitpid(child, nullptr, 0);
  close(lock);
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
  RemoveAbandonedPamWrapperFolders();
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
    HoldUntilPamWrapperFolder(lock);
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
