// The console's network model on a Linux host, built as a virtualisation
// host usually is: a standard switch is a Linux bridge, its uplinks are the
// adapters enslaved to it, and the management interface is the bridge's own
// interface (the interface of the default route on a host without a
// bridge). What the console sets is kept as systemd-networkd files of its
// own ("10-merel-*") so that the machine comes up the same after a boot.
//
// Everything here is plain mapping between values and text, so that it can
// be tested without a kernel; the kernel calls are in LinuxNetlink.h.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "HostState.h"
#include "backends/LinuxNetlink.h"

namespace Platform::Linux {

// The adapters: links with a device behind them, and veth links (the
// cabling of a namespace or container host). Bridges, VLANs, tunnels and
// loopback are not adapters.
bool IsAdapter(const KernelLink& link);

// What the console's own file for an interface says ("" where it says
// nothing): its IPv4 mode ("dhcp", "static", "none"), whether the lease's
// name servers are used, IPv6 router advertisements and DHCPv6.
struct InterfaceFile {
  std::string ipv4Mode;
  bool dhcpDns = true;
  bool acceptRa = true;
  bool dhcpv6 = false;
  bool present = false;
  // The resolver's name servers and search suffixes for the interface
  // (DNS=, Domains=), written where systemd-resolved keeps the resolver.
  std::vector<std::string> dns;
  std::vector<std::string> domains;
};
InterfaceFile ParseInterfaceFile(const std::string& text);

// ROOT/etc/systemd/network
std::string NetworkdDir(const std::string& root);
// The file the console keeps for interface `name`.
std::string InterfaceFileName(const std::string& name);

// The name servers, search suffixes and domain of a resolver file.
void ParseResolver(const std::string& text, DnsState& dns);
std::string RenderResolver(const DnsState& dns);
// The name servers of a DHCP lease as the DHCP client dumps it
// (`dhcpcd -U`: name='value' lines).
std::vector<std::string> LeaseNameServers(const std::string& text);

// The kernel's network in the console's model. `files` holds the console's
// files by interface name; `root` stands for "/" (the kernel's interface
// attributes under /sys and /proc). Leaves the host name and DNS alone.
void MapNetwork(const KernelNetwork& kernel,
                const std::map<std::string, InterfaceFile>& files,
                const std::string& root,
                NetworkState& network);

// The management interface of the kernel's network ("" when it has no
// adapter and no bridge).
std::string ManagementLink(const KernelNetwork& kernel);

// The VLAN of a switch's port groups (a bridge has one); 0 for none.
uint16_t SwitchVlan(const VSwitchState& vswitch);

// The console's networkd files (name -> content) for the state: a
// .netdev and a .network for each bridge, a .network for each uplink, and
// the management interface's addresses. `bridges` holds the switches that
// are bridges in the kernel, with their MAC addresses ("" for none known).
// A VLAN on a bridge's port group is the bridge's VLAN filtering, the VLAN
// untagged on its own port and tagged on its uplinks.
// With `resolver`, the management interface's file also carries the name
// servers and search suffixes (systemd-resolved takes them from there).
std::map<std::string, std::string> RenderNetworkd(const NetworkState& network,
                                                  const std::map<std::string, std::string>& bridges,
                                                  bool resolver = false);

// The search suffixes the resolver is given: the search list, else the
// host's domain.
std::vector<std::string> SearchList(const DnsState& dns);

// The host's domain as the 127.0.1.1 line of a hosts file names it
// ("host.domain host"); "" when it names none.
std::string HostsDomain(const std::string& hosts);

// Whether the kernel can filter VLANs on bridge `name` (its sysfs folder
// has the switch only where the kernel was built with it); false for a link
// that is not a bridge.
bool BridgeFiltersVlans(const std::string& root, const std::string& name);

// The 127.0.1.1 line of a hosts file for the host's name, the rest kept.
std::string RenderHosts(const std::string& hosts,
                        const std::string& host,
                        const std::string& domain);

// The console's sysctl file for IPv6 on or off at boot, and what one says
// (false when it says nothing about it).
std::string RenderIpv6Sysctl(bool enabled);
bool ParseIpv6Sysctl(const std::string& text, bool& enabled);

// Bits of an IPv4 netmask ("255.255.255.0" -> 24); -1 for no netmask.
int PrefixOf(const std::string& netmask);
std::string NetmaskOf(int prefix);

}  // namespace Platform::Linux
