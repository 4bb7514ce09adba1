// Restarting and testing the management network from the menu, on a
// simulated host: what the screen shows, and what the host saw.
#include <signal.h>

#include <filesystem>
#include <regex>
#include <thread>

#include "NetworkScreenUtil.h"

namespace {

using namespace MerelNetworkTest;

const char kRestart[] = "Restart Management Network";
const char kRestartQuestion[] = "Restart management network now?";

// Only F11 confirms; Esc leaves the interface alone. The run shows the
// steps and the static address; the host saw a stop and a start; only Enter
// closes the result. A host call that fails ends the next restart with the
// menu's message.
TEST(NetworkOpsTest, RestartStopsAndStartsTheInterface) {
  SimHost host("static-ipv4");
  auto console = OpenEntry(host, kRestart, kRestartQuestion);
  console->SendKey(Key::kEnter);
  PressToMenu(*console, Key::kEscape);
  EXPECT_EQ(Nex0(host.HostJson()).value("stops", 0), 0);

  Press(*console, Key::kEnter, kRestartQuestion);
  Press(*console, Key::kF11, "<Enter> OK");
  ExpectGoldenScreen(*console, "restart-network-static");  // the steps and the static address
  EXPECT_EQ(Fields(Nex0(host.HostJson()), {"stops", "enabled"}), List({1, true}));
  ExpectLogged(host, {"Restarting nex0"});
  ExpectHas(host.ObsvLog(), {"obsv.user.merel.network.restart"});

  Type(*console, {Key::kEscape});
  ExpectHas(console->Text(), {"<Enter> OK"});
  PressToMenu(*console, Key::kEnter);

  FailCall(host, "NexNic.Enable", "interface busy");
  Press(*console, Key::kEnter, kRestartQuestion);
  Press(*console, Key::kF11, "Operation on the management network interface failed.");
  ExpectLogged(host, {"Restarting the management network failed: interface busy"});
  PressToMenu(*console, Key::kEnter);
}

// A leased address is not awaited: no IPv4 line. The interface holds only
// its link-local IPv6 address, which is not shown, but the line still breaks
// before the IPv6 part, so "Done." goes on a line of its own.
TEST(NetworkOpsTest, RestartOfADhcpInterfaceShowsNoIpv4Line) {
  SimHost host("dhcp");
  auto console = OpenEntry(host, kRestart, kRestartQuestion);
  Press(*console, Key::kF11, "<Enter> OK");
  const std::string text = console->Text();
  EXPECT_FALSE(std::regex_search(text, std::regex("IP address is  [0-9]+\\."))) << text;
  const int starting = RowOf(*console, "Starting management network.");
  ASSERT_GE(starting, 0) << text;
  EXPECT_TRUE(console->Find(starting, "Done.") < 0 && console->Find(starting + 1, "Done.") >= 0)
      << text;
}

// Types `text` into the host-name field in place of what it holds.
void ReplaceHostname(Terminal& console, const std::string& text) {
  Type(console, {Key::kDown, Key::kDown, Key::kDown, Key::kEnd});
  TypeText(console, std::string(30, '\x7f'));
  TypeText(console, text);
}

struct TestCase {
  const char* name;
  const char* hostname;  // null: keep the default (the host's own name)
  bool leftoverBackup;
  std::vector<std::pair<std::string, std::string>> verdicts;  // step, verdict
  const char* golden = nullptr;                               // the run's last screen
};

class NetworkTestRun : public ::testing::TestWithParam<TestCase> {};

// The fixture's gateway and first DNS server answer; its second DNS server
// does not (taken out of the reachable list below).
TEST_P(NetworkTestRun, ShowsAVerdictForEachStep) {
  const TestCase& c = GetParam();
  SimHost host("static-ipv4");
  ModifyHost(host, [](nlohmann::json& state) { state["network"]["reachable"] = {"10.20.30.2"}; });
  const std::string hosts = host.ReadFile("/etc/hosts");
  const std::string leftover = c.leftoverBackup ? "# kept from an earlier run\n" : "";
  auto console = OpenEntry(host, "Test Management Network", "Ping Address #0:");
  if (c.leftoverBackup) {
    // Made while the console runs (a console that starts puts a backup
    // back over the hosts file).
    host.WriteFile("/etc/hosts.backup", leftover);
  }
  if (c.hostname != nullptr) {
    ReplaceHostname(*console, c.hostname);
  }
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitForResult(*console)) << console->Text();
  for (const auto& [step, verdict] : c.verdicts) {
    const std::string row = RowWith(*console, step);
    EXPECT_TRUE(row.size() > verdict.size() && row.ends_with(verdict))
        << step << " -> " << row << "\n" << console->Text();
  }
  if (c.golden != nullptr) {
    ExpectGoldenScreen(*console, c.golden);
  }
  PressToMenu(*console, Key::kEnter);
  // The resolve step always leaves the hosts file as it found it.
  EXPECT_EQ(host.ReadFile("/etc/hosts"), hosts);
  // A step's end interrupts the key wait; that is no error.
  ExpectLacks(host.Syslog(), {"Interrupted system call"});
  // The step's own backup is gone; one left over stays, and the step says
  // why it failed.
  EXPECT_EQ(host.ReadFile("/etc/hosts.backup"), leftover);
  if (c.leftoverBackup) {
    ExpectLogged(host, {"failed to backup /etc/hosts: "});
  }
}

