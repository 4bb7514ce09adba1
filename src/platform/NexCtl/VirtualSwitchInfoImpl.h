#pragma once

#include <string>
#include <vector>

#include "HostCtl/NetworkRecords.h"

namespace NexCtl::Network {

class VirtualSwitchInfoImpl {
 public:
  static constexpr int kDefaultNumPorts = 128;

  std::vector<HostCtl::Network::VirtualSwitch> GetVirtualSwitches();
  std::vector<HostCtl::Network::DVSwitch> GetDVSwitches();
  // Throws when the name is taken.
  void AddVirtualSwitch(const std::string& name, int numPorts = kDefaultNumPorts);
  void RemoveVirtualSwitch(const std::string& name);
  // An adapter is an uplink of at most one switch: adding it here removes it
  // from any other standard switch (and from those switches' teaming).
  void AddUplink(const std::string& switchName, const std::string& pnic);
  void RemoveUplink(const std::string& switchName, const std::string& pnic);
};

// The kernel's view of switches (portsets).
class PortsetImpl {
 public:
  bool IsValidVirtualSwitch(const std::string& name);
};

}  // namespace NexCtl::Network
