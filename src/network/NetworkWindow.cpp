// The network window. It reads the host once, when it opens, into its
// settings record; every dialog edits the record, and a dialog that returns
// what was already there is no change (so Esc asks nothing). Only Esc and a
// Yes write to the host, all at once, in the order the apply pass keeps.
#include "NetworkWindow.h"

#include <syslog.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "AdaptersDialog.h"
#include "ApplyChangesDialog.h"
#include "DNSConfigurationDialog.h"
#include "HostCtl/HostCtlException.h"
#include "IPConfigurationDialog.h"
#include "IPv6ConfigurationDialog.h"
#include "MessageDialog.h"
#include "NetworkApply.h"
#include "NetworkOwner.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "Platform.h"
#include "RebootConfirmDialog.h"
#include "StringFactory.h"
#include "SuffixesDialog.h"
#include "Terminal.h"
#include "VlanDialog.h"

namespace Merel {

using HostCtl::Lib::HostCtlException;
using HostCtl::Network::IpAddress;
using HostCtl::Network::IpConfig;

namespace {

const char* const kLeftFooter = "{color:black}<Up/Down>{/color} {color:dark-grey}Select{/color}";
const char* const kRightFooter =
    "{color:white}<Enter>{/color}{color:light-grey} Change{/color}{align:right}"
    "{color:white}<Esc> {/color}{color:light-grey}Exit{/color}{/align}";
const char* const kValue = "{color:white}";
const char* const kHelp = "{/color}{color:light-grey}";
const char* const kHelpEnd = "{/color}";

// Text the host or the user supplied, shown as it stands: a brace would
// start a markup tag.
std::string Plain(std::string text) {
  text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '{' || c == '}'; }),
             text.end());
  return text;
}

std::string AddressText(const std::unique_ptr<IpAddress>& address) {
  return address != nullptr ? address->GetStringAddress() : "";
}

bool SameAddress(const std::unique_ptr<IpAddress>& mine, const IpAddress* theirs) {
  return AddressText(mine) == (theirs != nullptr ? theirs->GetStringAddress() : "");
}

std::unique_ptr<IpAddress> Copy(const IpAddress* address) {
  return address != nullptr ? address->Clone() : nullptr;
}

// "pnic0 (Intel Corporation I350 ...)", cut to `width` columns: the
// adapter's PCI label, or its MAC address when the label is empty; "N/A"
// for an adapter the host did not list.
std::string AdapterLine(const std::string& name,
                        const std::vector<HostCtl::Network::PnicInfo>& pnics,
                        int width) {
  const auto info =
      std::find_if(pnics.begin(), pnics.end(),
                   [&](const HostCtl::Network::PnicInfo& p) { return p.name == name; });
  std::string label = "N/A";
  if (info != pnics.end()) {
    label = !info->label.empty() ? info->label : info->mac.GetStringAddress();
  }
  const size_t room = static_cast<size_t>(std::max(width, 0));
  const size_t fixed = name.size() + 3;
  if (fixed + label.size() > room && room > fixed + 3) {
    label = label.substr(0, room - fixed - 3) + "...";
  }
  return Plain(name + " (" + label + ")");
}

}  // namespace

NetworkWindow::NetworkWindow(Frame* parent) : RootWindow(parent) {}

NetworkWindow::~NetworkWindow() = default;

int NetworkWindow::Loop() {
  // A message before the entries are set stands in front of the menu: this
  // window has nothing to show behind it yet.
  Frame* const beforeEntries = _parentFrame != nullptr ? _parentFrame : this;
  switch (LoadNetworkSettings(_settings, _nic)) {
    case LoadResult::kLoaded:
      break;
    case LoadResult::kNoInterface: {
      MessageDialog message(beforeEntries, Strings::kEnableNetworkErrorTitle,
                            Strings::kNoManagementInterface);
      Frame::Run(&message);
      return 0;
    }
    case LoadResult::kReadFailed:
      return 0;
  }
  _owner = NetworkOwner();
  RefuseOwnedNetwork(beforeEntries, Strings::kNetworkWindowTitle, _owner);
  using namespace Strings;
  // The pane shows the entry's values; Enter edits them in the record,
  // unless another program owns them.
  auto row = [this](uint32_t label, Entry entry, void (NetworkWindow::*edit)(),
                    std::function<bool()> enabled = {}) {
    return MenuEntry{.label = label,
                     .enabled = std::move(enabled),
                     .open =
                         [this, edit] {
                           if (!RefuseOwnedNetwork(this, kNetworkWindowTitle, _owner)) {
                             (this->*edit)();
                           }
                         },
                     .pane = [this, entry] { return PaneText(entry); }};
  };
  // A distributed switch's adapters and VLAN are not the host's to change.
  auto onStandardSwitch = [this] { return !_settings.distributedSwitch; };
  std::vector<MenuEntry> entries = {
      row(kNetAdapters, kAdapters, &NetworkWindow::EditAdapters, onStandardSwitch),
      row(kNetVlan, kVlan, &NetworkWindow::EditVlan, onStandardSwitch),
      {},
      row(kNetIpv4, kIpv4, &NetworkWindow::EditIpv4),
      row(kNetIpv6, kIpv6, &NetworkWindow::EditIpv6),
      row(kNetDns, kDns, &NetworkWindow::EditDns),
      row(kNetSuffixes, kSuffixes, &NetworkWindow::EditSuffixes),
  };
  SetEntries(kNetworkWindowTitle, std::move(entries));
  return RunEntries();
}

