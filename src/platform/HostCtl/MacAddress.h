#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace HostCtl::Network {

class MacAddress {
 public:
  MacAddress() = default;  // 00:00:00:00:00:00
  // "00:50:56:a1:b2:c3" (or with "-"); throws HostCtlException otherwise.
  explicit MacAddress(const std::string& text);
  explicit MacAddress(const std::array<uint8_t, 6>& bytes) : _bytes(bytes) {}

  static bool IsValid(const std::string& text);
  // Lower-case, colon separated.
  std::string GetStringAddress() const;
  const std::array<uint8_t, 6>& GetBytes() const { return _bytes; }
  bool IsZero() const;

  bool operator==(const MacAddress& other) const { return _bytes == other._bytes; }
  bool operator!=(const MacAddress& other) const { return _bytes != other._bytes; }

 private:
  std::array<uint8_t, 6> _bytes{};
};

}  // namespace HostCtl::Network
