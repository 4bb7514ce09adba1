// The host state file: its JSON form, the clear one-line errors for bad
// descriptions, and the locked, crash-safe read-modify-write that the
// console and the host tools share.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "HostState.h"
#include "SimHostTestSupport.h"
#include "backends/HostStore.h"
#include "backends/SimHostInit.h"

namespace {

using Platform::HostState;
using Platform::HostStore;
using SimHostTest::TempDir;

HostState Demo() {
  HostState state;
  std::string error;
  EXPECT_TRUE(Platform::FromJson(Platform::DemoHostDescription(), state, error)) << error;
  return state;
}

TEST(SimHostStateTest, JsonRoundTripKeepsEveryMember) {
  HostState demo = Demo();
  demo.counters["x"] = 7;
  demo.network.dns.records["a.test"] = {"10.0.0.1", "10.0.0.2"};
  std::string once = Platform::ToJson(demo);
  HostState again;
  std::string error;
  ASSERT_TRUE(Platform::FromJson(once, again, error)) << error;
  EXPECT_EQ(Platform::ToJson(again), once);
  EXPECT_EQ(again.network.nics.at(0).ipv4Address, "192.168.10.20");
  EXPECT_EQ(again.counters.at("x"), 7);
}

TEST(SimHostStateTest, DemoHostDescribesTheWholeHost) {
  HostState demo = Demo();
  EXPECT_EQ(demo.product.name, "Tarvik");
  EXPECT_EQ(demo.hardware.cpu.packages, 2u);
  EXPECT_EQ(demo.network.dns.hostname, "merel-demo");
  EXPECT_EQ(demo.network.dns.domain, "example.test");
  ASSERT_NE(Platform::ManagementNic(demo), nullptr);
  EXPECT_EQ(Platform::ManagementNic(demo)->ipv4Netmask, "255.255.255.0");
  EXPECT_EQ(demo.keyboardLayout, "US Default");
  const auto* timeout = Platform::FindOption(demo, "/UserVars/MerelTimeOut");
  ASSERT_NE(timeout, nullptr);
  EXPECT_EQ(timeout->value, 600);
  EXPECT_EQ(demo.accounts.at(0).user, "root");
  EXPECT_EQ(demo.accounts.at(0).password, "merel");
  // 31.9 GiB, the welcome screen's example.
  double gib =
      static_cast<double>(demo.hardware.memory.totalPages * demo.hardware.memory.pageSize) /
      (1024.0 * 1024 * 1024);
  EXPECT_NEAR(gib, 31.9, 0.05);
}

TEST(SimHostStateTest, PartialDescriptionTakesDefaults) {
  HostState state;
  std::string error;
  ASSERT_TRUE(Platform::FromJson(R"({"welcomeMessage": "hi"})", state, error)) << error;
  Platform::FillDefaults(state);
  EXPECT_EQ(state.welcomeMessage, "hi");
  EXPECT_EQ(state.product.name, "Tarvik");
  EXPECT_EQ(Platform::FindOption(state, "/UserVars/MerelTimeOut")->value, 600);
  EXPECT_EQ(Platform::FindOption(state, "/UserVars/TarvikShellTimeOut")->value, 0);
  EXPECT_NE(Platform::FindService(state, "TarvikShell"), nullptr);
  EXPECT_EQ(state.logs.size(), 7u);
  EXPECT_EQ(Platform::ManagementNic(state), nullptr);
  // Defaults never override what a description says.
  ASSERT_TRUE(Platform::FromJson(
      R"({"advancedOptions": [{"name": "/UserVars/MerelTimeOut", "value": 90, "max": 100}]})",
      state, error))
      << error;
  Platform::FillDefaults(state);
  EXPECT_EQ(Platform::FindOption(state, "/UserVars/MerelTimeOut")->value, 90);
}

TEST(SimHostStateTest, BadDescriptionsGiveOneLineNamingTheProblem) {
  struct {
    const char* json;
    const char* expected;
  } cases[] = {
      {"{", "not valid JSON"},
      {"[]", "top level: expected an object"},
      {R"({"welcomMessage": ""})", "welcomMessage: unknown member"},
      {R"({"network": {"ipv6Enabled": 1}})", "network.ipv6Enabled: expected true or false"},
      {R"({"hardware": {"memory": {"pageSize": -1}}})",
       "hardware.memory.pageSize: number out of range"},
      {R"({"network": {"nics": [{"name": "vmk0", "portGroup": "nope"}]}})",
       "network.nics[0].portGroup: unknown port group \"nope\""},
      {R"({"network": {"vswitches": [{"name": "vs", "portGroups": [{"name": "pg"}]}],
           "nics": [{"name": "vmk0", "portGroup": "pg", "ipv4Address": "10.0.0.300"}]}})",
       "network.nics[0].ipv4Address: not an IPv4 address: \"10.0.0.300\""},
      {R"({"network": {"vswitches": [{"name": "vs", "portGroups": [{"name": "pg"}]}],
           "nics": [{"name": "vmk0", "portGroup": "pg", "ipv4Mode": "auto"}]}})",
       "network.nics[0].ipv4Mode: expected"},
      {R"({"network": {"vswitches": [{"name": "vs", "portGroups": [{"name": "pg"}]}],
           "nics": [{"name": "vmk0", "portGroup": "pg", "ipv6Addresses": ["2001:db8::1"]}]}})",
       "network.nics[0].ipv6Addresses[0]: not an IPv6 address/prefix"},
      {R"({"network": {"pnics": [{"name": "p"}, {"name": "p"}]}})",
       "network.pnics[1]: duplicate name \"p\""},
      {R"({"network": {"vswitches": [{"name": "vs", "uplinks": ["pnic9"]}]}})",
       "network.vswitches[0].uplinks: unknown adapter \"pnic9\""},
      {R"({"network": {"routing": {"ipv6Gateway": "fe80::1%"}}})", "network.routing.ipv6Gateway"},
      {R"({"accounts": [{"user": "ro:ot", "password": "x"}]})", "accounts[0]"},
      {R"({"powerState": "sleeping"})", "powerState"},
      {R"({"logs": ["../x.log"]})", "logs: \"../x.log\" is not a file name"},
  };
  for (const auto& c : cases) {
    HostState state;
    state.welcomeMessage = "untouched";
    std::string error;
    EXPECT_FALSE(Platform::FromJson(c.json, state, error)) << c.json;
    EXPECT_NE(error.find(c.expected), std::string::npos) << "got: " << error;
    EXPECT_EQ(error.find('\n'), std::string::npos) << error;
    EXPECT_EQ(state.welcomeMessage, "untouched");
  }
}

