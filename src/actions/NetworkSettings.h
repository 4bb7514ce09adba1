// The settings record of the management network: what the network window
// shows and its dialogs edit, read afresh from the host every time the window
// opens, and the host queries that fill it. Nothing here is kept between two
// openings of the window.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "HostCtl/IpAddress.h"
#include "HostCtl/IpConfig.h"
#include "NexCtl/NexNic.h"

namespace Merel {

struct NetworkSettings {
  bool changesMade = false;
  // The IPv6 dialog returned another default gateway; only then is it set.
  bool ipv6GatewayChanged = false;
  bool ipv6EnabledCurrent = false;
  bool ipv6EnabledPending = false;
  // How addresses are obtained (DHCP, DHCPv6, router advertisement, DNS by
  // DHCP) ...
  HostCtl::Network::IpConfig dhcpChoices;
  // ... and the values themselves: IPv4 none/address/netmask, IPv6
  // networks, both default gateways.
  HostCtl::Network::IpConfig addresses;
  // Uplinks, their maximum and the VLAN are only read on a standard switch.
  std::vector<std::string> uplinks;
  int maxActiveUplinks = 0;
  uint16_t vlanId = 0;
  std::string hostname;
  std::vector<std::string> suffixes;
  std::string suffixText;
  std::unique_ptr<HostCtl::Network::IpAddress> primaryDns;
  std::unique_ptr<HostCtl::Network::IpAddress> alternateDns;
  bool distributedSwitch = false;
};

enum class LoadResult {
  kLoaded,
  // No management interface, or the host failed to name one: the window
  // shows the error message and is not opened.
  kNoInterface,
  // A switch read failed (already logged): the window closes silently.
  kReadFailed,
};

// Fills `settings` from the live host and hands over the management
// interface. Other host failures than the two above throw.
LoadResult LoadNetworkSettings(NetworkSettings& settings,
                               std::unique_ptr<HostCtl::Network::NexNic>& managementInterface);

// The interface that carries management traffic, as the host decides it;
// null when there is none. Throws on a host failure.
std::unique_ptr<HostCtl::Network::NexNic> FindManagementInterface();

// Whether the management interface is on a distributed switch; failures are
// logged and answer no.
bool IsDvsInUse();

// The interface's port group; throws "Unsupported vSwitch type" when it is
// plugged in elsewhere, so that every switch read and write fails the same way.
std::unique_ptr<HostCtl::Network::PortGroup> ManagementPortGroup(
    const HostCtl::Network::NexNic& nic);

// Reads from the interface's port group; false (and one error line) when the
// host fails or the interface is not on a standard switch.
bool GetVlanId(const HostCtl::Network::NexNic& nic, uint16_t& vlanId);
bool GetMaxActiveUplinks(const HostCtl::Network::NexNic& nic, int& maxActive);
bool GetUplinks(const HostCtl::Network::NexNic& nic, std::vector<std::string>& uplinks);
// The switch the interface is plugged into (standard or distributed).
bool GetSwitchName(const HostCtl::Network::NexNic& nic, std::string& name);

struct NameServerChoice {
  std::unique_ptr<HostCtl::Network::IpAddress> primary;
  std::unique_ptr<HostCtl::Network::IpAddress> alternate;
};
// The two servers shown and edited. One IPv4 and one IPv6 server are
// preferred to two IPv4 servers, so that a host with both kinds shows both.
NameServerChoice ChooseNameServers(const std::vector<HostCtl::Network::Ipv4Address>& ipv4,
                                   const std::vector<HostCtl::Network::Ipv6Address>& ipv6);

// "a.com, b.com"
std::string JoinSuffixes(const std::vector<std::string>& suffixes);
// The pieces of a suffix text between white space and commas.
std::vector<std::string> SplitSuffixes(const std::string& text);

}  // namespace Merel
