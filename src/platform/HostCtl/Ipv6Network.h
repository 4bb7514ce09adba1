// An IPv6 address with its prefix length, as configured on an interface.
#pragma once

#include <string>

#include "HostCtl/IpAddress.h"

namespace HostCtl::Network {

// State of an address on the interface. Only preferred addresses are worth
// showing to the user; the console adds static addresses as preferred.
enum Ipv6AddressType : int {
  kIpv6AddressPreferred = 0,
  kIpv6AddressDeprecated = 1,
  kIpv6AddressTentative = 2,
  kIpv6AddressDuplicate = 3,
};

enum Ipv6Scope : int {
  kIpv6ScopeUnknown = 0,
  kIpv6ScopeLinkLocal = 1,
  kIpv6ScopeSiteLocal = 2,
  kIpv6ScopeGlobal = 3,
};

class Ipv6Network {
 public:
  Ipv6Network() = default;  // ::/0
  Ipv6Network(const Ipv6Address& address, int prefixLength);
  // "2001:db8::5/64". Throws HostCtlException when IsValidAddressAndNetmask
  // rejects the text.
  explicit Ipv6Network(const std::string& text);

  // An IPv6 address (no zone), "/", and a prefix length from 1 to 128.
  static bool IsValidAddressAndNetmask(const std::string& text);

  const Ipv6Address& GetAddress() const { return _address; }
  int GetPrefixLength() const { return _prefixLength; }
  // "2001:db8::5/64"
  std::string GetStringAddress() const;
  bool IsLinkLocal() const { return _address.IsLinkLocal(); }

  Ipv6AddressType GetIpv6AddressType() const { return _type; }
  void SetIpv6AddressType(Ipv6AddressType type) { _type = type; }
  Ipv6Scope GetIpv6Scope() const { return _scope; }
  void SetIpv6Scope(Ipv6Scope scope) { _scope = scope; }

  // Address (binary) and prefix length; type and scope are bookkeeping.
  bool operator==(const Ipv6Network& other) const {
    return _address == other._address && _prefixLength == other._prefixLength;
  }
  bool operator!=(const Ipv6Network& other) const { return !(*this == other); }

 private:
  Ipv6Address _address;
  int _prefixLength = 0;
  Ipv6AddressType _type = kIpv6AddressPreferred;
  Ipv6Scope _scope = kIpv6ScopeGlobal;
};

}  // namespace HostCtl::Network
