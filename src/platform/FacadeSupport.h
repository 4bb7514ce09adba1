// Shared by the facade implementations (not for the console): read the host,
// change it atomically, and fail the way the host library does.
#pragma once

#include <functional>
#include <string>

#include "Backend.h"
#include "HostCtl/ConnectionPoint.h"
#include "HostCtl/HostCtlException.h"
#include "HostCtl/IpConfig.h"
#include "HostState.h"
#include "Platform.h"

namespace Platform {

inline HostState LoadHost() {
  return Current().Load();
}

inline void ModifyHost(const std::function<void(HostState&)>& change) {
  Current().Modify(change);
}

[[noreturn]] inline void Fail(const std::string& what) {
  throw HostCtl::Lib::HostCtlException(what);
}

inline NexNicState& RequireNic(HostState& state, const std::string& name) {
  NexNicState* nic = FindNic(state, name);
  if (!nic)
    Fail("Nexel NIC '" + name + "' not found");
  return *nic;
}

inline void RequireNetStack(const std::string& netStack) {
  if (netStack != "defaultNetStack") {
    Fail("Network stack instance '" + netStack + "' not found");
  }
}

// The IPv4 mode of the state ("dhcp", "none", "static") that `config` asks for.
inline std::string Ipv4ModeOf(const HostCtl::Network::IpConfig& config) {
  return config.GetUseDhcp() ? "dhcp" : config.GetIpv4UseNone() ? "none" : "static";
}

// Snapshots of a connection point as the host library hands them out.
inline HostCtl::Network::PortGroup PortGroupOf(const PortGroupState& pg, const VSwitchState& sw) {
  return {
      pg.name, sw.name, pg.vlanId,
      HostCtl::Network::NicTeamingPolicy(pg.activeUplinks, pg.standbyUplinks, pg.maxActiveUplinks)};
}
inline HostCtl::Network::DVPort DVPortOf(const DVSwitchState& dvs, const DVPortState& port) {
  return {dvs.name,
          dvs.uuid,
          port.key,
          port.portgroupKey,
          port.vlanId,
          HostCtl::Network::NicTeamingPolicy(port.activeUplinks, port.standbyUplinks,
                                             static_cast<int>(port.activeUplinks.size()))};
}

// Takes adapter `pnic` off standard switch `sw` and out of the teaming of
// its port groups.
inline void DetachUplink(VSwitchState& sw, const std::string& pnic) {
  std::erase(sw.uplinks, pnic);
  for (auto& pg : sw.portGroups) {
    std::erase(pg.activeUplinks, pnic);
    std::erase(pg.standbyUplinks, pnic);
  }
}

}  // namespace Platform
