#include "HostCtl/Ipv6Network.h"

#include <cctype>

#include "HostCtl/HostCtlException.h"

namespace HostCtl::Network {

namespace {

bool Split(const std::string& text, std::string& address, int& prefix) {
  auto slash = text.find('/');
  if (slash == std::string::npos) {
    return false;
  }
  address = text.substr(0, slash);
  std::string digits = text.substr(slash + 1);
  if (digits.empty() || digits.size() > 3) {
    return false;
  }
  prefix = 0;
  for (char c : digits) {
    if (!std::isdigit(static_cast<unsigned char>(c))) {
      return false;
    }
    prefix = prefix * 10 + (c - '0');
  }
  // A zone belongs to a single address, never to a configured network.
  return prefix >= 1 && prefix <= 128 && address.find('%') == std::string::npos &&
         Ipv6Address::IsValidAddress(address);
}

}  // namespace

Ipv6Network::Ipv6Network(const Ipv6Address& address, int prefixLength)
    : _address(address), _prefixLength(prefixLength) {
  _scope = address.IsLinkLocal() ? kIpv6ScopeLinkLocal : kIpv6ScopeGlobal;
}

Ipv6Network::Ipv6Network(const std::string& text) {
  std::string address;
  if (!Split(text, address, _prefixLength)) {
    throw Lib::HostCtlException("Invalid IPv6 network: '" + text + "'");
  }
  _address = Ipv6Address(address);
  _scope = _address.IsLinkLocal() ? kIpv6ScopeLinkLocal : kIpv6ScopeGlobal;
}

bool Ipv6Network::IsValidAddressAndNetmask(const std::string& text) {
  std::string address;
  int prefix;
  return Split(text, address, prefix);
}

std::string Ipv6Network::GetStringAddress() const {
  return _address.GetStringAddress() + "/" + std::to_string(_prefixLength);
}

}  // namespace HostCtl::Network
