#include "NexCtl/DVPortImpl.h"

#include <algorithm>

#include "FacadeSupport.h"

namespace NexCtl::Network {

namespace {

Platform::DVSwitchState& Require(Platform::HostState& state, const std::string& name) {
  Platform::DVSwitchState* dvs = Platform::FindDVSwitch(state, name);
  if (!dvs)
    Platform::Fail("Distributed switch '" + name + "' not found");
  return *dvs;
}

}  // namespace

std::vector<HostCtl::Network::DVPort> DVPortImpl::GetPorts(const std::string& dvSwitch) {
  Platform::HostState state = Platform::LoadHost("DVPortImpl.GetPorts");
  const auto& dvs = Require(state, dvSwitch);
  std::vector<HostCtl::Network::DVPort> ports;
  for (const auto& port : dvs.ports)
    ports.push_back(Platform::DVPortOf(dvs, port));
  return ports;
}

std::string DVPortImpl::AddHostLocalPort(const std::string& dvSwitch,
                                         const std::string& templatePortKey,
                                         const std::vector<std::string>& uplinks) {
  std::string key;
  Platform::ModifyHost("DVPortImpl.AddHostLocalPort", [&](Platform::HostState& state) {
    auto& dvs = Require(state, dvSwitch);
    Platform::DVPortState port;
    for (const auto& existing : dvs.ports) {
      if (existing.key == templatePortKey)
        port = existing;
    }
    int number = 0;
    do {
      key = "hlp-" + dvs.name + "#" + std::to_string(number++);
    } while (std::any_of(dvs.ports.begin(), dvs.ports.end(),
                         [&](const Platform::DVPortState& p) { return p.key == key; }));
    port.key = key;
    // A host-local port starts unblocked whatever its template was.
    port.blocked = false;
    port.activeUplinks = uplinks;
    port.standbyUplinks.clear();
    for (const auto& uplink : uplinks) {
      if (std::find(dvs.uplinks.begin(), dvs.uplinks.end(), uplink) == dvs.uplinks.end()) {
        Platform::Fail("'" + uplink + "' is not an uplink of '" + dvSwitch + "'");
      }
    }
    dvs.ports.push_back(port);
  });
  return key;
}

void DVPortImpl::RemoveHostLocalPort(const std::string& dvSwitch, const std::string& portKey) {
  Platform::ModifyHost("DVPortImpl.RemoveHostLocalPort", [&](Platform::HostState& state) {
    auto& dvs = Require(state, dvSwitch);
    if (portKey.rfind("hlp-", 0) != 0) {
      Platform::Fail("Port '" + portKey + "' is not a host-local port");
    }
    for (const auto& nic : state.network.nics) {
      if (nic.dvSwitch == dvSwitch && nic.dvPort == portKey) {
        Platform::Fail("Port '" + portKey + "' is in use by " + nic.name);
      }
    }
    const auto erased = std::erase_if(
        dvs.ports, [&](const Platform::DVPortState& port) { return port.key == portKey; });
    if (erased == 0) {
      Platform::Fail("Port '" + portKey + "' not found on '" + dvSwitch + "'");
    }
  });
}

void DVPortImpl::SetTeamingPolicy(const std::string& dvSwitch,
                                  const std::string& portKey,
                                  const HostCtl::Network::NicTeamingPolicy& policy) {
  Platform::ModifyHost("DVPortImpl.SetTeamingPolicy", [&](Platform::HostState& state) {
    auto& dvs = Require(state, dvSwitch);
    for (const auto& uplink : policy.GetUplinks()) {
      if (std::find(dvs.uplinks.begin(), dvs.uplinks.end(), uplink) == dvs.uplinks.end()) {
        Platform::Fail("'" + uplink + "' is not an uplink of '" + dvSwitch + "'");
      }
    }
    for (auto& port : dvs.ports) {
      if (port.key == portKey) {
        port.activeUplinks = policy.GetActiveUplinks();
        port.standbyUplinks = policy.GetStandbyUplinks();
        return;
      }
    }
    Platform::Fail("Port '" + portKey + "' not found on '" + dvSwitch + "'");
  });
}

void DVPortImpl::AddUplink(const std::string& dvSwitch, const std::string& pnic) {
  Platform::ModifyHost("DVPortImpl.AddUplink", [&](Platform::HostState& state) {
    if (!Platform::FindPnic(state, pnic))
      Platform::Fail("Physical NIC '" + pnic + "' not found");
    auto& dvs = Require(state, dvSwitch);
    for (auto& sw : state.network.vswitches) {
      if (std::find(sw.uplinks.begin(), sw.uplinks.end(), pnic) != sw.uplinks.end()) {
        Platform::Fail("'" + pnic + "' is in use by '" + sw.name + "'");
      }
    }
    if (std::find(dvs.uplinks.begin(), dvs.uplinks.end(), pnic) == dvs.uplinks.end()) {
      dvs.uplinks.push_back(pnic);
    }
  });
}

void DVPortImpl::RemoveUplink(const std::string& dvSwitch, const std::string& pnic) {
  Platform::ModifyHost("DVPortImpl.RemoveUplink", [&](Platform::HostState& state) {
    auto& dvs = Require(state, dvSwitch);
    std::erase(dvs.uplinks, pnic);
    for (auto& port : dvs.ports) {
      std::erase(port.activeUplinks, pnic);
      std::erase(port.standbyUplinks, pnic);
    }
  });
}

}  // namespace NexCtl::Network
