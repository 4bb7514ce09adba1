#include "backends/SimHostInit.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "DurableFile.h"
#include "HostModel.h"
#include "HostState.h"
#include "backends/HostStore.h"
#include "backends/SimBackend.h"

namespace Platform {

namespace {

const char* const kDemoHost =
#include "DemoHost.inc"
    ;

bool MakeDirs(const std::string& path, std::string& error) {
  std::string partial;
  std::stringstream parts(path);
  std::string part;
  if (path.empty() || path[0] != '/')
    partial = ".";
  while (std::getline(parts, part, '/')) {
    if (part.empty())
      continue;
    partial += "/" + part;
    if (mkdir(partial.c_str(), 0755) != 0 && errno != EEXIST) {
      error = partial + ": cannot create directory: " + std::strerror(errno);
      return false;
    }
  }
  return true;
}

bool WriteFile(const std::string& path,
               const std::string& content,
               mode_t mode,
               std::string& error) {
  return WriteFileDurably(path, content, mode, error);
}

// A field of the password database: '%', ':', CR and LF as %25, %3A, %0D and
// %0A, every other byte as it is. The host's PAM module reads and writes the
// same format.
std::string PassDbField(const std::string& text) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (unsigned char c : text) {
    if (c == '%' || c == ':' || c == '\n' || c == '\r') {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 15];
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

// A program of the machine (openssl, ssh-keygen) looked up on PATH.
std::string FindProgram(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::string dirs = path && *path ? path : "/usr/local/bin:/usr/bin:/bin";
  dirs += ":/usr/bin:/bin:/usr/sbin:/sbin";
  std::stringstream parts(dirs);
  std::string dir;
  while (std::getline(parts, dir, ':')) {
    if (dir.empty())
      continue;
    std::string candidate = dir + "/" + name;
    if (access(candidate.c_str(), X_OK) == 0)
      return candidate;
  }
  return "";
}

// Runs a program of the machine with its output discarded; its standard
// error is returned in `errors`.
int Run(const std::vector<std::string>& argv, std::string& errors) {
  int pipeFds[2];
  if (pipe(pipeFds) != 0)
    return -1;
  pid_t pid = fork();
  if (pid < 0) {
    close(pipeFds[0]);
    close(pipeFds[1]);
    return -1;
  }
  if (pid == 0) {
    int null = open("/dev/null", O_RDWR);
    dup2(null, 0);
    dup2(null, 1);
    dup2(pipeFds[1], 2);
    close(pipeFds[0]);
    std::vector<char*> args;
    for (const auto& arg : argv)
      args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    execv(args[0], args.data());
    _exit(127);
  }
  close(pipeFds[1]);
  char buffer[512];
  ssize_t n;
  while ((n = read(pipeFds[0], buffer, sizeof(buffer))) > 0 || (n < 0 && errno == EINTR)) {
    if (n > 0)
      errors.append(buffer, static_cast<size_t>(n));
  }
  close(pipeFds[0]);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string FirstLine(const std::string& text) {
  std::string line = text.substr(0, text.find('\n'));
  return line.empty() ? "failed" : line;
}

std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\'')
      quoted += "'\\''";
    else
      quoted += c;
  }
  return quoted + "'";
}

std::string PamMatrixModule() {
  if (const char* path = std::getenv("MEREL_PAM_MATRIX"); path && *path)
    return path;
  for (const char* dir :
       {"/usr/lib/x86_64-linux-gnu/pam_wrapper", "/usr/lib/aarch64-linux-gnu/pam_wrapper",
        "/usr/lib64/pam_wrapper", "/usr/lib/pam_wrapper"}) {
    std::string candidate = std::string(dir) + "/pam_matrix.so";
    if (access(candidate.c_str(), R_OK) == 0)
      return candidate;
  }
  return "/usr/lib/x86_64-linux-gnu/pam_wrapper/pam_matrix.so";
}

// The host's own account module, built beside merel-sim and installed in
// lib/merel next to its bin folder; "" when there is none.
std::string SimPamModule() {
  const std::string self = SelfDirectory();
  for (const char* candidate : {"/pam_merel_sim.so", "/../lib/merel/pam_merel_sim.so"}) {
    char resolved[PATH_MAX];
    const std::string path = self + candidate;
    if (access(path.c_str(), R_OK) == 0 && realpath(path.c_str(), resolved))
      return resolved;
  }
  return "";
}

// A few lines per log, so the log viewer has something to page through.
std::string LogContent(const std::string& log, const HostState& state) {
  const std::string fqdn = state.network.dns.hostname +
                           (state.network.dns.domain.empty() ? "" : "." + state.network.dns.domain);
  const std::string day = "2024-05-14T07:1";
  std::ostringstream out;
  if (log == "syslog.log") {
    out << day << "0:01.114Z syslogd[2101]: syslogd started, log files in /var/log\n"
        << day << "0:02.530Z mgmtd[2501]: management agent answering on port 443\n"
        << day << "0:03.002Z sshd[2402]: SSH service is disabled\n"
        << day << "0:05.871Z crond[2233]: crond started\n";
  } else if (log == "nexel.log") {
    out << day << "0:00.001Z nexel: starting Nexel " << state.product.kernelVersion << " build-"
        << state.product.build << "\n"
        << day << "0:00.412Z nexel: memory: " << state.hardware.memory.totalPages << " pages of "
        << state.hardware.memory.pageSize << " bytes\n";
    for (const auto& pnic : state.network.pnics) {
      out << day << "0:01.210Z nexel: " << pnic.name << ": "
          << (pnic.linkUp ? "link up" : "link down") << ", driver " << pnic.driver << "\n";
    }
  } else if (log == "hostboot.log") {
    out << day << "0:00.500Z hostinit: configuring the network\n"
        << day << "0:00.910Z hostinit: hostname set to " << fqdn << "\n"
        << day << "0:01.300Z hostinit: configuration complete\n";
  } else if (log == "mgmtd.log") {
    out << day << "0:04.001Z info mgmtd[2501] Starting management agent " << state.product.version
        << "\n"
        << day << "0:04.702Z info mgmtd[2501] Listening on port 443\n"
        << day << "0:09.118Z info mgmtd[2501] Inventory loaded: " << state.vms.size()
        << " virtual machine(s)\n";
  } else if (log == "fdxa.log") {
    out << day << "0:06.010Z info fdxa[2606] Fleetdesk agent started\n"
        << day << "0:06.554Z info fdxa[2606] Not connected to a Fleetdesk server\n";
  } else if (log == "hamd.log") {
    out << day << "0:07.330Z hamd[2711]: High availability agent installed, not configured\n";
  } else if (log == "obsvd.log") {
    out << day << "0:03.900Z [obsv.system.boot] Host " << fqdn << " booted\n";
  } else {
    out << day << "0:00.000Z log started\n";
  }
  return out.str();
}

}  // namespace

