#pragma once

#include <string>
#include <vector>

#include "HostCtl/ConnectionPoint.h"

namespace NexCtl::Network {

// Ports of the distributed switches this host is a member of.
class DVPortImpl {
 public:
  std::vector<HostCtl::Network::DVPort> GetPorts(const std::string& dvSwitch);
  // Creates a host-local port ("hlp-<switch>#<n>") copying the settings of
  // `templatePortKey` (when the switch has it) with `uplinks` as its active
  // uplinks, unblocked; returns its key.
  std::string AddHostLocalPort(const std::string& dvSwitch,
                               const std::string& templatePortKey,
                               const std::vector<std::string>& uplinks);
  void AddUplink(const std::string& dvSwitch, const std::string& pnic);
  void RemoveUplink(const std::string& dvSwitch, const std::string& pnic);
};

}  // namespace NexCtl::Network
