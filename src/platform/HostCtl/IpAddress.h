// Network addresses as the host library passes them around. These are plain
// values: parsing and formatting go through inet_pton/inet_ntop so that the
// console accepts exactly what the host's own stack accepts.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace HostCtl::Network {

class IpAddress {
 public:
  enum class Family { kIpv4, kIpv6 };

  virtual ~IpAddress() = default;

  virtual Family GetFamily() const = 0;
  bool IsIpv4() const { return GetFamily() == Family::kIpv4; }
  bool IsIpv6() const { return GetFamily() == Family::kIpv6; }

  // Canonical text ("192.168.1.1", "fe80::1").
  virtual std::string GetStringAddress() const = 0;
  // Text including an IPv6 zone ("fe80::1%nex0"); for IPv4 the same as
  // GetStringAddress. The unspecified IPv6 address has an empty scoped form.
  virtual std::string GetScopedStringAddress() const { return GetStringAddress(); }
  // Network byte order: 4 bytes for IPv4, 16 for IPv6.
  virtual std::vector<uint8_t> GetBinaryAddress() const = 0;
  // 0.0.0.0 or ::
  virtual bool IsUnspecified() const = 0;
  virtual std::unique_ptr<IpAddress> Clone() const = 0;

  // Same family and same binary address (an IPv6 zone is not compared).
  bool operator==(const IpAddress& other) const;
  bool operator!=(const IpAddress& other) const { return !(*this == other); }

  // IPv6 is tried first (as the console's dialogs do), then IPv4; null when
  // the text is neither.
  static std::unique_ptr<IpAddress> Parse(const std::string& text);
};

class Ipv4Address : public IpAddress {
 public:
  Ipv4Address() = default;  // 0.0.0.0
  // Throws HostCtl::Lib::HostCtlException when `text` is not dotted IPv4.
  explicit Ipv4Address(const std::string& text);
  explicit Ipv4Address(const char* text) : Ipv4Address(std::string(text)) {}
  // Host byte order, 0xC0A80001 = 192.168.0.1.
  explicit Ipv4Address(uint32_t value);

  static bool IsValidAddress(const std::string& text);
  // A netmask is a run of one bits from the top followed only by zeros;
  // 0.0.0.0 is not a usable netmask.
  bool IsValidNetmask() const;
  static bool IsValidNetmask(const std::string& text);
  // Number of leading one bits (meaningful for a valid netmask).
  int GetPrefixLength() const;
  static Ipv4Address FromPrefixLength(int prefixLength);

  uint32_t GetValue() const { return _value; }  // host byte order

  Family GetFamily() const override { return Family::kIpv4; }
  std::string GetStringAddress() const override;
  std::vector<uint8_t> GetBinaryAddress() const override;
  bool IsUnspecified() const override { return _value == 0; }
  std::unique_ptr<IpAddress> Clone() const override;

  bool operator==(const Ipv4Address& other) const { return _value == other._value; }
  bool operator!=(const Ipv4Address& other) const { return _value != other._value; }
  bool operator<(const Ipv4Address& other) const { return _value < other._value; }

 private:
  uint32_t _value = 0;
};

class Ipv6Address : public IpAddress {
 public:
  Ipv6Address() = default;  // ::
  // Accepts an optional zone ("fe80::1%nex0"). Throws HostCtlException when
  // `text` is not an IPv6 address.
  explicit Ipv6Address(const std::string& text);
  explicit Ipv6Address(const char* text) : Ipv6Address(std::string(text)) {}
  explicit Ipv6Address(const std::array<uint8_t, 16>& bytes, std::string zone = "");

  // inet_pton's IPv6 syntax, optionally followed by "%" and a non-empty zone
  // made of letters, digits, ".", "_" and "-".
  static bool IsValidAddress(const std::string& text);

  // fe80::/10: first byte 0xfe, top two bits of the second byte 10.
  bool IsLinkLocal() const;
  bool IsMulticast() const { return _bytes[0] == 0xff; }
  const std::string& GetZone() const { return _zone; }
  void SetZone(std::string zone) { _zone = std::move(zone); }
  const std::array<uint8_t, 16>& GetBytes() const { return _bytes; }

  Family GetFamily() const override { return Family::kIpv6; }
  std::string GetStringAddress() const override;
  std::string GetScopedStringAddress() const override;
  std::vector<uint8_t> GetBinaryAddress() const override;
  bool IsUnspecified() const override;
  std::unique_ptr<IpAddress> Clone() const override;

  bool operator==(const Ipv6Address& other) const { return _bytes == other._bytes; }
  bool operator!=(const Ipv6Address& other) const { return _bytes != other._bytes; }
  bool operator<(const Ipv6Address& other) const { return _bytes < other._bytes; }

 private:
  std::array<uint8_t, 16> _bytes{};
  std::string _zone;
};

}  // namespace HostCtl::Network
