// The move onto a new standard switch. The rules where the host leaves a
// choice:
// - The new switch is "vSwitch<N>" with the lowest N that names no switch,
//   standard or distributed.
// - The uplinks moved are those of the management connection's teaming
//   (active, then standby, in that order); a connection without teaming
//   takes all the uplinks of its switch. Uplinks of a distributed switch are
//   released by it first, so that no port of it refers to them any more.
// - What can fail without harm comes first: the new switch and its port
//   group (with the VLAN of the old connection, or the management traffic
//   would leave untagged) exist before anything is taken away from the old
//   connection. The uplinks and then the interface move last, and the new
//   port group then has all of them active.
// - Port-group names are unique on the host, and the old port group is
//   usually called "Management Network" itself. The interface then goes
//   through a port group of a numbered name, the old one is removed, and the
//   new switch takes over the name. If another interface still sits on the
//   old one, the old one stays and the numbered name with it.
// - Every other kernel interface is disabled (and left where it is), so
//   that none of them can take the management traffic back.
// - The move is all or nothing. Every step that changed the host leaves a
//   way back; when a later step fails, the ways back run newest first, so
//   that the interface ends on its old connection with its old uplinks
//   rather than half moved, and the user is told.
#include "StandardSwitchMove.h"

#include <syslog.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "HostCtl/ConnectionPoint.h"
#include "HostCtl/HostCtlException.h"
#include "NetworkSettings.h"
#include "NexCtl/DVPortImpl.h"
#include "NexCtl/NexelNicInfoImpl.h"
#include "NexCtl/PortGroupImpl.h"
#include "NexCtl/VirtualSwitchInfoImpl.h"
#include "Platform.h"

namespace Merel {

using HostCtl::Lib::HostCtlException;
using HostCtl::Network::ConnectionPoint;
using HostCtl::Network::NicTeamingPolicy;

namespace {

const char* const kManagementGroup = "Management Network";

void LogError(const std::string& line) {
  Platform::Syslog(LOG_ERR, "%s", line.c_str());
}

// Where the management interface is plugged in now, what carries it, and
// what the move takes away from the old switch (to be put back on failure).
struct OldConnection {
  std::string portGroup;  // a standard port group, or ""
  std::string vSwitch;    // its switch
  std::string dvSwitch;   // a distributed switch, or ""
  std::string dvPort;     // the interface's port on it
  uint16_t vlanId = 0;
  std::vector<std::string> uplinks;
  // The teaming of every port group of the old standard switch, or of every
  // port of the old distributed switch: moving an uplink away takes it out
  // of all of them.
  std::vector<std::pair<std::string, NicTeamingPolicy>> teamings;
  std::vector<std::string> switchUplinks;  // the old switch's own list
};

OldConnection ReadConnection(const HostCtl::Network::NexNic& nic) {
  NexCtl::Network::VirtualSwitchInfoImpl switches;
  OldConnection old;
  std::unique_ptr<ConnectionPoint> point = nic.GetConnectionPoint();
  // An opaque network's uplinks are not the host's to move.
  if (point != nullptr && point->GetType() == ConnectionPoint::kPortGroup) {
    const auto& group = static_cast<const HostCtl::Network::PortGroup&>(*point);
    old.portGroup = group.GetName();
    old.vSwitch = group.GetVirtualSwitchName();
    old.vlanId = group.GetVlanId();
    old.uplinks = group.GetTeamingPolicy().GetUplinks();
    NexCtl::Network::PortGroupImpl groups;
    for (const auto& sw : switches.GetVirtualSwitches()) {
      if (sw.name != old.vSwitch) {
        continue;
      }
      old.switchUplinks = sw.uplinks;
      if (old.uplinks.empty()) {
        old.uplinks = sw.uplinks;
      }
      for (const auto& member : sw.portGroups) {
        if (std::unique_ptr<HostCtl::Network::PortGroup> live = groups.GetPortGroup(member.name)) {
          old.teamings.emplace_back(member.name, live->GetTeamingPolicy());
        }
      }
    }
  } else if (point != nullptr && point->GetType() == ConnectionPoint::kDVPort) {
    const auto& port = static_cast<const HostCtl::Network::DVPort&>(*point);
    old.dvSwitch = port.GetDVSwitchName();
    old.dvPort = port.GetPortKey();
    old.vlanId = port.GetVlanId();
    old.uplinks = port.GetTeamingPolicy().GetUplinks();
    for (const auto& dvs : switches.GetDVSwitches()) {
      if (dvs.name == old.dvSwitch) {
        old.switchUplinks = dvs.uplinks;
        if (old.uplinks.empty()) {
          old.uplinks = dvs.uplinks;
        }
      }
    }
    for (const auto& member : NexCtl::Network::DVPortImpl().GetPorts(old.dvSwitch)) {
      old.teamings.emplace_back(member.GetPortKey(), member.GetTeamingPolicy());
    }
  }
  return old;
}

std::string FreeName(const std::string& stem, int first, bool (*taken)(const std::string&)) {
  for (int n = first;; ++n) {
    std::string name = stem + std::to_string(n);
    if (!taken(name)) {
      return name;
    }
  }
}

// The new port group's teaming: every moved uplink active.
NicTeamingPolicy AllActive(const std::vector<std::string>& uplinks) {
  NicTeamingPolicy policy;
  policy.SetActiveUplinks(uplinks);
  return policy;
}

bool SwitchTaken(const std::string& name) {
  return NexCtl::Network::PortsetImpl().IsValidVirtualSwitch(name);
}

bool PortGroupTaken(const std::string& name) {
  return NexCtl::Network::PortGroupImpl().IsValidPortGroup(name);
}

// The ways back of the steps done so far, newest last.
class UndoList {
 public:
  void Add(std::string what, std::function<void()> undo) {
    _steps.emplace_back(std::move(what), std::move(undo));
  }
  // Runs every way back, newest first; one that fails is logged and the
  // others still run. False when any failed.
  bool Run() {
    bool complete = true;
    for (auto step = _steps.rbegin(); step != _steps.rend(); ++step) {
      try {
        step->second();
      } catch (const HostCtlException& e) {
        LogError("Undoing " + step->first + " failed: " + e.what());
        complete = false;
      }
    }
    _steps.clear();
    return complete;
  }

