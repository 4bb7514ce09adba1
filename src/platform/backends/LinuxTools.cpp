#include "backends/LinuxTools.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

namespace Platform::Linux {

namespace {

std::string Trim(const std::string& text) {
  const auto begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos)
    return "";
  return text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}

std::vector<std::string> Words(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream in(text);
  std::string word;
  while (in >> word)
    words.push_back(word);
  return words;
}

const std::string kJournalName = "/system.journal";

Action Run(std::vector<std::string> argv) {
  Action action;
  action.kind = Action::kRun;
  action.argv = std::move(argv);
  return action;
}

Action Succeed(std::string output = "") {
  Action action;
  action.kind = Action::kSucceed;
  action.output = std::move(output);
  return action;
}

Action Systemctl(const Config& config, std::vector<std::string> words) {
  words.insert(words.begin(), config.systemctl);
  return Run(std::move(words));
}

Action Agents(const Config& config, const std::string& verb) {
  std::vector<std::string> words = {config.systemctl, verb};
  words.insert(words.end(), config.agents.begin(), config.agents.end());
  return Run(std::move(words));
}

// A service script ("/etc/init.d/SSH status") as a unit of systemd.
Action ServiceScript(const std::string& script, const std::string& verb, const Config& config) {
  std::string unit;
  if (script == "/etc/init.d/SSH")
    unit = config.sshUnit;
  else if (script == "/etc/init.d/TarvikShell")
    unit = config.shellUnit;
  else
    return Action{};
  if (verb == "status")
    return Systemctl(config, {"is-active", "--quiet", unit});
  if (verb == "start" || verb == "stop" || verb == "restart")
    return Systemctl(config, {verb, unit});
  return Action{};
}

// The management command's verbs. Starting a service also enables it and
// stopping disables it (one systemd call each), so the separate enable and
// disable steps that follow have nothing left to do.
Action Management(const std::vector<std::string>& argv, const Config& config) {
  // rovi-cmd -U USER COMMAND [ARGS]
  if (argv.size() < 4 || argv[1] != "-U")
    return Action{};
  const std::string& command = argv[3];
  if (command == "hostsvc/start_ssh")
    return Systemctl(config, {"enable", "--now", config.sshUnit});
  if (command == "hostsvc/stop_ssh")
    return Systemctl(config, {"disable", "--now", config.sshUnit});
  if (command == "hostsvc/start_tarvik_shell")
    return Systemctl(config, {"enable", "--now", config.shellUnit});
  if (command == "hostsvc/stop_tarvik_shell")
    return Systemctl(config, {"disable", "--now", config.shellUnit});
  if (command == "hostsvc/enable_ssh" || command == "hostsvc/disable_ssh" ||
      command == "hostsvc/enable_tarvik_shell" || command == "hostsvc/disable_tarvik_shell")
    return Succeed();
  // libvirt starts and stops its own autostart domains; the host has no
  // management agent cache to refresh.
  if (command == "hostsvc/autostartmanager/autostop" || command == "internalsvc/refresh")
    return Succeed();
  // A Linux host has no lockdown mode.
  if (command == "rovisvc/auth/lockdown_is_enabled" ||
      command == "rovisvc/auth/lockdown_is_possible")
    return Succeed("false\n");
  return Action{};
}

// The host tools' name of the shell idle time-out.
const char* const kShellIdleOption = "/UserVars/TarvikShellInteractiveTimeOut";

// "tarvikcfg-advcfg -q -g OPTION" and "tarvikcli system settings advanced
// set -o OPTION -i SECONDS" (or the same of nexcli) of the two shell
// time-outs.
Action ShellTimeout(const std::string& path, const std::vector<std::string>& argv) {
  Action action;
  if (path == "/sbin/tarvikcfg-advcfg" && argv.size() == 4 && argv[1] == "-q" &&
      argv[2] == "-g") {
    if (argv[3] == kShellIdleOption)
      action.kind = Action::kReadShellIdle;
    else if (argv[3] == kShellAvailabilityOption)
      action.kind = Action::kReadShellAvailability;
    return action;
  }
  const std::vector<std::string> set = {"system", "settings", "advanced", "set", "-o"};
  if ((path == "/sbin/tarvikcli" || path == "/sbin/nexcli") && argv.size() == set.size() + 4 &&
      std::equal(set.begin(), set.end(), argv.begin() + 1) && argv[set.size() + 2] == "-i") {
    const std::string& option = argv[set.size() + 1];
    const std::string& value = argv.back();
    // At most a day in seconds: digits only, and few of them.
    if (value.empty() || value.size() > 6 ||
        value.find_first_not_of("0123456789") != std::string::npos)
      return action;
    if (option == kShellIdleOption)
      action.kind = Action::kWriteShellIdle;
    else if (option == kShellAvailabilityOption)
      action.kind = Action::kWriteShellAvailability;
    action.seconds = std::stol(value);
  }
  return action;
}

}  // namespace

