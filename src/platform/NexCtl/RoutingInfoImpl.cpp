#include "NexCtl/RoutingInfoImpl.h"

#include "FacadeSupport.h"
#include "HostCtl/AddressRules.h"
#include "HostModel.h"

namespace NexCtl::Network {

using HostCtl::Network::Ipv4Address;
using HostCtl::Network::Ipv6Address;

Ipv4Address RoutingInfoImpl::GetNexelDefaultGateway() {
  Platform::RequireNetStack(_netStack);
  return Ipv4Address(Platform::Model::EffectiveIpv4Gateway(
      Platform::LoadHost("RoutingInfoImpl.GetNexelDefaultGateway")));
}

Ipv6Address RoutingInfoImpl::GetIpv6NexelDefaultGateway() {
  Platform::RequireNetStack(_netStack);
  return Ipv6Address(Platform::Model::EffectiveIpv6Gateway(
      Platform::LoadHost("RoutingInfoImpl.GetIpv6NexelDefaultGateway")));
}

void RoutingInfoImpl::SetNexelDefaultGateway(const Ipv4Address& gateway, bool /*fromDhcp*/) {
  Platform::RequireNetStack(_netStack);
  Platform::ModifyHost("RoutingInfoImpl.SetNexelDefaultGateway", [&](Platform::HostState& state) {
    // 0.0.0.0 takes the gateway away; any other must be one a host can use,
    // judged against the management interface's static address, if any.
    if (!gateway.IsUnspecified()) {
      Ipv4Address address;
      Ipv4Address netmask;
      for (const auto& nic : state.network.nics) {
        if (nic.management && nic.ipv4Mode == "static" &&
            Ipv4Address::IsValidAddress(nic.ipv4Address) &&
            Ipv4Address::IsValidAddress(nic.ipv4Netmask)) {
          address = Ipv4Address(nic.ipv4Address);
          netmask = Ipv4Address(nic.ipv4Netmask);
        }
      }
      const std::string problem =
          HostCtl::Network::Ipv4GatewayProblem(gateway, address, netmask);
      if (!problem.empty()) {
        Platform::Fail("Invalid default gateway: " + problem);
      }
    }
    state.network.routing.ipv4Gateway = gateway.GetStringAddress();
  });
}

void RoutingInfoImpl::SetIpv6NexelDefaultGateway(const Ipv6Address& gateway) {
  Platform::RequireNetStack(_netStack);
  Platform::ModifyHost("RoutingInfoImpl.SetIpv6NexelDefaultGateway",
                       [&](Platform::HostState& state) {
                         if (!state.network.ipv6Enabled && !gateway.IsUnspecified()) {
                           Platform::Fail("IPv6 is not enabled on this host");
                         }
                         // "::" takes the gateway away.
                         if (!gateway.IsUnspecified()) {
                           const std::string problem =
                               HostCtl::Network::Ipv6GatewayProblem(gateway);
                           if (!problem.empty()) {
                             Platform::Fail("Invalid default IPv6 gateway: " + problem);
                           }
                         }
                         state.network.routing.ipv6Gateway =
                             gateway.IsUnspecified() ? "::" : gateway.GetScopedStringAddress();
                       });
}

}  // namespace NexCtl::Network