const char* BundledDemoHost() {
  return kDemoHost;
}

std::string DefaultStateRoot() {
  if (const char* state = std::getenv("XDG_STATE_HOME"); state && *state == '/') {
    return std::string(state) + "/merel/host";
  }
  if (const char* home = std::getenv("HOME"); home && *home == '/') {
    return std::string(home) + "/.local/state/merel/host";
  }
  return "";
}

std::string SelfDirectory() {
  char buffer[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", buffer, sizeof(buffer) - 1);
  if (n <= 0)
    return ".";
  std::string path(buffer, static_cast<size_t>(n));
  auto slash = path.rfind('/');
  return slash == std::string::npos || slash == 0 ? "/" : path.substr(0, slash);
}

std::string SiblingProgram(const std::string& name) {
  std::string self = SelfDirectory();
  for (const char* folder : {"/", "/../bin/", "/../sbin/"}) {
    std::string path = self + folder + name;
    if (access(path.c_str(), X_OK) == 0) {
      char resolved[PATH_MAX];
      return realpath(path.c_str(), resolved) ? std::string(resolved) : path;
    }
  }
  return self + "/" + name;
}

const std::vector<std::string>& SimToolEntries() {
  static const std::vector<std::string> entries = {
      "bin/rovi-cmd",   "bin/powerOffVms",        "sbin/powerOffVms",  "sbin/nexping",
      "sbin/tarvikcli", "sbin/tarvikcfg-advcfg",  "sbin/nexcli",       "sbin/services.sh",
      "sbin/backup.sh", "sbin/configReset.sh",    "sbin/nexbacktrace", "sbin/poweroff",
      "sbin/reboot",    "etc/init.d/TarvikShell", "etc/init.d/SSH",
  };
  return entries;
}

bool InitHostRoot(const std::string& rootIn,
                  const std::string& description,
                  const std::string& name,
                  const std::string& simBinary,
                  std::string& error,
                  std::vector<std::string>* notes) {
  HostState state;
  std::string problem;
  if (!FromJson(description, state, problem)) {
    error = name + ": invalid host description: " + problem;
    return false;
  }
  FillDefaults(state);
  for (auto& nic : state.network.nics)
    Model::EnsureLease(state, nic);
  if (!Validate(state, problem)) {
    error = name + ": invalid host description: " + problem;
    return false;
  }
  const std::string accountModule = SimPamModule();
  for (const auto& account : state.accounts) {
    if (account.expired && accountModule.empty()) {
      error = name + ": the expired account " + account.user +
              " needs pam_merel_sim.so beside merel-sim";
      return false;
    }
  }

  if (!MakeDirs(rootIn, error))
    return false;
  char resolved[PATH_MAX];
  if (!realpath(rootIn.c_str(), resolved)) {
    error = rootIn + ": cannot open host root: " + std::strerror(errno);
    return false;
  }
  const std::string root = resolved;
  if (access((root + "/host.json").c_str(), F_OK) == 0) {
    error = root + "/host.json: already exists; a host root is made only once (remove it first)";
    return false;
  }
  for (const char* dir : {"bin", "sbin", "etc/init.d", "etc/ostrel/ssl", "etc/ssh", "etc/pam.d",
                          "var/log", "var/run/ostrel", "tmp"}) {
    if (!MakeDirs(root + "/" + dir, error))
      return false;
  }

  // Tools: a script per entry that carries the root, because the console
  // starts tools with an empty environment.
  for (const auto& entry : SimToolEntries()) {
    std::string tool = entry.substr(entry.rfind('/') + 1);
    std::string script = "#!/bin/sh\nexec " + ShellQuote(simBinary) + " tool " + ShellQuote(root) +
                         " " + tool + " \"$@\"\n";
    if (!WriteFile(root + "/" + entry, script, 0755, error))
      return false;
  }
  // Where the host has the genuine article, so does the simulated one.
  for (const char* program : {"openssl", "less", "sh", "ssh-keygen"}) {
    std::string real = FindProgram(program);
    std::string link = root + "/bin/" + program;
    if (!real.empty() && std::string(program) == "openssl") {
      // The host's openssl names the digest in capitals ("SHA1 Fingerprint=");
      // OpenSSL 3 writes "sha1 Fingerprint=". Everything else is passed on.
      std::string wrapper =
          "#!/bin/sh\n"
          "case \" $* \" in\n"
          "  *\" -fingerprint \"*)\n"
          "    out=$(" +
          ShellQuote(real) +
          " \"$@\") || exit $?\n"
          "    case \"$out\" in \"sha1 Fingerprint=\"*) out=\"SHA1 Fingerprint=${out#sha1 "
          "Fingerprint=}\" ;; esac\n"
          "    printf '%s\\n' \"$out\"\n"
          "    exit 0 ;;\n"
          "esac\n"
          "exec " +
          ShellQuote(real) + " \"$@\"\n";
      if (!WriteFile(link, wrapper, 0755, error))
        return false;
      continue;
    }
    if (real.empty()) {
      if (notes)
        notes->push_back(std::string(program) + " not found on PATH; " + link + " not created");
      continue;
    }
    unlink(link.c_str());
    if (symlink(real.c_str(), link.c_str()) != 0) {
      error = link + ": cannot create link: " + std::strerror(errno);
      return false;
    }
  }

  const auto& dns = state.network.dns;
  const std::string fqdn = dns.hostname + (dns.domain.empty() ? "" : "." + dns.domain);

  // A real certificate and real keys, so that thumbprints and fingerprints
  // are the genuine output of the genuine tools. Small key types keep a
  // fresh root (one per screen test) quick to make.
  std::string errors;
  std::string openssl = FindProgram("openssl");
  if (openssl.empty() ||
      Run({openssl, "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
           "-nodes", "-sha256", "-days", "3650", "-subj", "/CN=" + fqdn, "-keyout",
           root + "/etc/ostrel/ssl/host.key", "-out", root + "/etc/ostrel/ssl/host.crt"},
          errors) != 0) {
    error = root + "/etc/ostrel/ssl/host.crt: openssl could not create the certificate: " +
            (openssl.empty() ? "openssl not found" : FirstLine(errors));
    return false;
  }
  std::string sshKeygen = FindProgram("ssh-keygen");
  for (const char* type : {"rsa", "dsa"}) {
    std::string key = root + "/etc/ssh/ssh_host_" + type + "_key";
    errors.clear();
    std::vector<std::string> argv = {sshKeygen, "-q", "-t",           type, "-N",
                                     "",        "-C", "root@" + fqdn, "-f", key};
    if (std::string(type) == "rsa") {
      argv.insert(argv.begin() + 4, {"-b", "1024"});
    }
    if (sshKeygen.empty() || Run(argv, errors) != 0) {
      std::string why = sshKeygen.empty() ? "ssh-keygen not found" : FirstLine(errors);
      if (std::string(type) == "rsa") {
        error = key + ": ssh-keygen could not create the key: " + why;
        return false;
      }
      if (notes)
        notes->push_back("ssh-keygen refused a DSA key (" + why + "); " + key + " not created");
    }
  }

  // Logs (a description may leave some out), and the files the tools write.
  for (const auto& log : state.logs) {
    if (!WriteFile(root + "/var/log/" + log, LogContent(log, state), 0644, error))
      return false;
  }
  if (!WriteFile(root + "/var/log/tools.log", "", 0644, error))
    return false;

  std::string hosts =
      "127.0.0.1\tlocalhost.localdomain localhost\n::1\tlocalhost.localdomain localhost\n";
  if (const NexNicState* nic = ManagementNic(state)) {
    std::string address = Model::LiveIpv4Of(state, *nic).address;
    if (address != "0.0.0.0") {
      hosts += address + "\t" + fqdn + (fqdn != dns.hostname ? " " + dns.hostname : "") + "\n";
    }
  }
  if (!WriteFile(root + "/etc/hosts", hosts, 0644, error))
    return false;
  std::string resolv;
  if (!dns.domain.empty())
    resolv += "domain " + dns.domain + "\n";
  for (const auto& server : Model::EffectiveIpv4NameServers(state))
    resolv += "nameserver " + server + "\n";
  if (!WriteFile(root + "/etc/resolv.conf", resolv, 0644, error))
    return false;
  if (!WriteFile(root + "/etc/ostrel/support", state.supportInfo, 0644, error))
    return false;
  if (state.showLoginMarker &&
      !WriteFile(root + "/var/run/ostrel/show-merel-login", "", 0644, error)) {
    return false;
  }

  // PAM: pam_wrapper reads services from etc/pam.d. The host's own module
  // checks the description's accounts in its password database and keeps
  // what a password alone cannot say (an expired password); without it,
  // pam_matrix checks the passwords (those without ':' or '%' only). "other"
  // must exist, or pam_wrapper complains on standard error at every start.
  const std::string passdb = root + "/etc/pam_matrix.passwd";
  std::string service;
  if (!accountModule.empty()) {
    const std::string module = accountModule + " passdb=" + passdb;
    const std::string accounts = module + " state=" + root + "/" + kAccountStates;
    service = "auth\trequired\t" + module + "\naccount\trequired\t" + accounts +
              "\npassword\trequired\t" + accounts + "\n";
  } else {
    std::string matrix = PamMatrixModule() + " passdb=" + passdb;
    service = "auth\trequired\t" + matrix + "\naccount\trequired\t" + matrix +
              "\npassword\trequired\t" + matrix + "\n";
  }
  // The host's module keeps a record of the sessions it opened and closed.
  service += accountModule.empty()
                 ? std::string("session\trequired\tpam_permit.so\n")
                 : "session\trequired\t" + accountModule + " sessions=" + root +
                       "/var/log/sessions.log\n";
  if (!WriteFile(root + "/etc/pam.d/merel", service, 0644, error))
    return false;
  if (!WriteFile(root + "/etc/pam.d/other",
                 "auth\trequired\tpam_deny.so\naccount\trequired\tpam_deny.so\n"
                 "password\trequired\tpam_deny.so\nsession\trequired\tpam_deny.so\n",
                 0644, error)) {
    return false;
  }
  if (!WriteAccounts(root, state.accounts, error))
    return false;
  // What a configuration reset goes back to; it holds the passwords too.
  if (!WriteFile(root + "/factory.json", description, 0600, error))
    return false;

  // The state last: a root with a host.json is a complete root.
  HostStore store(root);
  return store.Write(state, error);
}

bool WriteAccounts(const std::string& root,
                   const std::vector<AccountState>& accounts,
                   std::string& error) {
  std::string passwd;
  for (const auto& account : accounts)
    passwd += PassDbField(account.user) + ":" + PassDbField(account.password) + ":merel\n";
  if (!WriteFile(root + "/etc/pam_matrix.passwd", passwd, 0600, error))
    return false;
  const std::string states = root + "/" + kAccountStates;
  if (!MakeDirs(states, error))
    return false;
  for (const auto& account : accounts) {
    const std::string path = states + "/" + account.user;
    if (account.expired) {
      if (!WriteFile(path, "expired\n", 0644, error))
        return false;
    } else if (unlink(path.c_str()) != 0 && errno != ENOENT) {
      error = path + ": cannot remove: " + std::strerror(errno);
      return false;
    }
  }
  return true;
}

namespace {

// pam_wrapper's folders (/tmp/pam.X), each with the first line of its pid
// file ("" when empty or missing).
std::vector<std::pair<std::filesystem::path, std::string>> PamWrapperFolders() {
  namespace fs = std::filesystem;
  std::vector<std::pair<fs::path, std::string>> folders;
  std::error_code listing;
  for (const fs::directory_entry& folder : fs::directory_iterator("/tmp", listing)) {
    std::error_code error;
    if (!folder.path().filename().string().starts_with("pam.") || !folder.is_directory(error))
      continue;
    std::string owner;
    std::getline(std::ifstream(folder.path() / "pid"), owner);
    folders.emplace_back(folder.path(), owner);
  }
  return folders;
}

// pam_wrapper clears the folders of processes that have ended only on its
// way to a free name, and never one whose pid file is empty (its process was
// killed between making the folder and writing its pid), though a later start
// that picks that name fails. Programs killed (at the end of a test, at a
// write) leave theirs. So the folders of ended processes go, and those that
// have held only an empty pid file for two seconds (the pid follows the
// folder at once).
void RemoveAbandonedPamWrapperFolders() {
  namespace fs = std::filesystem;
  for (const auto& [folder, owner] : PamWrapperFolders()) {
    std::error_code error;
    char* end = nullptr;
    const long number = std::strtol(owner.c_str(), &end, 10);
    if (!owner.empty()) {
      if (*end == '\0' && number > 0 && kill(static_cast<pid_t>(number), 0) != 0 && errno == ESRCH)
        fs::remove_all(folder, error);
      continue;
    }
    const auto entries = std::distance(fs::directory_iterator(folder, error), {});
    const auto changed = fs::last_write_time(folder / "pid", error);
    if (error || entries != 1 || fs::file_size(folder / "pid", error) != 0 || error)
      continue;
    if (fs::file_time_type::clock::now() - changed > kPamFolderAbandonedAfter)
      fs::remove_all(folder, error);
  }
}

}  // namespace

int LockPamWrapperStart() {
  const int lock = open("/tmp/merel-sim-pam.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  while (lock >= 0 && flock(lock, LOCK_EX) != 0) {
    if (errno != EINTR) {
      close(lock);
      return -1;
    }
  }
  if (lock >= 0)
    RemoveAbandonedPamWrapperFolders();
  return lock;
}

void HoldPamWrapperLockUntilStarted(int lock) {
  const pid_t program = getpid();
  const auto started = [program] {
    for (const auto& [folder, owner] : PamWrapperFolders())
      if (owner == std::to_string(program))
        return true;
    return false;
  };
  const pid_t child = fork();
  if (child == 0) {
    if (fork() == 0) {
      setsid();
      const int null = open("/dev/null", O_RDWR);
      for (int fd = 0; fd < 3; ++fd)
        dup2(null, fd);
      for (int i = 0; i < 1000 && kill(program, 0) == 0 && !started(); ++i)
        usleep(10000);
    }
    _exit(0);
  }
  if (child > 0)
    waitpid(child, nullptr, 0);
  close(lock);
}

const char* AsanRuntime() {
#ifdef MEREL_ASAN_RUNTIME
  return MEREL_ASAN_RUNTIME;
#else
  return nullptr;
#endif
}

}  // namespace Platform
