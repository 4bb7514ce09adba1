#include "HostCtl/IpConfig.h"

#include <algorithm>

namespace HostCtl::Network {

void IpConfig::AddIpv6Network(const Ipv6Network& network) {
  if (std::find(_ipv6Networks.begin(), _ipv6Networks.end(), network) == _ipv6Networks.end()) {
    _ipv6Networks.push_back(network);
  }
}

void IpConfig::RemoveIpv6Network(const Ipv6Network& network) {
  std::erase(_ipv6Networks, network);
}

}  // namespace HostCtl::Network
