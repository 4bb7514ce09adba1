// Applying the network window's record. The steps run in a fixed order
// because later ones depend on earlier ones on a real host: the uplinks and
// the MAC address decide what the DHCP server sees, the IPv4 mode decides
// whether a gateway may be set, and the DNS source decides whether the name
// settings are ours to write. A failure never stops the pass: the
// administrator sees it, and the rest of the settings still reach the host.
#include "NetworkApply.h"

#include <syslog.h>

#include <algorithm>
#include <string>

#include "Command.h"
#include "HostCtl/ConnectionPoint.h"
#include "HostCtl/HostCtlException.h"
#include "NexCtl/DnsConfigImpl.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/PnicImpl.h"
#include "NexCtl/PortGroupImpl.h"
#include "NexCtl/RoutingInfoImpl.h"
#include "NexCtl/VirtualSwitchInfoImpl.h"
#include "Platform.h"
#include "ReadScope.h"

namespace Merel {

using HostCtl::Lib::HostCtlException;
using HostCtl::Network::IpAddress;
using HostCtl::Network::IpConfig;
using HostCtl::Network::NexNic;
using HostCtl::Network::NicTeamingPolicy;
using HostCtl::Network::PortGroup;

namespace {

const char* const kNetStack = "defaultNetStack";

void LogInfo(const std::string& line) {
  Platform::Syslog(LOG_INFO, "%s", line.c_str());
}

void LogError(const char* prefix, const HostCtlException& e) {
  Platform::Syslog(LOG_ERR, "%s", (std::string(prefix) + e.what()).c_str());
}

bool Contains(const std::vector<std::string>& list, const std::string& name) {
  return std::find(list.begin(), list.end(), name) != list.end();
}

class ApplyPass {
 public:
  ApplyPass(NetworkSettings& settings, NexNic& nic, const NetworkApplyProgress& progress)
      : _settings(settings), _nic(nic), _progress(progress) {}

  NetworkApplyResult Run() {
    if (!IsDvsInUse()) {
      ApplyAdapters();
    }
    ApplyIpv4();
    ApplyIpv6();
    ApplyConfiguration();
    ApplyGateways();
    RenewLeases();
    if (_vlanChanged) {
      LogInfo("Changed vlan, restarting management interface");
      Try("Restarting management interface failed: ", [&] { _nic.Restart(); });
    }
    Try("Setting DNS failed: ", [&] {
      ApplyNames();
      ApplySuffixes();
    });
    _result.restartNeeded = _settings.ipv6EnabledPending != _settings.ipv6EnabledCurrent;
    return std::move(_result);
  }

 private:
  // A failed step: one error line, and the same text for the caller.
  void Fail(const char* prefix, const HostCtlException& e) {
    LogError(prefix, e);
    std::string failure = std::string(prefix) + e.what();
    if (_progress.failed) {
      _progress.failed(failure);
    }
    _result.failures.push_back(std::move(failure));
  }

  // Each step reads the host afresh (and its calls share that reading): it
  // must see what the steps before it changed. A failed step is one of the
  // results the caller shows.
  template <class Step>
  bool Try(const char* prefix, Step step) {
    return Attempt(prefix, step, true);
  }

  // Uplink and VLAN operations report their own failure in the log only:
  // the step then simply changes nothing.
  template <class Operation>
  bool Quietly(const char* prefix, Operation operation) {
    return Attempt(prefix, operation, false);
  }

  template <class Step>
  bool Attempt(const char* prefix, Step& step, bool shown) {
    try {
      Platform::ReadScope fresh(Platform::ReadScope::kFresh);
      step();
      return true;
    } catch (const HostCtlException& e) {
      if (shown) {
        Fail(prefix, e);
      } else {
        LogError(prefix, e);
      }
      return false;
    }
  }

