// A kernel NIC of the host (nex0, nex1, ...: an interface carrying host
// traffic). The object only names the interface: every call reads or
// changes the host's live state, so two NexNic objects for the same name
// always agree.
#pragma once

#include <memory>
#include <string>

#include "HostCtl/ConnectionPoint.h"
#include "HostCtl/IpConfig.h"
#include "HostCtl/MacAddress.h"

namespace HostCtl::Network {

class NexNic {
 public:
  explicit NexNic(std::string name) : _name(std::move(name)) {}

  const std::string& GetName() const { return _name; }

  // The two configurations the interface reports: `settings` is what the
  // host is configured to do (DHCP choices, static values), `addresses` what
  // the interface holds now (leased/auto-configured addresses included; no
  // address while the interface is disabled). Both carry the same choices.
  void GetIpConfigs(IpConfig& settings, IpConfig& addresses) const;
  // The live one (`addresses` above).
  IpConfig GetIpConfig() const;
  // Configures the interface from `config`'s choices and static values. The
  // IPv6 networks of `config` that the interface obtained by itself (link-
  // local, router advertisement, DHCPv6) are not made static.
  void SetIpConfig(const IpConfig& config);

  std::unique_ptr<ConnectionPoint> GetConnectionPoint() const;
  MacAddress GetMacAddress() const;
  void SetMacAddress(const MacAddress& mac);
  int GetMtu() const;
  bool IsEnabled() const;
  bool IsManagement() const;

  void Enable();
  void Disable();
  // Down and up again.
  void Restart();
  // The object caches nothing; kept for callers that follow the host
  // library's pattern of refreshing after a state change.
  void Refresh() {}
  void RenewDhcpLease();
  void RenewIpv6DhcpLease();

 private:
  std::string _name;
};

}  // namespace HostCtl::Network
