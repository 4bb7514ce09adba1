#include "NexCtl/RoutingInfoImpl.h"

#include "FacadeSupport.h"
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
                         state.network.routing.ipv6Gateway =
                             gateway.IsUnspecified() ? "::" : gateway.GetScopedStringAddress();
                       });
}

}  // namespace NexCtl::Network