void NetworkWindow::UpdateFooter() {
  _leftFooter->SetText(kLeftFooter);
  _rightFooter->SetText(kRightFooter);
}

std::string NetworkWindow::PaneText(Entry entry) {
  const std::string notSet = _strings->GetString(Strings::kNotSet);
  auto help = [&](uint32_t key) {
    return kHelp + std::string(_strings->GetString(key)) + kHelpEnd;
  };
  auto valueOrNotSet = [&](const std::string& value) { return value.empty() ? notSet : value; };
  const IpConfig& choices = _settings.dhcpChoices;
  const IpConfig& addresses = _settings.addresses;
  std::string text = kValue;

  switch (entry) {
    case kAdapters: {
      // One read of the host for every line of the pane.
      std::vector<HostCtl::Network::PnicInfo> pnics;
      if (!_settings.uplinks.empty()) {
        try {
          pnics = NexCtl::Network::NetworkInfoImpl().GetPnics();
        } catch (const HostCtlException&) {
          // Every line says "N/A".
        }
      }
      for (const std::string& uplink : _settings.uplinks) {
        text += AdapterLine(uplink, pnics, _rightText->GetWidth()) + "\n";
      }
      if (!_settings.uplinks.empty()) {
        text += "\n";
      }
      return text + help(Strings::kHelpNetAdapters);
    }

    case kVlan:
      text += _settings.vlanId == 0 ? notSet : std::to_string(_settings.vlanId);
      return text + "\n\n" + help(Strings::kHelpNetVlan);

    case kIpv4: {
      const uint32_t mode = choices.GetUseDhcp()         ? Strings::kAutomatic
                            : addresses.GetIpv4UseNone() ? Strings::kNone
                                                         : Strings::kManual;
      auto line = [&](uint32_t label, const HostCtl::Network::Ipv4Address& value) {
        return std::string(_strings->GetString(label)) + ": " +
               (value.IsUnspecified() ? notSet : value.GetStringAddress()) + "\n";
      };
      text += std::string(_strings->GetString(mode)) + "\n\n";
      text += line(Strings::kIpv4AddressLabel, addresses.GetIpv4Address());
      text += line(Strings::kSubnetMaskLabel, addresses.GetIpv4Netmask());
      text += line(Strings::kDefaultGatewayLabel, addresses.GetIpv4Gateway());
      return text + "\n" + help(Strings::kHelpNetIpv4);
    }

    case kIpv6: {
      text += std::string(_strings->GetString(
                  _settings.ipv6EnabledPending ? Strings::kIpv6Enabled : Strings::kIpv6Disabled)) +
              "\n\n";
      if (_settings.ipv6EnabledPending && !_settings.ipv6EnabledCurrent) {
        return text + help(Strings::kIpv6AfterReboot);
      }
      bool enabledNow = _settings.ipv6EnabledCurrent;
      try {
        enabledNow = NexCtl::Network::NetworkInfoImpl().IsNexIpv6Enabled();
      } catch (const HostCtlException& e) {
        Platform::Syslog(LOG_ERR, "%s",
                         (std::string("Getting IPv6 state failed: ") + e.what()).c_str());
      }
      if (!enabledNow) {
        return text + help(Strings::kHelpNetIpv6Disabled);
      }
      const bool automatic = choices.GetUseIpv6Dhcp() || choices.GetUseIpv6RouterAdvertised();
      text += std::string(_strings->GetString(automatic ? Strings::kAutomatic : Strings::kManual)) +
              "\n\n";
      text += std::string(_strings->GetString(Strings::kIpv6AddressesLabel)) + ":\n";
      const auto& networks = addresses.GetIpv6Network();
      // Four or more do not fit: the first two stand for them.
      const size_t shown = networks.size() >= 4 ? 2 : networks.size();
      for (size_t i = 0; i < shown; ++i) {
        text += networks[i].GetStringAddress() + "\n";
      }
      if (networks.empty()) {
        text += notSet + "\n";
      } else if (shown < networks.size()) {
        text += "...\n";
      }
      const std::string gateway = addresses.GetIpv6Gateway().GetStringAddress();
      text += std::string(_strings->GetString(Strings::kDefaultGatewayLabel)) + ":\n" +
              (gateway == "::" ? notSet : gateway) + "\n\n";
      return text + help(Strings::kHelpNetIpv6);
    }

    case kDns: {
      const auto& primary = _settings.primaryDns;
      const auto& alternate = _settings.alternateDns;
      const bool mixed =
          primary != nullptr && primary->IsIpv4() && alternate != nullptr && alternate->IsIpv6();
      text += std::string(_strings->GetString(choices.GetDhcpDns() ? Strings::kAutomatic
                                                                   : Strings::kManual)) +
              "\n\n";
      text += std::string(_strings->GetString(Strings::kPrimaryDnsLabel)) + ":\n" +
              valueOrNotSet(AddressText(primary)) + "\n";
      text += std::string(_strings->GetString(mixed ? Strings::kIpv6DnsLabel
                                                    : Strings::kAlternateDnsLabel)) +
              ":\n" + valueOrNotSet(AddressText(alternate)) + "\n\n";
      text += std::string(_strings->GetString(Strings::kHostnameLabel)) + "\n" +
              Plain(_settings.hostname) + "\n\n";
      return text + help(Strings::kHelpNetDns);
    }

    case kSuffixes:
      text += valueOrNotSet(Plain(_settings.suffixText));
      return text + "\n\n" + help(Strings::kHelpNetSuffixes);

    default:
      return "";
  }
}

