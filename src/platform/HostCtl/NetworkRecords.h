// Read-only records of the host's physical adapters and switches.
#pragma once

#include <string>
#include <vector>

#include "HostCtl/MacAddress.h"

namespace HostCtl::Network {

struct PnicInfo {
  std::string name;  // "pnic0"
  MacAddress mac;
  std::string label;       // the PCI device's label, may be empty
  std::string pciAddress;  // "0000:18:00.0"
  std::string driver;
  bool linkUp = false;
  int speedMbps = 0;
  bool fullDuplex = false;
};

struct PortGroupInfo {
  std::string name;
  unsigned vlanId = 0;
};

struct VirtualSwitch {
  std::string name;  // "vSwitch0"
  int numPorts = 0;
  int mtu = 1500;
  std::vector<std::string> uplinks;
  std::vector<PortGroupInfo> portGroups;
};

struct DVSwitch {
  std::string name;
  std::string uuid;
  std::vector<std::string> uplinks;
};

}  // namespace HostCtl::Network
