#include "AdapterListing.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace Merel {

namespace {

bool BytesBefore(const std::string& a, const std::string& b) {
  const size_t shorter = std::min(a.size(), b.size());
  const int order = memcmp(a.data(), b.data(), shorter);
  return order != 0 ? order < 0 : a.size() < b.size();
}

// What AdapterComesBefore works out of a name, worked out once.
struct ListingKey {
  const std::string* name;
  bool numbered;
  int number;
};

ListingKey KeyOf(const std::string& name) {
  ListingKey key{&name, false, 0};
  key.numbered = sscanf(name.c_str(), "pnic%d", &key.number) == 1;
  return key;
}

// A strict weak order: numbered names compare by number, then bytes; any
// other name compares with all of them as with "pnic0", which for names
// like pnic7 is what comparing bytes gives too (such a name cannot fall
// between two of them without having a number itself).
bool KeyBefore(const ListingKey& a, const ListingKey& b) {
  static const std::string kNumbered = "pnic0";
  if (a.numbered && b.numbered) {
    return a.number != b.number ? a.number < b.number : BytesBefore(*a.name, *b.name);
  }
  return BytesBefore(a.numbered ? kNumbered : *a.name, b.numbered ? kNumbered : *b.name);
}

}  // namespace

Adapter AdapterOf(const HostCtl::Network::PnicInfo& pnic) {
  Adapter adapter;
  adapter.name = pnic.name;
  adapter.label = pnic.label;
  adapter.mac = pnic.mac.GetStringAddress();
  adapter.connected = pnic.linkUp;
  return adapter;
}

bool AdapterComesBefore(const std::string& a, const std::string& b) {
  int numberA = 0;
  int numberB = 0;
  if (sscanf(a.c_str(), "pnic%d", &numberA) == 1 && sscanf(b.c_str(), "pnic%d", &numberB) == 1 &&
      numberA != numberB) {
    return numberA < numberB;
  }
  return BytesBefore(a, b);
}

std::vector<size_t> AdapterListingOrder(const std::vector<std::string>& names) {
  std::vector<ListingKey> keys;
  keys.reserve(names.size());
  for (const std::string& name : names) {
    keys.push_back(KeyOf(name));
  }
  std::vector<size_t> order(names.size());
  for (size_t i = 0; i < order.size(); ++i) {
    order[i] = i;
  }
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return KeyBefore(keys[a], keys[b]); });
  return order;
}

}  // namespace Merel
