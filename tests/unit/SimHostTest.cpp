// The simulated host as the console relies on it: the operating-system side
// (paths, programs, the shell, logs, power), the host tools the console
// starts, and the audit records it keeps. Roots are made by the real
// `merel-sim init`.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Command.h"
#include "HostCtl/HostCtlException.h"
#include "HostLibraries.h"
#include "HostState.h"
#include "SimHostTestSupport.h"

namespace {

using Platform::HostState;
using SimHostTest::ExitCode;
using SimHostTest::SimRoot;

TEST(PlatformSelectTest, BadRootGivesOneLineAndNoRootGivesThePersistentDemoHost) {
  SimHostTest::TempDir dir;
  std::string missing = dir.Path() + "/absent", error;
  setenv("MEREL_SIM_ROOT", missing.c_str(), 1);
  EXPECT_FALSE(Platform::Select(error));
  EXPECT_EQ(error, "MEREL_SIM_ROOT=" + missing + ": " + missing +
                       ": cannot open host root: No such file or directory");
  EXPECT_NE(access(missing.c_str(), F_OK), 0);
  // Without a host every call fails cleanly and nothing runs.
  EXPECT_THROW(Platform::Current().Load(), HostCtl::Lib::HostCtlException);
  EXPECT_EQ(Platform::System("true"), -1);

  unsetenv("MEREL_SIM_ROOT");
  setenv("XDG_STATE_HOME", dir.Path().c_str(), 1);
  ASSERT_TRUE(Platform::Select(error)) << error;
  EXPECT_EQ(Platform::HostPath("/etc/hosts"), dir.Path() + "/merel/host/etc/hosts");
  EXPECT_EQ(Platform::Current().Load().network.dns.hostname, "merel-demo");
  Platform::Current().Modify([](HostState& s) { s.bootCount = 7; });
  ASSERT_TRUE(Platform::Select(error)) << error;  // a second start keeps the state
  EXPECT_EQ(Platform::Current().Load().bootCount, 7);
  Platform::Install(nullptr);
  unsetenv("XDG_STATE_HOME");
}

// The console blocks its termination signals in every thread; a child that
// inherited that could never be ended with SIGTERM.
TEST(PlatformSimBackendTest, ChildrenGetOnlyTheRootAndNoBlockedSignals) {
  SimRoot root;
  const std::string blocked =
      "while read k v; do [ \"$k\" = SigBlk: ] && echo $v; done </proc/self/status";
  sigset_t block, old;
  sigemptyset(&block);
  sigaddset(&block, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &block, &old);
  // Spawned the way the console runs its host tools.
  std::string script = "echo \"$0|$PYTHONHOME|$HOME\"; " + blocked;
  char sh[] = "sh", dashC[] = "-c";
  char* const argv[] = {sh, dashC, script.data(), nullptr};
  char spawned[256];
  size_t spawnedSize = sizeof(spawned);
  Merel::RunCommand("/bin/sh", argv, spawned, &spawnedSize, nullptr, nullptr, nullptr, 0, 0);
  // Absolute paths land in the root and PATH holds only the root's tools.
  std::string marker = "/tmp/merel-unit-marker-" + std::to_string(getpid());
  int status = Platform::System((blocked + " > " + marker + "; ls / 2>/dev/null").c_str());
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
  EXPECT_EQ(std::tuple(std::string(spawned, spawnedSize), root.File(marker), ExitCode(status)),
            std::tuple("sh|/|\n0000000000000000\n", "0000000000000000\n", 127));
  EXPECT_NE(access(marker.c_str(), F_OK), 0);
}

// A simulated power-off kills the console as a real shutdown would (the
// power screen tests see that), but only the console: a pid file naming a
// process that reused the pid must not end that process.
TEST(PlatformSimBackendTest, PoweroffKillsOnlyTheConsole) {
  SimRoot root;
  // The process name comes from the program file: "sleep", not "merel".
  const pid_t pid = fork();
  if (pid == 0) {
    execl("/bin/sleep", "merel", "30", nullptr);
    _exit(1);
  }
  std::ofstream(root.Path() + "/var/run/merel.pid") << pid;
  usleep(50000);  // let it exec, so its name is its program's
  const int status = ExitCode(Platform::System("poweroff"));
  // The last: the process is still running.
  EXPECT_EQ(
      std::tuple(status, Platform::Current().Load().powerState, waitpid(pid, nullptr, WNOHANG)),
      std::tuple(0, "off", 0));
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
}

// No request of the console may reach the machine the tests run on. A
// stand-in for the machine's own "poweroff", outside the host root but
// reachable from it by "..", PATH and the like; it only leaves a mark. A
// failing refusal therefore runs this and never the real thing.
TEST(PlatformSimBackendTest, ProgramsOutsideTheHostRootAreRefusedAndLogged) {
  SimRoot root;
  const std::string outside = root.Path() + "/..";
  const std::string mark = outside + "/ran";
  mkdir((outside + "/sbin").c_str(), 0755);
  std::ofstream(outside + "/sbin/poweroff") << "#!/bin/sh\n: > '" << mark << "'\n";
  chmod((outside + "/sbin/poweroff").c_str(), 0755);
  unlink((root.Path() + "/sbin/poweroff").c_str());

  const std::string commands[] = {
      root.Path() + "/../sbin/poweroff",
      "/bin/sh -c '" + root.Path() + "/../sbin/poweroff'",
      "PATH=" + outside + "/sbin poweroff",
      "cd " + outside + "/sbin && ./poweroff",
      "true; poweroff",  // the root has no poweroff of its own now
  };
  for (const auto& command : commands)
    EXPECT_EQ(ExitCode(Platform::System(command.c_str())), 127) << command;
  char name[] = "poweroff";
  char* const argv[] = {name, nullptr};
  EXPECT_EQ(Platform::Spawn("/../sbin/poweroff", argv, nullptr, 0, 1, 2), -1);

  EXPECT_NE(access(mark.c_str(), F_OK), 0) << "a program outside the host root ran";
  const std::string syslog = root.File("/var/log/syslog.log");
  EXPECT_NE(syslog.find("refused to run " + root.Path() + "/../sbin/poweroff"), std::string::npos);
  EXPECT_NE(syslog.find("refused to run poweroff"), std::string::npos) << syslog;
}

// Reads back what the record logs escape: '\' followed by '"', '\', n, r, t
// or xHH.
std::string Unescape(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '\\' && i + 1 < text.size()) {
      c = text[++i];
      if (c == 'x' && i + 2 < text.size()) {
        c = static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
        i += 2;
      } else if (const size_t k = std::string("nrt").find(c); k != std::string::npos) {
        c = "\n\r\t"[k];
      }
    }
    out += c;
  }
  return out;
}

