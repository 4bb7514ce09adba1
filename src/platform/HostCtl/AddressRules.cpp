#include "HostCtl/AddressRules.h"

#include <cctype>
#include <string>

namespace HostCtl::Network {

namespace {

// The kinds of IPv4 address that name no single host anywhere, whatever the
// subnet; empty for any other.
std::string Ipv4KindProblem(const Ipv4Address& address) {
  const uint32_t value = address.GetValue();
  const std::string text = address.GetStringAddress();
  if (value == 0xffffffffu) {
    return text + " is the broadcast address.";
  }
  if ((value >> 24) == 0) {
    return text + " is not a host address.";
  }
  if ((value >> 24) == 127) {
    return text + " is a loopback address.";
  }
  if ((value >> 28) == 0xe) {
    return text + " is a multicast address.";
  }
  if ((value >> 28) == 0xf) {
    return text + " is a reserved address.";
  }
  return "";
}

// The network or broadcast address of the subnet of `netmask` that holds
// `address`; empty for any other, and always for /31 and /32, whose
// addresses are all hosts.
std::string SubnetEdgeProblem(const Ipv4Address& address, const Ipv4Address& netmask) {
  if (!netmask.IsValidNetmask() || netmask.GetPrefixLength() >= 31) {
    return "";
  }
  const uint32_t hostBits = ~netmask.GetValue();
  const uint32_t host = address.GetValue() & hostBits;
  if (host == 0) {
    return address.GetStringAddress() + " is the network address of its subnet.";
  }
  if (host == hostBits) {
    return address.GetStringAddress() + " is the broadcast address of its subnet.";
  }
  return "";
}

bool IsIpv4Mapped(const Ipv6Address& address) {
  const auto& bytes = address.GetBytes();
  for (int i = 0; i < 10; ++i) {
    if (bytes[i] != 0) {
      return false;
    }
  }
  return bytes[10] == 0xff && bytes[11] == 0xff;
}

bool IsLoopback(const Ipv6Address& address) {
  const auto& bytes = address.GetBytes();
  for (int i = 0; i < 15; ++i) {
    if (bytes[i] != 0) {
      return false;
    }
  }
  return bytes[15] == 1;
}

bool IsGlobalUnicast(const Ipv6Address& address) {
  return (address.GetBytes()[0] & 0xe0) == 0x20;  // 2000::/3
}

bool IsUniqueLocal(const Ipv6Address& address) {
  return (address.GetBytes()[0] & 0xfe) == 0xfc;  // fc00::/7
}

// What makes an IPv6 address no unicast address at all; empty otherwise.
std::string Ipv6KindProblem(const Ipv6Address& address) {
  const std::string text = address.GetStringAddress();
  if (address.IsUnspecified()) {
    return text + " is not a host address.";
  }
  if (IsLoopback(address)) {
    return text + " is the loopback address.";
  }
  if (address.IsMulticast()) {
    return text + " is a multicast address.";
  }
  if (IsIpv4Mapped(address)) {
    return text + " is an IPv4-mapped address.";
  }
  return "";
}

bool IsLabelChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '-';
}

}  // namespace

std::string Ipv4AddressProblem(const Ipv4Address& address, const Ipv4Address& netmask) {
  std::string problem = Ipv4KindProblem(address);
  return problem.empty() ? SubnetEdgeProblem(address, netmask) : problem;
}

std::string Ipv4GatewayProblem(const Ipv4Address& gateway,
                               const Ipv4Address& address,
                               const Ipv4Address& netmask) {
  if (std::string problem = Ipv4KindProblem(gateway); !problem.empty()) {
    return problem;
  }
  if (gateway == address) {
    return gateway.GetStringAddress() + " is this host's own address.";
  }
  // Only a gateway on the host's own subnet can be one of its edges; one
  // outside it is the router's business.
  if (netmask.IsValidNetmask() &&
      (gateway.GetValue() & netmask.GetValue()) == (address.GetValue() & netmask.GetValue())) {
    return SubnetEdgeProblem(gateway, netmask);
  }
  return "";
}

std::string NameServerProblem(const IpAddress& server) {
  if (server.IsIpv4()) {
    const auto& v4 = static_cast<const Ipv4Address&>(server);
    const std::string text = v4.GetStringAddress();
    if (v4.IsUnspecified()) {
      return text + " is not a host address.";
    }
    if (v4.GetValue() == 0xffffffffu) {
      return text + " is the broadcast address.";
    }
    if ((v4.GetValue() >> 28) == 0xe) {
      return text + " is a multicast address.";
    }
    return "";
  }
  const auto& v6 = static_cast<const Ipv6Address&>(server);
  if (IsIpv4Mapped(v6)) {
    const auto& bytes = v6.GetBytes();
    const uint32_t value = (uint32_t{bytes[12]} << 24) | (uint32_t{bytes[13]} << 16) |
                           (uint32_t{bytes[14]} << 8) | uint32_t{bytes[15]};
    if (!NameServerProblem(Ipv4Address(value)).empty()) {
      return v6.GetStringAddress() + " does not lead to a name server.";
    }
    return "";
  }
  if (v6.IsUnspecified()) {
    return v6.GetStringAddress() + " is not a host address.";
  }
  if (v6.IsMulticast()) {
    return v6.GetStringAddress() + " is a multicast address.";
  }
  return "";
}

std::string Ipv6AddressProblem(const Ipv6Address& address) {
  if (std::string problem = Ipv6KindProblem(address); !problem.empty()) {
    return problem;
  }
  if (address.IsLinkLocal()) {
    return address.GetStringAddress() + " is a link-local address.";
  }
  if (!IsGlobalUnicast(address) && !IsUniqueLocal(address)) {
    return address.GetStringAddress() + " is not a global or unique-local unicast address.";
  }
  return "";
}

std::string Ipv6GatewayProblem(const Ipv6Address& gateway) {
  if (std::string problem = Ipv6KindProblem(gateway); !problem.empty()) {
    return problem;
  }
  if (!gateway.IsLinkLocal() && !IsGlobalUnicast(gateway) && !IsUniqueLocal(gateway)) {
    return gateway.GetStringAddress() +
           " is not a link-local, global or unique-local unicast address.";
  }
  return "";
}

std::string NameProblem(const std::string& name) {
  if (name.empty()) {
    return "The name is empty.";
  }
  if (name.size() > kLongestName) {
    return "A name can have at most " + std::to_string(kLongestName) + " characters.";
  }
  size_t start = 0;
  std::string last;
  while (true) {
    const size_t dot = name.find('.', start);
    const std::string label = name.substr(start, dot == std::string::npos ? dot : dot - start);
    for (char c : label) {
      if (!IsLabelChar(c)) {
        return "A name can only hold letters, digits, \"-\" and \".\".";
      }
    }
    if (label.empty()) {
      return "A name cannot have an empty part before, after or between dots.";
    }
    if (label.size() > kLongestLabel) {
      return "Each part of a name between dots can have at most " +
             std::to_string(kLongestLabel) + " characters.";
    }
    if (label.front() == '-' || label.back() == '-') {
      return "A part of a name cannot begin or end with \"-\".";
    }
    if (dot == std::string::npos) {
      last = label;
      break;
    }
    start = dot + 1;
  }
  bool allDigits = true;
  for (char c : last) {
    allDigits = allDigits && std::isdigit(static_cast<unsigned char>(c));
  }
  if (allDigits) {
    return "The last part of a name cannot be all digits.";
  }
  return "";
}

}  // namespace HostCtl::Network
