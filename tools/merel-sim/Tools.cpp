#include "Tools.h"

#include "DurableFile.h"

#include <fcntl.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <thread>

#include "HostCtl/HostCtlException.h"
#include "HostCtl/IpAddress.h"
#include "HostModel.h"
#include "backends/RecordText.h"
#include "backends/SimBackend.h"
#include "backends/SimHostInit.h"

namespace MerelSim {

namespace {

using Platform::HostState;

constexpr useconds_t kAgentStepMicroseconds = 400000;

struct Context {
  std::string name;
  std::vector<std::string> args;
  Platform::SimBackend host;
};

using Tool = std::function<int(Context&)>;

void AppendToolsLog(const std::string& root, const std::string& line) {
  int fd =
      open((root + "/var/log/tools.log").c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0)
    return;
  std::string data = line + "\n";
  ssize_t ignored = write(fd, data.data(), data.size());
  (void)ignored;
  close(fd);
}

// The terminal as a shell wants it back: the console is killed, so nobody
// else will undo its modes. Only when the terminal is ours to write to.
void HandBackTerminal(const std::string& message) {
  if (!isatty(STDOUT_FILENO))
    return;
  struct termios modes;
  if (tcgetattr(STDOUT_FILENO, &modes) == 0) {
    modes.c_lflag |= ICANON | ECHO | ECHOE | ISIG | IEXTEN;
    modes.c_iflag |= ICRNL;
    modes.c_oflag |= OPOST | ONLCR;
    tcsetattr(STDOUT_FILENO, TCSANOW, &modes);
  }
  // Out of the alternate screen, cursor back, colours off.
  std::string text = "\x1b[?1049l\x1b[?25h\x1b[0m\r\n" + message + "\n";
  ssize_t ignored = write(STDOUT_FILENO, text.data(), text.size());
  (void)ignored;
}

// A real shutdown takes the console down with everything else, without
// asking it; the simulated one kills the console process of this root (and
// nothing that merely reuses its old pid). The console waits for this tool
// meanwhile, so the terminal can be handed back first: once the console is
// gone the terminal hangs up for everyone left in its session.
void EndConsole(const std::string& root, const std::string& message) {
  std::ifstream pidFile(root + "/var/run/merel.pid");
  long pid = 0;
  if (!(pidFile >> pid) || pid <= 1)
    return;
  std::ifstream comm("/proc/" + std::to_string(pid) + "/comm");
  std::string command;
  std::getline(comm, command);
  if (command != "merel")
    return;
  signal(SIGHUP, SIG_IGN);
  HandBackTerminal(message);
  kill(static_cast<pid_t>(pid), SIGKILL);
}

Platform::ServiceState& Service(HostState& state, const std::string& name) {
  Platform::ServiceState* service = Platform::FindService(state, name);
  if (!service) {
    state.services.push_back({name, false, false, 0});
    service = &state.services.back();
  }
  return *service;
}

void Count(HostState& state, const std::string& counter) {
  ++state.counters[counter];
}

// rovi-cmd [-U user] command
int RoviCmd(Context& c) {
  std::string user;
  std::vector<std::string> words;
  for (size_t i = 0; i < c.args.size(); ++i) {
    if (c.args[i] == "-U" && i + 1 < c.args.size()) {
      user = c.args[++i];
    } else {
      words.push_back(c.args[i]);
    }
  }
  if (words.empty()) {
    std::cerr << "rovi-cmd: no command given\n";
    return 1;
  }
  HostState state = c.host.Load();
  if (!user.empty() && user != "merel") {
    bool known = false;
    for (const auto& account : state.accounts)
      known = known || account.user == user;
    if (!known) {
      std::cerr << "rovi-cmd: unknown user '" << user << "'\n";
      return 255;
    }
  }
  const std::string& command = words[0];
  if (command == "rovisvc/auth/lockdown_is_enabled") {
    std::cout << (state.lockdown.enabled ? "true" : "false") << "\n";
    return 0;
  }
  if (command == "rovisvc/auth/lockdown_is_possible") {
    std::cout << (state.lockdown.possible || state.lockdown.enabled ? "true" : "false") << "\n";
    return 0;
  }
  if (command == "rovisvc/auth/lockdown_mode_enter" ||
      command == "rovisvc/auth/lockdown_mode_exit") {
    bool enter = command.ends_with("enter");
    if (enter && !state.lockdown.possible && !state.lockdown.enabled) {
      std::cerr
          << "Lockdown mode cannot be enabled: the host is not managed by a Fleetdesk server\n";
      return 1;
    }
    c.host.Modify([&](HostState& s) { s.lockdown.enabled = enter; });
    return 0;
  }
  if (command == "internalsvc/refresh") {
    c.host.Modify([](HostState& s) { Count(s, "refresh"); });
    return 0;
  }
  if (command == "hostsvc/autostartmanager/autostop") {
    c.host.Modify([](HostState& s) { Count(s, "autostop"); });
    return 0;
  }
  static const std::map<std::string, std::pair<std::string, std::string>> serviceCommands = {
      {"hostsvc/start_tarvik_shell", {"TarvikShell", "start"}},
      {"hostsvc/stop_tarvik_shell", {"TarvikShell", "stop"}},
      {"hostsvc/enable_tarvik_shell", {"TarvikShell", "enable"}},
      {"hostsvc/disable_tarvik_shell", {"TarvikShell", "disable"}},
      {"hostsvc/start_ssh", {"SSH", "start"}},
      {"hostsvc/stop_ssh", {"SSH", "stop"}},
      {"hostsvc/enable_ssh", {"SSH", "enable"}},
      {"hostsvc/disable_ssh", {"SSH", "disable"}},
  };
  auto it = serviceCommands.find(command);
  if (it != serviceCommands.end()) {
    // Plain references, not a structured binding: clang 14 cannot capture those.
    const std::string& name = it->second.first;
    const std::string& action = it->second.second;
    c.host.Modify([&](HostState& s) {
      auto& service = Service(s, name);
      if (action == "start")
        service.running = true;
      if (action == "stop")
        service.running = false;
      if (action == "enable")
        service.enabled = true;
      if (action == "disable")
        service.enabled = false;
      if (name == "SSH" && (action == "start" || action == "stop")) {
        for (auto& ruleset : s.firewall) {
          if (ruleset.id == "sshServer")
            ruleset.enabled = action == "start";
        }
      }
    });
    return 0;
  }
  std::cerr << "rovi-cmd: unknown command '" << command << "'\n";
  return 1;
}

// powerOffVms [--terminate]: fails while a virtual machine is still running.
int PowerOffVms(Context& c) {
  bool terminate = false;
  for (const auto& arg : c.args) {
    if (arg != "--terminate") {
      std::cerr << "usage: powerOffVms [--terminate]\n";
      return 1;
    }
    terminate = true;
  }
  int running = 0;
  c.host.Modify([&](HostState& s) { running = Platform::Model::PowerOffVms(s, terminate); });
  if (running > 0) {
    std::cerr << "powerOffVms: " << running << " virtual machine(s) did not stop\n";
    return 1;
  }
  return 0;
}

// nexping ADDRESS [-I interface] [-c count]
int Nexping(Context& c) {
  std::string target;
  for (size_t i = 0; i < c.args.size(); ++i) {
    if ((c.args[i] == "-I" || c.args[i] == "-c") && i + 1 < c.args.size()) {
      ++i;
    } else if (c.args[i].rfind("-", 0) != 0 && target.empty()) {
      target = c.args[i];
    }
  }
  std::string address = target.substr(0, target.find('%'));
  HostState state = c.host.Load();
  if (address.empty() || !(HostCtl::Network::Ipv4Address::IsValidAddress(address) ||
                           HostCtl::Network::Ipv6Address::IsValidAddress(address))) {
    std::cerr << "nexping: unknown host " << target << "\n";
    return 2;
  }
  std::cout << "PING " << target << " (" << address << "): 56 data bytes\n";
  auto delay = state.network.pingDelayMs.find(address);
  if (delay != state.network.pingDelayMs.end() && delay->second > 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(delay->second));
  }
  if (Platform::Model::IsReachable(state, address)) {
    for (int seq = 0; seq < 3; ++seq) {
      std::cout << "64 bytes from " << address << ": icmp_seq=" << seq << " ttl=64 time=0.21" << seq
                << " ms\n";
    }
    std::cout
        << "\n--- " << target
        << " ping statistics ---\n3 packets transmitted, 3 packets received, 0% packet loss\n";
    return 0;
  }
  std::cout
      << "\n--- " << target
      << " ping statistics ---\n3 packets transmitted, 0 packets received, 100% packet loss\n";
  return 1;
}

int SetIntOption(Context& c, const std::string& option, const std::string& text) {
  char* end = nullptr;
  long long value = std::strtoll(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0') {
    std::cerr << c.name << ": invalid value '" << text << "'\n";
    return 1;
  }
  try {
    c.host.Modify([&](HostState& s) {
      Platform::AdvancedOptionState* found = Platform::FindOption(s, option);
      if (!found)
        throw HostCtl::Lib::HostCtlException("unknown option '" + option + "'");
      if (found->type != "int")
        throw HostCtl::Lib::HostCtlException("'" + option + "' is not an integer option");
      if (found->min <= found->max && (value < found->min || value > found->max)) {
        throw HostCtl::Lib::HostCtlException("value " + text + " out of range for '" + option +
                                             "'");
      }
      found->value = value;
    });
  } catch (const HostCtl::Lib::HostCtlException& e) {
    std::cerr << c.name << ": " << e.what() << "\n";
    return 1;
  }
  return 0;
}

int PrintOption(Context& c, const std::string& option) {
  HostState state = c.host.Load();
  const Platform::AdvancedOptionState* found = Platform::FindOption(state, option);
  if (!found) {
    std::cerr << c.name << ": unknown option '" << option << "'\n";
    return 1;
  }
  if (found->type == "int")
    std::cout << found->value << "\n";
  else
    std::cout << found->stringValue << "\n";
  return 0;
}

// tarvikcfg-advcfg [-q] -g NAME | [-q] -s VALUE NAME
int Advcfg(Context& c) {
  std::vector<std::string> words;
  for (const auto& arg : c.args) {
    if (arg != "-q")
      words.push_back(arg);
  }
  if (words.size() == 2 && words[0] == "-g")
    return PrintOption(c, words[1]);
  if (words.size() == 3 && words[0] == "-s")
    return SetIntOption(c, words[2], words[1]);
  std::cerr << "usage: tarvikcfg-advcfg [-q] -g OPTION | [-q] -s VALUE OPTION\n";
  return 1;
}

// tarvikcli / nexcli: system settings advanced set -o NAME -i VALUE
//                     system settings advanced list -o NAME
int Cli(Context& c) {
  const auto& a = c.args;
  if (a.size() >= 4 && a[0] == "system" && a[1] == "settings" && a[2] == "advanced") {
    std::string option, value;
    for (size_t i = 4; i + 1 < a.size(); i += 2) {
      if (a[i] == "-o" || a[i] == "--option")
        option = a[i + 1];
      if (a[i] == "-i" || a[i] == "--int-value")
        value = a[i + 1];
    }
    if (a[3] == "set" && !option.empty() && !value.empty())
      return SetIntOption(c, option, value);
    if (a[3] == "list" && !option.empty())
      return PrintOption(c, option);
  }
  std::cerr << c.name << ": unsupported command\n";
  return 1;
}

int ServicesSh(Context& c) {
  std::string action = c.args.empty() ? "" : c.args[0];
  if (action == "status")
    return 0;
  if (action != "start" && action != "stop" && action != "restart") {
    std::cerr << "usage: services.sh start|stop|restart|status\n";
    return 1;
  }
  // Agents take a moment to stop and to come up, as on a real host; the
  // console must show each step while it lasts.
  usleep(kAgentStepMicroseconds);
  c.host.Modify([&](HostState& s) {
    for (const char* agent : {"mgmtd", "fdxa"}) {
      auto& service = Service(s, agent);
      if (action == "stop") {
        service.running = false;
      } else {
        service.running = true;
        ++service.restarts;
      }
    }
  });
  return 0;
}

int BackupSh(Context& c) {
  c.host.Modify([](HostState& s) { Count(s, "backups"); });
  return 0;
}

// configReset.sh --reset-only: back to the description the host was made
// from (ROOT/factory.json), root password included; a root made before that
// file existed falls back to the generic defaults.
int ConfigReset(Context& c) {
  if (c.args != std::vector<std::string>{"--reset-only"}) {
    std::cerr << "usage: configReset.sh --reset-only\n";
    return 1;
  }
  std::ifstream in(c.host.Root() + "/factory.json", std::ios::binary);
  if (!in) {
    c.host.Modify([](HostState& s) { Platform::Model::ResetConfiguration(s); });
    return 0;
  }
  std::stringstream text;
  text << in.rdbuf();
  HostState factory;
  std::string error;
  if (!Platform::FromJson(text.str(), factory, error)) {
    std::cerr << "configReset.sh: factory.json: " << error << "\n";
    return 1;
  }
  Platform::FillDefaults(factory);
  c.host.Modify([&](HostState& s) { Platform::Model::ResetConfiguration(s, factory); });
  if (!Platform::WriteAccounts(c.host.Root(), factory.accounts, error)) {
    std::cerr << "configReset.sh: " << error << "\n";
    return 1;
  }
  return 0;
}

// nexbacktrace -w -n PROCESS -o NAME% -d DIR: a live core of a running process.
int Nexbacktrace(Context& c) {
  std::string process, output = "core%", dir = "/var/log/";
  for (size_t i = 0; i + 1 < c.args.size(); ++i) {
    if (c.args[i] == "-n")
      process = c.args[i + 1];
    if (c.args[i] == "-o")
      output = c.args[i + 1];
    if (c.args[i] == "-d")
      dir = c.args[i + 1];
  }
  HostState state = c.host.Load();
  Platform::ServiceState* service = Platform::FindService(state, process);
  if (process.empty() || !service || !service->running) {
    std::cerr << "nexbacktrace: no running process named '" << process << "'\n";
    return 1;
  }
  auto percent = output.find('%');
  if (percent != std::string::npos)
    output.replace(percent, 1, std::to_string(getpid()));
  std::string error;
  if (!Platform::WriteFileDurably(
          c.host.HostPath(dir + (dir.ends_with("/") ? "" : "/") + output + ".core"),
          "live core of " + process + "\n", 0644, error)) {
    std::cerr << "nexbacktrace: " << error << "\n";
    return 1;
  }
  c.host.Modify([](HostState& s) { Count(s, "livecores"); });
  return 0;
}

int PowerOff(Context& c) {
  c.host.Modify([](HostState& s) { Platform::Model::PowerOff(s); });
  EndConsole(c.host.Root(), "merel-sim: the host is powered off; `merel-sim run " +
                                c.host.Root() + "` powers it on.");
  return 0;
}

int Reboot(Context& c) {
  c.host.Modify([](HostState& s) { Platform::Model::Reboot(s); });
  EndConsole(c.host.Root(), "merel-sim: the host is restarting; `merel-sim run " +
                                c.host.Root() + "` waits for it, `--now` skips the wait.");
  return 0;
}

// /etc/init.d/NAME start|stop|restart|status
int InitScript(Context& c) {
  std::string action = c.args.empty() ? "" : c.args[0];
  if (action == "status") {
    HostState state = c.host.Load();
    Platform::ServiceState* service = Platform::FindService(state, c.name);
    bool running = service && service->running;
    std::cout << c.name << " is " << (running ? "running" : "not running") << "\n";
    return running ? 0 : 3;
  }
  if (action != "start" && action != "stop" && action != "restart") {
    std::cerr << "usage: " << c.name << " start|stop|restart|status\n";
    return 1;
  }
  c.host.Modify([&](HostState& s) {
    auto& service = Service(s, c.name);
    service.running = action != "stop";
    if (action == "restart")
      ++service.restarts;
  });
  return 0;
}

}  // namespace

