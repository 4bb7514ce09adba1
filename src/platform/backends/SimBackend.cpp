#include "backends/SimBackend.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <set>
#include <sstream>
#include <vector>

#include "HostCtl/HostCtlException.h"
#include "HostModel.h"
#include "ReadScope.h"
#include "backends/CleanSignals.h"
#include "backends/RecordText.h"

namespace Platform {

namespace {

const char* FacilityName(int facility) {
  switch (facility) {
    case LOG_KERN:
      return "kern";
    case LOG_USER:
      return "user";
    case LOG_MAIL:
      return "mail";
    case LOG_DAEMON:
      return "daemon";
    case LOG_AUTH:
      return "auth";
    case LOG_SYSLOG:
      return "syslog";
    case LOG_LPR:
      return "lpr";
    case LOG_NEWS:
      return "news";
    case LOG_UUCP:
      return "uucp";
    case LOG_CRON:
      return "cron";
    case LOG_AUTHPRIV:
      return "authpriv";
    case LOG_FTP:
      return "ftp";
    case LOG_LOCAL0:
      return "local0";
    case LOG_LOCAL1:
      return "local1";
    case LOG_LOCAL2:
      return "local2";
    case LOG_LOCAL3:
      return "local3";
    case LOG_LOCAL4:
      return "local4";
    case LOG_LOCAL5:
      return "local5";
    case LOG_LOCAL6:
      return "local6";
    case LOG_LOCAL7:
      return "local7";
    default:
      return "user";
  }
}

// "2024-05-01T12:00:00.123Z"
std::string LogTimestamp() {
  timeval now{};
  gettimeofday(&now, nullptr);
  tm parts{};
  gmtime_r(&now.tv_sec, &parts);
  char buffer[40];
  size_t n = strftime(buffer, sizeof(buffer), "%Y-%m-%dT%H:%M:%S", &parts);
  snprintf(buffer + n, sizeof(buffer) - n, ".%03dZ", static_cast<int>(now.tv_usec / 1000));
  return buffer;
}

const char* LevelName(int level) {
  static const char* const names[] = {"emerg",   "alert",  "crit", "err",
                                      "warning", "notice", "info", "debug"};
  return names[level & 7];
}

bool IsFile(const std::string& path) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

std::string Lower(std::string text) {
  for (char& c : text)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

bool IsShellSafe(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '/' || c == '.' || c == '_' ||
           c == '-' || c == '+' || c == ',';
  });
}

// Paths of the host's file system, as opposed to other words that start
// with a slash (advanced option names such as /UserVars/MerelTimeOut) and
// the machine's devices (/dev/null), which are left as they are.
bool IsFileSystemPath(const std::string& word) {
  static const char* const tops[] = {"bin",   "sbin", "usr",  "etc", "var", "tmp", "opt", "lib",
                                     "lib64", "home", "root", "mnt", "srv", "run", "boot"};
  std::string top = word.substr(
      1, word.find('/', 1) == std::string::npos ? std::string::npos : word.find('/', 1) - 1);
  for (const char* candidate : tops) {
    if (top == candidate)
      return true;
  }
  return false;
}

// `path` with "." and ".." resolved as words (no links followed); "" when
// ".." climbs above "/".
std::string Normalize(const std::string& path) {
  std::vector<std::string> parts;
  std::stringstream words(path);
  std::string part;
  while (std::getline(words, part, '/')) {
    if (part.empty() || part == ".")
      continue;
    if (part == "..") {
      if (parts.empty())
        return "";
      parts.pop_back();
    } else {
      parts.push_back(part);
    }
  }
  std::string result;
  for (const auto& p : parts)
    result += "/" + p;
  return result.empty() ? "/" : result;
}

// The programs a shell command could start: the first word of every simple
// command, past assignments and redirections, and of every quoted string
// (it may be a command for another shell), quotes removed. Assignments to
// PATH are reported as "PATH=", and words that climb with ".." as "..", so
// that they can be refused too.
std::vector<std::string> CommandPrograms(const std::string& command) {
  std::vector<std::string> programs;
  std::string segment;
  auto flush = [&] {
    std::stringstream words(segment);
    std::string word;
    bool first = true;
    while (words >> word) {
      word.erase(std::remove_if(word.begin(), word.end(),
                                [](char c) { return c == '\'' || c == '"' || c == '\\'; }),
                 word.end());
      if (word.empty())
        continue;
      if (("/" + word + "/").find("/../") != std::string::npos) {
        programs.push_back("..");
        continue;
      }
      if (word.rfind("PATH=", 0) == 0) {
        programs.push_back("PATH=");
        continue;
      }
      const auto equals = word.find('=');
      if (equals != std::string::npos && equals > 0 && word.find('/') > equals)
        continue;  // NAME=value
      if (word.find_first_of("<>") != std::string::npos) {
        // A redirection; its target may be the next word.
        if (word.find_last_of("<>") == word.size() - 1)
          words >> word;
        continue;
      }
      if (first)
        programs.push_back(word);
      first = false;
    }
    segment.clear();
  };
  for (size_t i = 0; i < command.size(); ++i) {
    const char c = command[i];
    // "2>&1" is a redirection, not a background separator.
    const bool redirectAmp = c == '&' && i > 0 && (command[i - 1] == '>' || command[i - 1] == '<');
    if (std::string(";|()`\n{}'\"").find(c) != std::string::npos || (c == '&' && !redirectAmp) ||
        (c == '$' && i + 1 < command.size() && command[i + 1] == '(')) {
      flush();
    } else {
      segment += c;
    }
  }
  flush();
  return programs;
}

}  // namespace