 private:
  std::vector<std::pair<std::string, std::function<void()>>> _steps;
};

// The uplinks go back to the old switch, and every port group or port of it
// gets its teaming back (which the move took them out of).
void PutUplinksBack(const OldConnection& old,
                    const std::string& newSwitch,
                    const std::vector<std::string>& started) {
  NexCtl::Network::VirtualSwitchInfoImpl switches;
  if (!old.dvSwitch.empty()) {
    NexCtl::Network::DVPortImpl ports;
    for (const std::string& uplink : old.switchUplinks) {
      if (std::find(started.begin(), started.end(), uplink) == started.end()) {
        continue;
      }
      for (const auto& sw : switches.GetVirtualSwitches()) {
        if (sw.name == newSwitch &&
            std::find(sw.uplinks.begin(), sw.uplinks.end(), uplink) != sw.uplinks.end()) {
          switches.RemoveUplink(newSwitch, uplink);
        }
      }
      ports.AddUplink(old.dvSwitch, uplink);
    }
    for (const auto& [key, policy] : old.teamings) {
      ports.SetTeamingPolicy(old.dvSwitch, key, policy);
    }
    return;
  }
  // A teaming names its uplinks as uplinks of its switch: setting them back
  // takes them from the new switch in the same step.
  NexCtl::Network::PortGroupImpl groups;
  for (const auto& [name, policy] : old.teamings) {
    groups.SetTeamingPolicy(name, policy);
  }
  for (const std::string& uplink : old.switchUplinks) {
    if (std::find(started.begin(), started.end(), uplink) != started.end()) {
      switches.AddUplink(old.vSwitch, uplink);
    }
  }
}

// The move itself. `failure` gets the failed step and the host's text.
// Throws HostCtlException only for a failure before anything was changed.
StandardSwitchMove::Outcome Move(std::string& failure) {
  std::unique_ptr<HostCtl::Network::NexNic> nic = FindManagementInterface();
  if (nic == nullptr) {
    return StandardSwitchMove::Outcome::kNoInterface;
  }
  const std::string nicName = nic->GetName();
  const OldConnection old = ReadConnection(*nic);

  NexCtl::Network::VirtualSwitchInfoImpl switches;
  NexCtl::Network::PortGroupImpl groups;
  NexCtl::Network::NexelNicInfoImpl nics;
  // Outside the try: the ways back use them after a failure.
  std::string switchName;
  std::string group = kManagementGroup;
  std::vector<std::string> started;  // uplinks whose move began
  UndoList undo;
  std::string step;
  try {
    step = "creating the new switch";
    switchName = FreeName("vSwitch", 0, SwitchTaken);
    switches.AddVirtualSwitch(switchName, NexCtl::Network::VirtualSwitchInfoImpl::kDefaultNumPorts);
    // Its port groups go with it.
    undo.Add("the new switch " + switchName, [&] { switches.RemoveVirtualSwitch(switchName); });

    step = "creating its port group";
    if (groups.IsValidPortGroup(group)) {
      group = FreeName(std::string(kManagementGroup) + " ", 1, PortGroupTaken);
    }
    groups.AddPortGroup(switchName, group, old.vlanId);

    // From here on the old connection loses its uplinks one by one.
    undo.Add("the uplink moves", [&] { PutUplinksBack(old, switchName, started); });
    for (const auto& uplink : old.uplinks) {
      step = "moving uplink " + uplink;
      started.push_back(uplink);
      try {
        if (!old.dvSwitch.empty()) {
          NexCtl::Network::DVPortImpl().RemoveUplink(old.dvSwitch, uplink);
        }
        switches.AddUplink(switchName, uplink);
      } catch (const HostCtlException& e) {
        LogError("Moving uplink " + uplink + " failed: " + e.what());
        throw;
      }
    }
    step = "giving the uplinks to the port group";
    groups.SetTeamingPolicy(group, AllActive(old.uplinks));

    step = "moving the management interface";
    nics.MoveToPortGroup(nicName, group);
    undo.Add("the interface move", [&] {
      if (!old.dvSwitch.empty()) {
        nics.MoveToDVPort(nicName, old.dvSwitch, old.dvPort);
      } else if (!old.portGroup.empty()) {
        nics.MoveToPortGroup(nicName, old.portGroup);
      }
    });

    step = "reading the other interfaces";
    std::vector<std::string> others;  // enabled ones, to be disabled
    bool nameInUse = false;
    for (const auto& other : nics.GetNexelNics()) {
      if (other->GetName() == nicName) {
        continue;
      }
      if (other->IsEnabled()) {
        others.push_back(other->GetName());
      }
      const auto point = other->GetConnectionPoint();
      nameInUse =
          nameInUse ||
          (point != nullptr && point->GetType() == ConnectionPoint::kPortGroup &&
           static_cast<const HostCtl::Network::PortGroup&>(*point).GetName() == kManagementGroup);
    }

    if (group != kManagementGroup && old.portGroup == kManagementGroup && !nameInUse) {
      step = "naming the new port group " + std::string(kManagementGroup);
      NicTeamingPolicy oldPolicy;
      for (const auto& [name, policy] : old.teamings) {
        if (name == kManagementGroup) {
          oldPolicy = policy;
        }
      }
      groups.RemovePortGroup(kManagementGroup);
      undo.Add("removing the old port group", [&, oldPolicy] {
        groups.AddPortGroup(old.vSwitch, kManagementGroup, old.vlanId);
        groups.SetTeamingPolicy(kManagementGroup, oldPolicy);
      });
      groups.AddPortGroup(switchName, kManagementGroup, old.vlanId);
      undo.Add("the renamed port group", [&] { groups.RemovePortGroup(kManagementGroup); });
      groups.SetTeamingPolicy(kManagementGroup, AllActive(old.uplinks));
      nics.MoveToPortGroup(nicName, kManagementGroup);
      undo.Add("the move to the renamed port group", [&] { nics.MoveToPortGroup(nicName, group); });
      groups.RemovePortGroup(group);
      undo.Add("removing " + group, [&] { groups.AddPortGroup(switchName, group, old.vlanId); });
    }
    // The other interfaces go down last: until then nothing else has to be
    // put back for them.
    for (const std::string& name : others) {
      step = "disabling " + name;
      if (auto other = nics.GetNexelNic(name)) {
        other->Disable();
        undo.Add("disabling " + name, [&, name] {
          if (auto again = nics.GetNexelNic(name)) {
            again->Enable();
          }
        });
      }
    }
  } catch (const HostCtlException& e) {
    LogError(std::string("Changing to legacy virtual switch failed: ") + e.what());
    failure = step + ": " + e.what();
    const bool restored = undo.Run();
    if (restored) {
      LogError("The management network was left on its old connection");
      return StandardSwitchMove::Outcome::kFailedRestored;
    }
    LogError("The management network could not be put back completely");
    return StandardSwitchMove::Outcome::kFailedNotRestored;
  }
  return StandardSwitchMove::Outcome::kMoved;
}

}  // namespace

StandardSwitchMove MoveManagementToStandardSwitch() {
  StandardSwitchMove result;
  try {
    result.outcome = Move(result.failure);
    if (result.outcome == StandardSwitchMove::Outcome::kNoInterface) {
      Platform::Syslog(LOG_ERR, "%s", "Could not find the management network");
    }
  } catch (const HostCtlException& e) {
    // A read before anything was changed.
    Platform::Syslog(LOG_ERR, "Changing to legacy virtual switch failed: %s", e.what());
    result.outcome = StandardSwitchMove::Outcome::kFailedRestored;
    result.failure = e.what();
  }
  // The attempt is recorded either way; its failures have their own lines.
  Platform::Syslog(
      LOG_INFO, "%s",
      "Enabling safe mode networking by moving all uplinks to a new management vSwitch");
  return result;
}

}  // namespace Merel
