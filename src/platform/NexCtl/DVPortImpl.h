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
  // Removes a host-local port that no kernel NIC uses any more. The ports of
  // the switch's manager are not the host's to remove.
  void RemoveHostLocalPort(const std::string& dvSwitch, const std::string& portKey);
  // The active and standby uplinks of one port; they must be uplinks of the
  // switch.
  void SetTeamingPolicy(const std::string& dvSwitch,
                        const std::string& portKey,
                        const HostCtl::Network::NicTeamingPolicy& policy);
  void AddUplink(const std::string& dvSwitch, const std::string& pnic);
  void RemoveUplink(const std::string& dvSwitch, const std::string& pnic);
};

}  // namespace NexCtl::Network
