// The operating-system side of the simulated host: paths, programs, the
// shell, syslog, events, name resolution, and the tools the console starts.
// Every test runs on a fresh root made by the real `merel-sim init`.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <regex>

#include "HostCtl/HostCtlException.h"
#include "HostLibraries.h"
#include "Platform.h"
#include "SimHostTestSupport.h"
#include "backends/SimBackend.h"

namespace {

using SimHostTest::ReadFile;
using SimHostTest::SimRoot;

std::string LastLine(const std::string& text) {
  std::string trimmed = text;
  while (!trimmed.empty() && trimmed.back() == '\n')
    trimmed.pop_back();
  return trimmed.substr(trimmed.rfind('\n') == std::string::npos ? 0 : trimmed.rfind('\n') + 1);
}

TEST(PlatformSimBackendTest, HostPathsMapIntoTheRoot) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  struct {
    const char* host;
    std::string expected;
  } cases[] = {
      {"/etc/hosts", root.Path() + "/etc/hosts"},
      {"/var/run/merel.pid", root.Path() + "/var/run/merel.pid"},
      {"/bin/rovi-cmd", root.Path() + "/bin/rovi-cmd"},
      {"ssh-keygen", root.Path() + "/bin/ssh-keygen"},
      {"nexping", root.Path() + "/sbin/nexping"},
      {"no-such-tool", root.Path() + "/bin/no-such-tool"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Platform::HostPath(c.host), c.expected) << c.host;
  }
}

TEST(PlatformSimBackendTest, SpawnGivesExactlyTheEnvironmentAndDescriptors) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  int out[2];
  ASSERT_EQ(pipe(out), 0);
  int null = open("/dev/null", O_RDWR);
  char arg0[] = "sh", arg1[] = "-c", arg2[] = "echo \"$0|$PYTHONHOME|$HOME\"";
  char* argv[] = {arg0, arg1, arg2, nullptr};
  char env0[] = "PYTHONHOME=/";
  char* envp[] = {env0, nullptr};
  pid_t pid = Platform::Spawn("/bin/sh", argv, envp, null, out[1], null);
  ASSERT_GT(pid, 0);
  close(out[1]);
  char buffer[128] = {};
  ssize_t n = read(out[0], buffer, sizeof(buffer) - 1);
  close(out[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  EXPECT_EQ(std::string(buffer, n > 0 ? n : 0), "sh|/|\n");
  EXPECT_EQ(Platform::Spawn("/bin/not-a-tool", argv, envp, null, null, null), -1);
  close(null);
}

// The console blocks its termination signals in every thread; its children
// must not inherit that, or SIGTERM would never end a tool.
TEST(PlatformSimBackendTest, ChildrenStartWithNoBlockedSignals) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  sigset_t block, old;
  sigemptyset(&block);
  sigaddset(&block, SIGTERM);
  sigaddset(&block, SIGINT);
  pthread_sigmask(SIG_BLOCK, &block, &old);
  int status = Platform::System(
      "read line < /proc/self/status; "
      "while read key value; do [ \"$key\" = SigBlk: ] && "
      "[ \"$value\" = 0000000000000000 ] && exit 0; done < /proc/self/status; exit 1");
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

// The network test starts nexping with its standard descriptors closed.
TEST(PlatformSimBackendTest, ToolsCopeWithClosedStandardDescriptors) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  std::string before = root.File("/host.json");
  std::string nexping = Platform::HostPath("/sbin/nexping");
  for (const char* target : {"192.168.10.1", "10.99.99.99"}) {
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      close(0);
      close(1);
      close(2);
      char* argv[] = {const_cast<char*>("nexping"), const_cast<char*>(target),
                      const_cast<char*>("-I"), const_cast<char*>("vmk0"), nullptr};
      char* envp[] = {nullptr};
      execve(nexping.c_str(), argv, envp);
      _exit(1);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), std::string(target) == "192.168.10.1" ? 0 : 1) << target;
  }
  EXPECT_EQ(root.File("/host.json"), before);
  EXPECT_NE(root.File("/var/log/tools.log").find("nexping 10.99.99.99 -I vmk0\n"),
            std::string::npos);
}