void NetworkWindow::EditAdapters() {
  std::string switchName;
  if (!GetSwitchName(*_nic, switchName)) {
    return;
  }
  AdaptersDialog dialog(this, _settings.uplinks, _settings.maxActiveUplinks, switchName);
  if (Frame::Run(&dialog) != 1) {
    return;
  }
  if (dialog.GetUplinks() == _settings.uplinks &&
      dialog.GetMaxActiveUplinks() == _settings.maxActiveUplinks) {
    return;
  }
  _settings.changesMade = true;
  _settings.uplinks = dialog.GetUplinks();
  _settings.maxActiveUplinks = dialog.GetMaxActiveUplinks();
}

void NetworkWindow::EditVlan() {
  if (!Platform::HostHas(Platform::Feature::kManagementVlan)) {
    MessageDialog message(this, Strings::kNetworkWindowTitle, Strings::kVlanUnavailable);
    Frame::Run(&message);
    return;
  }
  VlanDialog dialog(this, _settings.vlanId);
  if (Frame::Run(&dialog) == 1 && dialog.GetVlanId() != _settings.vlanId) {
    _settings.changesMade = true;
    _settings.vlanId = dialog.GetVlanId();
  }
}

void NetworkWindow::EditIpv4() {
  IpConfig& choices = _settings.dhcpChoices;
  IpConfig& addresses = _settings.addresses;
  IPConfigurationDialog dialog(this, addresses.GetIpv4UseNone(), choices.GetUseDhcp(), addresses);
  if (Frame::Run(&dialog) != 1) {
    return;
  }
  const IpConfig& result = dialog.GetConfiguration();
  const bool isStatic = !result.GetUseDhcp() && !result.GetIpv4UseNone();
  const bool changed = result.GetUseDhcp() != choices.GetUseDhcp() ||
                       result.GetIpv4UseNone() != addresses.GetIpv4UseNone() ||
                       (isStatic && (result.GetIpv4Address() != addresses.GetIpv4Address() ||
                                     result.GetIpv4Netmask() != addresses.GetIpv4Netmask() ||
                                     result.GetIpv4Gateway() != addresses.GetIpv4Gateway()));
  if (!changed) {
    return;
  }
  _settings.changesMade = true;
  choices.SetUseDhcp(result.GetUseDhcp());
  if (result.GetIpv4UseNone()) {
    addresses.SetIpv4UseNone();
  } else {
    addresses.SetIpv4UseNone(false);
    addresses.SetIpv4Address(result.GetIpv4Address());
    addresses.SetIpv4Netmask(result.GetIpv4Netmask());
  }
  addresses.SetIpv4Gateway(result.GetIpv4Gateway());
}

