// The physical adapters as the adapter lists show them, and the order they
// are listed in; shared by the adapter dialogs and the repairs that offer
// adapters.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "HostCtl/NetworkRecords.h"

namespace Merel {

// One physical adapter as the adapters dialogs show it. A value the host
// could not give is empty (the name is always known).
struct Adapter {
  std::string name;
  std::optional<std::string> label;
  std::optional<std::string> mac;
  std::optional<bool> connected;
  // The switch whose uplink the adapter is: "" when none is, nothing when
  // the switches could not be read.
  std::optional<std::string> usedBy = std::string();
};

// What the host lists of an adapter; its user is left for the caller.
Adapter AdapterOf(const HostCtl::Network::PnicInfo& pnic);

// The listing order of adapter names: pnic2 before pnic10, other names
// byte by byte with a prefix first.
bool AdapterComesBefore(const std::string& a, const std::string& b);

// The positions of `names` in listing order, by one stable sort that reads
// each name once. It agrees with AdapterComesBefore wherever that is a
// consistent order; where odd names make it go round in a circle
// ("pnic 5" < "pnic+" < "pnic3" < "pnic 5"), a name with a number sits with
// the others that have one.
std::vector<size_t> AdapterListingOrder(const std::vector<std::string>& names);

}  // namespace Merel
