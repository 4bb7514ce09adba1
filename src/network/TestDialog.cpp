#include "TestDialog.h"

#include <syslog.h>

#include "DialogFields.h"
#include "HostCtl/HostCtlException.h"
#include "MessageDialog.h"
#include "NexCtl/DnsConfigImpl.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/RoutingInfoImpl.h"
#include "Platform.h"
#include "RunTestDialog.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr int kAddressFields = 3;
constexpr int kHostnameField = 3;
// The fields show 30 columns and scroll; what they take is bounded only
// by the longest host name a resolver accepts, so that a full IPv6 address
// or a long name can be typed whole.
constexpr int kFieldLength = 30;
constexpr size_t kTypedLimit = 255;

const char* const kFooter =
    "{color:black}<Up/Down>{/color} {color:dark-grey}Select{/color}"
    "{align:right}{color:black}<Enter>{/color} {color:dark-grey}OK{/color}  "
    "{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}";

// The candidates for the address fields, in the order they are offered:
// gateways first, then the DNS servers, IPv4 before IPv6 at each rank.
std::vector<std::string> Candidates() {
  std::vector<std::string> candidates;
  try {
    NexCtl::Network::RoutingInfoImpl routing("defaultNetStack");
    NexCtl::Network::DnsConfigImpl dns("defaultNetStack");
    const bool ipv6 = NexCtl::Network::NetworkInfoImpl().IsNexIpv6Enabled();
    const auto servers = dns.GetNameServers();
    const auto ipv6Servers =
        ipv6 ? dns.GetIpv6NameServers() : std::vector<HostCtl::Network::Ipv6Address>();
    candidates.push_back(routing.GetNexelDefaultGateway().GetStringAddress());
    if (ipv6) {
      candidates.push_back(routing.GetIpv6NexelDefaultGateway().GetStringAddress());
    }
    for (size_t i = 0; i < 2; ++i) {
      if (i < servers.size()) {
        candidates.push_back(servers[i].GetStringAddress());
      }
      if (i < ipv6Servers.size()) {
        candidates.push_back(ipv6Servers[i].GetStringAddress());
      }
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting the test addresses failed: %s", e.what());
  }
  return candidates;
}

std::string DefaultHostname() {
  try {
    NexCtl::Network::DnsConfigImpl dns("defaultNetStack");
    std::string name = dns.GetHostname();
    const std::string domain = dns.GetDomain();
    if (!domain.empty()) {
      name += "." + domain;
    }
    return name;
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting the host name failed: %s", e.what());
    return "";
  }
}

bool IsAddressKey(int key) {
  return FieldKeys::IsEditing(key) || FieldKeys::IsHexDigit(key) || key == '.' || key == ':';
}

// Printable and not white space: a host name never holds a blank.
bool IsHostnameKey(int key) {
  return FieldKeys::IsEditing(key) || (key > ' ' && key < 127);
}

}  // namespace

std::vector<std::string> TestDialog::DefaultTargets(const std::vector<std::string>& candidates) {
  std::vector<std::string> targets;
  for (const auto& candidate : candidates) {
    if (targets.size() == kAddressFields) {
      break;
    }
    if (!candidate.empty() && candidate != "0.0.0.0" && candidate != "::") {
      targets.push_back(candidate);
    }
  }
  return targets;
}

TestDialog::TestDialog(Frame* parent)
    : FormDialog(parent, {70, 14, 6}, Strings::kTestTitle, Strings::kTestText, kFooter) {
  const std::vector<std::string> targets = DefaultTargets(Candidates());
  for (int i = 0; i < kAddressFields; ++i) {
    // Numbered from 0 here, while the run numbers its lines from 1.
    _fields.push_back(AddField(
        {std::string(_strings->GetString(Strings::kPingAddressLabel)) + " #" + std::to_string(i) +
             ":",
         static_cast<size_t>(i) < targets.size() ? targets[i] : "", kFieldLength, IsAddressKey,
         kTypedLimit}));
  }
  _fields.push_back(AddField({_strings->GetString(Strings::kResolveHostnameLabel),
                              DefaultHostname(), kFieldLength, IsHostnameKey, kTypedLimit}));
  ShowRows();
}

bool TestDialog::ParseTargets(HostCtl::Network::IpAddress* targets[3]) {
  _addresses.clear();
  for (int i = 0; i < kAddressFields; ++i) {
    targets[i] = nullptr;
    const std::string& text = _fields[i]->GetValue();
    if (text.empty()) {
      continue;
    }
    std::unique_ptr<HostCtl::Network::IpAddress> address;
    if (HostCtl::Network::Ipv6Address::IsValidAddress(text)) {
      address = std::make_unique<HostCtl::Network::Ipv6Address>(text);
    } else if (HostCtl::Network::Ipv4Address::IsValidAddress(text)) {
      address = std::make_unique<HostCtl::Network::Ipv4Address>(text);
    } else {
      _addresses.clear();
      _list->SelectShown(i);
      _list->DrawItems();
      MessageDialog message(this, Strings::kInvalidIpTitle, Strings::kInvalidIpOrIpv6Text);
      Frame::Run(&message);
      Window::ShowCursor(true);
      _list->DrawItems();
      return false;
    }
    targets[i] = address.get();
    _addresses.push_back(std::move(address));
  }
  return true;
}

bool TestDialog::Finish() {
  HostCtl::Network::IpAddress* targets[3];
  if (!ParseTargets(targets)) {
    return false;
  }
  RunTestDialog run(this, targets[0], targets[1], targets[2], _fields[kHostnameField]->GetValue());
  Frame::Run(&run);
  _addresses.clear();
  return true;
}

}  // namespace Merel
