#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "HostCtl/ConnectionPoint.h"
#include "HostCtl/NicTeamingPolicy.h"

namespace NexCtl::Network {

// Port groups of the standard switches, by (host-wide unique) name.
class PortGroupImpl {
 public:
  bool IsValidPortGroup(const std::string& name);
  // Null when there is no such port group.
  std::unique_ptr<HostCtl::Network::PortGroup> GetPortGroup(const std::string& name);
  void AddPortGroup(const std::string& switchName, const std::string& name, uint16_t vlanId = 0);
  void RemovePortGroup(const std::string& name);
  void SetVlanId(const std::string& name, uint16_t vlanId);
  // The uplinks of the policy must be uplinks of the port group's switch.
  void SetTeamingPolicy(const std::string& name, const HostCtl::Network::NicTeamingPolicy& policy);
};

}  // namespace NexCtl::Network
