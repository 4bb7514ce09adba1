#include "HostCtl/MacAddress.h"

#include <cctype>
#include <cstdio>

#include "HostCtl/HostCtlException.h"

namespace HostCtl::Network {

namespace {

int HexValue(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  return -1;
}

bool Parse(const std::string& text, std::array<uint8_t, 6>& bytes) {
  if (text.size() != 17) {
    return false;
  }
  char separator = text[2];
  if (separator != ':' && separator != '-') {
    return false;
  }
  for (int i = 0; i < 6; ++i) {
    int high = HexValue(text[i * 3]);
    int low = HexValue(text[i * 3 + 1]);
    if (high < 0 || low < 0 || (i < 5 && text[i * 3 + 2] != separator)) {
      return false;
    }
    bytes[i] = static_cast<uint8_t>(high * 16 + low);
  }
  return true;
}

}  // namespace

MacAddress::MacAddress(const std::string& text) {
  if (!Parse(text, _bytes)) {
    throw Lib::HostCtlException("Invalid MAC address: '" + text + "'");
  }
}

bool MacAddress::IsValid(const std::string& text) {
  std::array<uint8_t, 6> bytes;
  return Parse(text, bytes);
}

std::string MacAddress::GetStringAddress() const {
  char buffer[18];
  std::snprintf(buffer, sizeof(buffer), "%02x:%02x:%02x:%02x:%02x:%02x", _bytes[0], _bytes[1],
                _bytes[2], _bytes[3], _bytes[4], _bytes[5]);
  return buffer;
}

bool MacAddress::IsZero() const {
  for (uint8_t b : _bytes) {
    if (b != 0)
      return false;
  }
  return true;
}

}  // namespace HostCtl::Network
