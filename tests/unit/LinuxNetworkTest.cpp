// The Linux host's network mapping without a kernel: kernel values into
// the console's model, the model into networkd, resolver and hosts files,
// and those files back.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "backends/LinuxBackend.h"
#include "backends/LinuxNetwork.h"

namespace {

using namespace Platform;
using namespace Platform::Linux;

KernelLink Link(int index, const std::string& name, const std::string& kind, int master = 0) {
  KernelLink link;
  link.index = index;
  link.name = name;
  link.kind = kind;
  link.mac = "52:54:00:00:00:0" + std::to_string(index);
  link.adminUp = link.carrier = true;
  link.master = master;
  return link;
}

// lo, eth0 and eth1 (devices), veth0 in br0, a VLAN and a tunnel.
KernelNetwork Bridged() {
  KernelNetwork kernel;
  KernelLink lo = Link(1, "lo", "");
  lo.mac = "00:00:00:00:00:00";
  kernel.links = {lo, Link(2, "eth0", "", 5), Link(3, "eth1", ""), Link(4, "veth0", "veth", 5),
                  Link(5, "br0", "bridge"), Link(6, "br0.20", "vlan"), Link(7, "tun0", "tun")};
  kernel.links[2].carrier = false;
  kernel.addresses = {{5, "192.0.2.5", 24, false, false, false},
                      {5, "fe80::1", 64, true, false, true},
                      {5, "2001:db8::5", 64, true, false, false},
                      {3, "198.51.100.9", 24, false, false, false}};
  kernel.defaultRoutes = {{3, "198.51.100.1", false}};
  return kernel;
}

// The console's model of `kernel`, with no files of the console's.
NetworkState Mapped(const KernelNetwork& kernel = Bridged()) {
  NetworkState network;
  MapNetwork(kernel, {}, "/nonexistent", network);
  return network;
}

TEST(LinuxNetworkMap, ABridgeIsASwitchWithItsAdaptersAsUplinks) {
  const NetworkState network = Mapped();
  std::vector<std::string> adapters;
  for (const auto& pnic : network.pnics)
    adapters.push_back(pnic.name);
  EXPECT_EQ(adapters, (std::vector<std::string>{"eth0", "eth1", "veth0"}));
  const auto& pnics = network.pnics;
  EXPECT_EQ(std::tuple(pnics[1].linkUp, pnics[1].speedMbps, pnics[2].driver),
            std::tuple(false, 0, "veth"));
  ASSERT_EQ(network.vswitches.size(), 1u);
  const auto& sw = network.vswitches[0];
  EXPECT_EQ(std::tuple(sw.name, sw.uplinks, sw.portGroups[0].name),
            std::tuple("br0", std::vector<std::string>{"eth0", "veth0"}, "Management Network"));
  // The bridge is the management interface even though eth1 holds the
  // default route: a virtualisation host manages through its switch.
  ASSERT_EQ(network.nics.size(), 1u);
  const NexNicState& nic = network.nics[0];
  EXPECT_EQ(std::tuple(nic.name, nic.ipv4Mode, nic.ipv4Address, nic.ipv4Netmask, nic.ipv6Addresses,
                       network.routing.ipv4Gateway),
            std::tuple("br0", "static", "192.0.2.5", "255.255.255.0",
                       std::vector<std::string>{"2001:db8::5/64"}, "198.51.100.1"));
}

KernelNetwork Plain(std::vector<KernelRoute> routes, std::vector<KernelAddress> addresses) {
  KernelNetwork kernel;
  kernel.links = {Link(2, "eth0", ""), Link(3, "eth1", "")};
  kernel.defaultRoutes = std::move(routes);
  kernel.addresses = std::move(addresses);
  return kernel;
}

// The bridge with the default route, else the first bridge, else the
// adapter with the default route, else the one with an address, else the first.
TEST(LinuxNetworkMap, TheManagementLinkIsChosen) {
  KernelNetwork twoBridges = Bridged();
  twoBridges.links.push_back(Link(8, "br1", "bridge"));
  twoBridges.defaultRoutes = {{8, "192.0.2.1", false}};
  const std::pair<KernelNetwork, const char*> cases[] = {
      {twoBridges, "br1"},
      {Bridged(), "br0"},
      {Plain({{3, "192.0.2.1", false}}, {}), "eth1"},
      {Plain({}, {{3, "192.0.2.3", 24, false}}), "eth1"},
      {Plain({}, {}), "eth0"},
      {KernelNetwork{}, ""},
  };
  for (const auto& [kernel, expected] : cases)
    EXPECT_EQ(ManagementLink(kernel), expected) << expected;
}

TEST(LinuxNetworkMap, ModeComesFromTheConsolesFileElseFromTheAddress) {
  KernelNetwork kernel = Bridged();
  kernel.addresses[0].dynamic = true;
  NetworkState network = Mapped(kernel);
  const NexNicState& nic = network.nics[0];
  EXPECT_EQ(std::tuple(nic.ipv4Mode, nic.leaseAddress, network.dhcp.netmask),
            std::tuple("dhcp", "192.0.2.5", "255.255.255.0"));

  std::map<std::string, InterfaceFile> files;
  files["br0"] = ParseInterfaceFile("[Match]\nName=br0\n[Network]\nDHCP=no\n");
  MapNetwork(kernel, files, "/nonexistent", network);
  EXPECT_EQ(network.nics[0].ipv4Mode, "none");
}

// The files written for a state say the same state when read back.
TEST(LinuxNetworkFiles, WhatIsWrittenReadsBack) {
  for (const char* mode : {"static", "dhcp", "none"}) {
    SCOPED_TRACE(mode);
    NetworkState network = Mapped();
    NexNicState& nic = network.nics[0];
    nic.ipv4Mode = mode;
    nic.dhcpDns = nic.ipv4Mode == "dhcp";
    nic.ipv6RouterAdvertised = false;
    const auto files = RenderNetworkd(network, {{"br0", ""}});
    ASSERT_EQ(files.count("10-merel-br0.netdev"), 1u);
    EXPECT_NE(files.at("10-merel-br0.netdev").find("Kind=bridge\n"), std::string::npos);
    EXPECT_NE(files.at("10-merel-eth0.network").find("Bridge=br0\n"), std::string::npos);
    EXPECT_NE(files.at("10-merel-veth0.network").find("Bridge=br0\n"), std::string::npos);
    EXPECT_EQ(files.count("10-merel-eth1.network"), 0u);
    const InterfaceFile read = ParseInterfaceFile(files.at("10-merel-br0.network"));
    EXPECT_EQ(std::tuple(read.ipv4Mode, read.dhcpDns, read.acceptRa),
              std::tuple(mode, nic.dhcpDns || nic.ipv4Mode != "dhcp", false));
    const std::string& text = files.at("10-merel-br0.network");
    EXPECT_EQ(text.find("Address=192.0.2.5/24\n") != std::string::npos,
              std::string(mode) == "static");
    EXPECT_NE(text.find("Address=2001:db8::5/64\n"), std::string::npos);
  }
}

// The next boot brings the bridge back with its MAC address and, with a
// VLAN, filtering VLANs: untagged on its own port, tagged on the uplinks.
TEST(LinuxNetworkFiles, BridgeMacAndVlan) {
  for (const uint16_t vlan : {0, 20}) {
    NetworkState network = Mapped();
    network.vswitches[0].portGroups[0].vlanId = vlan;
    const auto files = RenderNetworkd(network, {{"br0", "52:54:00:00:00:05"}});
    const std::string& netdev = files.at("10-merel-br0.netdev");
    EXPECT_NE(netdev.find("[NetDev]\nName=br0\nKind=bridge\nMACAddress=52:54:00:00:00:05\n"),
              std::string::npos)
        << netdev;
    EXPECT_EQ(netdev.find("\n[Bridge]\nVLANFiltering=yes\n") != std::string::npos, vlan != 0);
    const std::string& own = files.at("10-merel-br0.network");
    EXPECT_EQ(own.find("\n[BridgeVLAN]\nPVID=20\nEgressUntagged=20\n") != std::string::npos,
              vlan != 0)
        << own;
    for (const char* uplink : {"10-merel-eth0.network", "10-merel-veth0.network"}) {
      EXPECT_EQ(files.at(uplink).find("\n[BridgeVLAN]\nVLAN=20\n") != std::string::npos, vlan != 0)
          << files.at(uplink);
    }
    EXPECT_EQ(ParseInterfaceFile(own).ipv4Mode, "static");
  }
}

// IPv6 switched off is the next boot's: the sysctl file says so, and the
// interface's file keeps no IPv6 of its own.
TEST(LinuxNetworkFiles, Ipv6OffForTheNextBoot) {
  for (const bool enabled : {true, false}) {
    bool read = !enabled;
    EXPECT_TRUE(ParseIpv6Sysctl(RenderIpv6Sysctl(enabled), read));
    EXPECT_EQ(read, enabled);
  }
  bool untouched = true;
  EXPECT_FALSE(ParseIpv6Sysctl("net.ipv6.conf.eth0.disable_ipv6 = 1\n", untouched));
  NetworkState network = Mapped();
  network.ipv6EnabledAfterReboot = false;
  const std::string text = RenderNetworkd(network, {{"br0", ""}}).at("10-merel-br0.network");
  EXPECT_NE(text.find("LinkLocalAddressing=no\nIPv6AcceptRA=no\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("2001:db8::5"), std::string::npos) << text;
}

TEST(LinuxNetworkFiles, ResolverRoundTrip) {
  DnsState dns;
  dns.domain = "lab.test";
  dns.searchDomains = {"lab.test", "a.test"};
  dns.nameServers = {"192.0.2.53", "192.0.2.54"};
  dns.ipv6NameServers = {"2001:db8::53"};
  DnsState read;
  ParseResolver(RenderResolver(dns) + "options edns0\n", read);
  EXPECT_EQ(std::tuple(read.domain, read.searchDomains, read.nameServers, read.ipv6NameServers),
            std::tuple(dns.domain, dns.searchDomains, dns.nameServers, dns.ipv6NameServers));
}

// The host's line is replaced in place (after the loopback line where there
// is none), and any other line for 127.0.1.1 goes.
TEST(LinuxNetworkFiles, TheHostsLineIsReplacedInPlace) {
  const struct {
    const char* before;
    const char* host;
    const char* domain;
    const char* after;
  } cases[] = {
      {"127.0.0.1\tlocalhost\n127.0.1.1\told\n::1\tlocalhost\n", "new", "",
       "127.0.0.1\tlocalhost\n127.0.1.1\tnew\n::1\tlocalhost\n"},
      {"127.0.1.1 old.x old\n", "new", "lab.test", "127.0.1.1\tnew.lab.test\tnew\n"},
      {"127.0.0.1\tlocalhost\n::1\tlocalhost\n", "new", "",
       "127.0.0.1\tlocalhost\n127.0.1.1\tnew\n::1\tlocalhost\n"},
      {"127.0.1.1\ta\n127.0.1.1\tb\n", "new", "", "127.0.1.1\tnew\n"},
      {"", "new", "", "127.0.1.1\tnew\n"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(RenderHosts(c.before, c.host, c.domain), c.after) << c.before;
}

TEST(LinuxNetworkFiles, Netmasks) {
  const std::vector<std::pair<std::string, int>> cases = {
      {"255.255.255.0", 24}, {"255.255.255.255", 32}, {"0.0.0.0", 0},
      {"255.0.255.0", -1},   {"255.255.128.0", 17},   {"nonsense", -1}};
  for (const auto& [mask, prefix] : cases) {
    EXPECT_EQ(PrefixOf(mask), prefix) << mask;
    if (prefix >= 0) {
      EXPECT_EQ(NetmaskOf(prefix), mask);
    }
  }
}

// What the Linux host can change, and what it must refuse.
TEST(LinuxNetworkChanges, OnlyTheMappedSettingsMayChange) {
  HostState state;
  state.network = Mapped();
  const std::string base = ToJson(Untracked(state));
  struct Change {
    const char* name;
    void (*apply)(HostState&);
    bool allowed;
  };
  const std::vector<Change> changes = {
      {"address", [](HostState& s) { s.network.nics[0].ipv4Address = "192.0.2.9"; }, true},
      {"mode", [](HostState& s) { s.network.nics[0].ipv4Mode = "dhcp"; }, true},
      {"gateway", [](HostState& s) { s.network.routing.ipv4Gateway = "192.0.2.1"; }, true},
      {"names", [](HostState& s) { s.network.dns.hostname = "x"; }, true},
      {"uplinks", [](HostState& s) { s.network.vswitches[0].uplinks.push_back("eth1"); }, true},
      {"restart", [](HostState& s) { ++s.network.nics[0].restarts; }, true},
      {"ipv6Off", [](HostState& s) { s.network.ipv6EnabledAfterReboot = false; }, true},
      {"ipv6Now", [](HostState& s) { s.network.ipv6Enabled = false; }, false},
      {"newSwitch", [](HostState& s) { s.network.vswitches.push_back({}); }, false},
      {"vlan", [](HostState& s) { s.network.vswitches[0].portGroups[0].vlanId = 20; }, true},
      {"mtu", [](HostState& s) { s.network.nics[0].mtu = 9000; }, false},
      {"power", [](HostState& s) { s.powerState = "off"; }, false},
  };
  for (const auto& change : changes) {
    HostState after = state;
    change.apply(after);
    EXPECT_EQ(ToJson(Untracked(after)) == base, change.allowed) << change.name;
  }
}

}  // namespace
