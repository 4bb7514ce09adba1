// The IP configuration of a kernel NIC: how IPv4 and IPv6 are obtained, the
// static values, the gateways and whether DNS comes from DHCP.
#pragma once

#include <vector>

#include "HostCtl/IpAddress.h"
#include "HostCtl/Ipv6Network.h"

namespace HostCtl::Network {

class IpConfig {
 public:
  // IPv4 mode: DHCP (useDhcp), none (!useDhcp && useNone) or static.
  bool GetUseDhcp() const { return _useDhcp; }
  void SetUseDhcp(bool useDhcp, bool useNone = false) {
    _useDhcp = useDhcp;
    _ipv4UseNone = !useDhcp && useNone;
  }
  bool GetIpv4UseNone() const { return _ipv4UseNone; }
  // Marks IPv4 as not configured (and so not DHCP).
  void SetIpv4UseNone(bool useNone = true) {
    _ipv4UseNone = useNone;
    if (useNone)
      _useDhcp = false;
  }

  const Ipv4Address& GetIpv4Address() const { return _ipv4Address; }
  void SetIpv4Address(const Ipv4Address& address) { _ipv4Address = address; }
  const Ipv4Address& GetIpv4Netmask() const { return _ipv4Netmask; }
  void SetIpv4Netmask(const Ipv4Address& netmask) { _ipv4Netmask = netmask; }
  const Ipv4Address& GetIpv4Gateway() const { return _ipv4Gateway; }
  void SetIpv4Gateway(const Ipv4Address& gateway) { _ipv4Gateway = gateway; }

  bool GetUseIpv6Dhcp() const { return _useIpv6Dhcp; }
  void SetUseIpv6Dhcp(bool use) { _useIpv6Dhcp = use; }
  bool GetUseIpv6RouterAdvertised() const { return _useIpv6RouterAdvertised; }
  void SetUseIpv6RouterAdvertised(bool use) { _useIpv6RouterAdvertised = use; }

  const std::vector<Ipv6Network>& GetIpv6Network() const { return _ipv6Networks; }
  void AddIpv6Network(const Ipv6Network& network);  // no duplicate is added
  void RemoveIpv6Network(const Ipv6Network& network);
  void ClearIpv6Networks() { _ipv6Networks.clear(); }

  const Ipv6Address& GetIpv6Gateway() const { return _ipv6Gateway; }
  void SetIpv6Gateway(const Ipv6Address& gateway) { _ipv6Gateway = gateway; }

  bool GetDhcpDns() const { return _dhcpDns; }
  void SetDhcpDns(bool use) { _dhcpDns = use; }

  bool operator==(const IpConfig& other) const = default;

 private:
  bool _useDhcp = false;
  bool _ipv4UseNone = false;
  Ipv4Address _ipv4Address;
  Ipv4Address _ipv4Netmask;
  Ipv4Address _ipv4Gateway;
  bool _useIpv6Dhcp = false;
  bool _useIpv6RouterAdvertised = false;
  std::vector<Ipv6Network> _ipv6Networks;
  Ipv6Address _ipv6Gateway;
  bool _dhcpDns = false;
};

}  // namespace HostCtl::Network
