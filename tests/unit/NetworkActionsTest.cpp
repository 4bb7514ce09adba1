// The network actions without their dialogs: what the apply pass reports
// (failures in order, the restart it needs, the moment the address changed),
// the name servers and suffix text of the settings record (loading it from a
// host: the network screen tests), the restart's result lines, the test's
// default targets, and the distributed-switch port repair: what counts as
// broken and which adapters are offered.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "DoRestartNetworkDialog.h"
#include "HostCtl/Ipv6Network.h"
#include "NetworkApply.h"
#include "NetworkSettings.h"
#include "RestoreDvs.h"
#include "SimHostTestSupport.h"
#include "TestDialog.h"

namespace {

using namespace HostCtl::Network;
using SimHostTest::RunSim;
using SimHostTest::SimRoot;

// Each case sets a new IPv4 address; switching IPv6 on or off (and only
// that) needs the restart.
TEST(NetworkApplyTest, ReportsEveryFailureInOrderAndTheRestart) {
  struct {
    const char* name;
    std::vector<std::string> faults;
    bool toggleIpv6;
    std::vector<std::string> failures;
    int addressChanges;
  } cases[] = {
      // A failure early on never stops the pass: the later steps still run
      // and report their own.
      {"two steps fail", {"SetNexIpv6Enabled off", "SetHostname read-only"}, true,
       {"Setting ipv6 configuration failed: off", "Setting DNS failed: read-only"}, 1},
      {"address write fails", {"SetIpConfig busy"}, false,
       {"Setting ip/ipv6 configuration failed: busy"}, 0},
  };
  for (const auto& c : cases) {
    SimRoot root;
    for (const std::string& fault : c.faults)
      ASSERT_EQ(RunSim("fail '" + root.Path() + "' " + fault), 0) << fault;
    Merel::NetworkSettings settings;
    std::unique_ptr<NexNic> nic;
    ASSERT_EQ(Merel::LoadNetworkSettings(settings, nic), Merel::LoadResult::kLoaded) << c.name;
    if (c.toggleIpv6)
      settings.ipv6EnabledPending = !settings.ipv6EnabledCurrent;
    settings.addresses.SetIpv4Address(Ipv4Address("192.168.10.21"));
    std::vector<std::string> shown;
    int addressChanges = 0;
    Merel::NetworkApplyProgress progress;
    progress.failed = [&](const std::string& failure) { shown.push_back(failure); };
    progress.addressChanged = [&] { ++addressChanges; };
    const Merel::NetworkApplyResult result = Merel::ApplyNetworkSettings(settings, *nic, progress);
    EXPECT_EQ(std::tuple(result.failures, shown, result.restartNeeded, addressChanges),
              std::tuple(c.failures, c.failures, c.toggleIpv6, c.addressChanges))
        << c.name;
  }
}

TEST(NetworkSettingsTest, NameServerChoice) {
  using Servers = std::vector<const char*>;
  // IPv4 and IPv6 servers, then the primary and alternate ("": none).
  const std::tuple<Servers, Servers, const char*, const char*> cases[] = {
      // Two IPv4 servers alone: the demo host's, read at the real console.
      {{}, {}, "", ""}, {{"10.0.0.1"}, {}, "10.0.0.1", ""},
      // One of each kind wins over a second IPv4 server.
      {{"10.0.0.1", "10.0.0.2"}, {"fe80::1"}, "10.0.0.1", "fe80::1"},
      {{}, {"2001:db8::a", "2001:db8::b", "2001:db8::c"}, "2001:db8::a", "2001:db8::b"},
      {{}, {"2001:db8::a"}, "2001:db8::a", ""},
  };
  for (const auto& [ipv4, ipv6, primary, alternate] : cases) {
    const Merel::NameServerChoice choice =
        Merel::ChooseNameServers({ipv4.begin(), ipv4.end()}, {ipv6.begin(), ipv6.end()});
    EXPECT_EQ(std::pair(choice.primary ? choice.primary->GetStringAddress() : "",
                        choice.alternate ? choice.alternate->GetStringAddress() : ""),
              std::pair(std::string(primary), std::string(alternate)));
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
  for (const auto& [text, pieces] : splits)
    EXPECT_EQ(Merel::SplitSuffixes(text), pieces) << '"' << text << '"';
}

// An entry "n" is the preferred global address 2001:db8::n; "Ln" is the
// link-local fe80::n and "Dn" a deprecated 2001:db8::n, both skipped.
TEST(NetworkOpsUnitTest, RestartShowsTwoIpv6AddressesOrExactlyThree) {
  const auto line = [](int n) { return "   L 2001:db8::" + std::to_string(n) + "/64\n"; };
  const std::string more = "   ...\n";
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"1", "2", "3"}, line(1) + line(2) + line(3)},
      {{"L1", "D1", "2", "3"}, line(2) + line(3)},
      {{"L1", "2", "3", "L2", "4"}, line(2) + line(3) + more},
  };
  for (const auto& [entries, expected] : cases) {
    std::vector<Ipv6Network> networks;
    for (const std::string& entry : entries) {
      const bool linkLocal = entry[0] == 'L', deprecated = entry[0] == 'D';
      const std::string n = entry.substr(linkLocal || deprecated);
      Ipv6Network network(Ipv6Address((linkLocal ? "fe80::" : "2001:db8::") + n), 64);
      network.SetIpv6AddressType(deprecated ? kIpv6AddressDeprecated : kIpv6AddressPreferred);
      network.SetIpv6Scope(linkLocal ? kIpv6ScopeLinkLocal : kIpv6ScopeGlobal);
      networks.push_back(network);
    }
    EXPECT_EQ(Merel::DoRestartNetworkDialog::Ipv6Lines(networks, "L"), expected) << expected;
  }
}

