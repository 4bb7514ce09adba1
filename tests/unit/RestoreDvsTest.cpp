// The distributed-switch port repair without its dialogs: what counts as
// broken, which adapters are offered, and what the host looks like after.
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "RestoreDvs.h"
#include "SimHostTestSupport.h"

namespace {

using HostCtl::Network::DVPort;
using HostCtl::Network::NicTeamingPolicy;
using HostCtl::Network::PnicInfo;

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
  std::vector<HostCtl::Network::VirtualSwitch> vswitches(1);
  vswitches[0].name = "vSwitch0";
  vswitches[0].uplinks = {"pnic3"};
  for (const CandidateCase& c : cases) {
    std::vector<HostCtl::Network::DVSwitch> dvswitches(2);
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
