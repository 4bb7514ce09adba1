// The rules of the restart's result lines, the test's default targets, and
// the resolve step's care for the host's hosts file.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DoRestartNetworkDialog.h"
#include "HostCtl/Ipv6Network.h"
#include "NetworkTest.h"
#include "SimHostTestSupport.h"
#include "TestDialog.h"

namespace {

using HostCtl::Network::Ipv6Address;
using HostCtl::Network::Ipv6Network;

struct Entry {
  const char* address;
  HostCtl::Network::Ipv6AddressType type;
  HostCtl::Network::Ipv6Scope scope;
};

constexpr auto kPreferred = HostCtl::Network::kIpv6AddressPreferred;
constexpr auto kDeprecated = HostCtl::Network::kIpv6AddressDeprecated;
constexpr auto kGlobal = HostCtl::Network::kIpv6ScopeGlobal;
constexpr auto kLinkLocal = HostCtl::Network::kIpv6ScopeLinkLocal;

TEST(NetworkOpsUnitTest, RestartShowsTwoIpv6AddressesOrExactlyThree) {
  struct Case {
    const char* name;
    std::vector<Entry> entries;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {"none", {}, ""},
      {"two",
       {{"2001:db8::1", kPreferred, kGlobal}, {"2001:db8::2", kPreferred, kGlobal}},
       "   L 2001:db8::1/64\n   L 2001:db8::2/64\n"},
      {"three shown whole",
       {{"2001:db8::1", kPreferred, kGlobal}, {"2001:db8::2", kPreferred, kGlobal},
        {"2001:db8::3", kPreferred, kGlobal}},
       "   L 2001:db8::1/64\n   L 2001:db8::2/64\n   L 2001:db8::3/64\n"},
      {"four cut after two",
       {{"2001:db8::1", kPreferred, kGlobal}, {"2001:db8::2", kPreferred, kGlobal},
        {"2001:db8::3", kPreferred, kGlobal}, {"2001:db8::4", kPreferred, kGlobal}},
       "   L 2001:db8::1/64\n   L 2001:db8::2/64\n   ...\n"},
      {"skipped entries do not count",
       {{"fe80::1", kPreferred, kLinkLocal}, {"2001:db8::1", kDeprecated, kGlobal},
        {"2001:db8::2", kPreferred, kGlobal}, {"2001:db8::3", kPreferred, kGlobal}},
       "   L 2001:db8::2/64\n   L 2001:db8::3/64\n"},
      {"two shown and nothing left",
       {{"fe80::1", kPreferred, kLinkLocal}, {"2001:db8::2", kPreferred, kGlobal},
        {"2001:db8::3", kPreferred, kGlobal}, {"fe80::2", kPreferred, kLinkLocal},
        {"2001:db8::4", kPreferred, kGlobal}},
       "   L 2001:db8::2/64\n   L 2001:db8::3/64\n   ...\n"},
  };
  for (const auto& c : cases) {
    std::vector<Ipv6Network> networks;
    for (const auto& entry : c.entries) {
      Ipv6Network network(Ipv6Address(entry.address), 64);
      network.SetIpv6AddressType(entry.type);
      network.SetIpv6Scope(entry.scope);
      networks.push_back(network);
    }
    EXPECT_EQ(Merel::DoRestartNetworkDialog::Ipv6Lines(networks, "L"), c.expected) << c.name;
  }
}

TEST(NetworkOpsUnitTest, DefaultTargetsSkipUnsetAndKeepThree) {
  struct Case {
    std::vector<std::string> candidates;
    std::vector<std::string> expected;
  };
  const std::vector<Case> cases = {
      {{"0.0.0.0", "::", "10.0.0.2", ""}, {"10.0.0.2"}},
      {{"10.0.0.1", "fe80::1", "10.0.0.2", "2001:db8::53", "10.0.0.3"},
       {"10.0.0.1", "fe80::1", "10.0.0.2"}},
      {{}, {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Merel::TestDialog::DefaultTargets(c.candidates), c.expected);
  }
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

}  // namespace