  // Changes the management port group's teaming policy by `edit`, which
  // answers whether there is anything to write.
  template <class Edit>
  bool EditTeaming(const char* prefix, Edit edit) {
    return Quietly(prefix, [&] {
      std::unique_ptr<PortGroup> group = ManagementPortGroup(_nic);
      NicTeamingPolicy policy = group->GetTeamingPolicy();
      if (edit(*group, policy)) {
        NexCtl::Network::PortGroupImpl().SetTeamingPolicy(group->GetName(), policy);
      }
    });
  }

  // An active uplink that leaves hands its place to the first standby one in
  // the same write: the port group is never left without an active uplink,
  // not even between two steps.
  bool RemoveUplink(const std::string& name) {
    return EditTeaming("Removing uplink failed: ", [&](const PortGroup&, NicTeamingPolicy& policy) {
      policy.RemoveUplink(name);
      std::vector<std::string> active = policy.GetActiveUplinks();
      std::vector<std::string> standby = policy.GetStandbyUplinks();
      const int maxActive = policy.GetMaxActiveUplinks();
      while (!standby.empty() &&
             (active.empty() || maxActive <= 0 || static_cast<int>(active.size()) < maxActive)) {
        active.push_back(standby.front());
        standby.erase(standby.begin());
      }
      policy.SetActiveUplinks(std::move(active));
      policy.SetStandbyUplinks(std::move(standby));
      return true;
    });
  }

  bool AddUplink(const std::string& name) {
    return EditTeaming(
        "Adding uplink failed: ", [&](const PortGroup& group, NicTeamingPolicy& policy) {
          // A port group can only team the adapters of its own switch.
          NexCtl::Network::VirtualSwitchInfoImpl switches;
          for (const auto& vswitch : switches.GetVirtualSwitches()) {
            if (vswitch.name == group.GetVirtualSwitchName() && !Contains(vswitch.uplinks, name)) {
              switches.AddUplink(vswitch.name, name);
            }
          }
          policy.AddUplink(name);
          return true;
        });
  }

  // The record's order (the first adapters active, the rest standby) and
  // maximum, when the host's differ. The split is compared, not only the
  // order: the same order with the first adapter on standby leaves the
  // management network without an active uplink.
  void OrderUplinks() {
    const std::vector<std::string>& wanted = _settings.uplinks;
    const int maxActive = _settings.maxActiveUplinks;
    const size_t activeCount = std::min(wanted.size(), static_cast<size_t>(std::max(maxActive, 1)));
    const std::vector<std::string> active(wanted.begin(),
                                          wanted.begin() + static_cast<long>(activeCount));
    const std::vector<std::string> standby(wanted.begin() + static_cast<long>(activeCount),
                                           wanted.end());
    EditTeaming("Setting uplink order failed: ", [&](const PortGroup&, NicTeamingPolicy& policy) {
      if (policy.GetActiveUplinks() == active && policy.GetStandbyUplinks() == standby &&
          policy.GetMaxActiveUplinks() == maxActive) {
        return false;
      }
      policy.SetActiveUplinks(active);
      policy.SetStandbyUplinks(standby);
      policy.SetMaxActiveUplinks(maxActive);
      return true;
    });
  }

  void ApplyAdapters() {
    std::string line = "Setting adapters to";
    for (const std::string& uplink : _settings.uplinks) {
      line += " " + uplink;
    }
    LogInfo(line);

    std::vector<std::string> current;
    if (GetUplinks(_nic, current)) {
      bool changed = false;
      for (const std::string& uplink : current) {
        if (!Contains(_settings.uplinks, uplink) && RemoveUplink(uplink)) {
          changed = true;
        }
      }
      for (const std::string& uplink : _settings.uplinks) {
        if (!Contains(current, uplink) && AddUplink(uplink)) {
          changed = true;
        }
      }
      if (changed) {
        _renewIpv4 = true;
        _renewIpv6 = true;
      }
      OrderUplinks();
    }

    // The interface takes the first adapter's MAC address, so that a DHCP
    // server keeps recognising the host through the adapter it sees.
    const std::vector<std::string>& wanted = _settings.uplinks;
    if (!wanted.empty() && (current.empty() || current.front() != wanted.front())) {
      Try("Setting mac address of pnic failed: ",
          [&] { _nic.SetMacAddress(NexCtl::Network::PnicImpl(wanted.front()).GetMacAddress()); });
    }

    uint16_t vlanId = 0;
    if (GetVlanId(_nic, vlanId) && vlanId != _settings.vlanId) {
      _vlanChanged = Quietly("Setting VlanID failed: ", [&] {
        NexCtl::Network::PortGroupImpl().SetVlanId(ManagementPortGroup(_nic)->GetName(),
                                                   _settings.vlanId);
      });
    }
  }