std::string ShellTimeoutProfile(long seconds) {
  return "# The idle time-out of login shells, set in the console's Troubleshooting\n"
         "# Options; written by the console, which removes it at a time-out of 0.\n"
         "TMOUT=" +
         std::to_string(seconds) + "\nexport TMOUT\n";
}

long ShellTimeoutSeconds(const std::string& profile) {
  std::istringstream lines(profile);
  std::string line;
  long seconds = 0;
  while (std::getline(lines, line)) {
    line = Trim(line);
    if (line.rfind("TMOUT=", 0) != 0)
      continue;
    const std::string value = line.substr(6);
    if (!value.empty() && value.size() <= 9 &&
        value.find_first_not_of("0123456789") == std::string::npos)
      seconds = std::stol(value);
  }
  return seconds;
}

std::vector<std::string> AvailabilityTimer(const Config& config,
                                           const std::string& timer,
                                           const std::string& unit,
                                           long seconds) {
  // The timer's command runs on the machine itself, whatever tree the
  // console was given.
  return {config.systemdRun,
          "--unit=" + timer,
          "--description=Switch off " + unit + " after the availability timeout",
          "--on-active=" + std::to_string(seconds) + "s",
          "--timer-property=AccuracySec=1s",
          "--collect",
          Config{}.systemctl,
          "disable",
          "--now",
          unit};
}

Config ReadConfig(const std::string& path) {
  Config config;
  std::ifstream file(path);
  std::string line;
  while (std::getline(file, line)) {
    line = Trim(line.substr(0, line.find('#')));
    const auto equals = line.find('=');
    if (equals == std::string::npos)
      continue;
    const std::string key = Trim(line.substr(0, equals));
    const std::string value = Trim(line.substr(equals + 1));
    if (value.empty())
      continue;
    if (key == "ssh-unit")
      config.sshUnit = value;
    else if (key == "shell-unit")
      config.shellUnit = value;
    else if (key == "agents")
      config.agents = Words(value);
    else if (key == "host-certificate" && value[0] == '/')
      config.hostCertificate = value;
    else if (key == "vm-shutdown-wait" &&
             value.find_first_not_of("0123456789") == std::string::npos && value.size() <= 4 &&
             std::stoi(value) <= 3600)
      config.vmShutdownWait = std::stoi(value);
  }
  return config;
}

