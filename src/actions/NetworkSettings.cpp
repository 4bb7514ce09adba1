// Reading the management network into the settings record. The order of the
// reads is fixed: a failure part-way must leave exactly the log lines an
// administrator expects, and the switch reads (uplinks, maximum, VLAN) are
// only attempted on a standard switch, where they can succeed.
#include "NetworkSettings.h"

#include <syslog.h>

#include "HostCtl/ConnectionPoint.h"
#include "HostCtl/HostCtlException.h"
#include "NexCtl/DnsConfigImpl.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/RoutingInfoImpl.h"
#include "Platform.h"

namespace Merel {

using HostCtl::Lib::HostCtlException;
using HostCtl::Network::ConnectionPoint;
using HostCtl::Network::IpAddress;
using HostCtl::Network::Ipv4Address;
using HostCtl::Network::Ipv6Address;
using HostCtl::Network::NexNic;
using HostCtl::Network::PortGroup;

namespace {

const char* const kNetStack = "defaultNetStack";

// Runs `read` on the interface's port group; a failure is one error line of
// `prefix` and the host's text.
template <class Read>
bool ReadPortGroup(const NexNic& nic, const char* prefix, Read read) {
  try {
    read(*ManagementPortGroup(nic));
    return true;
  } catch (const HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "%s", (std::string(prefix) + e.what()).c_str());
    return false;
  }
}

}  // namespace

std::unique_ptr<PortGroup> ManagementPortGroup(const NexNic& nic) {
  std::unique_ptr<ConnectionPoint> point = nic.GetConnectionPoint();
  if (point == nullptr || point->GetType() != ConnectionPoint::kPortGroup) {
    throw HostCtlException("Unsupported vSwitch type");
  }
  return std::unique_ptr<PortGroup>(static_cast<PortGroup*>(point.release()));
}

std::unique_ptr<NexNic> FindManagementInterface() {
  NexCtl::Network::NetworkInfoImpl info;
  info.UpdateManagementInterface();
  return info.GetManagementInterface();
}

bool IsDvsInUse() {
  try {
    std::unique_ptr<NexNic> nic = FindManagementInterface();
    if (nic == nullptr) {
      Platform::Syslog(LOG_ERR, "%s", "Could not locate the management interface");
      return false;
    }
    std::unique_ptr<ConnectionPoint> point = nic->GetConnectionPoint();
    return point != nullptr && point->GetType() == ConnectionPoint::kDVPort;
  } catch (const HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "%s",
                     (std::string("Could not determine if a DVS was in use: ") + e.what()).c_str());
    return false;
  }
}

bool GetVlanId(const NexNic& nic, uint16_t& vlanId) {
  return ReadPortGroup(
      nic, "Getting VlanID failed: ", [&](const PortGroup& group) { vlanId = group.GetVlanId(); });
}

bool GetMaxActiveUplinks(const NexNic& nic, int& maxActive) {
  return ReadPortGroup(
      nic, "Getting max number of active uplinks failed: ", [&](const PortGroup& group) {
        maxActive = group.GetTeamingPolicy().GetMaxActiveUplinks();
      });
}

bool GetUplinks(const NexNic& nic, std::vector<std::string>& uplinks) {
  return ReadPortGroup(nic, "Getting uplinks failed: ", [&](const PortGroup& group) {
    uplinks = group.GetTeamingPolicy().GetUplinks();
  });
}

bool GetSwitchName(const NexNic& nic, std::string& name) {
  try {
    std::unique_ptr<ConnectionPoint> point = nic.GetConnectionPoint();
    const int type = point != nullptr ? point->GetType() : 0;
    if (type == ConnectionPoint::kPortGroup) {
      name = static_cast<const PortGroup&>(*point).GetVirtualSwitchName();
    } else if (type == ConnectionPoint::kDVPort) {
      name = static_cast<const HostCtl::Network::DVPort&>(*point).GetDVSwitchName();
    } else if (type == ConnectionPoint::kOpaqueNetwork) {
      throw HostCtlException("Opaque network connectee type not supported");
    } else {
      throw HostCtlException("Unsupported connectee type");
    }
    return true;
  } catch (const HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "%s",
                     (std::string("Getting switch name failed: ") + e.what()).c_str());
    return false;
  }
}

NameServerChoice ChooseNameServers(const std::vector<Ipv4Address>& ipv4,
                                   const std::vector<Ipv6Address>& ipv6) {
  NameServerChoice choice;
  if (!ipv4.empty()) {
    choice.primary = ipv4[0].Clone();
    if (!ipv6.empty()) {
      choice.alternate = ipv6[0].Clone();
    } else if (ipv4.size() > 1) {
      choice.alternate = ipv4[1].Clone();
    }
  } else if (!ipv6.empty()) {
    choice.primary = ipv6[0].Clone();
    if (ipv6.size() > 1) {
      choice.alternate = ipv6[1].Clone();
    }
  }
  return choice;
}

std::string JoinSuffixes(const std::vector<std::string>& suffixes) {
  std::string text;
  for (size_t i = 0; i < suffixes.size(); ++i) {
    if (i > 0) {
      text += ", ";
    }
    text += suffixes[i];
  }
  return text;
}

std::vector<std::string> SplitSuffixes(const std::string& text) {
  std::vector<std::string> pieces;
  std::string piece;
  for (char c : text) {
    if (c == ',' || c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f') {
      if (!piece.empty()) {
        pieces.push_back(piece);
      }
      piece.clear();
    } else {
      piece += c;
    }
  }
  if (!piece.empty()) {
    pieces.push_back(piece);
  }
  return pieces;
}

LoadResult LoadNetworkSettings(NetworkSettings& settings, std::unique_ptr<NexNic>& nic) {
  settings.changesMade = false;
  settings.ipv6GatewayChanged = false;
  {
    NexCtl::Network::NetworkInfoImpl info;
    settings.ipv6EnabledCurrent = info.IsNexIpv6Enabled();
    settings.ipv6EnabledPending = settings.ipv6EnabledCurrent;
  }

  try {
    nic = FindManagementInterface();
  } catch (const HostCtlException&) {
    nic.reset();
  }
  if (nic == nullptr) {
    Platform::Syslog(LOG_ERR, "%s", "Could not get a suitable management interface");
    return LoadResult::kNoInterface;
  }

  nic->GetIpConfigs(settings.dhcpChoices, settings.addresses);

  settings.distributedSwitch = IsDvsInUse();
  if (!settings.distributedSwitch) {
    if (!GetUplinks(*nic, settings.uplinks) ||
        !GetMaxActiveUplinks(*nic, settings.maxActiveUplinks) ||
        !GetVlanId(*nic, settings.vlanId)) {
      return LoadResult::kReadFailed;
    }
  }

  NexCtl::Network::RoutingInfoImpl routing(kNetStack);
  NexCtl::Network::DnsConfigImpl dns(kNetStack);
  settings.addresses.SetIpv4Gateway(routing.GetNexelDefaultGateway());
  settings.hostname = dns.GetHostname();
  settings.addresses.SetIpv6Gateway(routing.GetIpv6NexelDefaultGateway());
  settings.suffixes = dns.GetSearchDomains();
  settings.suffixText = JoinSuffixes(settings.suffixes);

  NameServerChoice servers = ChooseNameServers(dns.GetNameServers(), dns.GetIpv6NameServers());
  settings.primaryDns = std::move(servers.primary);
  settings.alternateDns = std::move(servers.alternate);
  return LoadResult::kLoaded;
}

}  // namespace Merel
