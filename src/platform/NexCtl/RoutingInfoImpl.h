#pragma once

#include <string>

#include "HostCtl/IpAddress.h"

namespace NexCtl::Network {

// Routing of one network stack instance; only "defaultNetStack" exists on
// this host (others throw HostCtlException on use).
class RoutingInfoImpl {
 public:
  explicit RoutingInfoImpl(std::string netStack) : _netStack(std::move(netStack)) {}

  // The effective default gateways (from DHCP when the management interface
  // uses it); 0.0.0.0 / :: when none.
  HostCtl::Network::Ipv4Address GetNexelDefaultGateway();
  HostCtl::Network::Ipv6Address GetIpv6NexelDefaultGateway();
  void SetNexelDefaultGateway(const HostCtl::Network::Ipv4Address& gateway, bool fromDhcp = false);
  void SetIpv6NexelDefaultGateway(const HostCtl::Network::Ipv6Address& gateway);

 private:
  std::string _netStack;
};

}  // namespace NexCtl::Network