// Splits a record line into its words the way a reader of the log would:
// at spaces outside double quotes, quotes removed, escapes read back.
std::vector<std::string> Words(const std::string& line) {
  std::vector<std::string> words;
  std::string raw;
  bool quoted = false, any = false;
  const std::string text = line + ' ';
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == ' ' && !quoted) {
      if (any)
        words.push_back(Unescape(raw));
      raw.clear(), any = false;
    } else if (any = true; text[i] == '"') {
      quoted = !quoted;
    } else {
      raw += text[i];
      if (text[i] == '\\' && quoted)
        raw += text[++i];
    }
  }
  return words;
}

// A log's records, one a line, each as its words.
std::vector<std::vector<std::string>> Records(const std::string& text) {
  std::vector<std::vector<std::string>> records;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    records.push_back(Words(line));
  return records;
}

// A login name is typed by whoever sits at the console. Whatever it holds,
// the audit record gets exactly one line for it, with no field of its own
// making, and the name can be read back intact. (The Linux host writes its
// audit records the same way when it has no audit subsystem.)
TEST(SimHostRecordTest, HostileValuesStayOneRecordWithTheValueIntact) {
  const std::string hostile[] = {
      "root success=1",
      "root\n2024-05-14T07:10:00.000Z login.connect user=root success=1",
      "ro\"ot \" success=1",
      "back\\slash\\\" success=1",
      "bell\a esc\x1b[2J cr\r tab\t del\x7f",
      "",
      "a=b",
      "r\xc3\xb6\xc3\xb6t",  // UTF-8 stays as it is
  };
  // A lambda per value, so that a failed ASSERT ends only that value's case.
  auto check = [](const std::string& value) {
    SimRoot root;
    AuditLog_Session("login.connect", value.c_str(), 0, "reason", value.c_str());
    // The first word is the time.
    auto audit = Records(root.File("/var/log/audit.log"));
    ASSERT_TRUE(audit.size() == 1 && !audit[0].empty()) << root.File("/var/log/audit.log");
    audit[0][0] = "time";
    EXPECT_EQ(audit[0], (std::vector<std::string>{"time", "login.connect", "user=" + value,
                                                  "success=0", "reason=" + value}));
  };
  for (const std::string& value : hostile) {
    SCOPED_TRACE(::testing::Message() << "value " << ::testing::PrintToString(value));
    check(value);
  }
}

}  // namespace
