// Shared by the facade implementations (not for the console): read the host,
// change it atomically, and fail the way the host library does.
#pragma once

#include <functional>
#include <string>

#include "Backend.h"
#include "HostCtl/ConnectionPoint.h"
#include "HostCtl/HostRecords.h"
#include "HostCtl/HostCtlException.h"
#include "HostCtl/IpConfig.h"
#include "HostCtl/NetworkRecords.h"
#include "HostState.h"
#include "Platform.h"

namespace Platform {

// Every facade call names itself ("NexNic.SetIpConfig", listed in
// Faults.cpp) when it reads or changes the host, so that a fault injected
// for it fails the call before it does anything, from the very state the
// call reads anyway: with no fault set this costs nothing.

// Throws the injected fault of `call`, if `state` has one. A once-fault is
// removed (atomically, Backend::Modify) by the call that it fails.
void FailIfInjected(const char* call, const HostState& state);
// The same for a call that does not read the host otherwise.
void FailIfInjected(const char* call);

inline HostState LoadHost(const char* call) {
  HostState state = Current().Load();
  FailIfInjected(call, state);
  return state;
}

// Host::GetHardwareInfo, checked against the faults of `call`.
HostCtl::Hardware::HardwareInfo ReadHardwareInfo(const char* call);

// `change` runs only when no fault is injected for `call`; the check and the
// change are one read-modify-write.
void ModifyHost(const char* call, const std::function<void(HostState&)>& change);

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
                                             static_cast<int>(port.activeUplinks.size())),
          port.blocked};
}

inline HostCtl::Network::PnicInfo PnicInfoOf(const PnicState& pnic) {
  HostCtl::Network::PnicInfo info;
  info.name = pnic.name;
  if (!pnic.mac.empty())
    info.mac = HostCtl::Network::MacAddress(pnic.mac);
  info.label = pnic.label;
  info.pciAddress = pnic.pciAddress;
  info.driver = pnic.driver;
  info.linkUp = pnic.linkUp;
  info.speedMbps = pnic.linkUp ? pnic.speedMbps : 0;
  info.fullDuplex = pnic.fullDuplex;
  return info;
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
