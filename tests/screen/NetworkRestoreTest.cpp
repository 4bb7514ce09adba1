// Network Restore Options: the factory restore and the move onto a new standard
// switch, as the screen shows them and as the host and its logs saw them.
#include <filesystem>

#include "NetworkScreenUtil.h"

namespace {

using namespace MerelMenuTest;

// The window is in front: no dialog (which would offer OK or Cancel) is left.
bool WaitForWindow(Terminal& console) {
  return WaitForPane(console, "Network Restore Options", "<Esc> Log Out", {"Cancel", " OK"});
}

// Logs in and opens the window, then the dialog of `entry` if one is given.
std::unique_ptr<Terminal> Open(SimHost& host, const std::string& entry = "") {
  auto console = OpenEntry(host, "Network Restore Options", "Restore DVS");
  if (!WaitForWindow(*console)) {
    Fail("no restore window:\n" + console->Text());
  }
  if (!entry.empty()) {
    Choose(*console, entry, "<Esc> Cancel");
  }
  return console;
}

// The host's network as far as a restore changes it.
nlohmann::json Network(const SimHost& host) {
  nlohmann::json network = host.HostJson()["network"];
  return {network["vswitches"], network["dvswitches"], network["nics"]};
}

struct FactoryCase {
  const char* name;
  nlohmann::json vms;
  const char* fault;               // a host call that fails, or null
  Key answer;                      // to the running-VMs warning, when it comes
  std::vector<std::string> shown;  // lines of the result; none: it never shows
  bool networkReset;               // the factory layout replaced the network
  std::vector<std::string> logged;
  std::vector<std::string> notLogged;
};

class FactoryRestore : public ::testing::TestWithParam<FactoryCase> {};

// After F11 and whatever the virtual machines make of it, the confirmation
// logs and reports the restore: always, and only after the attempt.
TEST_P(FactoryRestore, RunsAndIsLoggedWhateverTheOutcome) {
  const FactoryCase& c = GetParam();
  SimHost host("static-ipv4");
  ModifyHost(host, [&](nlohmann::json& state) { state["vms"] = c.vms; });
  // The shut-down's tool is gone: only the restore's own may be used.
  std::filesystem::remove(host.Path("/bin/powerOffVms"));
  if (c.fault != nullptr) {
    FailCall(host, c.fault, "device busy");
  }
  const nlohmann::json before = Network(host);
  auto console = Open(host, "Restore Network Settings");
  console->SendKey(Key::kF11);
  if (Named(c.vms, "web-01") != nullptr) {
    Expect(*console, "Warning: VMs running on the host");
    console->SendKey(c.answer);
  }
  if (!c.shown.empty()) {
    ASSERT_TRUE(MerelNetworkTest::WaitForResult(*console)) << console->Text();
    ExpectHas(console->Text(), c.shown);
    // Without running machines the first step is the network's own.
    EXPECT_EQ(Contains(console->Text(), "Powering Off VMs."), !c.vms.empty());
    if (c.networkReset) {
      ExpectGoldenScreen(*console, "network-restore-done");
    }
    console->SendKey(Key::kEnter);
  }
  ASSERT_TRUE(WaitForWindow(*console)) << console->Text();
  ASSERT_TRUE(host.WaitForSyslog("Restoring factory network settings"));

  const std::string syslog = host.Syslog();
  for (const auto& line : c.logged) {
    EXPECT_LT(syslog.find(line), syslog.find("Restoring factory network settings")) << line;
  }
  ExpectLacks(syslog, c.notLogged);
  ExpectHas(host.ObsvLog(),
            {"[obsv.user.merel.factory.network.restored] Restoring factory network settings"});

  const nlohmann::json state = host.HostJson();
  if (!c.networkReset) {
    EXPECT_EQ(Network(host), before);
    return;
  }
  const auto& net = state["network"];
  ASSERT_EQ(std::pair(net["vswitches"].size(), net["nics"].size()), std::pair(1ul, 1ul)) << net;
  EXPECT_EQ(List({Fields(net["vswitches"][0], {"name", "uplinks"}),
                  Named(net["vswitches"][0]["portGroups"], "Management Network") != nullptr,
                  Fields(net["nics"][0], {"name", "portGroup", "ipv4Mode"}),
                  net.value("netDumperEnabled", true), state["vms"][0].value("poweredOn", true)}),
            List({List({"vSwitch0", {"pnic0"}}), true,
                  List({"nex0", "Management Network", "dhcp"}), false, false}));
}

const nlohmann::json kRunning = {{{"name", "web-01"}, {"poweredOn", true}}};
const nlohmann::json kStubborn = {
    {{"name", "web-01"}, {"poweredOn", true}},
    {{"name", "db-01"}, {"poweredOn", true}, {"refusesSoftStop", true}}};

INSTANTIATE_TEST_SUITE_P(
    NetworkRestoreTest,
    FactoryRestore,
    ::testing::Values(
        FactoryCase{"PowersOffRunningVms", kRunning, nullptr, Key::kEnter,
                    {"Powering Off VMs. Done.", "Auto-configuring network. Done."}, true,
                    {"Clearing Network Config", "Auto-Configuring Network"},
                    {"Error powering off VMs", "Error auto-configuring network"}},
        FactoryCase{"DecliningTheVmWarningChangesNothing", kRunning, nullptr, Key::kEscape, {},
                    false, {}, {"Clearing Network Config", "Error powering off VMs"}},
        FactoryCase{"AFailedPowerOffLeavesTheNetwork", kStubborn, nullptr, Key::kEnter,
                    {"Powering Off VMs. Failed."}, false, {"Error powering off VMs"},
                    {"Clearing Network Config"}},
        // A host that cannot say whether machines run is not restored.
        FactoryCase{"UnknownMachinesStopTheRestore", nlohmann::json::array(),
                    "ResourceInfoImpl.HasRunningVirtualMachines", Key::kEnter, {"Failed."},
                    false, {"Error auto-configuring network"},
                    {"Clearing Network Config", "Error powering off VMs"}},
        FactoryCase{"AFailingHostCallIsReported", nlohmann::json::array(),
                    "NetworkInfoImpl.ClearNetworkConfig", Key::kEnter,
                    {"Auto-configuring network. Failed."}, false,
                    {"Clearing Network Config", "Error auto-configuring network"},
                    {"Auto-Configuring Network", "Error powering off VMs"}}),
    ByName);

// Only F11 confirms and only Esc cancels: nothing else leaves the dialogs,
// and a cancelled one neither changes nor logs anything.
TEST(NetworkRestoreTest, ConfirmationsIgnoreEveryKeyButF11AndEsc) {
  SimHost host;
  const nlohmann::json before = Network(host);
  auto console = Open(host);
  ExpectGoldenScreen(*console, "network-restore");  // the three restores
  for (const auto& [entry, question, golden] :
       {std::tuple{"Restore Network Settings", "Are you sure you want to reset the host network",
                   "restore-network-confirm"},
        std::tuple{"Restore Standard Switch", "Move the management network onto a standard switch?",
                   "restore-standard-switch"}}) {
    Choose(*console, entry, question);
    ExpectGoldenScreen(*console, golden);
    console->SendKeys({Key::kEnter, Key::kSpace, Key::kF2});
    console->SendText("yQ");
    console->WaitUntilQuiet(milliseconds(300));
    ExpectHas(console->Text(), {question});
    console->SendKey(Key::kEscape);
    EXPECT_TRUE(WaitForWindow(*console)) << console->Text();
  }
  PressToMenu(*console, Key::kEscape);
  EXPECT_EQ(Network(host), before);
  ExpectLacks(host.Syslog(), {"Restoring factory network settings", "safe mode"});
}

// Both hosts get a second interface (nex1, on a guest port group) and a
// "vSwitch1" without uplinks; the demo host's management port group is on
// VLAN 30. The distributed-switch host's management port (VLAN 20) has the
// uplinks pnic0 and pnic1.
void PrepareSwitchHost(const SimHost& host) {
  ModifyHost(host, [](nlohmann::json& state) {
    auto& net = state["network"];
    net["vswitches"].push_back({{"name", "vSwitch1"}, {"numPorts", 128}, {"mtu", 1500},
                                {"portGroups", nlohmann::json::array()},
                                {"uplinks", nlohmann::json::array()}});
    for (auto& group : net["vswitches"][0]["portGroups"]) {
      if (group["name"] == "Management Network") {
        group["vlanId"] = 30;
      }
    }
    nlohmann::json other = net["nics"][0];
    other.update({{"name", "nex1"}, {"management", false}, {"mac", "00:50:56:6a:00:09"},
                  {"ipv4Address", "10.9.9.9"}, {"portGroup", "Guest Network"},
                  {"dvSwitch", ""}, {"dvPort", ""}});
    net["nics"].push_back(other);
  });
}

struct SwitchCase {
  const char* name;
  const char* fixture;
  int vlanId;  // of the new switch's port group
};

class StandardSwitchMove : public ::testing::TestWithParam<SwitchCase> {};

// The management network moves whole: the new switch has the old uplinks,
// all active, on a "Management Network" port group with the old VLAN; no
// other switch keeps them; nex0 is on it and nex1 disabled. The selection
// moves on to the repair of the distributed switch.
TEST_P(StandardSwitchMove, MovesTheManagementNetworkOntoANewSwitch) {
  const SwitchCase& c = GetParam();
  const std::vector<std::string> uplinks = {"pnic0", "pnic1"};
  SimHost host(c.fixture);
  PrepareSwitchHost(host);
  auto console = Open(host, "Restore Standard Switch");
  console->SendKey(Key::kF11);
  ASSERT_TRUE(WaitForWindow(*console)) << console->Text();
  EXPECT_EQ(RightTitle(*console), "Restore DVS");
  EXPECT_TRUE(host.WaitForSyslog(
      "Enabling safe mode networking by moving all uplinks to a new management vSwitch"));

  const nlohmann::json net = host.HostJson()["network"];
  const nlohmann::json* created = Named(net["vswitches"], "vSwitch2");
  ASSERT_TRUE(created) << net["vswitches"].dump(2);
  ASSERT_EQ((*created)["portGroups"].size(), 1u) << created->dump(2);
  EXPECT_EQ(List({(*created)["uplinks"],
                  Fields((*created)["portGroups"][0], {"name", "activeUplinks", "vlanId"})}),
            List({uplinks, List({"Management Network", uplinks, c.vlanId})}));
  for (const auto& sw : net["vswitches"]) {
    if (sw["name"] != "vSwitch2") {
      EXPECT_FALSE(Named(sw["portGroups"], "Management Network")) << sw.dump(2);
      ExpectLacks(sw["uplinks"].dump(), uplinks);
    }
  }
  ExpectLacks(net["dvswitches"].dump(), uplinks);
  const nlohmann::json *nex0 = Named(net["nics"], "nex0"), *nex1 = Named(net["nics"], "nex1");
  ASSERT_TRUE(nex0 && nex1);
  EXPECT_EQ(List({nex0->value("portGroup", ""), nex0->value("dvSwitch", ""),
                  nex0->value("enabled", true), nex1->value("enabled", true)}),
            List({"Management Network", "", true, false}));
}

INSTANTIATE_TEST_SUITE_P(NetworkRestoreTest,
                         StandardSwitchMove,
                         ::testing::Values(SwitchCase{"FromAStandardSwitch", "", 30},
                                           SwitchCase{"FromADistributedSwitch", "dvs", 20}),
                         ByName);

// The network as far as the move changes it, with each switch's own list of
// uplinks and of port groups sorted: what is put back joins the end of such
// a list, and their order means nothing (a teaming's order does, and is
// compared).
nlohmann::json Comparable(const SimHost& host) {
  nlohmann::json network = Network(host);
  for (auto& list : {&network[0], &network[1]}) {
    for (auto& sw : *list) {
      for (const char* key : {"uplinks", "portGroups"}) {
        if (sw.contains(key)) {
          std::sort(sw[key].begin(), sw[key].end());
        }
      }
    }
  }
  return network;
}

struct SwitchFaultCase {
  const char* name;
  const char* fixture;
  const char* call;     // fails once, at its first call of the move
  bool always = false;  // fails at every call instead
};

class StandardSwitchFault : public ::testing::TestWithParam<SwitchFaultCase> {};

// A step of the move fails: what had moved is put back, so the host's
// network is as it was; the message says what failed and that the network
// was left as it was; the selection stays.
TEST_P(StandardSwitchFault, LeavesTheNetworkAsItWas) {
  const SwitchFaultCase& c = GetParam();
  SimHost host(c.fixture);
  PrepareSwitchHost(host);
  const nlohmann::json before = Comparable(host);
  FailCall(host, c.call, "no free ports", !c.always);
  auto console = Open(host, "Restore Standard Switch");
  Press(*console, Key::kF11, "The network was left as it was.");
  ExpectHas(console->Text(),
            {"Unable to move the management network onto a standard switch.", "Failed: "});
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitForWindow(*console)) << console->Text();
  EXPECT_EQ(RightTitle(*console), "Restore Standard Switch");
  EXPECT_EQ(Comparable(host), before);
  EXPECT_TRUE(host.WaitForSyslog("Changing to legacy virtual switch failed: no free ports"))
      << host.Syslog();
  ExpectLacks(host.Syslog(), {"Undoing"});
}