SimBackend::SimBackend(std::string root, std::unique_ptr<HostStore> store)
    : _root(std::move(root)), _store(std::move(store)) {
  while (_root.size() > 1 && _root.back() == '/')
    _root.pop_back();
  if (!_store)
    _store = std::make_unique<HostStore>(_root);
}

std::unique_ptr<SimBackend> SimBackend::Open(const std::string& root, std::string& error) {
  char resolved[PATH_MAX];
  if (!realpath(root.c_str(), resolved)) {
    error = root + ": cannot open host root: " + std::strerror(errno);
    return nullptr;
  }
  auto backend = std::make_unique<SimBackend>(resolved);
  // Read as any call would: within the start-up's action, this reading is
  // the one its first calls get.
  try {
    backend->Reading();
  } catch (const HostCtl::Lib::HostCtlException& e) {
    error = e.what();
    return nullptr;
  }
  return backend;
}

std::string SimBackend::HostPath(const std::string& hostPath) {
  if (hostPath.empty()) {
    return _root;
  }
  if (hostPath[0] == '/') {
    // Already inside the root (a path handed back to us): leave it.
    if (hostPath.compare(0, _root.size() + 1, _root + "/") == 0) {
      return hostPath;
    }
    return _root + hostPath;
  }
  for (const char* dir : {"/bin/", "/sbin/"}) {
    std::string candidate = _root + dir + hostPath;
    if (IsFile(candidate)) {
      return candidate;
    }
  }
  return _root + "/bin/" + hostPath;
}

pid_t SimBackend::Spawn(const char* path,
                        char* const argv[],
                        char* const envp[],
                        int in,
                        int out,
                        int err) {
  if (!path) {
    return -1;
  }
  std::string program = HostPath(path);
  if (!IsHostProgram(program)) {
    return -1;
  }
  // A host program may change the host.
  ReadScope::Forget();
  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0) {
    return -1;
  }
  // dup2 onto a higher scratch range first, so that a descriptor that is
  // already 0, 1 or 2 cannot be overwritten before it has been copied.
  int fds[3] = {in, out, err};
  for (int i = 0; i < 3; ++i) {
    posix_spawn_file_actions_adddup2(&actions, fds[i], 100 + i);
  }
  for (int i = 0; i < 3; ++i) {
    posix_spawn_file_actions_adddup2(&actions, 100 + i, i);
    posix_spawn_file_actions_addclose(&actions, 100 + i);
  }
  static char* const noEnv[] = {nullptr};
  pid_t pid = -1;
  CleanSignals signals;
  int rc = posix_spawn(&pid, program.c_str(), &actions, signals.Get(), argv, envp ? envp : noEnv);
  posix_spawn_file_actions_destroy(&actions);
  return rc == 0 ? pid : -1;
}

std::string SimBackend::RewriteCommand(const std::string& command) const {
  const std::string root = IsShellSafe(_root) ? _root : "'" + _root + "'";
  const std::string wordStart = " \t\n;|&()<>`='\"";
  const std::string wordEnd = " \t\n;|&()<>`'\"";
  std::string result;
  for (size_t i = 0; i < command.size();) {
    bool atWordStart = i == 0 || wordStart.find(command[i - 1]) != std::string::npos;
    if (command[i] == '/' && atWordStart) {
      size_t end = command.find_first_of(wordEnd, i);
      if (end == std::string::npos)
        end = command.size();
      std::string path = command.substr(i, end - i);
      bool keep = !IsFileSystemPath(path) || path.rfind(_root + "/", 0) == 0;
      result += keep ? path : root + path;
      i = end;
    } else {
      result += command[i++];
    }
  }
  return result;
}

