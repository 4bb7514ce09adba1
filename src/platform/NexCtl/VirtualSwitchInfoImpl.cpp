#include "NexCtl/VirtualSwitchInfoImpl.h"

#include <algorithm>

#include "FacadeSupport.h"

namespace NexCtl::Network {

std::vector<HostCtl::Network::VirtualSwitch> VirtualSwitchInfoImpl::GetVirtualSwitches() {
  std::vector<HostCtl::Network::VirtualSwitch> result;
  for (const auto& sw :
       Platform::LoadHost("VirtualSwitchInfoImpl.GetVirtualSwitches").network.vswitches) {
    HostCtl::Network::VirtualSwitch record;
    record.name = sw.name;
    record.numPorts = sw.numPorts;
    record.mtu = sw.mtu;
    record.uplinks = sw.uplinks;
    for (const auto& pg : sw.portGroups)
      record.portGroups.push_back({pg.name, pg.vlanId});
    result.push_back(record);
  }
  return result;
}

std::vector<HostCtl::Network::DVSwitch> VirtualSwitchInfoImpl::GetDVSwitches() {
  std::vector<HostCtl::Network::DVSwitch> result;
  for (const auto& dvs :
       Platform::LoadHost("VirtualSwitchInfoImpl.GetDVSwitches").network.dvswitches) {
    result.push_back({dvs.name, dvs.uuid, dvs.uplinks});
  }
  return result;
}

void VirtualSwitchInfoImpl::AddVirtualSwitch(const std::string& name, int numPorts) {
  if (name.empty() || numPorts <= 0) {
    Platform::Fail("Invalid virtual switch '" + name + "'");
  }
  Platform::ModifyHost("VirtualSwitchInfoImpl.AddVirtualSwitch", [&](Platform::HostState& state) {
    if (Platform::FindVSwitch(state, name) || Platform::FindDVSwitch(state, name)) {
      Platform::Fail("A virtual switch named '" + name + "' already exists");
    }
    Platform::VSwitchState sw;
    sw.name = name;
    sw.numPorts = numPorts;
    state.network.vswitches.push_back(sw);
  });
}

void VirtualSwitchInfoImpl::RemoveVirtualSwitch(const std::string& name) {
  Platform::ModifyHost(
      "VirtualSwitchInfoImpl.RemoveVirtualSwitch", [&](Platform::HostState& state) {
        auto& list = state.network.vswitches;
        auto it = std::find_if(list.begin(), list.end(), [&](auto& sw) { return sw.name == name; });
        if (it == list.end())
          Platform::Fail("Virtual switch '" + name + "' not found");
        for (const auto& pg : it->portGroups) {
          for (const auto& nic : state.network.nics) {
            if (nic.portGroup == pg.name) {
              Platform::Fail("Virtual switch '" + name + "' is in use by " + nic.name);
            }
          }
        }
        list.erase(it);
      });
}

void VirtualSwitchInfoImpl::AddUplink(const std::string& switchName, const std::string& pnic) {
  Platform::ModifyHost("VirtualSwitchInfoImpl.AddUplink", [&](Platform::HostState& state) {
    if (!Platform::FindPnic(state, pnic))
      Platform::Fail("Physical NIC '" + pnic + "' not found");
    Platform::VSwitchState* target = Platform::FindVSwitch(state, switchName);
    if (!target)
      Platform::Fail("Virtual switch '" + switchName + "' not found");
    for (auto& sw : state.network.vswitches) {
      if (sw.name != switchName)
        Platform::DetachUplink(sw, pnic);
    }
    // An adapter serves one switch: taken from a distributed switch, it
    // leaves that switch's ports as well.
    for (auto& dvs : state.network.dvswitches) {
      std::erase(dvs.uplinks, pnic);
      for (auto& port : dvs.ports) {
        std::erase(port.activeUplinks, pnic);
        std::erase(port.standbyUplinks, pnic);
      }
    }
    if (std::find(target->uplinks.begin(), target->uplinks.end(), pnic) == target->uplinks.end()) {
      target->uplinks.push_back(pnic);
    }
  });
}

void VirtualSwitchInfoImpl::RemoveUplink(const std::string& switchName, const std::string& pnic) {
  Platform::ModifyHost("VirtualSwitchInfoImpl.RemoveUplink", [&](Platform::HostState& state) {
    Platform::VSwitchState* sw = Platform::FindVSwitch(state, switchName);
    if (!sw)
      Platform::Fail("Virtual switch '" + switchName + "' not found");
    if (std::find(sw->uplinks.begin(), sw->uplinks.end(), pnic) == sw->uplinks.end()) {
      Platform::Fail("'" + pnic + "' is not an uplink of '" + switchName + "'");
    }
    Platform::DetachUplink(*sw, pnic);
  });
}

bool PortsetImpl::IsValidVirtualSwitch(const std::string& name) {
  Platform::HostState state = Platform::LoadHost("PortsetImpl.IsValidVirtualSwitch");
  return Platform::FindVSwitch(state, name) || Platform::FindDVSwitch(state, name);
}

}  // namespace NexCtl::Network
