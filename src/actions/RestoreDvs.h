// The repair of the management interface's port on a distributed switch,
// apart from its dialogs: what is wrong with the port, which adapters may
// carry a replacement port, and the host changes that make and use it.
//
// The switch's manager owns its ports, and a port it blocked or left
// without working uplinks cuts the host off from that very manager. The way
// out that needs no manager is a host-local port: the host creates it on the
// same switch, copies the broken port's settings (VLAN and so on), gives it
// the uplinks the administrator chose, and the management interface moves
// onto it. The old port is left in place for the manager to clean up,
// unless it is a host-local port of an earlier repair: that one is removed.
#pragma once

#include <string>
#include <vector>

#include "AdapterListing.h"
#include "HostCtl/ConnectionPoint.h"
#include "HostCtl/NetworkRecords.h"

namespace Merel {

// Why the management port carries no traffic; more than one may hold, and
// none when the port looks healthy (the repair is still offered: the
// administrator may know better).
struct DvsPortHealth {
  bool missing = false;  // the switch has no port with that key
  bool blocked = false;  // the manager blocked it
  bool noLink = false;   // none of its active uplinks has link
};

struct DvsUplinkCandidate {
  // usedBy: "" for a free adapter, else the switch whose uplink it is.
  Adapter adapter;
  int speedMbps = 0;  // 0 when unknown
  // An active uplink of the broken port: offered already chosen.
  bool active = false;
  // Taken from a standard switch: the administrator confirms first.
  bool fromStandardSwitch = false;
};

struct DvsRepair {
  std::string nic;  // the management interface
  std::string dvSwitch;
  std::string portKey;
  DvsPortHealth health;
  std::vector<DvsUplinkCandidate> candidates;  // in adapter listing order
};

enum class DvsReadResult {
  kReady,
  kNoInterface,     // the host names no management interface
  kNotDistributed,  // it is on a standard switch or an opaque network
};

// The management port's faults. `port` is null when the switch has no port
// of that key; uplinks the host does not list count as without link.
DvsPortHealth PortHealth(const HostCtl::Network::DVPort* port,
                         const std::vector<HostCtl::Network::PnicInfo>& pnics);

// The adapters a new port on `dvSwitch` may use: the switch's own uplinks
// and adapters no switch uses, plus those of standard switches (marked, as
// they must leave their switch). Adapters of other distributed switches
// belong to those switches' managers and are not offered.
std::vector<DvsUplinkCandidate> UplinkCandidates(
    const std::vector<HostCtl::Network::PnicInfo>& pnics,
    const std::vector<HostCtl::Network::VirtualSwitch>& vswitches,
    const std::vector<HostCtl::Network::DVSwitch>& dvswitches,
    const std::string& dvSwitch,
    const std::vector<std::string>& activeUplinks);

// Whether a port key names a host-local port ("hlp-<switch>#<n>").
bool IsHostLocalPort(const std::string& portKey);

// The chosen adapters that first have to leave a standard switch.
std::vector<Adapter> TakenFromStandardSwitches(const std::vector<DvsUplinkCandidate>& candidates,
                                               const std::vector<std::string>& chosen);

// Reads the management interface, its port and the candidates afresh.
// `repair` is complete only for kReady. Host failures throw.
DvsReadResult ReadDvsRepair(DvsRepair& repair);

// Moves the chosen adapters onto the switch, creates the host-local port
// and moves the management interface onto it; logs and posts the event.
// Returns the new port's key. Host failures throw, leaving whatever steps
// already ran (the interface moves last, so it stays where it was).
std::string ApplyDvsRepair(const DvsRepair& repair, const std::vector<std::string>& chosen);

}  // namespace Merel
