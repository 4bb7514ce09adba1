// The simulated host's tools, run the way the console runs them: by their
// host path, with an empty environment. Each row is one command line, what
// it must print and exit with, and what it must leave in the host state.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <algorithm>
#include <functional>

#include "HostModel.h"
#include "HostState.h"
#include "SimHostTestSupport.h"

namespace {

using Platform::HostState;
using SimHostTest::SimRoot;

struct Result {
  int status;
  std::string out;
};

// argv[0] is the bare name, as the console passes it.
Result RunTool(const std::string& hostPath, std::vector<std::string> args) {
  int out[2];
  EXPECT_EQ(pipe(out), 0);
  std::string program = Platform::HostPath(hostPath);
  pid_t pid = fork();
  if (pid == 0) {
    dup2(out[1], 1);
    int null = open("/dev/null", O_WRONLY);
    dup2(null, 2);
    close(out[0]);
    std::vector<char*> argv;
    for (auto& arg : args)
      argv.push_back(arg.data());
    argv.push_back(nullptr);
    char env0[] = "PYTHONHOME=/";
    char* envp[] = {env0, nullptr};
    execve(program.c_str(), argv.data(), envp);
    _exit(126);
  }
  close(out[1]);
  std::string text;
  char buffer[256];
  ssize_t n;
  while ((n = read(out[0], buffer, sizeof(buffer))) > 0)
    text.append(buffer, n);
  close(out[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text};
}

struct ToolCase {
  const char* path;
  std::vector<std::string> argv;
  int status;
  const char* out;  // null: not checked
  std::function<bool(const HostState&)> check;
};

void RunCases(const std::string& fixture, const std::vector<ToolCase>& cases) {
  SimRoot root(fixture);
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  for (const auto& c : cases) {
    std::string line = c.argv[0];
    for (size_t i = 1; i < c.argv.size(); ++i)
      line += " " + c.argv[i];
    Result result = RunTool(c.path, c.argv);
    EXPECT_EQ(result.status, c.status) << line;
    if (c.out) {
      EXPECT_EQ(result.out, c.out) << line;
    }
    if (c.check) {
      EXPECT_TRUE(c.check(Platform::Current().Load())) << line;
    }
  }
}

const Platform::ServiceState& Service(const HostState& s, const char* name) {
  return *Platform::FindService(const_cast<HostState&>(s), name);
}

TEST(SimHostToolsTest, ManagementCommands) {
  RunCases("static-ipv4", {
                   {"/bin/rovi-cmd",
                    {"rovi-cmd", "-U", "root", "rovisvc/auth/lockdown_is_enabled"},
                    0,
                    "false\n",
                    nullptr},
                   {"/bin/rovi-cmd",
                    {"rovi-cmd", "-U", "root", "rovisvc/auth/lockdown_is_possible"},
                    0,
                    "false\n",
                    nullptr},
                   {"/bin/rovi-cmd",
                    {"rovi-cmd", "-U", "root", "rovisvc/auth/lockdown_mode_enter"},
                    1,
                    "",
                    [](const HostState& s) { return !s.lockdown.enabled; }},
                   {"/bin/rovi-cmd",
                    {"rovi-cmd", "-U", "nobody", "internalsvc/refresh"},
                    255,
                    "",
                    [](const HostState& s) { return s.counters.count("refresh") == 0; }},
                   {"/bin/rovi-cmd",
                    {"rovi-cmd", "-U", "merel", "internalsvc/refresh"},
                    0,
                    "",
                    [](const HostState& s) { return s.counters.at("refresh") == 1; }},
                   {"/bin/rovi-cmd",
                    {"rovi-cmd", "-U", "root", "hostsvc/autostartmanager/autostop"},
                    0,
                    "",
                    [](const HostState& s) { return s.counters.at("autostop") == 1; }},
                   {"/bin/rovi-cmd",
                    {"rovi-cmd", "-U", "root", "hostsvc/enable_tarvik_shell"},
                    0,
                    "",
                    [](const HostState& s) {
                      return Service(s, "TarvikShell").enabled &&
                             !Service(s, "TarvikShell").running;
                    }},
                   {"/bin/rovi-cmd",
                    {"rovi-cmd", "-U", "root", "hostsvc/start_tarvik_shell"},
                    0,
                    "",
                    [](const HostState& s) { return Service(s, "TarvikShell").running; }},
                   {"/bin/rovi-cmd",
                    {"rovi-cmd", "-U", "root", "hostsvc/start_ssh"},
                    0,
                    "",
                    [](const HostState& s) {
                      return Service(s, "SSH").running && s.firewall.at(0).enabled;
                    }},
                   {"/bin/rovi-cmd",
                    {"rovi-cmd", "-U", "root", "hostsvc/stop_ssh"},
                    0,
                    "",
                    [](const HostState& s) {
                      return !Service(s, "SSH").running && !s.firewall.at(0).enabled;
                    }},
                   {"/bin/rovi-cmd", {"rovi-cmd"}, 1, "", nullptr},
               });
}

TEST(SimHostToolsTest, LockdownWhenPossible) {
  RunCases("lockdown-possible",
           {
               {"/bin/rovi-cmd",
                {"rovi-cmd", "-U", "root", "rovisvc/auth/lockdown_is_possible"},
                0,
                "true\n",
                nullptr},
               {"/bin/rovi-cmd",
                {"rovi-cmd", "-U", "root", "rovisvc/auth/lockdown_mode_enter"},
                0,
                "",
                [](const HostState& s) { return s.lockdown.enabled; }},
               {"/bin/rovi-cmd",
                {"rovi-cmd", "-U", "root", "rovisvc/auth/lockdown_is_enabled"},
                0,
                "true\n",
                nullptr},
               {"/bin/rovi-cmd",
                {"rovi-cmd", "-U", "root", "rovisvc/auth/lockdown_mode_exit"},
                0,
                "",
                [](const HostState& s) { return !s.lockdown.enabled; }},
           });
}

TEST(SimHostToolsTest, AdvancedOptionsAndServices) {
  RunCases("",
           {
               {"/sbin/tarvikcfg-advcfg",
                {"tarvikcfg-advcfg", "-q", "-g", "/UserVars/MerelTimeOut"},
                0,
                "600\n",
                nullptr},
               {"/sbin/tarvikcfg-advcfg",
                {"tarvikcfg-advcfg", "-q", "-g", "/UserVars/Nope"},
                1,
                "",
                nullptr},
               {"/sbin/tarvikcfg-advcfg",
                {"tarvikcfg-advcfg", "-q", "-s", "300", "/UserVars/MerelTimeOut"},
                0,
                "",
                [](const HostState& s) {
                  return Platform::FindOption(s, "/UserVars/MerelTimeOut")->value == 300;
                }},
               {"/sbin/tarvikcli",
                {"tarvikcli", "system", "settings", "advanced", "set", "-o",
                 "/UserVars/TarvikShellTimeOut", "-i", "86401"},
                1,
                "",
                [](const HostState& s) {
                  return Platform::FindOption(s, "/UserVars/TarvikShellTimeOut")->value == 0;
                }},
               {"/sbin/nexcli",
                {"nexcli", "system", "settings", "advanced", "set", "-o",
                 "/UserVars/TarvikShellTimeOut", "-i", "1800"},
                0,
                "",
                [](const HostState& s) {
                  return Platform::FindOption(s, "/UserVars/TarvikShellTimeOut")->value == 1800;
                }},
               {"/sbin/tarvikcli",
                {"tarvikcli", "system", "settings", "advanced", "set", "-o",
                 "/UserVars/TarvikShellTimeOut", "-i", "x"},
                1,
                "",
                nullptr},
               {"/etc/init.d/TarvikShell", {"TarvikShell", "status"}, 3, nullptr, nullptr},
               {"/etc/init.d/TarvikShell",
                {"TarvikShell", "start"},
                0,
                "",
                [](const HostState& s) { return Service(s, "TarvikShell").running; }},
               {"/etc/init.d/TarvikShell", {"TarvikShell", "status"}, 0, nullptr, nullptr},
               {"/etc/init.d/SSH",
                {"SSH", "restart"},
                0,
                "",
                [](const HostState& s) {
                  return Service(s, "SSH").running && Service(s, "SSH").restarts == 1;
                }},
               {"/sbin/services.sh",
                {"services.sh", "stop"},
                0,
                "",
                [](const HostState& s) {
                  return !Service(s, "mgmtd").running && !Service(s, "fdxa").running;
                }},
               {"/sbin/nexbacktrace",
                {"nexbacktrace", "-w", "-n", "mgmtd", "-o", "mgmtd-restart%", "-d", "/var/log/"},
                1,
                "",
                nullptr},
               {"/sbin/services.sh",
                {"services.sh", "start"},
                0,
                "",
                [](const HostState& s) {
                  return Service(s, "mgmtd").running && Service(s, "mgmtd").restarts == 1;
                }},
               {"/sbin/nexbacktrace",
                {"nexbacktrace", "-w", "-n", "mgmtd", "-o", "mgmtd-restart%", "-d", "/var/log/"},
                0,
                "",
                [](const HostState& s) { return s.counters.at("livecores") == 1; }},
               {"/sbin/backup.sh",
                {"backup.sh", "0"},
                0,
                "",
                [](const HostState& s) { return s.counters.at("backups") == 1; }},
           });
}

TEST(SimHostToolsTest, VirtualMachinesAndConfigurationReset) {
  RunCases("welcome-message",
           {
               {"/bin/powerOffVms",
                {"powerOffVms", "--terminate"},
                0,
                "",
                [](const HostState& s) {
                  return std::none_of(s.vms.begin(), s.vms.end(),
                                      [](auto& vm) { return vm.poweredOn; });
                }},
               {"/sbin/tarvikcfg-advcfg",
                {"tarvikcfg-advcfg", "-s", "60", "/UserVars/MerelTimeOut"},
                0,
                "",
                nullptr},
               {"/sbin/configReset.sh",
                {"configReset.sh", "--reset-only"},
                0,
                "",
                [](const HostState& s) {
                  const auto* nic = Platform::ManagementNic(s);
                  return s.configResets == 1 && s.welcomeMessage.empty() && nic &&
                         nic->ipv4Mode == "dhcp" &&
                         Platform::FindOption(s, "/UserVars/MerelTimeOut")->value == 600 &&
                         s.network.dns.hostname == "localhost";
                }},
           });
}

TEST(SimHostToolsTest, PingAnswersForTheDescribedNetwork) {
  RunCases("static-ipv4",
           {
               {"/sbin/nexping",
                {"nexping", "10.20.30.1", "-I", "vmk0"},
                0,
                nullptr,
                nullptr},                                                           // gateway
               {"/sbin/nexping", {"nexping", "10.20.30.2"}, 0, nullptr, nullptr},   // reachable DNS
               {"/sbin/nexping", {"nexping", "10.20.30.40"}, 0, nullptr, nullptr},  // itself
               {"/sbin/nexping", {"nexping", "10.20.30.99"}, 1, nullptr, nullptr},  // nobody
               {"/sbin/nexping",
                {"nexping", "fe80::1%vmk0", "-I", "vmk0"},
                1,
                nullptr,
                nullptr},  // no IPv6 peer
               {"/sbin/nexping",
                {"nexping", "fe80::21b:21ff:feaa:0%vmk0"},
                0,
                nullptr,
                nullptr},  // own link-local
               {"/sbin/nexping", {"nexping", "not-an-address"}, 2, nullptr, nullptr},
           });
}

TEST(SimHostToolsTest, EveryInvocationIsLoggedInOrder) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  RunTool("/sbin/backup.sh", {"backup.sh", "0"});
  RunTool("/bin/rovi-cmd", {"rovi-cmd", "-U", "a user", "x"});
  RunTool("/sbin/tarvikcli", {"tarvikcli", ""});
  EXPECT_EQ(root.File("/var/log/tools.log"),
            "backup.sh 0\nrovi-cmd -U \"a user\" x\ntarvikcli \"\"\n");
}

TEST(SimHostModelTest, DhcpPoolSkipsTakenAddressesAndRunsOut) {
  HostState state;
  std::string error;
  ASSERT_TRUE(Platform::FromJson(R"({"network": {
      "vswitches": [{"name": "vs", "portGroups": [{"name": "pg"}]}],
      "nics": [{"name": "vmk0", "portGroup": "pg", "ipv4Mode": "static", "ipv4Address": "10.0.0.10",
                "ipv4Netmask": "255.255.255.0"},
               {"name": "vmk1", "portGroup": "pg", "ipv4Mode": "dhcp"},
               {"name": "vmk2", "portGroup": "pg", "ipv4Mode": "dhcp"},
               {"name": "vmk3", "portGroup": "pg", "ipv4Mode": "dhcp"}],
      "dhcp": {"poolStart": "10.0.0.10", "poolEnd": "10.0.0.12"}}})",
                                 state, error))
      << error;
  for (auto& nic : state.network.nics)
    Platform::Model::EnsureLease(state, nic);
  EXPECT_EQ(state.network.nics[1].leaseAddress, "10.0.0.11");
  EXPECT_EQ(state.network.nics[2].leaseAddress, "10.0.0.12");
  EXPECT_EQ(state.network.nics[3].leaseAddress, "");
  EXPECT_EQ(Platform::Model::LiveIpv4Of(state, state.network.nics[3]).address, "0.0.0.0");
  state.network.dhcp.available = false;
  state.network.nics[1].leaseAddress.clear();
  Platform::Model::EnsureLease(state, state.network.nics[1]);
  EXPECT_EQ(state.network.nics[1].leaseAddress, "");
}

