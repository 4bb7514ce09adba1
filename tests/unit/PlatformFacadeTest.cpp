// The host library as the console's screens use it, on simulated hosts: each
// facade reads the live state (nothing cached) and each change is visible to
// the next reader, including the host's tools; and one reading of the host
// per action: calls inside a read scope share it, and nothing is shared past
// a change of the host or the end of the action.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "HostCtl/HostCtlException.h"
#include "NexCtl/DnsConfigImpl.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/NexCtlExec.h"
#include "Backend.h"
#include "ReadScope.h"
#include "SimHostTestSupport.h"
#include "backends/HostStore.h"
#include "backends/SimBackend.h"

namespace {

using HostCtl::Lib::HostCtlException;
using HostCtl::Network::IpConfig;
using HostCtl::Network::Ipv4Address;
using HostCtl::Network::Ipv6Address;
using HostCtl::Network::Ipv6Network;
using SimHostTest::SimRoot;
namespace Net = NexCtl::Network;

// The live list holds the configured addresses and those the interface made
// itself (the link-local address is the MAC's modified EUI-64, universal/local
// bit flipped); writing the live list back must not turn those automatic
// addresses into static ones.
TEST(PlatformFacadeTest, WritingTheLiveAddressesBackKeepsOnlyTheStaticOnes) {
  SimRoot root;
  Net::NetworkInfoImpl network;
  network.UpdateManagementInterface();
  auto nic = network.GetManagementInterface();
  IpConfig settings, live;
  nic->GetIpConfigs(settings, live);
  std::vector<std::string> texts;
  for (const auto& n : live.GetIpv6Network())
    texts.push_back(n.GetStringAddress() + " scope " + std::to_string(n.GetIpv6Scope()));
  EXPECT_EQ(texts, (std::vector<std::string>{"fe80::b696:91ff:fe3a:1020/64 scope 1",
                                      "2001:db8:10::20/64 scope 3"}));
  live.AddIpv6Network(Ipv6Network("2001:db8:10::21/64"));
  nic->SetIpConfig(live);
  EXPECT_EQ(Platform::Current().Load().network.nics[0].ipv6Addresses,
            (std::vector<std::string>{"2001:db8:10::20/64", "2001:db8:10::21/64"}));
}

TEST(PlatformFacadeTest, DnsNamesAndServersAreReadAndWrittenThrough) {
  SimRoot root;
  Net::DnsConfigImpl dns("defaultNetStack");
  dns.SetFqdn("host1.corp.test");
  EXPECT_EQ(std::pair(dns.GetHostname(), dns.GetDomain()),
            std::pair(std::string("host1"), std::string("corp.test")));
  EXPECT_THROW(dns.SetHostname("a.b"), HostCtlException);
  EXPECT_THROW(dns.SetHostname(""), HostCtlException);
  dns.SetSearchDomainsString(dns.GetDomain());
  dns.AddSearchDomain("a.com");
  dns.RemoveNameServers();
  dns.AddNameServer(Ipv4Address("10.0.0.1"));
  dns.AddNameServer(Ipv6Address("fe80::1"));  // goes to the IPv6 list
  EXPECT_EQ(
      std::pair(dns.GetNameServers().size(), dns.GetIpv6NameServers().at(0).GetStringAddress()),
      std::pair(size_t{1}, std::string("fe80::1")));
  dns.SaveConfig();
  EXPECT_EQ(root.File("/etc/resolv.conf"),
            "domain corp.test\nsearch corp.test a.com\nnameserver 10.0.0.1\nnameserver fe80::1\n");
}

// A host tool the console runs reports its exit status, and its output
// stays off the console's terminal.
TEST(PlatformFacadeTest, HostToolsRunOffTheTerminal) {
  SimRoot root;
  testing::internal::CaptureStdout();
  EXPECT_EQ(NexCtl::Util::NexCtl_Exec("echo loud && exit 3", false, true, false), 3);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace

namespace Platform {
namespace {

using SimHostTest::SimRoot;

struct CountingStore : HostStore {
  CountingStore(const std::string& root, int* reads) : HostStore(root), reads(reads) {}
  bool Read(HostState& state, std::string& error, std::string* stamp) const override {
    ++*reads;
    return HostStore::Read(state, error, stamp);
  }
  int* reads;
};

std::string Hostname() {
  return Current().Load().network.dns.hostname;
}

// Runs an action written as steps: h reads the host, ( and ) open and close
// a read scope, [ and ] a fresh one (an apply step); m is the console's own
// write, w another process's, s a host program the console runs.
void Act(const std::string& steps, const std::string& root) {
  std::vector<std::unique_ptr<ReadScope>> open;
  for (const char step : steps) {
    if (step == '(' || step == '[') {
      open.push_back(step == '(' ? std::make_unique<ReadScope>()
                                 : std::make_unique<ReadScope>(ReadScope::kFresh));
    } else if (step == ')' || step == ']') {
      open.pop_back();
    } else if (step == 'h') {
      Hostname();
    } else if (step == 's') {
      Current().System("true");
    } else if (step == 'm') {
      Current().Modify([](HostState& s) { s.network.dns.hostname = "m"; });
      EXPECT_EQ(Hostname(), "m");
    } else {
      std::string error;
      ASSERT_TRUE(HostStore(root).Modify([](HostState& s) { s.network.dns.hostname = "w"; }, error))
          << error;
      EXPECT_EQ(Hostname(), "w");
    }
  }
}

TEST(ReadScopeTest, CallsOfOneActionShareOneReadingOfTheHost) {
  const std::pair<const char*, int> cases[] = {
      {"hhh", 3},       // without a scope every call reads
      {"(hhh)", 1},     // in one scope they share one reading
      {"(h(h))", 1},    // a scope within a scope joins it
      {"(hh)(hh)", 2},  // two actions, one after the other
      {"(h[hh]h)", 3},  // a fresh scope reads again, and so does what follows it
      {"(hm)", 3},      // the console's own write (its read-modify-write reads once)
      {"(hwh)", 2},     // another process's write is seen at the next call
      {"(hsh)", 2},     // and so is whatever a host program did
  };
  for (const auto& [steps, expected] : cases) {
    SimRoot root;
    int reads = 0;
    Install(std::make_unique<SimBackend>(root.Path(),
                                         std::make_unique<CountingStore>(root.Path(), &reads)));
    Act(steps, root.Path());
    EXPECT_EQ(reads, expected) << steps;
    EXPECT_FALSE(ReadScope::Open()) << steps;
  }
}

// A reading that failed is not kept: the next call reports the problem too.
TEST(ReadScopeTest, AnUnreadableHostFailsEveryCall) {
  SimRoot root;
  ReadScope action;
  Hostname();
  // Replaced by something that is not a host state at all.
  { std::ofstream(root.Path() + "/host.json.new") << "not json"; }
  std::filesystem::rename(root.Path() + "/host.json.new", root.Path() + "/host.json");
  EXPECT_THROW(Hostname(), HostCtl::Lib::HostCtlException);
  EXPECT_THROW(Hostname(), HostCtl::Lib::HostCtlException);
}

}  // namespace
}  // namespace Platform
