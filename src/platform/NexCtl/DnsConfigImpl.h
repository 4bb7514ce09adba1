#pragma once

#include <string>
#include <vector>

#include "HostCtl/IpAddress.h"

namespace NexCtl::Network {

// Name resolution settings of one network stack ("defaultNetStack"). Each
// setter writes through to the host; SaveConfig makes the resolver files
// reflect them (the host keeps no staged copy).
class DnsConfigImpl {
 public:
  explicit DnsConfigImpl(std::string netStack) : _netStack(std::move(netStack)) {}

  std::string GetHostname();
  std::string GetDomain();
  std::vector<std::string> GetSearchDomains();
  // The effective servers (from DHCP when DNS comes from DHCP).
  std::vector<HostCtl::Network::Ipv4Address> GetNameServers();
  std::vector<HostCtl::Network::Ipv6Address> GetIpv6NameServers();

  // `fromDhcp` is accepted for the host library's signature; the console
  // always passes false.
  void SetHostname(const std::string& hostname, bool fromDhcp = false);
  // "name.domain": sets the host name and the domain (or `domain` when given).
  void SetFqdn(const std::string& fqdn, bool fromDhcp = false, const std::string& domain = "");
  void SetDomain(const std::string& domain);
  // Replaces the search list with the names in `domains` (split at spaces
  // and commas).
  void SetSearchDomainsString(const std::string& domains);
  void AddSearchDomain(const std::string& domain);
  void RemoveNameServers();
  void AddNameServer(const HostCtl::Network::IpAddress& server);
  // Writes /etc/resolv.conf of the host from the settings.
  void SaveConfig();

 private:
  std::string _netStack;
};

}  // namespace NexCtl::Network
