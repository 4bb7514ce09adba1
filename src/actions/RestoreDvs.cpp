#include "RestoreDvs.h"

#include <syslog.h>

#include <algorithm>
#include <map>
#include <memory>
#include <regex>

#include "AdapterListing.h"
#include "Command.h"
#include "HostCtl/HostCtlException.h"
#include "NetworkSettings.h"
#include "NexCtl/DVPortImpl.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/NexelNicInfoImpl.h"
#include "NexCtl/VirtualSwitchInfoImpl.h"
#include "Platform.h"

namespace Merel {

using HostCtl::Network::ConnectionPoint;
using HostCtl::Network::DVPort;
using HostCtl::Network::PnicInfo;

namespace {

bool Contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

DvsPortHealth PortHealth(const DVPort* port, const std::vector<PnicInfo>& pnics) {
  DvsPortHealth health;
  if (port == nullptr) {
    health.missing = true;
    return health;
  }
  health.blocked = port->IsBlocked();
  health.noLink = std::none_of(
      port->GetTeamingPolicy().GetActiveUplinks().begin(),
      port->GetTeamingPolicy().GetActiveUplinks().end(), [&](const std::string& uplink) {
        return std::any_of(pnics.begin(), pnics.end(), [&](const PnicInfo& pnic) {
          return pnic.name == uplink && pnic.linkUp;
        });
      });
  return health;
}

std::vector<DvsUplinkCandidate> UplinkCandidates(
    const std::vector<PnicInfo>& pnics,
    const std::vector<HostCtl::Network::VirtualSwitch>& vswitches,
    const std::vector<HostCtl::Network::DVSwitch>& dvswitches,
    const std::string& dvSwitch,
    const std::vector<std::string>& activeUplinks) {
  std::map<std::string, std::string> standardUsers;
  for (const auto& vswitch : vswitches) {
    for (const std::string& uplink : vswitch.uplinks) {
      standardUsers[uplink] = vswitch.name;
    }
  }
  std::vector<std::string> own;
  std::vector<std::string> elsewhere;
  for (const auto& dvs : dvswitches) {
    for (const std::string& uplink : dvs.uplinks) {
      (dvs.name == dvSwitch ? own : elsewhere).push_back(uplink);
    }
  }

  std::vector<DvsUplinkCandidate> offered;
  auto offer = [&](DvsUplinkCandidate candidate) {
    candidate.active = Contains(activeUplinks, candidate.adapter.name);
    offered.push_back(std::move(candidate));
  };
  for (const PnicInfo& pnic : pnics) {
    DvsUplinkCandidate candidate;
    candidate.adapter = AdapterOf(pnic);
    candidate.speedMbps = pnic.speedMbps;
    if (Contains(own, pnic.name)) {
      candidate.adapter.usedBy = dvSwitch;
    } else if (Contains(elsewhere, pnic.name)) {
      continue;
    } else if (const auto user = standardUsers.find(pnic.name); user != standardUsers.end()) {
      candidate.adapter.usedBy = user->second;
      candidate.fromStandardSwitch = true;
    }
    offer(std::move(candidate));
  }
  // An uplink of the switch that the host does not list is still the
  // switch's: offered with what is known of it, so it is not dropped unseen.
  for (const std::string& uplink : own) {
    if (std::none_of(pnics.begin(), pnics.end(),
                     [&](const PnicInfo& pnic) { return pnic.name == uplink; })) {
      DvsUplinkCandidate candidate;
      candidate.adapter.name = uplink;
      candidate.adapter.usedBy = dvSwitch;
      offer(std::move(candidate));
    }
  }
  // In listing order, sorted once.
  std::vector<std::string> names;
  names.reserve(offered.size());
  for (const DvsUplinkCandidate& candidate : offered) {
    names.push_back(candidate.adapter.name);
  }
  std::vector<DvsUplinkCandidate> candidates;
  candidates.reserve(offered.size());
  for (size_t at : AdapterListingOrder(names)) {
    candidates.push_back(std::move(offered[at]));
  }
  return candidates;
}

bool IsHostLocalPort(const std::string& portKey) {
  static const std::regex pattern("^hlp\\-.*\\#[0-9]*$");
  return std::regex_search(portKey, pattern);
}

std::vector<Adapter> TakenFromStandardSwitches(const std::vector<DvsUplinkCandidate>& candidates,
                                               const std::vector<std::string>& chosen) {
  std::vector<Adapter> taken;
  for (const DvsUplinkCandidate& candidate : candidates) {
    if (candidate.fromStandardSwitch && Contains(chosen, candidate.adapter.name)) {
      taken.push_back(candidate.adapter);
    }
  }
  return taken;
}

DvsReadResult ReadDvsRepair(DvsRepair& repair) {
  std::unique_ptr<HostCtl::Network::NexNic> nic = FindManagementInterface();
  if (nic == nullptr) {
    return DvsReadResult::kNoInterface;
  }
  repair.nic = nic->GetName();
  std::unique_ptr<ConnectionPoint> point = nic->GetConnectionPoint();
  if (point == nullptr || point->GetType() != ConnectionPoint::kDVPort) {
    return DvsReadResult::kNotDistributed;
  }
  const auto& connected = static_cast<const DVPort&>(*point);
  repair.dvSwitch = connected.GetDVSwitchName();
  repair.portKey = connected.GetPortKey();

  // The interface's own view of its port is made up when the switch lost
  // the port; only the switch's list tells.
  const std::vector<DVPort> ports = NexCtl::Network::DVPortImpl().GetPorts(repair.dvSwitch);
  const auto port = std::find_if(ports.begin(), ports.end(),
                                 [&](const DVPort& p) { return p.GetPortKey() == repair.portKey; });
  const std::vector<PnicInfo> pnics = NexCtl::Network::NetworkInfoImpl().GetPnics();
  repair.health = PortHealth(port == ports.end() ? nullptr : &*port, pnics);

  std::vector<std::string> active;
  if (port != ports.end()) {
    active = port->GetTeamingPolicy().GetActiveUplinks();
  }
  NexCtl::Network::VirtualSwitchInfoImpl switches;
  repair.candidates = UplinkCandidates(pnics, switches.GetVirtualSwitches(),
                                       switches.GetDVSwitches(), repair.dvSwitch, active);
  return DvsReadResult::kReady;
}

std::string ApplyDvsRepair(const DvsRepair& repair, const std::vector<std::string>& chosen) {
  NexCtl::Network::DVPortImpl dvPorts;
  NexCtl::Network::VirtualSwitchInfoImpl switches;
  for (const std::string& name : chosen) {
    const auto candidate =
        std::find_if(repair.candidates.begin(), repair.candidates.end(),
                     [&](const DvsUplinkCandidate& c) { return c.adapter.name == name; });
    if (candidate == repair.candidates.end() || candidate->adapter.usedBy == repair.dvSwitch) {
      continue;
    }
    if (candidate->fromStandardSwitch) {
      Platform::Syslog(LOG_INFO, "%s",
                       ("Restoring DVS port: moving uplink " + name + " from " +
                        candidate->adapter.usedBy.value_or("") + " to " + repair.dvSwitch)
                           .c_str());
      switches.RemoveUplink(candidate->adapter.usedBy.value_or(""), name);
    }
    dvPorts.AddUplink(repair.dvSwitch, name);
  }
  // An absent template port gives the new port the switch's defaults.
  const std::string key = dvPorts.AddHostLocalPort(repair.dvSwitch, repair.portKey, chosen);
  const std::string message = "Restoring DVS port: moving management interface " + repair.nic +
                              " to host-local port " + key;
  Platform::Syslog(LOG_INFO, "%s", message.c_str());
  NexCtl::Network::NexelNicInfoImpl().MoveToDVPort(repair.nic, repair.dvSwitch, key);
  // A host-local port that an earlier repair made is the host's own, and
  // nothing uses it any more: left behind, every repair would add one. The
  // repair has succeeded by now, so a failure here is only logged.
  if (IsHostLocalPort(repair.portKey) && !repair.health.missing) {
    try {
      dvPorts.RemoveHostLocalPort(repair.dvSwitch, repair.portKey);
      Platform::Syslog(
          LOG_INFO, "%s",
          ("Restoring DVS port: removed replaced host-local port " + repair.portKey).c_str());
    } catch (const HostCtl::Lib::HostCtlException& e) {
      Platform::Syslog(
          LOG_ERR, "%s",
          ("Removing host-local port " + repair.portKey + " failed: " + e.what()).c_str());
    }
  }
  PostObsv("obsv.user.merel.dvs.port.restored", message);
  return key;
}

}  // namespace Merel
