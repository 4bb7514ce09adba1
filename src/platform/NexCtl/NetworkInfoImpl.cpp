#include "NexCtl/NetworkInfoImpl.h"

#include "FacadeSupport.h"
#include "HostModel.h"

namespace NexCtl::Network {

void NetworkInfoImpl::UpdateManagementInterface() {
  // The host marks its management interface itself; re-reading the state is
  // all a re-evaluation needs, and it fails when the host cannot be read.
  Platform::LoadHost("NetworkInfoImpl.UpdateManagementInterface");
}

std::unique_ptr<HostCtl::Network::NexNic> NetworkInfoImpl::GetManagementInterface() {
  Platform::HostState state = Platform::LoadHost("NetworkInfoImpl.GetManagementInterface");
  const Platform::NexNicState* nic = Platform::ManagementNic(state);
  if (!nic) {
    return nullptr;
  }
  return std::make_unique<HostCtl::Network::NexNic>(nic->name);
}

bool NetworkInfoImpl::IsNexIpv6Enabled() {
  return Platform::LoadHost("NetworkInfoImpl.IsNexIpv6Enabled").network.ipv6Enabled;
}

void NetworkInfoImpl::SetNexIpv6Enabled(bool enabled) {
  Platform::ModifyHost("NetworkInfoImpl.SetNexIpv6Enabled", [&](Platform::HostState& state) {
    state.network.ipv6EnabledAfterReboot = enabled;
  });
}

std::string NetworkInfoImpl::GetNetworkManager() {
  return Platform::LoadHost("NetworkInfoImpl.GetNetworkManager").network.managedBy;
}

bool NetworkInfoImpl::IsNexIpv6EnabledAfterReboot() {
  return Platform::LoadHost("NetworkInfoImpl.IsNexIpv6EnabledAfterReboot")
      .network.ipv6EnabledAfterReboot;
}

std::vector<HostCtl::Network::PnicInfo> NetworkInfoImpl::GetPnics() {
  std::vector<HostCtl::Network::PnicInfo> result;
  for (const auto& pnic : Platform::LoadHost("NetworkInfoImpl.GetPnics").network.pnics) {
    result.push_back(Platform::PnicInfoOf(pnic));
  }
  return result;
}

void NetworkInfoImpl::ClearNetworkConfig() {
  Platform::ModifyHost("NetworkInfoImpl.ClearNetworkConfig", [](Platform::HostState& state) {
    Platform::Model::ClearNetworkConfig(state);
  });
}

void NetworkInfoImpl::AutoConfigNetwork() {
  Platform::ModifyHost("NetworkInfoImpl.AutoConfigNetwork", [](Platform::HostState& state) {
    Platform::Model::AutoConfigNetwork(state);
  });
}

void NetworkInfoImpl::DisableNetDumper() {
  Platform::ModifyHost("NetworkInfoImpl.DisableNetDumper",
                       [](Platform::HostState& state) { state.network.netDumperEnabled = false; });
}

bool NetworkInfoImpl::IsNetDumperEnabled() {
  return Platform::LoadHost("NetworkInfoImpl.IsNetDumperEnabled").network.netDumperEnabled;
}

}  // namespace NexCtl::Network