TEST(PlatformSimBackendTest, SystemSeesOnlyTheRootsTools) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  // Absolute paths land in the root, /dev stays the machine's.
  std::string marker = "/tmp/merel-unit-marker-" + std::to_string(getpid());
  int status = Platform::System(("echo hi > " + marker + " 2>/dev/null").c_str());
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(ReadFile(root.Path() + marker), "hi\n");
  EXPECT_NE(access(marker.c_str(), F_OK), 0);
  // PATH holds only the root's tool folders.
  status = Platform::System("ls / >/dev/null 2>&1");
  EXPECT_EQ(WEXITSTATUS(status), 127);
  status = Platform::System("/bin/rovi-cmd -U root rovisvc/auth/lockdown_is_enabled > /dev/null");
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(LastLine(root.File("/var/log/tools.log")),
            "rovi-cmd -U root rovisvc/auth/lockdown_is_enabled");
}

TEST(PlatformSimBackendTest, CommandRewriteMovesFileSystemPathsOnly) {
  Platform::SimBackend backend("/tmp/root");
  struct {
    const char* in;
    const char* out;
  } cases[] = {
      {"poweroff", "poweroff"},
      {"reboot -f", "reboot -f"},
      {"/sbin/configReset.sh --reset-only > /dev/null 2>&1",
       "/tmp/root/sbin/configReset.sh --reset-only > /dev/null 2>&1"},
      {"/bin/sh /sbin/services.sh stop", "/tmp/root/bin/sh /tmp/root/sbin/services.sh stop"},
      {"/sbin/nexbacktrace -w -n mgmtd -o mgmtd-restart% -d /var/log/",
       "/tmp/root/sbin/nexbacktrace -w -n mgmtd -o mgmtd-restart% -d /tmp/root/var/log/"},
      {"X=/etc/hosts;cat</etc/hosts|wc", "X=/tmp/root/etc/hosts;cat</tmp/root/etc/hosts|wc"},
      {"echo '/etc/x' \"/usr/bin/y\" $(/bin/z)",
       "echo '/tmp/root/etc/x' \"/tmp/root/usr/bin/y\" $(/tmp/root/bin/z)"},
      {"tarvikcfg-advcfg -g /UserVars/MerelTimeOut", "tarvikcfg-advcfg -g /UserVars/MerelTimeOut"},
      {"echo a/bin/b /", "echo a/bin/b /"},
      {"/tmp/root/bin/x", "/tmp/root/bin/x"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(backend.RewriteCommand(c.in), c.out) << c.in;
  }
  Platform::SimBackend spaced("/tmp/my root");
  EXPECT_EQ(spaced.RewriteCommand("/bin/x"), "'/tmp/my root'/bin/x");
}

// The shut-down screen ends with system("poweroff") or system("reboot"):
// those must be the simulated tools, record the power state, and end the
// console as a real shutdown would.
TEST(PlatformSimBackendTest, PoweroffAndRebootRunTheSimulatedTools) {
  struct {
    const char* command;
    const char* logged;
    const char* powerState;
    int bootCount;
  } cases[] = {
      {"poweroff", "poweroff", "off", 1},
      {"reboot -f", "reboot -f", "rebooting", 2},
  };
  for (const auto& c : cases) {
    SimRoot root;
    ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
    // A stand-in console: a process named "merel" whose pid is in the pid file.
    std::string console = root.Path() + "/tmp/merel";
    ASSERT_EQ(symlink("/bin/sleep", console.c_str()), 0);
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      execl(console.c_str(), "merel", "30", nullptr);
      _exit(127);
    }
    std::ofstream(root.Path() + "/var/run/merel.pid") << pid;
    usleep(50000);  // let it exec, so its name is "merel"

    int status = Platform::System(c.command);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << c.command;
    EXPECT_EQ(LastLine(root.File("/var/log/tools.log")), c.logged);
    Platform::HostState state = Platform::Current().Load();
    EXPECT_EQ(state.powerState, c.powerState);
    EXPECT_EQ(state.bootCount, c.bootCount);
    for (const auto& vm : state.vms)
      EXPECT_FALSE(vm.poweredOn) << vm.name;

    int childStatus = 0;
    ASSERT_EQ(waitpid(pid, &childStatus, 0), pid);
    EXPECT_TRUE(WIFSIGNALED(childStatus) && WTERMSIG(childStatus) == SIGTERM) << c.command;
  }
}