TEST(NetworkOpsUnitTest, DefaultTargetsSkipUnsetAddresses) {
  EXPECT_EQ(Merel::TestDialog::DefaultTargets({"0.0.0.0", "::", "10.0.0.2", ""}),
            std::vector<std::string>{"10.0.0.2"});
}

PnicInfo Pnic(const std::string& name, bool linkUp = false) {
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
  const std::vector<PnicInfo> pnics = {Pnic("pnic0"), Pnic("pnic1", true)};
  const HealthCase cases[] = {
      {"healthy", true, false, {"pnic0", "pnic1"}, false, false, false},
      {"missing", false, false, {}, true, false, false},
      {"blocked", true, true, {"pnic1"}, false, true, false},
      {"no active uplink", true, false, {}, false, false, true},
      {"unknown uplink", true, false, {"pnic7"}, false, false, true},
  };
  for (const HealthCase& c : cases) {
    const DVPort port("DS", "", "12", "pg", 0, NicTeamingPolicy(c.active, {}, 2), c.blocked);
    const Merel::DvsPortHealth health = Merel::PortHealth(c.portExists ? &port : nullptr, pnics);
    EXPECT_EQ(std::tuple(health.missing, health.blocked, health.noLink),
              std::tuple(c.missing, c.isBlocked, c.noLink))
        << c.name;
  }
}

// Beside what the Restore DVS screen test offers: an uplink of the switch
// that the host does not list stays on offer (checked, as the port had it
// active, and listed in order), and adapters of another distributed switch
// are not offered. Each is shown as name:usedBy plus "*" when offered
// checked and "!" when it must leave a standard switch.
TEST(RestoreDvsTest, UplinkCandidates) {
  const std::vector<PnicInfo> pnics = {Pnic("pnic10"), Pnic("pnic0"), Pnic("pnic2"), Pnic("pnic3")};
  const std::vector<VirtualSwitch> vswitches = {{"vSwitch0", 0, 1500, {"pnic3"}, {}}};
  const std::vector<DVSwitch> dvswitches = {{"DS", "", {"pnic1"}},
                                            {"DS-Other", "", {"pnic0", "pnic2", "pnic10"}}};
  std::vector<std::string> got;
  for (const auto& candidate :
       Merel::UplinkCandidates(pnics, vswitches, dvswitches, "DS", {"pnic1"})) {
    got.push_back(candidate.adapter.name + ":" + candidate.adapter.usedBy.value_or("?") +
                  (candidate.active ? "*" : "") + (candidate.fromStandardSwitch ? "!" : ""));
  }
  EXPECT_EQ(got, (std::vector<std::string>{"pnic1:DS*", "pnic3:vSwitch0!"}));
}

// (A host with a distributed port: the Restore DVS screen test.)
TEST(RestoreDvsTest, ReadRefusesHostsWithoutADistributedPort) {
  const std::pair<const char*, Merel::DvsReadResult> cases[] = {
      {"static-ipv4", Merel::DvsReadResult::kNotDistributed},
      {"no-mgmt", Merel::DvsReadResult::kNoInterface},
  };
  for (const auto& [fixture, result] : cases) {
    SimHostTest::SimRoot root(fixture);
    Merel::DvsRepair repair;
    EXPECT_EQ(Merel::ReadDvsRepair(repair), result) << fixture;
  }
}

}  // namespace
