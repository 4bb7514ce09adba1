// The host's network as a whole. Facade over the backend; nothing is cached,
// every call reads or changes the live host. Failures throw
// HostCtl::Lib::HostCtlException.
#pragma once

#include <memory>
#include <vector>

#include "HostCtl/NetworkRecords.h"
#include "NexCtl/NexNic.h"

namespace NexCtl::Network {

class NetworkInfoImpl {
 public:
  // Lets the host re-evaluate which kernel NIC carries management traffic.
  void UpdateManagementInterface();
  // The management interface, or null when the host has none.
  std::unique_ptr<HostCtl::Network::NexNic> GetManagementInterface();

  // Whether IPv6 is enabled in the running kernel.
  bool IsNexIpv6Enabled();
  // Changes the IPv6 setting; like on a real host it takes effect at the
  // next boot (IsNexIpv6Enabled keeps its value until then).
  void SetNexIpv6Enabled(bool enabled);
  // The setting the next boot will use.
  bool IsNexIpv6EnabledAfterReboot();
  // The program that owns the host's interfaces instead of the console
  // ("" when the console may change them).
  std::string GetNetworkManager();

  std::vector<HostCtl::Network::PnicInfo> GetPnics();

  // Network restore: remove every switch, port group and kernel NIC, then
  // build the factory layout (vSwitch0 with the first connected adapter,
  // "Management Network", nex0 on DHCP).
  void ClearNetworkConfig();
  void AutoConfigNetwork();
  void DisableNetDumper();
  bool IsNetDumperEnabled();
};

}  // namespace NexCtl::Network
