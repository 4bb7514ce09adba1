// The Linux host's network mapping without a kernel: kernel values into
// the console's model, and the cases of the files it writes that the Linux
// network screen tests, on real interfaces, do not meet.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "backends/LinuxBackend.h"
#include "backends/LinuxNetwork.h"

namespace {

using namespace Platform;
using namespace Platform::Linux;

KernelLink Link(int index, const std::string& name, const std::string& kind, int master = 0) {
  // Up, with carrier.
  return {index, name, kind, "52:54:00:00:00:0" + std::to_string(index), true, true, master};
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

// Loopback, VLANs and tunnels are no adapters (the screen tests' host has
// only veths and a bridge).
TEST(LinuxNetworkMap, OnlyDevicesAndVethsAreAdapters) {
  std::vector<std::string> adapters;
  for (const auto& pnic : Mapped().pnics)
    adapters.push_back(pnic.name);
  EXPECT_EQ(adapters, (std::vector<std::string>{"eth0", "eth1", "veth0"}));
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

  MapNetwork(kernel, {{"br0", ParseInterfaceFile("[Match]\nName=br0\n[Network]\nDHCP=no\n")}},
             "/nonexistent", network);
  EXPECT_EQ(network.nics[0].ipv4Mode, "none");
}

// The sysctl file tells whether IPv6 comes up at the next boot; a file that
// sets only one interface's says nothing about the host's.
TEST(LinuxNetworkFiles, Ipv6SysctlReadsBack) {
  for (const bool enabled : {true, false}) {
    bool read = !enabled;
    EXPECT_TRUE(ParseIpv6Sysctl(RenderIpv6Sysctl(enabled), read));
    EXPECT_EQ(read, enabled);
  }
  bool untouched = true;
  EXPECT_FALSE(ParseIpv6Sysctl("net.ipv6.conf.eth0.disable_ipv6 = 1\n", untouched));
  // Nor does the interface's file keep an IPv6 address of its own then.
  NetworkState network = Mapped();
  network.ipv6EnabledAfterReboot = false;
  const std::string text = RenderNetworkd(network, {{"br0", ""}}).at("10-merel-br0.network");
  EXPECT_EQ(text.find("2001:db8::5"), std::string::npos) << text;
}

// With a VLAN the bridge filters VLANs at the next boot: untagged on its own
// port, tagged on the uplinks. (The screen tests meet this only on a kernel
// with VLAN filtering.)
TEST(LinuxNetworkFiles, AVlanIsTheBridgesVlanFiltering) {
  for (const uint16_t vlan : {0, 20}) {
    NetworkState network = Mapped();
    network.vswitches[0].portGroups[0].vlanId = vlan;
    auto files = RenderNetworkd(network, {{"br0", ""}});
    for (const auto& [file, part] :
         {std::pair("10-merel-br0.netdev", "\n[Bridge]\nVLANFiltering=yes\n"),
          {"10-merel-br0.network", "\n[BridgeVLAN]\nPVID=20\nEgressUntagged=20\n"},
          {"10-merel-eth0.network", "\n[BridgeVLAN]\nVLAN=20\n"}})
      EXPECT_EQ(files[file].find(part) != std::string::npos, vlan != 0) << files[file];
  }
}

// The host's line is replaced in place (after the loopback line where there
// is none), and any other line for 127.0.1.1 goes.
TEST(LinuxNetworkFiles, TheHostsLineIsReplacedInPlace) {
  const std::pair<const char*, const char*> cases[] = {
      {"127.0.0.1\tlocalhost\n::1\tlocalhost\n",
       "127.0.0.1\tlocalhost\n127.0.1.1\tnew\n::1\tlocalhost\n"},
      {"127.0.1.1\ta\n127.0.1.1\tb\n", "127.0.1.1\tnew\n"},
      {"", "127.0.1.1\tnew\n"},
  };
  for (const auto& [before, after] : cases)
    EXPECT_EQ(RenderHosts(before, "new", ""), after) << before;
}

// What the Linux host must refuse. (What it may change, the Linux network
// screen tests change on the real console.)
TEST(LinuxNetworkChanges, UnmappedSettingsAreRefused) {
  HostState state;
  state.network = Mapped();
  const std::string base = ToJson(Untracked(state));
  const std::pair<const char*, void (*)(HostState&)> changes[] = {
      {"ipv6Now", [](HostState& s) { s.network.ipv6Enabled = false; }},
      {"newSwitch", [](HostState& s) { s.network.vswitches.push_back({}); }},
      {"mtu", [](HostState& s) { s.network.nics[0].mtu = 9000; }},
  };
  for (const auto& [name, apply] : changes) {
    HostState after = state;
    apply(after);
    EXPECT_NE(ToJson(Untracked(after)), base) << name;
  }
}

}  // namespace
