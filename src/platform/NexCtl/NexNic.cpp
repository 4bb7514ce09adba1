#include "NexCtl/NexNic.h"

#include <algorithm>

#include "FacadeSupport.h"
#include "HostCtl/AddressRules.h"
#include "HostModel.h"

namespace HostCtl::Network {

using Platform::HostState;
using Platform::NexNicState;

namespace {

IpConfig Choices(const NexNicState& nic) {
  IpConfig config;
  config.SetUseDhcp(nic.ipv4Mode == "dhcp", nic.ipv4Mode == "none");
  config.SetUseIpv6Dhcp(nic.ipv6Dhcp);
  config.SetUseIpv6RouterAdvertised(nic.ipv6RouterAdvertised);
  config.SetDhcpDns(nic.dhcpDns);
  return config;
}

IpConfig Live(const HostState& state, const NexNicState& nic) {
  IpConfig config = Choices(nic);
  auto live = Platform::Model::LiveIpv4Of(state, nic);
  config.SetIpv4Address(Ipv4Address(live.address));
  config.SetIpv4Netmask(Ipv4Address(live.netmask));
  config.SetIpv4Gateway(Ipv4Address(Platform::Model::EffectiveIpv4Gateway(state)));
  for (const auto& network : Platform::Model::LiveIpv6Of(state, nic)) {
    config.AddIpv6Network(network);
  }
  config.SetIpv6Gateway(Ipv6Address(Platform::Model::EffectiveIpv6Gateway(state)));
  return config;
}

}  // namespace

void NexNic::GetIpConfigs(IpConfig& settings, IpConfig& addresses) const {
  HostState state = Platform::LoadHost("NexNic.GetIpConfigs");
  const NexNicState& nic = Platform::RequireNic(state, _name);
  settings = Choices(nic);
  settings.SetIpv4Address(Ipv4Address(nic.ipv4Address));
  settings.SetIpv4Netmask(Ipv4Address(nic.ipv4Netmask));
  settings.SetIpv4Gateway(Ipv4Address(state.network.routing.ipv4Gateway));
  for (const auto& text : nic.ipv6Addresses) {
    settings.AddIpv6Network(Ipv6Network(text));
  }
  settings.SetIpv6Gateway(Ipv6Address(state.network.routing.ipv6Gateway));
  addresses = Live(state, nic);
}

IpConfig NexNic::GetIpConfig() const {
  HostState state = Platform::LoadHost("NexNic.GetIpConfig");
  return Live(state, Platform::RequireNic(state, _name));
}

void NexNic::SetIpConfig(const IpConfig& config) {
  if (!config.GetUseDhcp() && !config.GetIpv4UseNone()) {
    if (!config.GetIpv4Netmask().IsValidNetmask()) {
      Platform::Fail("Invalid netmask " + config.GetIpv4Netmask().GetStringAddress());
    }
    const std::string problem =
        Ipv4AddressProblem(config.GetIpv4Address(), config.GetIpv4Netmask());
    if (!problem.empty()) {
      Platform::Fail("Invalid IPv4 address: " + problem);
    }
  }
  Platform::ModifyHost("NexNic.SetIpConfig", [&](HostState& state) {
    NexNicState& nic = Platform::RequireNic(state, _name);
    auto automaticBefore = Platform::Model::AutomaticIpv6Of(state, nic);
    std::string mode = Platform::Ipv4ModeOf(config);
    if (mode != "dhcp") {
      nic.leaseAddress.clear();
    }
    nic.ipv4Mode = mode;
    if (mode == "static") {
      nic.ipv4Address = config.GetIpv4Address().GetStringAddress();
      nic.ipv4Netmask = config.GetIpv4Netmask().GetStringAddress();
    }
    nic.ipv6Dhcp = config.GetUseIpv6Dhcp();
    nic.ipv6RouterAdvertised = config.GetUseIpv6RouterAdvertised();
    nic.dhcpDns = config.GetDhcpDns();
    auto automaticAfter = Platform::Model::AutomaticIpv6Of(state, nic);
    // Only what the administrator configured becomes static; addresses the
    // interface obtained by itself come back with their mechanism.
    nic.ipv6Addresses.clear();
    for (const auto& network : config.GetIpv6Network()) {
      auto same = [&](const Ipv6Network& other) {
        return other.GetAddress() == network.GetAddress();
      };
      if (network.IsLinkLocal() ||
          std::any_of(automaticBefore.begin(), automaticBefore.end(), same) ||
          std::any_of(automaticAfter.begin(), automaticAfter.end(), same)) {
        continue;
      }
      if (const std::string problem = Ipv6AddressProblem(network.GetAddress());
          !problem.empty()) {
        Platform::Fail("Invalid IPv6 address: " + problem);
      }
      std::string text = network.GetStringAddress();
      if (std::find(nic.ipv6Addresses.begin(), nic.ipv6Addresses.end(), text) ==
          nic.ipv6Addresses.end()) {
        nic.ipv6Addresses.push_back(text);
      }
    }
    Platform::Model::EnsureLease(state, nic);
  });
}

std::unique_ptr<ConnectionPoint> NexNic::GetConnectionPoint() const {
  HostState state = Platform::LoadHost("NexNic.GetConnectionPoint");
  const NexNicState& nic = Platform::RequireNic(state, _name);
  if (!nic.portGroup.empty()) {
    Platform::VSwitchState* owner = nullptr;
    Platform::PortGroupState* pg = Platform::FindPortGroup(state, nic.portGroup, &owner);
    if (!pg)
      Platform::Fail("Port group '" + nic.portGroup + "' not found");
    return std::make_unique<PortGroup>(Platform::PortGroupOf(*pg, *owner));
  }
  if (!nic.dvSwitch.empty()) {
    Platform::DVSwitchState* dvs = Platform::FindDVSwitch(state, nic.dvSwitch);
    if (!dvs)
      Platform::Fail("Distributed switch '" + nic.dvSwitch + "' not found");
    for (const auto& port : dvs->ports) {
      if (port.key == nic.dvPort)
        return std::make_unique<DVPort>(Platform::DVPortOf(*dvs, port));
    }
    return std::make_unique<DVPort>(dvs->name, dvs->uuid, nic.dvPort, "", 0,
                                    NicTeamingPolicy(dvs->uplinks, {}, 32));
  }
  return std::make_unique<OpaqueNetwork>(nic.opaqueNetwork);
}

MacAddress NexNic::GetMacAddress() const {
  HostState state = Platform::LoadHost("NexNic.GetMacAddress");
  const NexNicState& nic = Platform::RequireNic(state, _name);
  return nic.mac.empty() ? MacAddress() : MacAddress(nic.mac);
}

void NexNic::SetMacAddress(const MacAddress& mac) {
  Platform::ModifyHost("NexNic.SetMacAddress", [&](HostState& state) {
    Platform::RequireNic(state, _name).mac = mac.GetStringAddress();
  });
}

int NexNic::GetMtu() const {
  HostState state = Platform::LoadHost("NexNic.GetMtu");
  return Platform::RequireNic(state, _name).mtu;
}

bool NexNic::IsEnabled() const {
  HostState state = Platform::LoadHost("NexNic.IsEnabled");
  return Platform::RequireNic(state, _name).enabled;
}

bool NexNic::IsManagement() const {
  HostState state = Platform::LoadHost("NexNic.IsManagement");
  return Platform::RequireNic(state, _name).management;
}

void NexNic::Enable() {
  Platform::ModifyHost("NexNic.Enable", [&](HostState& state) {
    NexNicState& nic = Platform::RequireNic(state, _name);
    nic.enabled = true;
    Platform::Model::EnsureLease(state, nic);
  });
}

void NexNic::Disable() {
  Platform::ModifyHost("NexNic.Disable", [&](HostState& state) {
    NexNicState& nic = Platform::RequireNic(state, _name);
    nic.enabled = false;
    ++nic.stops;
  });
}

void NexNic::Restart() {
  Platform::ModifyHost("NexNic.Restart", [&](HostState& state) {
    NexNicState& nic = Platform::RequireNic(state, _name);
    nic.enabled = true;
    ++nic.restarts;
    Platform::Model::EnsureLease(state, nic);
  });
}

void NexNic::RenewDhcpLease() {
  Platform::ModifyHost("NexNic.RenewDhcpLease", [&](HostState& state) {
    NexNicState& nic = Platform::RequireNic(state, _name);
    ++nic.leaseRenewals;
    if (!state.network.dhcp.available) {
      nic.leaseAddress.clear();
    }
    Platform::Model::EnsureLease(state, nic);
  });
}

void NexNic::RenewIpv6DhcpLease() {
  Platform::ModifyHost("NexNic.RenewIpv6DhcpLease", [&](HostState& state) {
    ++Platform::RequireNic(state, _name).ipv6LeaseRenewals;
  });
}

}  // namespace HostCtl::Network