TEST(SimHostModelTest, LinkLocalAddressIsModifiedEui64) {
  EXPECT_EQ(Platform::Model::LinkLocalAddress("00:50:56:aa:bb:cc"), "fe80::250:56ff:feaa:bbcc");
  EXPECT_EQ(Platform::Model::LinkLocalAddress("02:00:00:00:00:01"), "fe80::ff:fe00:1");
}

TEST(SimHostModelTest, DnsAndGatewayFollowTheManagementInterfacesSource) {
  HostState state;
  std::string error;
  ASSERT_TRUE(Platform::FromJson(R"({"network": {
      "vswitches": [{"name": "vs", "portGroups": [{"name": "pg"}]}],
      "nics": [{"name": "vmk0", "portGroup": "pg", "management": true, "ipv4Mode": "dhcp", "dhcpDns": true}],
      "routing": {"ipv4Gateway": "10.9.9.1"},
      "dns": {"nameServers": ["10.9.9.2"]},
      "dhcp": {"gateway": "192.168.10.1", "dns": ["192.168.10.2"]}}})",
                                 state, error))
      << error;
  // No lease yet: nothing from DHCP, and no DNS leaves the host.
  EXPECT_EQ(Platform::Model::EffectiveIpv4Gateway(state), "0.0.0.0");
  EXPECT_TRUE(Platform::Model::EffectiveIpv4NameServers(state).empty());
  EXPECT_FALSE(Platform::Model::CanUseDns(state));
  Platform::Model::EnsureLease(state, state.network.nics[0]);
  EXPECT_EQ(Platform::Model::EffectiveIpv4Gateway(state), "192.168.10.1");
  EXPECT_EQ(Platform::Model::EffectiveIpv4NameServers(state),
            std::vector<std::string>{"192.168.10.2"});
  EXPECT_TRUE(Platform::Model::CanUseDns(state));
  state.network.nics[0].dhcpDns = false;
  EXPECT_EQ(Platform::Model::EffectiveIpv4NameServers(state), std::vector<std::string>{"10.9.9.2"});
  state.network.nics[0].ipv4Mode = "static";
  state.network.nics[0].ipv4Address = "10.9.9.5";
  state.network.nics[0].ipv4Netmask = "255.255.255.0";
  EXPECT_EQ(Platform::Model::EffectiveIpv4Gateway(state), "10.9.9.1");
}

}  // namespace