TEST(PlatformSimBackendTest, PowerToolsLeaveUnrelatedProcessesAlone) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  pid_t pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    execl("/bin/sleep", "sleep", "30", nullptr);
    _exit(127);
  }
  std::ofstream(root.Path() + "/var/run/merel.pid") << pid;  // a stale pid, reused
  usleep(50000);
  Platform::System("poweroff");
  EXPECT_EQ(waitpid(pid, nullptr, WNOHANG), 0);  // still running
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
}

TEST(PlatformSimBackendTest, SyslogLinesCarryFacilityLevelAndHonourTheMask) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  Platform::OpenLog("MEREL", LOG_PID, LOG_USER);
  Platform::SetLogMask(LOG_UPTO(LOG_INFO));
  Platform::Syslog(LOG_INFO, "Starting %s", "MEREL");
  Platform::Syslog(LOG_DEBUG, "never written");
  Platform::Syslog(LOG_AUTH | LOG_ERR, "Login failed for %s\n", "root");
  errno = ENOENT;
  Platform::Syslog(LOG_ERR, "rovi-cmd invocation failure: %m (100%%)");
  std::string log = root.File("/var/log/syslog.log");
  std::string pid = std::to_string(getpid());
  EXPECT_TRUE(std::regex_search(
      log, std::regex("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z MEREL\\[" + pid +
                      "\\]: user\\.info Starting MEREL\n")))
      << log;
  EXPECT_NE(log.find("MEREL[" + pid + "]: auth.err Login failed for root\n"), std::string::npos);
  EXPECT_NE(log.find("user.err rovi-cmd invocation failure: No such file or directory (100%)\n"),
            std::string::npos)
      << log;
  EXPECT_EQ(log.find("never written"), std::string::npos);
  Platform::SetLogMask(0xff);
}

TEST(PlatformSimBackendTest, EventsAndAuditRecordsGoToTheirLogs) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  ASSERT_EQ(ObsvUserLib_Init(), 0);
  EXPECT_EQ(ObsvUserLib_AddObsv("@&!*@*@(obsv.user.merel.network.restart)Restarting %s", "vmk0"),
            0);
  ObsvUserLib_Close();
  EXPECT_NE(
      root.File("/var/log/obsvd.log").find("[obsv.user.merel.network.restart] Restarting vmk0\n"),
      std::string::npos);
  AuditLog_Session("login.connect", "root", 0, "reason", "bad password");
  EXPECT_NE(root.File("/var/log/audit.log")
                .find("login.connect user=root success=0 reason=bad password\n"),
            std::string::npos);

  SimRoot quiet("no-event-service");
  ASSERT_EQ(quiet.InitStatus(), 0) << quiet.InitErrors();
  EXPECT_NE(ObsvUserLib_Init(), 0);
}

TEST(PlatformSimBackendTest, NamesResolveFromHostsFileThenDns) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  std::vector<std::string> addresses;
  EXPECT_TRUE(Platform::ResolveHostname("merel-demo.example.test", addresses));
  EXPECT_EQ(addresses, std::vector<std::string>{"192.168.10.20"});
  std::ofstream(root.Path() + "/etc/hosts", std::ios::app) << "10.9.9.9 www.example.test\n";
  EXPECT_TRUE(Platform::ResolveHostname("WWW.example.test", addresses));
  EXPECT_EQ(addresses, std::vector<std::string>{"10.9.9.9"});
  EXPECT_TRUE(Platform::ResolveHostname("fleetdesk", addresses));  // search domain
  EXPECT_EQ(addresses, std::vector<std::string>{"192.168.10.5"});
  EXPECT_FALSE(Platform::ResolveHostname("nowhere.example.test", addresses));
  EXPECT_TRUE(addresses.empty());
}

