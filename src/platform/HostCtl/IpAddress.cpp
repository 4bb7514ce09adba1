#include "HostCtl/IpAddress.h"

#include <arpa/inet.h>

#include <cctype>
#include <cstring>

#include "HostCtl/HostCtlException.h"

namespace HostCtl::Network {

namespace {

bool ParseIpv4(const std::string& text, uint32_t& value) {
  in_addr addr{};
  if (text.empty() || inet_pton(AF_INET, text.c_str(), &addr) != 1) {
    return false;
  }
  value = ntohl(addr.s_addr);
  return true;
}

bool IsZoneChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '_' || c == '-';
}

// Splits "addr%zone"; false when the text is not an IPv6 address.
bool ParseIpv6(const std::string& text, std::array<uint8_t, 16>& bytes, std::string& zone) {
  std::string address = text;
  zone.clear();
  auto percent = text.find('%');
  if (percent != std::string::npos) {
    address = text.substr(0, percent);
    zone = text.substr(percent + 1);
    if (zone.empty()) {
      return false;
    }
    for (char c : zone) {
      if (!IsZoneChar(c)) {
        return false;
      }
    }
  }
  in6_addr addr{};
  if (address.empty() || inet_pton(AF_INET6, address.c_str(), &addr) != 1) {
    return false;
  }
  std::memcpy(bytes.data(), addr.s6_addr, 16);
  return true;
}

}  // namespace

bool IpAddress::operator==(const IpAddress& other) const {
  return GetFamily() == other.GetFamily() && GetBinaryAddress() == other.GetBinaryAddress();
}

std::unique_ptr<IpAddress> IpAddress::Parse(const std::string& text) {
  if (Ipv6Address::IsValidAddress(text)) {
    return std::make_unique<Ipv6Address>(text);
  }
  if (Ipv4Address::IsValidAddress(text)) {
    return std::make_unique<Ipv4Address>(text);
  }
  return nullptr;
}

// IPv4

Ipv4Address::Ipv4Address(const std::string& text) {
  if (!ParseIpv4(text, _value)) {
    throw Lib::HostCtlException("Invalid IPv4 address: '" + text + "'");
  }
}

Ipv4Address::Ipv4Address(uint32_t value) : _value(value) {}

bool Ipv4Address::IsValidAddress(const std::string& text) {
  uint32_t value;
  return ParseIpv4(text, value);
}

bool Ipv4Address::IsValidNetmask() const {
  if (_value == 0) {
    return false;
  }
  // Ones followed by zeros: the inverted mask plus one is a power of two.
  uint32_t inverted = ~_value;
  return (inverted & (inverted + 1)) == 0;
}

bool Ipv4Address::IsValidNetmask(const std::string& text) {
  uint32_t value;
  return ParseIpv4(text, value) && Ipv4Address(value).IsValidNetmask();
}

int Ipv4Address::GetPrefixLength() const {
  int length = 0;
  for (uint32_t bit = 0x80000000u; bit != 0 && (_value & bit); bit >>= 1) {
    ++length;
  }
  return length;
}

Ipv4Address Ipv4Address::FromPrefixLength(int prefixLength) {
  if (prefixLength <= 0) {
    return Ipv4Address(0u);
  }
  if (prefixLength >= 32) {
    return Ipv4Address(0xffffffffu);
  }
  return Ipv4Address(~((1u << (32 - prefixLength)) - 1));
}

std::string Ipv4Address::GetStringAddress() const {
  in_addr addr{};
  addr.s_addr = htonl(_value);
  char buffer[INET_ADDRSTRLEN] = {};
  inet_ntop(AF_INET, &addr, buffer, sizeof(buffer));
  return buffer;
}

std::vector<uint8_t> Ipv4Address::GetBinaryAddress() const {
  return {static_cast<uint8_t>(_value >> 24), static_cast<uint8_t>(_value >> 16),
          static_cast<uint8_t>(_value >> 8), static_cast<uint8_t>(_value)};
}

std::unique_ptr<IpAddress> Ipv4Address::Clone() const {
  return std::make_unique<Ipv4Address>(*this);
}

// IPv6

Ipv6Address::Ipv6Address(const std::string& text) {
  if (!ParseIpv6(text, _bytes, _zone)) {
    throw Lib::HostCtlException("Invalid IPv6 address: '" + text + "'");
  }
}

Ipv6Address::Ipv6Address(const std::array<uint8_t, 16>& bytes, std::string zone)
    : _bytes(bytes), _zone(std::move(zone)) {}

bool Ipv6Address::IsValidAddress(const std::string& text) {
  std::array<uint8_t, 16> bytes;
  std::string zone;
  return ParseIpv6(text, bytes, zone);
}

bool Ipv6Address::IsLinkLocal() const {
  return _bytes[0] == 0xfe && (_bytes[1] & 0xc0) == 0x80;
}

std::string Ipv6Address::GetStringAddress() const {
  in6_addr addr{};
  std::memcpy(addr.s6_addr, _bytes.data(), 16);
  char buffer[INET6_ADDRSTRLEN] = {};
  inet_ntop(AF_INET6, &addr, buffer, sizeof(buffer));
  return buffer;
}

std::string Ipv6Address::GetScopedStringAddress() const {
  if (IsUnspecified()) {
    return "";
  }
  if (_zone.empty()) {
    return GetStringAddress();
  }
  return GetStringAddress() + "%" + _zone;
}

std::vector<uint8_t> Ipv6Address::GetBinaryAddress() const {
  return std::vector<uint8_t>(_bytes.begin(), _bytes.end());
}

bool Ipv6Address::IsUnspecified() const {
  for (uint8_t b : _bytes) {
    if (b != 0) {
      return false;
    }
  }
  return true;
}

std::unique_ptr<IpAddress> Ipv6Address::Clone() const {
  return std::make_unique<Ipv6Address>(*this);
}

}  // namespace HostCtl::Network
