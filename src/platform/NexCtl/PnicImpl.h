#pragma once

#include <string>

#include "HostCtl/MacAddress.h"
#include "HostCtl/NetworkRecords.h"

namespace NexCtl::Network {

// One physical adapter, by name ("pnic0").
class PnicImpl {
 public:
  explicit PnicImpl(std::string name) : _name(std::move(name)) {}
  HostCtl::Network::MacAddress GetMacAddress();
  HostCtl::Network::PnicInfo GetInfo();
  bool IsLinkUp();

 private:
  std::string _name;
};

}  // namespace NexCtl::Network