TEST(PlatformSimBackendTest, ProductStateReadsTheHost) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  EXPECT_STREQ(ProductState_GetName(), "Tarvik");
  EXPECT_STREQ(ProductState_GetVersion(), "8.0.2");
  EXPECT_STREQ(ProductState_GetBuildNumberString(), "22380479");
  EXPECT_STREQ(ProductState_GetCompilationOption(), "release");
}

TEST(PlatformSelectTest, BadRootGivesOneLineAndWritesNothing) {
  SimHostTest::TempDir dir;
  std::string missing = dir.Path() + "/absent";
  setenv("MEREL_SIM_ROOT", missing.c_str(), 1);
  std::string error;
  EXPECT_FALSE(Platform::Select(error));
  EXPECT_EQ(error, "MEREL_SIM_ROOT=" + missing + ": " + missing +
                       ": cannot open host root: No such file or directory");
  EXPECT_NE(access(missing.c_str(), F_OK), 0);

  std::ofstream(dir.Path() + "/host.json") << "{ not json";
  setenv("MEREL_SIM_ROOT", dir.Path().c_str(), 1);
  EXPECT_FALSE(Platform::Select(error));
  EXPECT_NE(error.find(dir.Path() + "/host.json: invalid host state: not valid JSON"),
            std::string::npos)
      << error;
  EXPECT_EQ(error.find('\n'), std::string::npos);
  EXPECT_EQ(ReadFile(dir.Path() + "/host.json"), "{ not json");
  unsetenv("MEREL_SIM_ROOT");
  // Without a host every call fails cleanly and nothing runs.
  EXPECT_THROW(Platform::Current().Load(), HostCtl::Lib::HostCtlException);
  EXPECT_EQ(Platform::System("true"), -1);
}

TEST(PlatformSelectTest, WithoutRootTheDemoHostIsMadeInTheStateDirectory) {
  SimHostTest::TempDir dir;
  setenv("XDG_STATE_HOME", dir.Path().c_str(), 1);
  unsetenv("MEREL_SIM_ROOT");
  std::string error;
  ASSERT_TRUE(Platform::Select(error)) << error;
  EXPECT_EQ(Platform::HostPath("/etc/hosts"), dir.Path() + "/merel/host/etc/hosts");
  EXPECT_EQ(Platform::Current().Load().network.dns.hostname, "merel-demo");
  // A second start finds it and keeps its state.
  Platform::Current().Modify([](Platform::HostState& s) { s.bootCount = 7; });
  ASSERT_TRUE(Platform::Select(error)) << error;
  EXPECT_EQ(Platform::Current().Load().bootCount, 7);
  Platform::Install(nullptr);
  unsetenv("XDG_STATE_HOME");
}

TEST(SimHostInitTest, RefusesBadDescriptionsAndExistingRoots) {
  SimHostTest::TempDir dir;
  std::string bad = dir.Path() + "/bad.json";
  std::ofstream(bad) << R"({"network": {"nics": [{"name": "vmk0"}]}})";
  std::string errors;
  EXPECT_EQ(SimHostTest::RunSim("init '" + dir.Path() + "/r' '" + bad + "'", &errors), 1);
  EXPECT_EQ(errors, "merel-sim: " + bad +
                        ": invalid host description: network.nics[0]: needs exactly one of "
                        "portGroup, dvSwitch, opaqueNetwork\n");
  EXPECT_NE(access((dir.Path() + "/r").c_str(), F_OK), 0);

  EXPECT_EQ(
      SimHostTest::RunSim("init '" + dir.Path() + "/r' '" + dir.Path() + "/none.json'", &errors),
      1);
  EXPECT_EQ(errors,
            "merel-sim: " + dir.Path() + "/none.json: cannot read: No such file or directory\n");

  ASSERT_EQ(SimHostTest::RunSim("init '" + dir.Path() + "/r'", &errors), 0) << errors;
  std::string before = ReadFile(dir.Path() + "/r/host.json");
  EXPECT_EQ(SimHostTest::RunSim("init '" + dir.Path() + "/r'", &errors), 1);
  EXPECT_NE(errors.find("/r/host.json: already exists"), std::string::npos) << errors;
  EXPECT_EQ(ReadFile(dir.Path() + "/r/host.json"), before);
}

