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
  // The adapter's record, read for `call` (see Platform::FailIfInjected).
  HostCtl::Network::PnicInfo Info(const char* call) const;

  std::string _name;
};

}  // namespace NexCtl::Network