INSTANTIATE_TEST_SUITE_P(
    NetworkRestoreTest,
    StandardSwitchFault,
    ::testing::Values(
        SwitchFaultCase{"AddVirtualSwitch", "", "VirtualSwitchInfoImpl.AddVirtualSwitch"},
        SwitchFaultCase{"AddPortGroup", "", "PortGroupImpl.AddPortGroup"},
        SwitchFaultCase{"AddPortGroupAlways", "", "PortGroupImpl.AddPortGroup", true},
        SwitchFaultCase{"AddUplink", "", "VirtualSwitchInfoImpl.AddUplink"},
        SwitchFaultCase{"SetTeamingPolicy", "", "PortGroupImpl.SetTeamingPolicy"},
        SwitchFaultCase{"MoveToPortGroup", "", "NexelNicInfoImpl.MoveToPortGroup"},
        SwitchFaultCase{"MoveToPortGroupAlways", "", "NexelNicInfoImpl.MoveToPortGroup", true},
        SwitchFaultCase{"GetNexelNics", "", "NexelNicInfoImpl.GetNexelNics"},
        SwitchFaultCase{"Disable", "", "NexNic.Disable"},
        SwitchFaultCase{"RemovePortGroup", "", "PortGroupImpl.RemovePortGroup"},
        SwitchFaultCase{"DvsRemoveUplink", "dvs", "DVPortImpl.RemoveUplink"},
        SwitchFaultCase{"DvsAddUplink", "dvs", "VirtualSwitchInfoImpl.AddUplink"},
        SwitchFaultCase{"DvsAddUplinkAlways", "dvs", "VirtualSwitchInfoImpl.AddUplink", true},
        SwitchFaultCase{"DvsMoveToPortGroup", "dvs", "NexelNicInfoImpl.MoveToPortGroup"},
        SwitchFaultCase{"DvsDisable", "dvs", "NexNic.Disable"}),
    ByName);

}  // namespace
