// How the host behaves, on its state: which addresses an interface holds,
// what DHCP hands out, what the gateways and name servers are in effect,
// what answers a ping, and what power and factory operations do. Shared by
// the NexCtl facades and the simulated host tools so that both see one host.
#pragma once

#include <string>
#include <vector>

#include "HostCtl/Ipv6Network.h"
#include "HostState.h"

namespace Platform::Model {

// fe80::/64 address derived from the MAC (modified EUI-64).
std::string LinkLocalAddress(const std::string& mac);

struct LiveIpv4 {
  std::string address = "0.0.0.0";
  std::string netmask = "0.0.0.0";
};
// What the interface holds now: nothing while disabled or with IPv4 "none";
// the lease under DHCP; the static values otherwise.
LiveIpv4 LiveIpv4Of(const HostState& state, const NexNicState& nic);
// Link-local (scope link), router-advertised and DHCPv6 addresses and the
// static ones; empty while disabled or with IPv6 off in the running kernel.
std::vector<HostCtl::Network::Ipv6Network> LiveIpv6Of(const HostState& state,
                                                      const NexNicState& nic);
// The addresses of LiveIpv6Of that the interface obtained by itself.
std::vector<HostCtl::Network::Ipv6Network> AutomaticIpv6Of(const HostState& state,
                                                           const NexNicState& nic);

// Under DHCP: take an address of the pool when the interface has none (and
// the DHCP server is there).
void EnsureLease(HostState& state, NexNicState& nic);

std::string EffectiveIpv4Gateway(const HostState& state);
std::string EffectiveIpv6Gateway(const HostState& state);
std::vector<std::string> EffectiveIpv4NameServers(const HostState& state);
std::vector<std::string> EffectiveIpv6NameServers(const HostState& state);
// Whether a DNS lookup can leave the host (a server and a live address).
bool CanUseDns(const HostState& state);
// Whether `nexping address` gets an answer.
bool IsReachable(const HostState& state, const std::string& address);

// The host goes down: virtual machines still running die with it.
void PowerOff(HostState& state);
void Reboot(HostState& state);
// A host that is off or restarting comes up: the settings that only a boot
// applies take effect (IPv6, services, the DriverVM assignment) and DHCP
// interfaces renew their leases. True when it was down.
bool Boot(HostState& state);
// powerOffVms: a soft stop of every running virtual machine; with
// `terminate` also those that ignore it. Returns how many remain running.
int PowerOffVms(HostState& state, bool terminate);
// Whether the device has a native driver of the host (only those without one
// are offered to the DriverVM).
bool HasNativeDriver(const HostState& state, const PciDeviceState& device);
void ClearNetworkConfig(HostState& state);
void AutoConfigNetwork(HostState& state);
// What "configReset.sh --reset-only" resets.
void ResetConfiguration(HostState& state);
// The same towards the state the host was made from: its network, advanced
// options, lockdown, services, firewall, keyboard and device assignment (for
// the next boot). Hardware, virtual machines, logs and the world around the
// host (DHCP, DNS records) stay.
void ResetConfiguration(HostState& state, const HostState& factory);

}  // namespace Platform::Model