TEST(SimHostStoreTest, ReadErrorsNameTheFile) {
  TempDir dir;
  HostStore store(dir.Path());
  HostState state;
  std::string error;
  EXPECT_FALSE(store.Read(state, error));
  EXPECT_EQ(error, dir.Path() + "/host.json: cannot read: No such file or directory");
  std::ofstream(dir.Path() + "/host.json") << R"({"bootCount": "two"})";
  EXPECT_FALSE(store.Read(state, error));
  EXPECT_EQ(error, dir.Path() + "/host.json: invalid host state: bootCount: expected an integer");
}

TEST(SimHostStoreTest, ModifyRefusesInvalidResultsAndKeepsTheFile) {
  TempDir dir;
  HostStore store(dir.Path());
  std::string error;
  ASSERT_TRUE(store.Write(Demo(), error)) << error;
  std::string before = SimHostTest::ReadFile(dir.Path() + "/host.json");
  EXPECT_FALSE(store.Modify([](HostState& s) { s.powerState = "asleep"; }, error));
  EXPECT_NE(error.find("refusing to write an invalid host state: powerState"), std::string::npos);
  EXPECT_THROW(store.Modify([](HostState&) { throw std::runtime_error("no"); }, error),
               std::runtime_error);
  EXPECT_EQ(SimHostTest::ReadFile(dir.Path() + "/host.json"), before);
  // And the lock was given back both times.
  EXPECT_TRUE(store.Modify([](HostState& s) { s.bootCount = 5; }, error)) << error;
}

TEST(SimHostStoreTest, ConcurrentWritersLoseNothing) {
  TempDir dir;
  HostStore store(dir.Path());
  std::string error;
  ASSERT_TRUE(store.Write(Demo(), error)) << error;
  constexpr int kWriters = 6;
  constexpr int kIncrements = 40;
  std::vector<pid_t> children;
  for (int w = 0; w < kWriters; ++w) {
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      HostStore mine(dir.Path());
      std::string childError;
      for (int i = 0; i < kIncrements; ++i) {
        if (!mine.Modify([](HostState& s) { ++s.counters["n"]; }, childError))
          _exit(1);
      }
      _exit(0);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  HostState state;
  ASSERT_TRUE(store.Read(state, error)) << error;
  EXPECT_EQ(state.counters["n"], kWriters * kIncrements);
}

// Dies between writing the new state and putting it in place: the worst
// moment for a crash.
class DyingStore : public HostStore {
 public:
  using HostStore::HostStore;

 protected:
  void BeforeRename(const std::string&) override { raise(SIGKILL); }
};

TEST(SimHostStoreTest, WriterKilledMidWriteLeavesOldStateWhole) {
  TempDir dir;
  HostStore store(dir.Path());
  std::string error;
  ASSERT_TRUE(store.Write(Demo(), error)) << error;
  std::string before = SimHostTest::ReadFile(dir.Path() + "/host.json");

  for (bool killInsideChange : {false, true}) {
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      DyingStore dying(dir.Path());
      std::string childError;
      dying.Modify(
          [&](HostState& s) {
            s.bootCount = 99;
            if (killInsideChange)
              raise(SIGKILL);  // holding the lock
          },
          childError);
      _exit(0);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    EXPECT_EQ(SimHostTest::ReadFile(dir.Path() + "/host.json"), before);
  }
  // The dead writer's lock died with it.
  EXPECT_TRUE(store.Modify([](HostState& s) { s.bootCount = 3; }, error)) << error;
  HostState state;
  ASSERT_TRUE(store.Read(state, error));
  EXPECT_EQ(state.bootCount, 3);
}

}  // namespace