std::string FormatInvocation(const std::string& name, const std::vector<std::string>& args) {
  // One invocation per line, one word per argument, whatever the arguments
  // hold (a user name the console passed on with "-U" may hold anything).
  std::string line = Platform::QuoteRecordValue(name, true);
  for (const auto& arg : args)
    line += " " + Platform::QuoteRecordValue(arg, true);
  return line;
}

int RunTool(const std::string& root,
            const std::string& name,
            const std::vector<std::string>& args) {
  static const std::map<std::string, Tool> tools = {
      {"rovi-cmd", RoviCmd},          {"powerOffVms", PowerOffVms}, {"nexping", Nexping},
      {"tarvikcfg-advcfg", Advcfg},   {"tarvikcli", Cli},           {"nexcli", Cli},
      {"services.sh", ServicesSh},    {"backup.sh", BackupSh},      {"configReset.sh", ConfigReset},
      {"nexbacktrace", Nexbacktrace}, {"poweroff", PowerOff},       {"reboot", Reboot},
      {"TarvikShell", InitScript},    {"SSH", InitScript},
  };
  AppendToolsLog(root, FormatInvocation(name, args));
  auto it = tools.find(name);
  if (it == tools.end()) {
    std::cerr << name << ": not a tool of this host\n";
    return 127;
  }
  Context context{name, args, Platform::SimBackend(root)};
  try {
    return it->second(context);
  } catch (const HostCtl::Lib::HostCtlException& e) {
    std::cerr << name << ": " << e.what() << "\n";
    return 1;
  }
}

}  // namespace MerelSim
