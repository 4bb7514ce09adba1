#include "HostModel.h"

#include <algorithm>

#include "HostCtl/IpAddress.h"
#include "HostCtl/MacAddress.h"

namespace Platform::Model {

using HostCtl::Network::Ipv4Address;
using HostCtl::Network::Ipv6Address;
using HostCtl::Network::Ipv6Network;

namespace {

std::array<uint8_t, 8> InterfaceId(const std::string& mac) {
  std::array<uint8_t, 6> bytes{};
  if (HostCtl::Network::MacAddress::IsValid(mac)) {
    bytes = HostCtl::Network::MacAddress(mac).GetBytes();
  }
  return {static_cast<uint8_t>(bytes[0] ^ 0x02),
          bytes[1],
          bytes[2],
          0xff,
          0xfe,
          bytes[3],
          bytes[4],
          bytes[5]};
}

Ipv6Network WithInterfaceId(const std::string& prefixText,
                            const std::array<uint8_t, 8>& id,
                            int prefixLength) {
  Ipv6Network prefix(prefixText);
  auto bytes = prefix.GetAddress().GetBytes();
  std::copy(id.begin(), id.end(), bytes.begin() + 8);
  return Ipv6Network(Ipv6Address(bytes), prefixLength);
}

bool UsesDhcp(const NexNicState& nic) {
  return nic.ipv4Mode == "dhcp";
}

}  // namespace

std::string LinkLocalAddress(const std::string& mac) {
  std::array<uint8_t, 16> bytes{};
  bytes[0] = 0xfe;
  bytes[1] = 0x80;
  auto id = InterfaceId(mac);
  std::copy(id.begin(), id.end(), bytes.begin() + 8);
  return Ipv6Address(bytes).GetStringAddress();
}

LiveIpv4 LiveIpv4Of(const HostState& state, const NexNicState& nic) {
  LiveIpv4 live;
  if (!nic.enabled || nic.ipv4Mode == "none") {
    return live;
  }
  if (UsesDhcp(nic)) {
    if (!nic.leaseAddress.empty()) {
      live.address = nic.leaseAddress;
      live.netmask = state.network.dhcp.netmask;
    }
    return live;
  }
  live.address = nic.ipv4Address;
  live.netmask = nic.ipv4Netmask;
  return live;
}

std::vector<Ipv6Network> AutomaticIpv6Of(const HostState& state, const NexNicState& nic) {
  std::vector<Ipv6Network> result;
  if (!nic.enabled || !state.network.ipv6Enabled) {
    return result;
  }
  auto id = InterfaceId(nic.mac);
  Ipv6Network linkLocal(Ipv6Address(LinkLocalAddress(nic.mac)), 64);
  linkLocal.SetIpv6Scope(HostCtl::Network::kIpv6ScopeLinkLocal);
  result.push_back(linkLocal);
  const auto& dhcp = state.network.dhcp;
  if (nic.ipv6RouterAdvertised && !dhcp.ipv6Prefix.empty()) {
    result.push_back(WithInterfaceId(dhcp.ipv6Prefix, id, 64));
  }
  if (nic.ipv6Dhcp && dhcp.ipv6DhcpAvailable && !dhcp.ipv6Prefix.empty()) {
    // DHCPv6 hands out single addresses from the same prefix.
    std::array<uint8_t, 8> leased = {0, 0, 0, 0, 0, 0, 0x10, 0};
    int index = 0;
    for (const auto& other : state.network.nics) {
      if (&other == &nic || other.name == nic.name)
        break;
      ++index;
    }
    leased[7] = static_cast<uint8_t>(index + 1);
    result.push_back(WithInterfaceId(dhcp.ipv6Prefix, leased, 128));
  }
  return result;
}

std::vector<Ipv6Network> LiveIpv6Of(const HostState& state, const NexNicState& nic) {
  std::vector<Ipv6Network> result = AutomaticIpv6Of(state, nic);
  if (result.empty()) {
    return result;  // disabled, or IPv6 off
  }
  for (const auto& text : nic.ipv6Addresses) {
    Ipv6Network network(text);
    network.SetIpv6Scope(network.IsLinkLocal() ? HostCtl::Network::kIpv6ScopeLinkLocal
                                               : HostCtl::Network::kIpv6ScopeGlobal);
    if (std::find(result.begin(), result.end(), network) == result.end()) {
      result.push_back(network);
    }
  }
  return result;
}

void EnsureLease(HostState& state, NexNicState& nic) {
  const auto& dhcp = state.network.dhcp;
  if (!UsesDhcp(nic) || !nic.enabled || !nic.leaseAddress.empty() || !dhcp.available) {
    return;
  }
  uint32_t first = Ipv4Address(dhcp.poolStart).GetValue();
  uint32_t last = Ipv4Address(dhcp.poolEnd).GetValue();
  for (uint32_t candidate = first; candidate <= last && candidate != 0; ++candidate) {
    std::string text = Ipv4Address(candidate).GetStringAddress();
    bool used = std::any_of(state.network.nics.begin(), state.network.nics.end(),
                            [&](const NexNicState& other) {
                              return other.name != nic.name &&
                                     (other.leaseAddress == text ||
                                      (other.ipv4Mode == "static" && other.ipv4Address == text));
                            });
    if (!used) {
      nic.leaseAddress = text;
      return;
    }
    if (candidate == 0xffffffffu)
      break;
  }
}

std::string EffectiveIpv4Gateway(const HostState& state) {
  const NexNicState* nic = ManagementNic(state);
  if (nic && UsesDhcp(*nic)) {
    return nic->enabled && !nic->leaseAddress.empty() ? state.network.dhcp.gateway : "0.0.0.0";
  }
  return state.network.routing.ipv4Gateway;
}

std::string EffectiveIpv6Gateway(const HostState& state) {
  if (!state.network.ipv6Enabled) {
    return "::";
  }
  if (!Ipv6Address(state.network.routing.ipv6Gateway).IsUnspecified()) {
    return state.network.routing.ipv6Gateway;
  }
  const NexNicState* nic = ManagementNic(state);
  if (nic && nic->enabled && nic->ipv6RouterAdvertised && !state.network.dhcp.ipv6Gateway.empty()) {
    return state.network.dhcp.ipv6Gateway;
  }
  return "::";
}

std::vector<std::string> EffectiveIpv4NameServers(const HostState& state) {
  const NexNicState* nic = ManagementNic(state);
  if (nic && nic->dhcpDns && UsesDhcp(*nic)) {
    return nic->leaseAddress.empty() ? std::vector<std::string>{} : state.network.dhcp.dns;
  }
  return state.network.dns.nameServers;
}

std::vector<std::string> EffectiveIpv6NameServers(const HostState& state) {
  const NexNicState* nic = ManagementNic(state);
  if (nic && nic->dhcpDns && nic->ipv6Dhcp && state.network.ipv6Enabled) {
    return state.network.dhcp.ipv6DhcpAvailable ? state.network.dhcp.ipv6Dns
                                                : std::vector<std::string>{};
  }
  return state.network.dns.ipv6NameServers;
}

bool CanUseDns(const HostState& state) {
  const NexNicState* nic = ManagementNic(state);
  if (!nic || !nic->enabled) {
    return false;
  }
  bool ipv4 =
      LiveIpv4Of(state, *nic).address != "0.0.0.0" && !EffectiveIpv4NameServers(state).empty();
  bool ipv6 = state.network.ipv6Enabled && !EffectiveIpv6NameServers(state).empty();
  return ipv4 || ipv6;
}

bool IsReachable(const HostState& state, const std::string& address) {
  if (address == "127.0.0.1" || address == "::1") {
    return true;
  }
  const NexNicState* nic = ManagementNic(state);
  if (!nic || !nic->enabled) {
    return false;
  }
  if (Ipv4Address::IsValidAddress(address)) {
    if (LiveIpv4Of(state, *nic).address == "0.0.0.0")
      return false;
    Ipv4Address target(address);
    for (const auto& other : state.network.nics) {
      auto live = LiveIpv4Of(state, other);
      if (live.address != "0.0.0.0" && Ipv4Address(live.address) == target)
        return true;
    }
    std::string gateway = EffectiveIpv4Gateway(state);
    if (gateway != "0.0.0.0" && Ipv4Address(gateway) == target)
      return true;
    for (const auto& entry : state.network.reachable) {
      if (Ipv4Address::IsValidAddress(entry) && Ipv4Address(entry) == target)
        return true;
    }
    return false;
  }
  if (Ipv6Address::IsValidAddress(address)) {
    if (!state.network.ipv6Enabled)
      return false;
    Ipv6Address target(address);
    for (const auto& network : LiveIpv6Of(state, *nic)) {
      if (network.GetAddress() == target)
        return true;
    }
    std::string gateway = EffectiveIpv6Gateway(state);
    if (gateway != "::" && Ipv6Address(gateway) == target)
      return true;
    for (const auto& entry : state.network.reachable) {
      if (Ipv6Address::IsValidAddress(entry) && Ipv6Address(entry) == target)
        return true;
    }
  }
  return false;
}

namespace {

void StopAllVms(HostState& state) {
  for (auto& vm : state.vms) {
    if (vm.poweredOn)
      vm.lastStop = "host went down";
    vm.poweredOn = false;
  }
}

}  // namespace

void PowerOff(HostState& state) {
  state.powerState = "off";
  StopAllVms(state);
}

bool Boot(HostState& state) {
  if (state.powerState == "on")
    return false;
  // A restart counted its boot when it began.
  if (state.powerState == "off")
    ++state.bootCount;
  state.powerState = "on";
  state.network.ipv6Enabled = state.network.ipv6EnabledAfterReboot;
  for (auto& service : state.services)
    service.running = service.enabled;
  for (auto& device : state.hardware.pciDevices) {
    if (device.passthroughAfterReboot >= 0)
      device.passthrough = device.passthroughAfterReboot == 1;
    device.passthroughAfterReboot = -1;
  }
  for (auto& nic : state.network.nics) {
    if (nic.ipv4Mode == "dhcp" && state.network.dhcp.available) {
      EnsureLease(state, nic);
      ++nic.leaseRenewals;
    }
  }
  return true;
}

int PowerOffVms(HostState& state, bool terminate) {
  int running = 0;
  for (auto& vm : state.vms) {
    if (!vm.poweredOn)
      continue;
    if (vm.refusesSoftStop && !terminate) {
      ++running;
      continue;
    }
    vm.poweredOn = false;
    vm.lastStop = vm.refusesSoftStop ? "terminated" : "shut down";
  }
  return running;
}

bool HasNativeDriver(const HostState& state, const PciDeviceState& device) {
  if (!device.driver.empty())
    return true;
  for (const auto& pnic : state.network.pnics) {
    if (pnic.pciAddress == device.address && !pnic.driver.empty())
      return true;
  }
  return false;
}

void Reboot(HostState& state) {
  state.powerState = "rebooting";
  ++state.bootCount;
  StopAllVms(state);
  // Settings that only a boot applies.
  state.network.ipv6Enabled = state.network.ipv6EnabledAfterReboot;
  for (auto& service : state.services)
    service.running = service.enabled;
}

void ClearNetworkConfig(HostState& state) {
  auto& net = state.network;
  net.nics.clear();
  net.vswitches.clear();
  for (auto& dvs : net.dvswitches)
    dvs.uplinks.clear();
  net.routing = RoutingState();
  net.dns.hostname = "localhost";
  net.dns.domain.clear();
  net.dns.searchDomains.clear();
  net.dns.nameServers.clear();
  net.dns.ipv6NameServers.clear();
}

void AutoConfigNetwork(HostState& state) {
  auto& net = state.network;
  ++net.autoConfigCount;
  const PnicState* uplink = nullptr;
  for (const auto& pnic : net.pnics) {
    if (pnic.linkUp) {
      uplink = &pnic;
      break;
    }
  }
  if (!uplink && !net.pnics.empty())
    uplink = &net.pnics.front();
  if (!FindVSwitch(state, "vSwitch0")) {
    VSwitchState sw;
    sw.name = "vSwitch0";
    net.vswitches.push_back(sw);
  }
  VSwitchState* sw = FindVSwitch(state, "vSwitch0");
  if (uplink &&
      std::find(sw->uplinks.begin(), sw->uplinks.end(), uplink->name) == sw->uplinks.end()) {
    sw->uplinks.push_back(uplink->name);
  }
  if (!FindPortGroup(state, "Management Network")) {
    PortGroupState pg;
    pg.name = "Management Network";
    if (uplink)
      pg.activeUplinks.push_back(uplink->name);
    sw->portGroups.push_back(pg);
  }
  if (!FindNic(state, "nex0")) {
    NexNicState nic;
    nic.name = "nex0";
    nic.mac = uplink ? uplink->mac : "00:50:56:00:00:01";
    nic.management = true;
    nic.portGroup = "Management Network";
    nic.ipv4Mode = "dhcp";
    nic.dhcpDns = true;
    nic.ipv6RouterAdvertised = true;
    net.nics.push_back(nic);
  }
  EnsureLease(state, *FindNic(state, "nex0"));
}

void ResetConfiguration(HostState& state) {
  ++state.configResets;
  ClearNetworkConfig(state);
  AutoConfigNetwork(state);
  for (auto& option : state.advancedOptions) {
    if (option.type == "int")
      option.value = option.defaultValue;
  }
  state.lockdown.enabled = false;
  state.welcomeMessage.clear();
  state.keyboardLayout = "US Default";
  for (auto& service : state.services) {
    if (service.name == "TarvikShell" || service.name == "SSH") {
      service.enabled = false;
    }
  }
}

void ResetConfiguration(HostState& state, const HostState& factory) {
  ++state.configResets;
  auto& net = state.network;
  const auto& base = factory.network;
  net.ipv6Enabled = base.ipv6Enabled;
  net.ipv6EnabledAfterReboot = base.ipv6EnabledAfterReboot;
  net.netDumperEnabled = base.netDumperEnabled;
  net.vswitches = base.vswitches;
  net.nics = base.nics;
  net.routing = base.routing;
  // The records are the world's DNS, not the host's settings.
  auto records = std::move(net.dns.records);
  net.dns = base.dns;
  net.dns.records = std::move(records);
  for (auto& dvs : net.dvswitches)
    dvs.uplinks.clear();
  for (auto& nic : net.nics)
    EnsureLease(state, nic);
  state.advancedOptions = factory.advancedOptions;
  state.lockdown.enabled = factory.lockdown.enabled;
  state.keyboardLayout = factory.keyboardLayout;
  state.welcomeMessage = factory.welcomeMessage;
  state.services = factory.services;
  state.firewall = factory.firewall;
  for (auto& device : state.hardware.pciDevices) {
    bool passthrough = false;
    for (const auto& original : factory.hardware.pciDevices) {
      if (original.address == device.address)
        passthrough = original.passthrough;
    }
    device.passthroughAfterReboot = passthrough ? 1 : 0;
  }
}

}  // namespace Platform::Model