int SimBackend::System(const char* command) {
  if (!command) {
    return 1;  // a shell is available
  }
  std::string shell = _root + "/bin/sh";
  if (!IsFile(shell))
    shell = "/bin/sh";
  std::string rewritten = RewriteCommand(command);
  for (const auto& program : CommandPrograms(rewritten)) {
    if (!IsHostProgram(program)) {
      return 127 << 8;  // what the shell answers for a command it cannot find
    }
  }
  // A host program may change the host.
  ReadScope::Forget();
  std::string pathVar = "PATH=" + _root + "/bin:" + _root + "/sbin";
  std::string rootVar = "MEREL_SIM_ROOT=" + _root;
  char* const argv[] = {const_cast<char*>("sh"), const_cast<char*>("-c"),
                        const_cast<char*>(rewritten.c_str()), nullptr};
  char* const envp[] = {const_cast<char*>(pathVar.c_str()), const_cast<char*>(rootVar.c_str()),
                        nullptr};
  pid_t pid;
  CleanSignals signals;
  if (posix_spawn(&pid, shell.c_str(), nullptr, signals.Get(), argv, envp) != 0) {
    return -1;
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) {
      return -1;
    }
  }
  return status;
}

bool SimBackend::IsHostProgram(const std::string& program) {
  // The shell's own words, which start nothing.
  static const std::set<std::string> shellWords = {
      ":",  "true", "false", "echo", "printf", "test", "[",  "exit", "read",  "while", "until",
      "do", "done", "if",    "then", "else",   "elif", "fi", "for",  "case",  "esac",  "wait"};
  if (program.find('/') == std::string::npos && program != "PATH=" && program != "..") {
    // The shell looks a bare name up only among the root's tools, so it
    // cannot reach the machine's; one that is not there is noted (the shell
    // then answers 127 for it).
    const bool name = std::all_of(program.begin(), program.end(), [](char c) {
      return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-' || c == '.';
    });
    if (name && !shellWords.count(program) && !IsFile(_root + "/bin/" + program) &&
        !IsFile(_root + "/sbin/" + program)) {
      WriteSyslog("merel-sim", false, LOG_USER, LOG_WARNING,
                  "refused to run " + program + ": not a program of the host root");
    }
    return true;
  }
  // Inside the root by its words (a tool entry, or a link to the genuine
  // article that the root holds deliberately: bin/sh, bin/less), or a word
  // that names no program of the machine (/UserVars/MerelTimeOut, /dev/null).
  if (program[0] == '/' && (Normalize(program).rfind(_root + "/", 0) == 0 ||
                            !IsFile(program) || program.rfind("/dev/", 0) == 0))
    return true;
  // Never run on the machine itself, whatever the console asked for.
  WriteSyslog("merel-sim", false, LOG_USER, LOG_WARNING,
              "refused to run " + program + ": not a program of the host root");
  return false;
}

void SimBackend::AppendLine(const std::string& hostPath, const std::string& line) {
  std::string path = HostPath(hostPath);
  int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) {
    return;
  }
  std::string data = line;
  if (data.empty() || data.back() != '\n')
    data += '\n';
  // One write per record: O_APPEND keeps records of concurrent writers whole.
  ssize_t ignored = write(fd, data.data(), data.size());
  (void)ignored;
  close(fd);
}

void SimBackend::WriteSyslog(const std::string& ident,
                             bool withPid,
                             int facility,
                             int level,
                             const std::string& message) {
  std::string line = LogTimestamp() + " " + EscapeSyslogText(ident);
  if (withPid)
    line += "[" + std::to_string(getpid()) + "]";
  line += ": ";
  line += FacilityName(facility);
  line += ".";
  line += LevelName(level);
  line += " ";
  // One record is one line, as syslogd would store it: a message's own line
  // breaks (a login name may hold one) must not start a record of their own.
  std::string_view text = message;
  while (!text.empty() && text.back() == '\n')
    text.remove_suffix(1);
  AppendLine("/var/log/syslog.log", line + EscapeSyslogText(text));
}

bool SimBackend::SwitchVirtualTerminal(int vt) {
  try {
    Modify([vt](HostState& s) { s.activeVirtualTerminal = vt; });
    return true;
  } catch (const HostCtl::Lib::HostCtlException&) {
    return false;
  }
}

