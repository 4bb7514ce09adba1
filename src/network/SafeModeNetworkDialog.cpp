// The move onto a new standard switch. The rules where the host leaves a
// choice:
// - The new switch is "vSwitch<N>" with the lowest N that names no switch,
//   standard or distributed.
// - The uplinks moved are those of the management connection's teaming
//   (active, then standby, in that order); a connection without teaming
//   takes all the uplinks of its switch. Uplinks of a distributed switch are
//   released by it first, so that no port of it refers to them any more.
// - The uplinks join the switch before its port group is made, so that the
//   port group starts with all of them active.
// - Port-group names are unique on the host, and the old port group is
//   usually called "Management Network" itself. The interface then goes
//   through a port group of a numbered name, the old one is removed, and the
//   new switch takes over the name. If another interface still sits on the
//   old one, the old one stays and the numbered name with it.
// - Every other kernel interface is disabled (and left where it is), so
//   that none of them can take the management traffic back.
#include "SafeModeNetworkDialog.h"

#include <syslog.h>

#include <memory>
#include <string>
#include <vector>

#include "HostCtl/ConnectionPoint.h"
#include "HostCtl/HostCtlException.h"
#include "NetworkSettings.h"
#include "NexCtl/DVPortImpl.h"
#include "NexCtl/NexelNicInfoImpl.h"
#include "NexCtl/PortGroupImpl.h"
#include "NexCtl/VirtualSwitchInfoImpl.h"
#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

using HostCtl::Network::ConnectionPoint;

namespace {

const char* const kManagementGroup = "Management Network";

// Where the management interface is plugged in now, and what carries it.
struct OldConnection {
  std::string portGroup;  // a standard port group, or ""
  std::string dvSwitch;   // a distributed switch, or ""
  std::vector<std::string> uplinks;
};

OldConnection ReadConnection(const HostCtl::Network::NexNic& nic) {
  NexCtl::Network::VirtualSwitchInfoImpl switches;
  OldConnection old;
  std::unique_ptr<ConnectionPoint> point = nic.GetConnectionPoint();
  // An opaque network's uplinks are not the host's to move.
  if (point != nullptr && point->GetType() == ConnectionPoint::kPortGroup) {
    const auto& group = static_cast<const HostCtl::Network::PortGroup&>(*point);
    old.portGroup = group.GetName();
    old.uplinks = group.GetTeamingPolicy().GetUplinks();
    if (old.uplinks.empty()) {
      for (const auto& sw : switches.GetVirtualSwitches()) {
        if (sw.name == group.GetVirtualSwitchName()) {
          old.uplinks = sw.uplinks;
        }
      }
    }
  } else if (point != nullptr && point->GetType() == ConnectionPoint::kDVPort) {
    const auto& port = static_cast<const HostCtl::Network::DVPort&>(*point);
    old.dvSwitch = port.GetDVSwitchName();
    old.uplinks = port.GetTeamingPolicy().GetUplinks();
    if (old.uplinks.empty()) {
      for (const auto& dvs : switches.GetDVSwitches()) {
        if (dvs.name == old.dvSwitch) {
          old.uplinks = dvs.uplinks;
        }
      }
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

bool SwitchTaken(const std::string& name) {
  return NexCtl::Network::PortsetImpl().IsValidVirtualSwitch(name);
}

bool PortGroupTaken(const std::string& name) {
  return NexCtl::Network::PortGroupImpl().IsValidPortGroup(name);
}

}  // namespace

SafeModeNetworkDialog::SafeModeNetworkDialog(Frame* parent) : Dialog(parent, 60, 12, 7) {
  _text = AddContentText();
}

bool SafeModeNetworkDialog::MoveManagementNetwork() {
  std::unique_ptr<HostCtl::Network::NexNic> nic = FindManagementInterface();
  if (nic == nullptr) {
    return false;
  }
  const OldConnection old = ReadConnection(*nic);

  NexCtl::Network::VirtualSwitchInfoImpl switches;
  const std::string switchName = FreeName("vSwitch", 0, SwitchTaken);
  switches.AddVirtualSwitch(switchName, NexCtl::Network::VirtualSwitchInfoImpl::kDefaultNumPorts);
  for (const auto& uplink : old.uplinks) {
    // One adapter that will not move must not keep the others back.
    try {
      if (!old.dvSwitch.empty()) {
        NexCtl::Network::DVPortImpl().RemoveUplink(old.dvSwitch, uplink);
      }
      switches.AddUplink(switchName, uplink);
    } catch (const HostCtl::Lib::HostCtlException& e) {
      Platform::Syslog(LOG_ERR, "%s", ("Moving uplink " + uplink + " failed: " + e.what()).c_str());
    }
  }

  NexCtl::Network::PortGroupImpl groups;
  NexCtl::Network::NexelNicInfoImpl nics;
  std::string group = kManagementGroup;
  if (groups.IsValidPortGroup(group)) {
    group = FreeName(std::string(kManagementGroup) + " ", 1, PortGroupTaken);
  }
  groups.AddPortGroup(switchName, group);
  nics.MoveToPortGroup(nic->GetName(), group);

  bool nameInUse = false;
  for (const auto& other : nics.GetNexelNics()) {
    if (other->GetName() == nic->GetName()) {
      continue;
    }
    if (other->IsEnabled()) {
      other->Disable();
    }
    const auto point = other->GetConnectionPoint();
    nameInUse = nameInUse || (point != nullptr && point->GetType() == ConnectionPoint::kPortGroup &&
                              static_cast<const HostCtl::Network::PortGroup&>(*point).GetName() ==
                                  kManagementGroup);
  }
  if (group != kManagementGroup && old.portGroup == kManagementGroup && !nameInUse) {
    groups.RemovePortGroup(kManagementGroup);
    groups.AddPortGroup(switchName, kManagementGroup);
    nics.MoveToPortGroup(nic->GetName(), kManagementGroup);
    groups.RemovePortGroup(group);
  }
  return true;
}

int SafeModeNetworkDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kRestoreStandardSwitchTitle));
  SetText(_strings->GetString(Strings::kRestoreStandardSwitchText));
  SetFooter(kF11OkCancelFooter);
  if (_text != nullptr) {
    _text->SetText(_strings->GetString(Strings::kRestoreStandardSwitchQuestion));
  }
  // Only F11 confirms: the move takes every other interface down.
  if (!WaitForKeyOrEscape(KEY_F(11))) {
    return 0;
  }
  try {
    if (!MoveManagementNetwork()) {
      Platform::Syslog(LOG_ERR, "%s", "Could not find the management network");
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Changing to legacy virtual switch failed: %s", e.what());
  }
  // The attempt is recorded either way; its failures have their own lines.
  Platform::Syslog(
      LOG_INFO, "%s",
      "Enabling safe mode networking by moving all uplinks to a new management vSwitch");
  return 1;
}

}  // namespace Merel
