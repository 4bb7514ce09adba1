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
};
InterfaceFile ParseInterfaceFile(const std::string& text);

// ROOT/etc/systemd/network
std::string NetworkdDir(const std::string& root);
// The file the console keeps for interface `name`.
std::string InterfaceFileName(const std::string& name);

// The name servers, search suffixes and domain of a resolver file.
void ParseResolver(const std::string& text, DnsState& dns);
std::string RenderResolver(const DnsState& dns);

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

// The console's networkd files (name -> content) for the state: a
// .netdev and a .network for each bridge, a .network for each uplink, and
// the management interface's addresses. `bridges` names the switches that
// are bridges in the kernel.
std::map<std::string, std::string> RenderNetworkd(const NetworkState& network,
                                                  const std::vector<std::string>& bridges);

// The 127.0.1.1 line of a hosts file for the host's name, the rest kept.
std::string RenderHosts(const std::string& hosts, const std::string& host, const std::string& domain);

// The console's sysctl file for IPv6 on or off at boot, and what one says
// (false when it says nothing about it).
std::string RenderIpv6Sysctl(bool enabled);
bool ParseIpv6Sysctl(const std::string& text, bool& enabled);

// Bits of an IPv4 netmask ("255.255.255.0" -> 24); -1 for no netmask.
int PrefixOf(const std::string& netmask);
std::string NetmaskOf(int prefix);

}  // namespace Platform::Linux