bool SimBackend::ConsoleKeyboard(int /*fd*/) {
  try {
    return Load().consoleKeyboard;
  } catch (const HostCtl::Lib::HostCtlException&) {
    return false;
  }
}

std::vector<std::string> SimBackend::AccountNames() {
  return ReadAccountNames(HostPath("/etc/pam_matrix.passwd"));
}

bool SimBackend::ResolveHostname(const std::string& name, std::vector<std::string>& addresses) {
  addresses.clear();
  if (name.empty()) {
    return false;
  }
  std::string wanted = Lower(name);
  std::ifstream hosts(HostPath("/etc/hosts"));
  std::string line;
  while (std::getline(hosts, line)) {
    line = line.substr(0, line.find('#'));
    std::istringstream fields(line);
    std::string address, alias;
    if (!(fields >> address))
      continue;
    while (fields >> alias) {
      if (Lower(alias) == wanted) {
        addresses.push_back(address);
        break;
      }
    }
  }
  if (!addresses.empty()) {
    return true;
  }
  HostState state;
  try {
    state = Load();
  } catch (const HostCtl::Lib::HostCtlException&) {
    return false;
  }
  if (auto delay = state.network.resolveDelayMs.find(name);
      delay != state.network.resolveDelayMs.end() && delay->second > 0) {
    struct timespec left = {delay->second / 1000, (delay->second % 1000) * 1000000L};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
  }
  if (!Model::CanUseDns(state)) {
    return false;
  }
  std::vector<std::string> candidates = {wanted};
  if (wanted.find('.') == std::string::npos) {
    for (const auto& suffix : state.network.dns.searchDomains)
      candidates.push_back(wanted + "." + Lower(suffix));
    if (!state.network.dns.domain.empty())
      candidates.push_back(wanted + "." + Lower(state.network.dns.domain));
  }
  for (const auto& candidate : candidates) {
    for (const auto& [recordName, recordAddresses] : state.network.dns.records) {
      if (Lower(recordName) == candidate) {
        addresses = recordAddresses;
        return !addresses.empty();
      }
    }
  }
  return false;
}

std::shared_ptr<const HostState> SimBackend::Reading() {
  if (ReadScope::Open()) {
    if (auto kept = ReadScope::Kept(_store->Stamp())) {
      return kept;
    }
  }
  auto state = std::make_shared<HostState>();
  std::string error, stamp;
  if (!_store->Read(*state, error, &stamp)) {
    throw HostCtl::Lib::HostCtlException(error);
  }
  ReadScope::Keep(state, stamp);
  return state;
}

HostState SimBackend::Load() {
  return *Reading();
}

void SimBackend::Modify(const std::function<void(HostState&)>& change) {
  // Whatever happens below, the reading of the action is no longer the host.
  ReadScope::Forget();
  std::string error;
  if (!_store->Modify(change, error)) {
    throw HostCtl::Lib::HostCtlException(error);
  }
}

bool SimBackend::EventServiceAvailable() {
  try {
    return Load().eventServiceAvailable;
  } catch (const HostCtl::Lib::HostCtlException&) {
    return false;
  }
}

void SimBackend::PostEvent(const std::string& text) {
  // "@&!*@*@(<event id>)<message>" is how the event library frames an event.
  static const std::string prefix = "@&!*@*@(";
  std::string line = LogTimestamp() + " ";
  if (text.rfind(prefix, 0) == 0 && text.find(')') != std::string::npos) {
    size_t close = text.find(')');
    line += "[" + RecordToken(text.substr(prefix.size(), close - prefix.size())) + "] " +
            EscapeRecordText(text.substr(close + 1));
  } else {
    line += EscapeRecordText(text);
  }
  AppendLine("/var/log/obsvd.log", line);
}

void SimBackend::WriteAudit(const std::string& record,
                            const std::string& user,
                            bool success,
                            const std::string& name,
                            const std::string& value) {
  // Fields are "name=value"; a value with a space, quote or control
  // character is quoted, so a login name cannot add a field or a line.
  std::string line = LogTimestamp() + " " + RecordToken(record) +
                     " user=" + QuoteRecordValue(user) + " success=" + (success ? "1" : "0");
  if (!name.empty())
    line += " " + RecordToken(name) + "=" + QuoteRecordValue(value);
  AppendLine("/var/log/audit.log", line);
}

}  // namespace Platform
