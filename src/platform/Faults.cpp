#include "Faults.h"

#include <algorithm>
#include <array>

namespace Platform {

namespace {

constexpr std::array<std::string_view, 114> kCalls = {
    "AdvancedOptionImpl.FindOption",
    "AdvancedOptionImpl.SetIntegerOption",
    "CpuInfoImpl.GetDescription",
    "CpuInfoImpl.GetNumCpuCores",
    "CpuInfoImpl.GetNumCpuPackages",
    "CpuInfoImpl.GetNumCpuThreads",
    "DVPortImpl.AddHostLocalPort",
    "DVPortImpl.AddUplink",
    "DVPortImpl.GetPorts",
    "DVPortImpl.RemoveHostLocalPort",
    "DVPortImpl.RemoveUplink",
    "DVPortImpl.SetTeamingPolicy",
    "DnsConfigImpl.AddNameServer",
    "DnsConfigImpl.AddSearchDomain",
    "DnsConfigImpl.GetDomain",
    "DnsConfigImpl.GetHostname",
    "DnsConfigImpl.GetIpv6NameServers",
    "DnsConfigImpl.GetNameServers",
    "DnsConfigImpl.GetSearchDomains",
    "DnsConfigImpl.RemoveNameServers",
    "DnsConfigImpl.SaveConfig",
    "DnsConfigImpl.SetDomain",
    "DnsConfigImpl.SetFqdn",
    "DnsConfigImpl.SetHostname",
    "DnsConfigImpl.SetSearchDomainsString",
    "FirewallRuleset.Disable",
    "FirewallRuleset.Enable",
    "FirewallRuleset.IsEnabled",
    "HardwareInfoImpl.GetAssetTag",
    "HardwareInfoImpl.GetHardwareInfo",
    "HardwareInfoImpl.GetModel",
    "HardwareInfoImpl.GetServiceTag",
    "HardwareInfoImpl.GetVendor",
    "Host.GetHardwareInfo",
    "Host.GetStorageInfo",
    "Host.GetSystemInfo",
    "HostFactory.GetHost",
    "HostsFile.AddEntry",
    "HostsFile.GetEntries",
    "HostsFile.RemoveEntryByHostName",
    "MemoryInfoImpl.GetPageSize",
    "MemoryInfoImpl.GetTotalPages",
    "NetworkInfoImpl.AutoConfigNetwork",
    "NetworkInfoImpl.ClearNetworkConfig",
    "NetworkInfoImpl.DisableNetDumper",
    "NetworkInfoImpl.GetManagementInterface",
    "NetworkInfoImpl.GetNetworkManager",
    "NetworkInfoImpl.GetPnics",
    "NetworkInfoImpl.IsNetDumperEnabled",
    "NetworkInfoImpl.IsNexIpv6Enabled",
    "NetworkInfoImpl.IsNexIpv6EnabledAfterReboot",
    "NetworkInfoImpl.SetNexIpv6Enabled",
    "NetworkInfoImpl.UpdateManagementInterface",
    "NexCtl_Exec",
    "NexNic.Disable",
    "NexNic.Enable",
    "NexNic.GetConnectionPoint",
    "NexNic.GetIpConfig",
    "NexNic.GetIpConfigs",
    "NexNic.GetMacAddress",
    "NexNic.GetMtu",
    "NexNic.IsEnabled",
    "NexNic.IsManagement",
    "NexNic.RenewDhcpLease",
    "NexNic.RenewIpv6DhcpLease",
    "NexNic.Restart",
    "NexNic.SetIpConfig",
    "NexNic.SetMacAddress",
    "NexelNicInfoImpl.AddNexelNic",
    "NexelNicInfoImpl.GetNexelNic",
    "NexelNicInfoImpl.GetNexelNics",
    "NexelNicInfoImpl.MoveToDVPort",
    "NexelNicInfoImpl.MoveToPortGroup",
    "NexelNicInfoImpl.RemoveNexelNic",
    "PciInfoImpl.GetDeviceAssignmentNote",
    "PciInfoImpl.GetDeviceAssignmentState",
    "PciInfoImpl.GetDevices",
    "PciInfoImpl.SaveAssignment",
    "PnicImpl.GetInfo",
    "PnicImpl.GetMacAddress",
    "PnicImpl.IsLinkUp",
    "PortGroupImpl.AddPortGroup",
    "PortGroupImpl.GetPortGroup",
    "PortGroupImpl.IsValidPortGroup",
    "PortGroupImpl.RemovePortGroup",
    "PortGroupImpl.SetTeamingPolicy",
    "PortGroupImpl.SetVlanId",
    "PortsetImpl.IsValidVirtualSwitch",
    "ResourceInfoImpl.GetVirtualMachines",
    "ResourceInfoImpl.HasRunningVirtualMachines",
    "RoutingInfoImpl.GetIpv6NexelDefaultGateway",
    "RoutingInfoImpl.GetNexelDefaultGateway",
    "RoutingInfoImpl.SetIpv6NexelDefaultGateway",
    "RoutingInfoImpl.SetNexelDefaultGateway",
    "SmartCardInfoImpl.GetUserId",
    "SmartCardInfoImpl.IsCardPresent",
    "SmartCardInfoImpl.IsSupported",
    "SmartCardInfoImpl.LookupTokens",
    "SysinfoUtil.SysinfoGet",
    "SystemInfoImpl.GetFirewallRulesetById",
    "SystemInfoImpl.GetFirewallRulesets",
    "SystemInfoImpl.GetKeyboardLayout",
    "SystemInfoImpl.GetKeyboardLayouts",
    "SystemInfoImpl.GetSystemVersion",
    "SystemInfoImpl.GetWelcomeMessage",
    "SystemInfoImpl.SetKeyboardLayout",
    "SystemInfoImpl.SetSystemAlert",
    "SystemInfoImpl.SetWelcomeMessage",
    "VirtualSwitchInfoImpl.AddUplink",
    "VirtualSwitchInfoImpl.AddVirtualSwitch",
    "VirtualSwitchInfoImpl.GetDVSwitches",
    "VirtualSwitchInfoImpl.GetVirtualSwitches",
    "VirtualSwitchInfoImpl.RemoveUplink",
    "VirtualSwitchInfoImpl.RemoveVirtualSwitch",
};

std::string_view MethodOf(std::string_view qualified) {
  size_t dot = qualified.rfind('.');
  return dot == std::string_view::npos ? qualified : qualified.substr(dot + 1);
}

}  // namespace

std::span<const std::string_view> FaultableCalls() {
  return kCalls;
}

bool IsFaultableCall(std::string_view name) {
  return std::any_of(kCalls.begin(), kCalls.end(),
                     [&](std::string_view call) { return call == name || MethodOf(call) == name; });
}

const FaultState* FindFault(const HostState& state, std::string_view qualified) {
  if (state.faults.empty())
    return nullptr;
  const FaultState* bare = nullptr;
  std::string_view method = MethodOf(qualified);
  for (const auto& fault : state.faults) {
    if (fault.call == qualified)
      return &fault;
    if (fault.call == method && !bare)
      bare = &fault;
  }
  return bare;
}

}  // namespace Platform
