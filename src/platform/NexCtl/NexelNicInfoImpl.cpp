#include "NexCtl/NexelNicInfoImpl.h"

#include <algorithm>
#include <cstdio>

#include "FacadeSupport.h"
#include "HostModel.h"

namespace NexCtl::Network {

std::vector<std::unique_ptr<HostCtl::Network::NexNic>> NexelNicInfoImpl::GetNexelNics() {
  std::vector<std::unique_ptr<HostCtl::Network::NexNic>> result;
  for (const auto& nic : Platform::LoadHost("NexelNicInfoImpl.GetNexelNics").network.nics) {
    result.push_back(std::make_unique<HostCtl::Network::NexNic>(nic.name));
  }
  return result;
}

std::unique_ptr<HostCtl::Network::NexNic> NexelNicInfoImpl::GetNexelNic(const std::string& name) {
  Platform::HostState state = Platform::LoadHost("NexelNicInfoImpl.GetNexelNic");
  if (!Platform::FindNic(state, name)) {
    return nullptr;
  }
  return std::make_unique<HostCtl::Network::NexNic>(name);
}

void NexelNicInfoImpl::AddNexelNic(const std::string& name,
                                   const std::string& portGroup,
                                   const HostCtl::Network::IpConfig& config,
                                   bool management) {
  Platform::ModifyHost("NexelNicInfoImpl.AddNexelNic", [&](Platform::HostState& state) {
    if (name.empty() || Platform::FindNic(state, name)) {
      Platform::Fail("Cannot add Nexel NIC '" + name + "': the name is taken");
    }
    if (!Platform::FindPortGroup(state, portGroup)) {
      Platform::Fail("Port group '" + portGroup + "' not found");
    }
    Platform::NexNicState nic;
    nic.name = name;
    char mac[18];
    std::snprintf(mac, sizeof(mac), "00:50:56:6a:%02x:%02x",
                  static_cast<unsigned>(state.network.nics.size() >> 8) & 0xff,
                  static_cast<unsigned>(state.network.nics.size() + 1) & 0xff);
    nic.mac = mac;
    nic.management = management;
    nic.portGroup = portGroup;
    nic.ipv4Mode = Platform::Ipv4ModeOf(config);
    nic.ipv4Address = config.GetIpv4Address().GetStringAddress();
    nic.ipv4Netmask = config.GetIpv4Netmask().GetStringAddress();
    nic.dhcpDns = config.GetDhcpDns();
    nic.ipv6Dhcp = config.GetUseIpv6Dhcp();
    nic.ipv6RouterAdvertised = config.GetUseIpv6RouterAdvertised();
    for (const auto& network : config.GetIpv6Network()) {
      if (!network.IsLinkLocal())
        nic.ipv6Addresses.push_back(network.GetStringAddress());
    }
    state.network.nics.push_back(nic);
    Platform::Model::EnsureLease(state, state.network.nics.back());
  });
}

void NexelNicInfoImpl::RemoveNexelNic(const std::string& name) {
  Platform::ModifyHost("NexelNicInfoImpl.RemoveNexelNic", [&](Platform::HostState& state) {
    auto& nics = state.network.nics;
    auto it = std::find_if(nics.begin(), nics.end(), [&](auto& nic) { return nic.name == name; });
    if (it == nics.end())
      Platform::Fail("Nexel NIC '" + name + "' not found");
    nics.erase(it);
  });
}

void NexelNicInfoImpl::MoveToPortGroup(const std::string& name, const std::string& portGroup) {
  Platform::ModifyHost("NexelNicInfoImpl.MoveToPortGroup", [&](Platform::HostState& state) {
    Platform::NexNicState& nic = Platform::RequireNic(state, name);
    if (!Platform::FindPortGroup(state, portGroup)) {
      Platform::Fail("Port group '" + portGroup + "' not found");
    }
    nic.portGroup = portGroup;
    nic.dvSwitch.clear();
    nic.dvPort.clear();
    nic.opaqueNetwork.clear();
  });
}

void NexelNicInfoImpl::MoveToDVPort(const std::string& name,
                                    const std::string& dvSwitch,
                                    const std::string& portKey) {
  Platform::ModifyHost("NexelNicInfoImpl.MoveToDVPort", [&](Platform::HostState& state) {
    Platform::NexNicState& nic = Platform::RequireNic(state, name);
    Platform::DVSwitchState* dvs = Platform::FindDVSwitch(state, dvSwitch);
    if (!dvs)
      Platform::Fail("Distributed switch '" + dvSwitch + "' not found");
    if (std::none_of(dvs->ports.begin(), dvs->ports.end(),
                     [&](const Platform::DVPortState& port) { return port.key == portKey; })) {
      Platform::Fail("Port '" + portKey + "' not found on '" + dvSwitch + "'");
    }
    nic.portGroup.clear();
    nic.opaqueNetwork.clear();
    nic.dvSwitch = dvSwitch;
    nic.dvPort = portKey;
  });
}

}  // namespace NexCtl::Network
