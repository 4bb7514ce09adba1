// The network actions without their dialogs: what the apply pass reports
// (failures in order, the restart it needs, the moment the address changed),
// the outcome of the factory restore on a simulated host with faults
// injected, the name servers and suffix text of the settings record (loading
// it from a host: the network screen tests), the restart's result lines, the
// test's default targets, the resolve step's care for the hosts file, and the
// distributed-switch port repair: what counts as broken, which adapters are
// offered, and what the host looks like after.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "DoRestartNetworkDialog.h"
#include "HostCtl/Ipv6Network.h"
#include "NetworkApply.h"
#include "NetworkRestore.h"
#include "NetworkSettings.h"
#include "NetworkTest.h"
#include "RestoreDvs.h"
#include "SimHostTestSupport.h"
#include "TestDialog.h"

namespace {

using namespace HostCtl::Network;
using SimHostTest::RunSim;
using SimHostTest::SimRoot;

void Fail(const SimRoot& root, const std::string& args) {
  ASSERT_EQ(RunSim("fail '" + root.Path() + "' " + args), 0) << args;
}

TEST(NetworkApplyTest, ReportsEveryFailureInOrderAndTheRestart) {
  struct {
    const char* name;
    std::vector<std::string> faults;
    bool toggleIpv6;
    bool newAddress;
    std::vector<std::string> failures;
    bool restartNeeded;
    int addressChanges;
  } cases[] = {
      {"nothing to do", {}, false, false, {}, false, 0},
      {"IPv6 switched", {}, true, false, {}, true, 0},
      {"new address", {}, false, true, {}, false, 1},
      {"IPv6 switch fails", {"SetNexIpv6Enabled off"}, false, false,
       {"Setting ipv6 configuration failed: off"}, false, 0},
      // A failure early on never stops the pass: the later steps still run
      // and report their own.
      {"two steps fail", {"SetNexIpv6Enabled off", "SetHostname read-only"}, true, true,
       {"Setting ipv6 configuration failed: off", "Setting DNS failed: read-only"}, true, 1},
      {"address write fails", {"SetIpConfig busy"}, false, true,
       {"Setting ip/ipv6 configuration failed: busy"}, false, 0},
  };
  for (const auto& c : cases) {
    SimRoot root;
    for (const std::string& fault : c.faults) {
      Fail(root, fault);
    }
    Merel::NetworkSettings settings;
    std::unique_ptr<NexNic> nic;
    ASSERT_EQ(Merel::LoadNetworkSettings(settings, nic), Merel::LoadResult::kLoaded) << c.name;
    if (c.toggleIpv6) {
      settings.ipv6EnabledPending = !settings.ipv6EnabledCurrent;
    }
    if (c.newAddress) {
      settings.addresses.SetIpv4Address(Ipv4Address("192.168.10.21"));
    }
    std::vector<std::string> shown;
    int addressChanges = 0;
    Merel::NetworkApplyProgress progress;
    progress.failed = [&](const std::string& failure) { shown.push_back(failure); };
    progress.addressChanged = [&] { ++addressChanges; };
    const Merel::NetworkApplyResult result = Merel::ApplyNetworkSettings(settings, *nic, progress);
    EXPECT_EQ(std::tuple(result.failures, shown, result.restartNeeded, addressChanges),
              std::tuple(c.failures, c.failures, c.restartNeeded, c.addressChanges))
        << c.name;
  }
}

// The machines' part of the factory restore: a host that cannot say whether
// machines run is not restored, and without machines nothing is powered off.
// (Running, stubborn and spared machines, and a failed clear, are restored
// through the real console by the network restore screen tests; so is every
// failed step of the standard-switch move.)
TEST(NetworkRestoreActionTest, StepsAndOutcome) {
  using Step = Merel::FactoryRestoreStep;
  using Outcome = Merel::FactoryRestoreOutcome;
  const struct {
    std::vector<std::string> faults;
    Outcome outcome;
    std::vector<Step> steps;
  } cases[] = {
      {{}, Outcome::kRestored, {Step::kConfiguring, Step::kConfigured}},
      {{"HasRunningVirtualMachines gone"}, Outcome::kFailed, {Step::kFailed}},
  };
  for (const auto& c : cases) {
    SimRoot root("static-ipv4");
    for (const std::string& fault : c.faults) {
      Fail(root, fault);
    }
    std::vector<Step> steps;
    const Outcome outcome = Merel::RestoreFactoryNetwork(
        [] { return true; }, [&](Step step) { steps.push_back(step); });
    EXPECT_EQ(outcome, c.outcome) << c.faults.size();
    EXPECT_EQ(steps, c.steps) << c.faults.size();
  }
}

TEST(NetworkSettingsTest, NameServerChoice) {
  const struct {
    std::vector<const char*> ipv4, ipv6;
    const char *primary, *alternate;  // "" = none
  } cases[] = {
      {{}, {}, "", ""}, {{"10.0.0.1"}, {}, "10.0.0.1", ""},
      {{"10.0.0.1", "10.0.0.2"}, {}, "10.0.0.1", "10.0.0.2"},
      // One of each kind wins over a second IPv4 server.
      {{"10.0.0.1", "10.0.0.2"}, {"fe80::1"}, "10.0.0.1", "fe80::1"},
      {{"10.0.0.1"}, {"fe80::1", "fe80::2"}, "10.0.0.1", "fe80::1"},
      {{}, {"2001:db8::a", "2001:db8::b", "2001:db8::c"}, "2001:db8::a", "2001:db8::b"},
      {{}, {"2001:db8::a"}, "2001:db8::a", ""},
  };
  for (const auto& c : cases) {
    const Merel::NameServerChoice choice =
        Merel::ChooseNameServers({c.ipv4.begin(), c.ipv4.end()}, {c.ipv6.begin(), c.ipv6.end()});
    EXPECT_EQ(std::pair(choice.primary ? choice.primary->GetStringAddress() : "",
                        choice.alternate ? choice.alternate->GetStringAddress() : ""),
              std::pair(std::string(c.primary), std::string(c.alternate)));
  }
}

TEST(NetworkSettingsTest, SuffixText) {
  EXPECT_EQ(std::tuple(Merel::JoinSuffixes({}), Merel::JoinSuffixes({"a.com"}),
                       Merel::JoinSuffixes({"a.com", "b.com"})),
            std::tuple("", "a.com", "a.com, b.com"));

  const std::pair<const char*, std::vector<std::string>> splits[] = {
      {"", {}}, {" ,, ", {}}, {"a.com, b.com,,c.com", {"a.com", "b.com", "c.com"}},
      {"a.com\tb.com  c.com,", {"a.com", "b.com", "c.com"}},
  };
  for (const auto& [text, pieces] : splits) {
    EXPECT_EQ(Merel::SplitSuffixes(text), pieces) << '"' << text << '"';
  }
}

// An entry "n" is the preferred global address 2001:db8::n; "Ln" is the
// link-local fe80::n and "Dn" a deprecated 2001:db8::n, both skipped.
TEST(NetworkOpsUnitTest, RestartShowsTwoIpv6AddressesOrExactlyThree) {
  const auto line = [](int n) { return "   L 2001:db8::" + std::to_string(n) + "/64\n"; };
  const std::string more = "   ...\n";
  const struct {
    std::vector<std::string> entries;
    std::string expected;
  } cases[] = {
      {{}, ""}, {{"1", "2"}, line(1) + line(2)}, {{"1", "2", "3"}, line(1) + line(2) + line(3)},
      {{"1", "2", "3", "4"}, line(1) + line(2) + more},
      {{"L1", "D1", "2", "3"}, line(2) + line(3)},
      {{"L1", "2", "3", "L2", "4"}, line(2) + line(3) + more},
  };
  for (const auto& c : cases) {
    std::vector<Ipv6Network> networks;
    for (const std::string& entry : c.entries) {
      const bool linkLocal = entry[0] == 'L', deprecated = entry[0] == 'D';
      const std::string n = entry.substr(linkLocal || deprecated);
      Ipv6Network network(Ipv6Address((linkLocal ? "fe80::" : "2001:db8::") + n), 64);
      network.SetIpv6AddressType(deprecated ? kIpv6AddressDeprecated : kIpv6AddressPreferred);
      network.SetIpv6Scope(linkLocal ? kIpv6ScopeLinkLocal : kIpv6ScopeGlobal);
      networks.push_back(network);
    }
    EXPECT_EQ(Merel::DoRestartNetworkDialog::Ipv6Lines(networks, "L"), c.expected) << c.expected;
  }
}

TEST(NetworkOpsUnitTest, DefaultTargetsSkipUnsetAndKeepThree) {
  using Texts = std::vector<std::string>;
  EXPECT_EQ(Merel::TestDialog::DefaultTargets({"0.0.0.0", "::", "10.0.0.2", ""}),
            Texts{"10.0.0.2"});
  EXPECT_EQ(Merel::TestDialog::DefaultTargets(
                {"10.0.0.1", "fe80::1", "10.0.0.2", "2001:db8::53", "10.0.0.3"}),
            (Texts{"10.0.0.1", "fe80::1", "10.0.0.2"}));
  EXPECT_EQ(Merel::TestDialog::DefaultTargets({}), Texts{});
}

// A name known only to the hosts file does not resolve: its entry is out of
// the file while the child resolves, so only DNS can answer, and the file
// comes back as it was. (Names DNS knows or not, and a backup left over from
// an earlier run, are NetworkTestRun cases against the real console.)
TEST(NetworkOpsUnitTest, ResolveDoesNotUseTheHostsFile) {
  SimHostTest::SimRoot root("static-ipv4");
  const std::string hosts = root.File("/etc/hosts") + "10.20.30.99 local-only.lab.test\n";
  { std::ofstream(root.Path() + "/etc/hosts") << hosts; }
  EXPECT_EQ(Merel::NetworkTest::ResolveInChild("local-only.lab.test"), 1);
  EXPECT_EQ(root.File("/etc/hosts"), hosts);
  EXPECT_FALSE(std::filesystem::exists(root.Path() + "/etc/hosts.backup"));
}

PnicInfo Pnic(const std::string& name, bool linkUp) {
  PnicInfo pnic;
  pnic.name = name;
  pnic.linkUp = linkUp;
  return pnic;
}

struct HealthCase {
  const char* name;
  bool portExists, blocked;
  std::vector<std::string> active;
  bool missing, isBlocked, noLink;
};

TEST(RestoreDvsTest, PortHealth) {
  const std::vector<PnicInfo> pnics = {Pnic("pnic0", false), Pnic("pnic1", true)};
  const HealthCase cases[] = {
      {"healthy", true, false, {"pnic0", "pnic1"}, false, false, false},
      {"missing", false, false, {}, true, false, false},
      {"blocked", true, true, {"pnic1"}, false, true, false},
      {"uplinks down", true, false, {"pnic0"}, false, false, true},
      {"no active uplink", true, false, {}, false, false, true},
      {"unknown uplink", true, false, {"pnic7"}, false, false, true},
      {"blocked and down", true, true, {"pnic0"}, false, true, true},
  };
  for (const HealthCase& c : cases) {
    const DVPort port("DS", "", "12", "pg", 0, NicTeamingPolicy(c.active, {}, 2), c.blocked);
    const Merel::DvsPortHealth health = Merel::PortHealth(c.portExists ? &port : nullptr, pnics);
    EXPECT_EQ(std::tuple(health.missing, health.blocked, health.noLink),
              std::tuple(c.missing, c.isBlocked, c.noLink))
        << c.name;
  }
}

struct CandidateCase {
  const char* name;
  std::vector<std::string> dvsUplinks;       // of "DS"
  std::vector<std::string> otherDvsUplinks;  // of "DS-Other"
  std::vector<std::string> active;
  // name:usedBy plus "*" when offered checked and "!" when it must leave a
  // standard switch.
  std::vector<std::string> expected;
};

// pnic3 is always vSwitch0's; the others are free unless a case gives them
// to a distributed switch.
TEST(RestoreDvsTest, UplinkCandidates) {
  const std::vector<PnicInfo> pnics = {Pnic("pnic10", true), Pnic("pnic0", false),
                                       Pnic("pnic1", false), Pnic("pnic2", true),
                                       Pnic("pnic3", true)};
  const CandidateCase cases[] = {
      {"own, free and standard", {"pnic0", "pnic1"}, {}, {"pnic0"},
       {"pnic0:DS*", "pnic1:DS", "pnic2:", "pnic3:vSwitch0!", "pnic10:"}},
      {"another switch's adapters are not offered", {"pnic0"}, {"pnic1", "pnic2", "pnic10"},
       {"pnic0"}, {"pnic0:DS*", "pnic3:vSwitch0!"}},
      {"an uplink the host does not list stays", {"pnic9"}, {"pnic0", "pnic1", "pnic2", "pnic10"},
       {"pnic9"}, {"pnic3:vSwitch0!", "pnic9:DS*"}},
      {"a missing port checks nothing", {"pnic0"}, {}, {},
       {"pnic0:DS", "pnic1:", "pnic2:", "pnic3:vSwitch0!", "pnic10:"}},
  };
  std::vector<VirtualSwitch> vswitches(1);
  vswitches[0].name = "vSwitch0";
  vswitches[0].uplinks = {"pnic3"};
  for (const CandidateCase& c : cases) {
    std::vector<DVSwitch> dvswitches(2);
    dvswitches[0].name = "DS";
    dvswitches[0].uplinks = c.dvsUplinks;
    dvswitches[1].name = "DS-Other";
    dvswitches[1].uplinks = c.otherDvsUplinks;
    std::vector<std::string> got;
    for (const auto& candidate :
         Merel::UplinkCandidates(pnics, vswitches, dvswitches, "DS", c.active)) {
      got.push_back(candidate.adapter.name + ":" + candidate.adapter.usedBy.value_or("?") +
                    (candidate.active ? "*" : "") + (candidate.fromStandardSwitch ? "!" : ""));
    }
    EXPECT_EQ(got, c.expected) << c.name;
  }
}

TEST(RestoreDvsTest, HostLocalPortNames) {
  const std::pair<const char*, bool> cases[] = {
      {"hlp-DSwitch-Prod#0", true}, {"hlp-a#12", true},  {"hlp-#", true},   {"12", false},
      {"hlp-a#1x", false},          {"xhlp-a#1", false}, {"hlpa#1", false},
  };
  for (const auto& [key, local] : cases) {
    EXPECT_EQ(Merel::IsHostLocalPort(key), local) << key;
  }
}

TEST(RestoreDvsTest, ReadRefusesHostsWithoutADistributedPort) {
  const std::pair<const char*, Merel::DvsReadResult> cases[] = {
      {"static-ipv4", Merel::DvsReadResult::kNotDistributed},
      {"no-mgmt", Merel::DvsReadResult::kNoInterface},
      {"dvs", Merel::DvsReadResult::kReady},
  };
  for (const auto& [fixture, result] : cases) {
    SimHostTest::SimRoot root(fixture);
    Merel::DvsRepair repair;
    EXPECT_EQ(Merel::ReadDvsRepair(repair), result) << fixture;
  }
}

const nlohmann::json& Named(const nlohmann::json& list,
                            const char* field,
                            const std::string& name) {
  for (const auto& entry : list) {
    if (entry.value(field, "") == name) {
      return entry;
    }
  }
  static const nlohmann::json none = nlohmann::json::object();
  return none;
}

// The repair on the broken host, past what the Restore DVS screen test reads
// (the interface's move, the VLAN, the uplinks chosen): the switch takes the
// adapters, the new port is not blocked, the old port stays; a second
// repair replaces the host-local port it made.
TEST(RestoreDvsTest, RepairOfABrokenPort) {
  SimHostTest::SimRoot root("dvs-broken");
  Merel::DvsRepair repair;
  ASSERT_EQ(Merel::ReadDvsRepair(repair), Merel::DvsReadResult::kReady);
  EXPECT_EQ(std::tuple(repair.nic, repair.dvSwitch, repair.portKey, repair.health.blocked,
                       repair.health.noLink),
            std::tuple("nex0", "DSwitch-Prod", "12", true, true));
  const std::vector<std::string> chosen = {"pnic1", "pnic2", "pnic3"};

  EXPECT_EQ(Merel::ApplyDvsRepair(repair, chosen), "hlp-DSwitch-Prod#0");
  const nlohmann::json network = nlohmann::json::parse(root.File("/host.json"))["network"];
  const auto& dvs = Named(network["dvswitches"], "name", "DSwitch-Prod");
  EXPECT_EQ(dvs["uplinks"], nlohmann::json({"pnic0", "pnic1", "pnic2", "pnic3"}));
  EXPECT_FALSE(Named(dvs["ports"], "key", "hlp-DSwitch-Prod#0").value("blocked", true));
  EXPECT_TRUE(Named(dvs["ports"], "key", "12").value("blocked", false));

  // A second repair makes the next port and removes the host-local port it
  // replaces; the manager's port stays.
  ASSERT_EQ(Merel::ReadDvsRepair(repair), Merel::DvsReadResult::kReady);
  EXPECT_FALSE(repair.health.blocked);
  EXPECT_EQ(Merel::ApplyDvsRepair(repair, {"pnic2"}), "hlp-DSwitch-Prod#1");
  const nlohmann::json after = nlohmann::json::parse(root.File("/host.json"))["network"];
  std::vector<std::string> keys;
  for (const auto& p : Named(after["dvswitches"], "name", "DSwitch-Prod")["ports"]) {
    keys.push_back(p["key"]);
  }
  EXPECT_EQ(keys, std::vector<std::string>({"12", "hlp-DSwitch-Prod#1"}));
  EXPECT_EQ(Named(after["nics"], "name", "nex0").value("dvPort", ""), "hlp-DSwitch-Prod#1");
}

}  // namespace