  void ApplyIpv4() {
    IpConfig& addresses = _settings.addresses;
    const std::string& name = _nic.GetName();
    Try("Setting ip configuration failed: ", [&] {
      _nic.GetIpConfigs(_liveChoices, _liveAddresses);
      if (_settings.dhcpChoices.GetUseDhcp()) {
        if (!_liveChoices.GetUseDhcp()) {
          LogInfo("Switching to DHCP on " + name);
          _renewIpv4 = false;
        }
        addresses.SetUseDhcp(true);
      } else if (addresses.GetIpv4UseNone()) {
        // This one change goes unlogged, as it always has: administrators
        // and their log filters know the log without it.
        addresses.SetUseDhcp(false, true);
        _ipv4Changed = true;
        _renewIpv4 = false;
      } else {
        if (_liveChoices.GetUseDhcp() ||
            _liveAddresses.GetIpv4Address() != addresses.GetIpv4Address() ||
            _liveAddresses.GetIpv4Netmask() != addresses.GetIpv4Netmask()) {
          LogInfo("Setting ipv4 configuration to " + addresses.GetIpv4Address().GetStringAddress() +
                  " " + addresses.GetIpv4Netmask().GetStringAddress() + " on " + name);
          addresses.SetUseDhcp(false, false);
          _ipv4Changed = true;
        }
        _renewIpv4 = false;
      }
    });
  }

  void ApplyIpv6() {
    Try("Setting ipv6 configuration failed: ", [&] {
      NexCtl::Network::NetworkInfoImpl().SetNexIpv6Enabled(_settings.ipv6EnabledPending);
      if (_settings.ipv6EnabledPending) {
        LogInfo("Setting ipv6 configuration");
        const IpConfig& choices = _settings.dhcpChoices;
        _settings.addresses.SetUseIpv6Dhcp(choices.GetUseIpv6Dhcp());
        _settings.addresses.SetUseIpv6RouterAdvertised(choices.GetUseIpv6RouterAdvertised());
        _renewIpv6 = _renewIpv6 && choices.GetUseIpv6Dhcp() && _liveChoices.GetUseIpv6Dhcp();
      } else {
        _renewIpv6 = false;
      }
    });
  }

  // The DNS source and then the whole configuration onto the interface; the
  // source depends on what the host says about IPv6 now, so a failure to ask
  // leaves the interface as it is.
  void ApplyConfiguration() {
    IpConfig& addresses = _settings.addresses;
    Try("Setting ip/ipv6 configuration failed: ", [&] {
      bool dhcpDns = false;
      if (_settings.dhcpChoices.GetDhcpDns()) {
        if (addresses.GetUseDhcp()) {
          dhcpDns = true;
        } else if (NexCtl::Network::NetworkInfoImpl().IsNexIpv6Enabled()) {
          dhcpDns = addresses.GetUseIpv6Dhcp();
        }
      }
      addresses.SetDhcpDns(dhcpDns);
      _settings.dhcpChoices.SetDhcpDns(dhcpDns);
      _nic.SetIpConfig(addresses);
      if (_ipv4Changed && _progress.addressChanged) {
        _progress.addressChanged();
      }
    });
  }