Action MapProgram(const std::string& path, const std::vector<std::string>& argv,
                  const Config& config) {
  if (path == "/bin/rovi-cmd")
    return Management(argv, config);
  if (Action timeout = ShellTimeout(path, argv); timeout.kind != Action::kRefuse)
    return timeout;
  if (path == "/bin/powerOffVms") {
    Action action;
    action.kind = Action::kStopVms;
    action.force = argv.size() > 1 && argv[1] == "--terminate";
    return action;
  }
  // Service scripts run as "sh SCRIPT VERB".
  if (path == "/bin/sh" && argv.size() == 3)
    return ServiceScript(argv[1], argv[2], config);
  // The network test's echo requests: a few, each given a second to come
  // back, through the interface the console names ("-I nic").
  if (path == "/sbin/nexping" && argv.size() >= 2) {
    std::vector<std::string> words = {"/bin/ping", "-n", "-q", "-c", "3", "-i", "0.2", "-W", "1"};
    words.insert(words.end(), argv.begin() + 1, argv.end());
    return Run(std::move(words));
  }
  // The password file is the machine's own; nothing to back up besides it.
  if (path == "/sbin/backup.sh")
    return Succeed();
  // The journal cannot be paged as a file: the pager reads its export
  // instead, whole, as a syslog file would be. Only the journal's own file
  // stands for it, so no other export can be asked for this way.
  if ((path == "/bin/less" || path == "/usr/bin/less") && argv.size() >= 2 &&
      argv.back().size() > kJournalName.size() &&
      argv.back().compare(argv.back().size() - kJournalName.size(), kJournalName.size(),
                          kJournalName) == 0) {
    Action action;
    action.kind = Action::kPageJournal;
    action.argv.assign(argv.begin(), argv.end() - 1);
    action.argv[0] = "/usr/bin/less";
    action.commands = {{"/usr/bin/journalctl", "--no-pager"}};
    return action;
  }
  // Reading tools of the machine, started as they are (from /usr/bin, where
  // the console may name them by their older place in /bin).
  for (const char* tool : {"openssl", "ssh-keygen", "less"}) {
    if (path == std::string("/bin/") + tool || path == std::string("/usr/bin/") + tool) {
      std::vector<std::string> words = argv.empty() ? std::vector<std::string>{tool} : argv;
      words[0] = std::string("/usr/bin/") + tool;
      return Run(std::move(words));
    }
  }
  return Action{};
}

std::string LogFile(const std::string& root, const std::string& hostPath) {
  static const std::map<std::string, std::vector<std::string>> places = {
      {"/var/log/syslog.log", {"/var/log/syslog", "/var/log/messages"}},
      {"/var/log/nexel.log", {"/var/log/kern.log"}},
      {"/var/log/hostboot.log", {"/var/log/boot.log"}},
      {"/var/log/mgmtd.log", {"/var/log/libvirt/libvirtd.log"}},
      {"/var/log/fdxa.log", {}},
      {"/var/log/hamd.log", {}},
      {"/var/log/obsvd.log", {}},
  };
  auto entry = places.find(hostPath);
  if (entry == places.end())
    return hostPath;
  for (const auto& place : entry->second) {
    if (access((root + place).c_str(), R_OK) == 0)
      return place;
  }
  return hostPath == "/var/log/syslog.log" ? JournalFile(root) : "";
}

std::string JournalFile(const std::string& root) {
  std::ifstream file(root + "/etc/machine-id");
  std::string id;
  std::getline(file, id);
  id = Trim(id);
  // A machine id is 32 hexadecimal digits; anything else names no folder.
  if (id.size() != 32 || id.find_first_not_of("0123456789abcdef") != std::string::npos)
    return "";
  for (const char* folder : {"/var/log/journal/", "/run/log/journal/"}) {
    const std::string place = folder + id + kJournalName;
    if (access((root + place).c_str(), R_OK) == 0)
      return place;
  }
  return "";
}

Action MapCommand(const std::string& command, const Config& config) {
  const std::vector<std::string> words = Words(command);
  if (words == std::vector<std::string>{"poweroff"})
    return Systemctl(config, {"poweroff"});
  if (words == std::vector<std::string>{"reboot"})
    return Systemctl(config, {"reboot"});
  if (words == std::vector<std::string>{"reboot", "-f"})
    return Systemctl(config, {"reboot", "--force"});
  if (words == std::vector<std::string>{"/bin/sh", "/sbin/services.sh", "stop"})
    return Agents(config, "stop");
  if (words == std::vector<std::string>{"/bin/sh", "/sbin/services.sh", "start"})
    return Agents(config, "start");
  return Action{};
}

}  // namespace Platform::Linux