INSTANTIATE_TEST_SUITE_P(
    NetworkOpsTest,
    NetworkTestRun,
    ::testing::Values(
        // Every verdict in the golden screen.
        TestCase{"NameResolves", nullptr, false, {}, "network-test-done"},
        // A blank typed into the name never reaches it.
        TestCase{"NameUnknown", "nowhere .lab.test", false,
                 {{"Pinging address #1 (10.20.30.1).", "OK."},
                  {"Resolving hostname (nowhere.lab.test).", "Failed."}}},
        TestCase{"LeftoverBackup", nullptr, true,
                 {{"Resolving hostname (static-host.lab.test).", "Failed."}}}),
    ByName);

// A slow ping: Esc leaves at once; the abandoned child, once it has ended,
// is reaped by the next run. In that one a field that holds no address keeps
// the user in the dialog with the message, the field in focus, and nothing
// is run; the fields show 30 columns but take more: a full IPv6 address and
// a long host name are typed whole, the field scrolling to the end, and the
// run uses all of it.
TEST(NetworkOpsTest, EscInterruptsASlowPingAndLongFieldsRunWhole) {
  SimHost host("static-ipv4");
  ModifyHost(host, [](nlohmann::json& state) {
    state["network"]["pingDelayMs"] = {{"10.20.30.1", 1500}};
  });
  auto console = OpenEntry(host, "Test Management Network", "Ping Address #0:");
  Press(*console, Key::kEnter, "Pinging address #1 (10.20.30.1).");
  ExpectLacks(console->Text(), {"Pinging address #2"});
  PressToMenu(*console, Key::kEscape);
  ExpectLacks(console->Text(), {"Pinging address #2"});

  // (The slow address is not pinged again: the run below replaces it.)
  std::this_thread::sleep_for(milliseconds(2000));
  Choose(*console, "Test Management Network", "Ping Address #0:");
  Type(*console, {Key::kDown, Key::kEnd});
  TypeText(*console, "::1.2");  // 10.20.30.2::1.2: hex digits and colons, no address
  ExpectRefusal(*console, "Invalid IP or IPv6 address.");
  ExpectLacks(console->Text(), {"Pinging address"});
  TypeText(*console, "\x7f\x7f\x7f\x7f\x7f");
  Type(*console, {Key::kUp});
  const std::string address = "2001:0db8:0000:0000:0000:0000:0000:0001";
  console->SendText(address);  // replaces the gateway the field came with
  ASSERT_TRUE(WaitQuiet(*console, "[ " + address.substr(address.size() - 30))) << console->Text();
  const std::string name = "host-name-longer-than-the-field.lab.test";
  ReplaceHostname(*console, name);
  ExpectHas(console->Text(), {"[ " + name.substr(name.size() - 30)});
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitForResult(*console)) << console->Text();
  ExpectHas(console->Text(),
            {"Pinging address #1 (2001:db8::1).", "Resolving hostname (" + name + ")."});
  EXPECT_TRUE(console->SessionProcesses(true).empty());
}

// Ended while the resolve child has the host's entry out of the hosts file:
// the console ends the child and puts the file back before it exits. Killed
// outright, it cannot: its end hangs the terminal up and the resolve child
// dies of that too. The original is then in the backup alone, and the next
// console start puts it back and removes the backup, so the test works
// again (a backup left over fails it: NetworkTestRun's LeftoverBackup).
class EndedDuringTheResolve : public ::testing::TestWithParam<int> {};

TEST_P(EndedDuringTheResolve, TheHostsFileIsPutBack) {
  SimHost host("static-ipv4");
  const std::string original = host.ReadFile("/etc/hosts");
  ExpectHas(original, {"static-host.lab.test"});
  // A test whose resolve step takes its time, until the resolve child has
  // taken the host's entry out of the hosts file.
  ModifyHost(host, [](nlohmann::json& state) {
    state["network"]["resolveDelayMs"] = {{"static-host.lab.test", 4000}};
  });
  auto console = OpenEntry(host, "Test Management Network", "Ping Address #0:");
  Press(*console, Key::kEnter, "Resolving hostname (static-host.lab.test).");
  ASSERT_TRUE(console->WaitFor([&] {
    return !Contains(host.ReadFile("/etc/hosts"), "static-host.lab.test") &&
           host.ReadFile("/etc/hosts.backup") == original;
  })) << host.ReadFile("/etc/hosts");
  if (GetParam() == SIGHUP) {
    kill(-console->Pid(), SIGHUP);  // the terminal's whole session, as a hang-up does
  } else {
    console->Signal(GetParam());
  }
  ASSERT_TRUE(console->WaitForExit());
  // No ping or lookup child outlives the console.
  if (GetParam() != SIGKILL) {
    EXPECT_TRUE(console->SessionProcesses().empty());
  } else {
    ASSERT_TRUE(console->WaitFor([&] { return console->SessionProcesses().empty(); }));
    EXPECT_EQ(host.ReadFile("/etc/hosts.backup"), original);
    ExpectLacks(host.ReadFile("/etc/hosts"), {"static-host.lab.test"});
    console = OpenEntry(host, "Test Management Network", "Ping Address #0:");
  }
  EXPECT_EQ(host.ReadFile("/etc/hosts"), original);
  EXPECT_FALSE(std::filesystem::exists(host.Path("/etc/hosts.backup")));
}

INSTANTIATE_TEST_SUITE_P(NetworkOpsTest,
                         EndedDuringTheResolve,
                         ::testing::Values(SIGTERM, SIGHUP, SIGINT, SIGKILL),
                         [](const auto& info) { return std::string(sigabbrev_np(info.param)); });

}  // namespace