  void ApplyGateways() {
    const IpConfig& addresses = _settings.addresses;
    if (!addresses.GetUseDhcp()) {
      Try("Setting default gateway failed: ", [&] {
        NexCtl::Network::RoutingInfoImpl routing(kNetStack);
        if (routing.GetNexelDefaultGateway() != addresses.GetIpv4Gateway() || _ipv4Changed) {
          LogInfo("Setting default gateway to " + addresses.GetIpv4Gateway().GetStringAddress());
          routing.SetNexelDefaultGateway(addresses.GetIpv4Gateway(), false);
        }
      });
    }
    if (_settings.ipv6EnabledPending && _settings.ipv6GatewayChanged) {
      Try("Setting default ipv6 gateway failed: ", [&] {
        LogInfo("Setting default ipv6 gateway to " + addresses.GetIpv6Gateway().GetStringAddress());
        NexCtl::Network::RoutingInfoImpl(kNetStack).SetIpv6NexelDefaultGateway(
            addresses.GetIpv6Gateway());
      });
    }
  }

  void RenewLeases() {
    if (!_renewIpv4 && !_renewIpv6) {
      return;
    }
    LogInfo("Renew DHCP lease on " + _nic.GetName());
    Try("Renewing DHCP lease failed: ", [&] {
      if (_renewIpv4) {
        _nic.RenewDhcpLease();
      }
      if (_renewIpv6) {
        _nic.RenewIpv6DhcpLease();
      }
    });
  }

  static std::string Text(const std::unique_ptr<IpAddress>& server) {
    return server != nullptr ? server->GetStringAddress() : "";
  }

  // An unset server field is 0.0.0.0 or "::", never a server to add.
  static bool Usable(const std::unique_ptr<IpAddress>& server) {
    if (server == nullptr) {
      return false;
    }
    return server->IsIpv4() ? !server->IsUnspecified() : server->GetStringAddress() != "::";
  }

  void ApplyNames() {
    if (_settings.addresses.GetDhcpDns()) {
      return;
    }
    NexCtl::Network::DnsConfigImpl dns(kNetStack);
    const std::string& hostname = _settings.hostname;
    LogInfo("Setting hostname to " + hostname);
    if (hostname.find('.') != std::string::npos) {
      dns.SetFqdn(hostname, false, "");
    } else {
      dns.SetHostname(hostname, false);
    }
    LogInfo("Setting nameservers to " + Text(_settings.primaryDns) + " " +
            Text(_settings.alternateDns));
    dns.RemoveNameServers();
    for (const auto* server : {&_settings.primaryDns, &_settings.alternateDns}) {
      if (Usable(*server)) {
        dns.AddNameServer(**server);
      }
    }
  }

  void ApplySuffixes() {
    NexCtl::Network::DnsConfigImpl dns(kNetStack);
    LogInfo("Setting suffixes to " + _settings.suffixText);
    dns.SetSearchDomainsString(dns.GetDomain());
    for (const std::string& suffix : SplitSuffixes(_settings.suffixText)) {
      dns.AddSearchDomain(suffix);
    }
    dns.SaveConfig();
  }

  NetworkSettings& _settings;
  NexNic& _nic;
  const NetworkApplyProgress& _progress;
  NetworkApplyResult _result;
  IpConfig _liveChoices;
  IpConfig _liveAddresses;
  bool _renewIpv4 = false;
  bool _renewIpv6 = false;
  bool _ipv4Changed = false;
  bool _vlanChanged = false;
};

}  // namespace

NetworkApplyResult ApplyNetworkSettings(NetworkSettings& settings,
                                        NexNic& nic,
                                        const NetworkApplyProgress& progress) {
  return ApplyPass(settings, nic, progress).Run();
}

void FinishNetworkApply(const std::string& user) {
  RoviRefresh(user);
}

}  // namespace Merel