void NetworkWindow::EditIpv6() {
  IpConfig& choices = _settings.dhcpChoices;
  IpConfig& addresses = _settings.addresses;
  IPv6ConfigurationDialog dialog(this, _settings.ipv6EnabledPending, choices, addresses);
  if (Frame::Run(&dialog) != 1) {
    return;
  }
  const IpConfig& result = dialog.GetConfiguration();
  const bool gatewayChanged = result.GetIpv6Gateway() != addresses.GetIpv6Gateway();
  if (dialog.GetEnabled() != _settings.ipv6EnabledPending ||
      result.GetUseIpv6Dhcp() != choices.GetUseIpv6Dhcp() ||
      result.GetUseIpv6RouterAdvertised() != choices.GetUseIpv6RouterAdvertised() ||
      gatewayChanged || dialog.GetAddressesEdited()) {
    _settings.changesMade = true;
  }
  _settings.ipv6EnabledPending = dialog.GetEnabled();
  if (_settings.ipv6EnabledPending) {
    if (gatewayChanged) {
      _settings.ipv6GatewayChanged = true;
    }
    choices.SetUseIpv6Dhcp(result.GetUseIpv6Dhcp());
    choices.SetUseIpv6RouterAdvertised(result.GetUseIpv6RouterAdvertised());
    addresses.ClearIpv6Networks();
    for (const auto& network : result.GetIpv6Network()) {
      addresses.AddIpv6Network(network);
    }
    addresses.SetIpv6Gateway(result.GetIpv6Gateway());
  }
}

void NetworkWindow::EditDns() {
  IpConfig& choices = _settings.dhcpChoices;
  DNSConfigurationDialog dialog(this, choices.GetDhcpDns(), choices.GetUseDhcp(),
                                _settings.primaryDns.get(), _settings.alternateDns.get(),
                                _settings.hostname);
  if (Frame::Run(&dialog) != 1) {
    return;
  }
  const bool automatic = dialog.GetAutomatic();
  const bool changed =
      automatic != choices.GetDhcpDns() ||
      (!automatic && (!SameAddress(_settings.primaryDns, dialog.GetPrimary()) ||
                      !SameAddress(_settings.alternateDns, dialog.GetAlternate()) ||
                      dialog.GetHostname() != _settings.hostname));
  if (!changed) {
    return;
  }
  _settings.changesMade = true;
  choices.SetDhcpDns(automatic);
  _settings.addresses.SetDhcpDns(automatic);
  if (!automatic) {
    _settings.primaryDns = Copy(dialog.GetPrimary());
    _settings.alternateDns = Copy(dialog.GetAlternate());
    _settings.hostname = dialog.GetHostname();
  }
}

void NetworkWindow::EditSuffixes() {
  SuffixesDialog dialog(this, _settings.suffixText);
  if (Frame::Run(&dialog) != 1) {
    return;
  }
  std::string text = dialog.GetText();
  if (text != _settings.suffixText) {
    _settings.changesMade = true;
    _settings.suffixText = std::move(text);
  }
}

void NetworkWindow::Apply() {
  NetworkApplyProgress progress;
  // Each failure is shown as it happens: the pass goes on once it is read.
  progress.failed = [this](const std::string& failure) {
    MessageDialog dialog(this, Strings::kEnableNetworkErrorTitle, failure);
    Frame::Run(&dialog);
  };
  progress.addressChanged = [this] { ShowSelection(); };
  if (ApplyNetworkSettings(_settings, *_nic, progress).restartNeeded) {
    // The user agreed to the restart when leaving; it returns only when the
    // host could not be restarted.
    RebootConfirmDialog restart(this, true);
    Frame::Run(&restart);
  }
  FinishNetworkApply(GetSession().loginName);
}

bool NetworkWindow::Leave() {
  const bool ipv6Toggled = _settings.ipv6EnabledPending != _settings.ipv6EnabledCurrent;
  if (!_settings.changesMade && !ipv6Toggled) {
    return true;
  }
  ApplyChangesDialog question(this, ipv6Toggled);
  switch (Frame::Run(&question)) {
    case ApplyChangesDialog::kYes:
      Apply();
      Platform::Syslog(LOG_INFO, "%s", "Network settings changed.");
      return true;
    case ApplyChangesDialog::kNo:
      return true;
    default:
      return false;
  }
}

}  // namespace Merel
