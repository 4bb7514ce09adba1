// Which well-formed values still mean nothing on a network. Parsing says
// whether a text is an address or a name at all; these rules say whether a
// host can use it as its address, gateway, name server or name. The network
// dialogs and the host library's setters both ask here, so that a value one of
// them refuses can never be stored by the other.
//
// Every rule returns an empty string for a usable value, otherwise one
// sentence saying why not, written for the user ("127.0.0.1 is a loopback
// address."); the dialogs show it before their usual "Please reenter" text and
// the setters put it into their exception.
#pragma once

#include <string>

#include "HostCtl/IpAddress.h"

namespace HostCtl::Network {

// The host's own IPv4 address on the subnet of `netmask` (a valid netmask):
// not 0.0.0.0/8, loopback, multicast, reserved or 255.255.255.255, and not the
// network or broadcast address of its subnet (a /31 or /32 has neither).
std::string Ipv4AddressProblem(const Ipv4Address& address, const Ipv4Address& netmask);

// An IPv4 default gateway of a host with `address` on `netmask`: the same
// kinds are refused as for an address, and so is the host's own address. A
// gateway outside the host's subnet is allowed; inside it, its network and
// broadcast addresses are not.
std::string Ipv4GatewayProblem(const Ipv4Address& gateway,
                               const Ipv4Address& address,
                               const Ipv4Address& netmask);

// A name server of either family: not unspecified, broadcast or multicast
// (an IPv4-mapped IPv6 address is judged by its IPv4 address).
std::string NameServerProblem(const IpAddress& server);

// A static IPv6 address: only global (2000::/3) and unique-local (fc00::/7)
// unicast addresses; IPv4-mapped ones are refused.
std::string Ipv6AddressProblem(const Ipv6Address& address);

// An IPv6 default gateway: a link-local, global or unique-local unicast
// address.
std::string Ipv6GatewayProblem(const Ipv6Address& gateway);

// A host name, a fully qualified name, a domain or a search suffix: 1 to 253
// characters of letters, digits, "-" and "."; no empty label; labels of at
// most 63 characters that neither begin nor end with "-"; and a last label
// that is not all digits (so "0.0.0.0" or "10" cannot pass for a name).
std::string NameProblem(const std::string& name);

// The longest name DNS can carry, and the longest of its labels.
inline constexpr size_t kLongestName = 253;
inline constexpr size_t kLongestLabel = 63;

}  // namespace HostCtl::Network