TEST(SimHostInitTest, EveryFixtureMakesAHost) {
  for (const char* fixture :
       {"static-ipv4", "dhcp", "ipv6", "ipv6-disabled", "no-mgmt", "welcome-message",
        "network-booted", "lockdown-possible", "lockdown-enabled", "device-assignment-1",
        "device-assignment-2", "missing-logs", "dvs", "no-event-service", "smart-card"}) {
    SimRoot root(fixture);
    EXPECT_EQ(root.InitStatus(), 0) << fixture << ": " << root.InitErrors();
  }
  SimRoot partial("missing-logs");
  EXPECT_NE(access((partial.Path() + "/var/log/syslog.log").c_str(), F_OK), -1);
  EXPECT_NE(access((partial.Path() + "/var/log/nexel.log").c_str(), F_OK), 0);
  EXPECT_NE(access((partial.Path() + "/var/log/hamd.log").c_str(), F_OK), 0);
}

TEST(SimHostInitTest, RootHasRealKeysPamFilesAndToolEntries) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  // The certificate is real: the host's openssl (through the root) reads it.
  int out[2];
  ASSERT_EQ(pipe(out), 0);
  char a0[] = "openssl", a1[] = "x509", a2[] = "-in", a4[] = "-noout", a5[] = "-fingerprint",
       a6[] = "-sha1";
  std::string cert = Platform::HostPath("/etc/ostrel/ssl/host.crt");
  char* argv[] = {a0, a1, a2, cert.data(), a4, a5, a6, nullptr};
  char env0[] = "PYTHONHOME=/";
  char* envp[] = {env0, nullptr};
  int null = open("/dev/null", O_RDWR);
  pid_t pid = Platform::Spawn("/bin/openssl", argv, envp, null, out[1], null);
  close(out[1]);
  char buffer[256] = {};
  ssize_t n = read(out[0], buffer, sizeof(buffer) - 1);
  close(out[0]);
  close(null);
  waitpid(pid, nullptr, 0);
  EXPECT_TRUE(std::regex_match(std::string(buffer, n > 0 ? n : 0),
                               std::regex("SHA1 Fingerprint=([0-9A-F]{2}:){19}[0-9A-F]{2}\n")))
      << buffer;
  EXPECT_EQ(access((root.Path() + "/etc/ssh/ssh_host_rsa_key").c_str(), R_OK), 0);
  EXPECT_EQ(root.File("/etc/pam_matrix.passwd"), "root:merel:merel\n");
  EXPECT_NE(root.File("/etc/pam.d/merel")
                .find("pam_matrix.so passdb=" + root.Path() + "/etc/pam_matrix.passwd"),
            std::string::npos);
  EXPECT_NE(root.File("/etc/pam.d/other").find("password\trequired\tpam_deny.so"),
            std::string::npos);
  EXPECT_NE(root.File("/etc/ostrel/support").find("Support Information"), std::string::npos);
  EXPECT_NE(root.File("/etc/hosts").find("192.168.10.20\tmerel-demo.example.test merel-demo"),
            std::string::npos);
  struct stat st {};
  EXPECT_EQ(stat((root.Path() + "/var/run/ostrel").c_str(), &st), 0);
  EXPECT_EQ(root.File("/etc/init.d/SSH").find("#!/bin/sh\nexec '"), 0u);
}

}  // namespace
