#pragma once

#include <memory>
#include <string>
#include <vector>

#include "HostCtl/IpConfig.h"
#include "NexCtl/NexNic.h"

namespace NexCtl::Network {

// The host's kernel NICs.
class NexelNicInfoImpl {
 public:
  std::vector<std::unique_ptr<HostCtl::Network::NexNic>> GetNexelNics();
  // Null when there is no such NIC.
  std::unique_ptr<HostCtl::Network::NexNic> GetNexelNic(const std::string& name);
  // Creates a NIC on a standard port group.
  void AddNexelNic(const std::string& name,
                   const std::string& portGroup,
                   const HostCtl::Network::IpConfig& config,
                   bool management);
  void RemoveNexelNic(const std::string& name);
  // Moves a NIC onto a standard port group (from wherever it was).
  void MoveToPortGroup(const std::string& name, const std::string& portGroup);
  // Moves a NIC onto a port of a distributed switch.
  void MoveToDVPort(const std::string& name,
                    const std::string& dvSwitch,
                    const std::string& portKey);
};

}  // namespace NexCtl::Network
