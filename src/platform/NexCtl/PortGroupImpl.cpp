#include "NexCtl/PortGroupImpl.h"

#include <algorithm>

#include "FacadeSupport.h"

namespace NexCtl::Network {

bool PortGroupImpl::IsValidPortGroup(const std::string& name) {
  Platform::HostState state = Platform::LoadHost("PortGroupImpl.IsValidPortGroup");
  return Platform::FindPortGroup(state, name) != nullptr;
}

std::unique_ptr<HostCtl::Network::PortGroup> PortGroupImpl::GetPortGroup(const std::string& name) {
  Platform::HostState state = Platform::LoadHost("PortGroupImpl.GetPortGroup");
  Platform::VSwitchState* owner = nullptr;
  Platform::PortGroupState* pg = Platform::FindPortGroup(state, name, &owner);
  if (!pg) {
    return nullptr;
  }
  return std::make_unique<HostCtl::Network::PortGroup>(Platform::PortGroupOf(*pg, *owner));
}

void PortGroupImpl::AddPortGroup(const std::string& switchName,
                                 const std::string& name,
                                 uint16_t vlanId) {
  if (name.empty() || vlanId > 4095) {
    Platform::Fail("Invalid port group '" + name + "'");
  }
  Platform::ModifyHost("PortGroupImpl.AddPortGroup", [&](Platform::HostState& state) {
    if (Platform::FindPortGroup(state, name)) {
      Platform::Fail("A port group named '" + name + "' already exists");
    }
    Platform::VSwitchState* sw = Platform::FindVSwitch(state, switchName);
    if (!sw)
      Platform::Fail("Virtual switch '" + switchName + "' not found");
    Platform::PortGroupState pg;
    pg.name = name;
    pg.vlanId = vlanId;
    pg.activeUplinks = sw->uplinks;  // a new port group follows its switch
    sw->portGroups.push_back(pg);
  });
}

void PortGroupImpl::RemovePortGroup(const std::string& name) {
  Platform::ModifyHost("PortGroupImpl.RemovePortGroup", [&](Platform::HostState& state) {
    for (const auto& nic : state.network.nics) {
      if (nic.portGroup == name)
        Platform::Fail("Port group '" + name + "' is in use by " + nic.name);
    }
    for (auto& sw : state.network.vswitches) {
      auto& groups = sw.portGroups;
      auto it =
          std::find_if(groups.begin(), groups.end(), [&](auto& pg) { return pg.name == name; });
      if (it != groups.end()) {
        groups.erase(it);
        return;
      }
    }
    Platform::Fail("Port group '" + name + "' not found");
  });
}

void PortGroupImpl::SetVlanId(const std::string& name, uint16_t vlanId) {
  if (vlanId > 4095) {
    Platform::Fail("Invalid VLAN ID " + std::to_string(vlanId));
  }
  Platform::ModifyHost("PortGroupImpl.SetVlanId", [&](Platform::HostState& state) {
    Platform::PortGroupState* pg = Platform::FindPortGroup(state, name);
    if (!pg)
      Platform::Fail("Port group '" + name + "' not found");
    pg->vlanId = vlanId;
  });
}

void PortGroupImpl::SetTeamingPolicy(const std::string& name,
                                     const HostCtl::Network::NicTeamingPolicy& policy) {
  Platform::ModifyHost("PortGroupImpl.SetTeamingPolicy", [&](Platform::HostState& state) {
    Platform::VSwitchState* owner = nullptr;
    Platform::PortGroupState* pg = Platform::FindPortGroup(state, name, &owner);
    if (!pg)
      Platform::Fail("Port group '" + name + "' not found");
    for (const auto& uplink : policy.GetUplinks()) {
      if (!Platform::FindPnic(state, uplink)) {
        Platform::Fail("Physical NIC '" + uplink + "' not found");
      }
      for (const auto& dvs : state.network.dvswitches) {
        if (std::find(dvs.uplinks.begin(), dvs.uplinks.end(), uplink) != dvs.uplinks.end()) {
          Platform::Fail("'" + uplink + "' is in use by distributed switch '" + dvs.name + "'");
        }
      }
      // An adapter named in the policy becomes an uplink of the switch,
      // leaving any other standard switch.
      for (auto& sw : state.network.vswitches) {
        if (&sw != owner)
          Platform::DetachUplink(sw, uplink);
      }
      if (std::find(owner->uplinks.begin(), owner->uplinks.end(), uplink) == owner->uplinks.end()) {
        owner->uplinks.push_back(uplink);
      }
    }
    pg->activeUplinks = policy.GetActiveUplinks();
    pg->standbyUplinks = policy.GetStandbyUplinks();
    pg->maxActiveUplinks = policy.GetMaxActiveUplinks();
  });
}

}  // namespace NexCtl::Network
