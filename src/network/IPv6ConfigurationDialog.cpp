// The IPv6 dialog. The choices are kept as the enable flag and the two
// dynamic flags; every Space changes those and then the items are brought in
// line with them, so the items can never disagree with what is returned.
#include "IPv6ConfigurationDialog.h"

#include "HostCtl/AddressRules.h"
#include "HostCtl/Ipv6Address.h"
#include "HostCtl/Ipv6Network.h"
#include "StringFactory.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{78, 19, 7};
constexpr int kFieldWidth = 44;
// An address with a prefix or a zone, with room to spare; nothing valid is
// longer.
constexpr size_t kLongestText = 64;
constexpr int kAddressFields = 3;

}  // namespace

IPv6ConfigurationDialog::IPv6ConfigurationDialog(Frame* parent,
                                                 bool enabled,
                                                 const HostCtl::Network::IpConfig& dhcpChoices,
                                                 const HostCtl::Network::IpConfig& addresses)
    : FormDialog(parent, kSize, Strings::kIpv6DialogTitle,
                 Strings::kIpv6DialogText, kMarkOkCancelFooter),
      _enabled(enabled),
      _config(addresses) {
  _config.SetUseIpv6Dhcp(dhcpChoices.GetUseIpv6Dhcp());
  _config.SetUseIpv6RouterAdvertised(dhcpChoices.GetUseIpv6RouterAdvertised());

  _disable = AddRadio(_strings->GetString(Strings::kIpv6Disable), false);
  _dynamic = AddRadio(_strings->GetString(Strings::kIpv6Dynamic), false);
  // The DHCPv6 box belongs to the dynamic choice and is drawn under it.
  _dhcpv6 = AddCheck(_strings->GetString(Strings::kIpv6UseDhcpv6), false, 4);
  _static = AddRadio(_strings->GetString(Strings::kIpv6Static), false);

  // The fields show the static addresses; link-local ones are the
  // interface's own and cannot be set here.
  std::vector<std::string> networks;
  for (const HostCtl::Network::Ipv6Network& network : addresses.GetIpv6Network()) {
    if (!network.IsLinkLocal() && networks.size() < kAddressFields) {
      networks.push_back(network.GetStringAddress());
    }
  }
  networks.resize(kAddressFields);
  for (int i = 0; i < kAddressFields; ++i) {
    _fields[i] = AddField({std::string(_strings->GetString(Strings::kStaticAddressLabel)) + " #" +
                               std::to_string(i + 1),
                           networks[static_cast<size_t>(i)], kFieldWidth, IsFieldKey,
                           kLongestText});
  }
  _fields[3] = AddField({_strings->GetString(Strings::kIpv6GatewayLabel),
                         addresses.GetIpv6Gateway().GetScopedStringAddress(), kFieldWidth,
                         IsFieldKey, kLongestText});
  Sync();
  ShowRows();
}

bool IPv6ConfigurationDialog::IsDynamic() const {
  return _config.GetUseIpv6Dhcp() || _config.GetUseIpv6RouterAdvertised();
}

void IPv6ConfigurationDialog::Sync() {
  const bool dynamic = IsDynamic();
  _disable->SetChecked(!_enabled);
  _dynamic->SetChecked(_enabled && dynamic);
  _dhcpv6->SetChecked(_config.GetUseIpv6Dhcp());
  _dhcpv6->SetSelectable(_enabled && dynamic);
  _static->SetChecked(_enabled && !dynamic);
  for (InputItem* field : _fields) {
    field->SetSelectable(_enabled && !dynamic);
  }
}

bool IPv6ConfigurationDialog::IsFieldKey(int key) {
  return FieldKeys::IsLetter(key) || FieldKeys::IsDigit(key) || key == ':' || key == '/' ||
         key == '%' || FieldKeys::IsEditing(key);
}

std::optional<FieldError> IPv6ConfigurationDialog::Check(const std::string (&addresses)[3],
                                                         const std::string& gateway) {
  using HostCtl::Network::Ipv6Network;
  for (int i = 0; i < kAddressFields; ++i) {
    const std::string& text = addresses[i];
    if (text.empty()) {
      continue;
    }
    if (!Ipv6Network::IsValidAddressAndNetmask(text)) {
      return FieldError{kFirstAddressField + i, Strings::kInvalidIpTitle,
                        Strings::kInvalidIpv6NetworkText};
    }
    const Ipv6Network network(text);
    if (network.IsLinkLocal()) {
      return FieldError{kFirstAddressField + i, Strings::kInvalidScopeTitle,
                        Strings::kLinkLocalStaticText};
    }
    if (const std::string reason = HostCtl::Network::Ipv6AddressProblem(network.GetAddress());
        !reason.empty()) {
      return ReasonError(kFirstAddressField + i, Strings::kInvalidIpTitle,
                         Strings::kInvalidIpv6NetworkText, reason);
    }
  }
  if (gateway.empty()) {
    return std::nullopt;
  }
  if (!HostCtl::Network::Ipv6Address::IsValidAddress(gateway)) {
    return FieldError{kGatewayField, Strings::kInvalidGatewayTitle,
                      Strings::kInvalidIpv6GatewayText};
  }
  if (const std::string reason =
          HostCtl::Network::Ipv6GatewayProblem(HostCtl::Network::Ipv6Address(gateway));
      !reason.empty()) {
    return ReasonError(kGatewayField, Strings::kInvalidGatewayTitle,
                       Strings::kInvalidIpv6GatewayText, reason);
  }
  return std::nullopt;
}

bool IPv6ConfigurationDialog::Finish() {
  using HostCtl::Network::Ipv6Address;
  using HostCtl::Network::Ipv6Network;
  if (!_enabled || IsDynamic()) {
    return true;
  }
  const std::string addresses[3] = {_fields[0]->GetValue(), _fields[1]->GetValue(),
                                    _fields[2]->GetValue()};
  const std::string& gateway = _fields[3]->GetValue();
  if (const std::optional<FieldError> error = Check(addresses, gateway)) {
    ShowFieldError(this, *_list, error->field, *error);
    return false;
  }
  if (_addressesEdited) {
    // The fields are the whole list of static addresses: one emptied there
    // is one the user removed.
    _config.ClearIpv6Networks();
    for (const std::string& text : addresses) {
      if (!text.empty()) {
        Ipv6Network network(text);
        network.SetIpv6AddressType(HostCtl::Network::kIpv6AddressPreferred);
        network.SetIpv6Scope(HostCtl::Network::kIpv6ScopeGlobal);
        _config.AddIpv6Network(network);
      }
    }
  }
  if (gateway != _config.GetIpv6Gateway().GetScopedStringAddress()) {
    _config.SetIpv6Gateway(gateway.empty() ? Ipv6Address() : Ipv6Address(gateway));
  }
  return true;
}

void IPv6ConfigurationDialog::Mark(int row) {
  switch (row) {
    case kDisable:
      _enabled = false;
      break;
    case kDynamic:
      _enabled = true;
      // The box under the choice says which of the two dynamic modes.
      _config.SetUseIpv6RouterAdvertised(!_dhcpv6->IsChecked());
      _config.SetUseIpv6Dhcp(_dhcpv6->IsChecked());
      break;
    case kUseDhcpv6:
      _config.SetUseIpv6Dhcp(!_dhcpv6->IsChecked());
      _config.SetUseIpv6RouterAdvertised(_dhcpv6->IsChecked());
      break;
    case kStatic:
      _enabled = true;
      _config.SetUseIpv6Dhcp(false);
      _config.SetUseIpv6RouterAdvertised(false);
      break;
    default:
      break;
  }
  Sync();
}

void IPv6ConfigurationDialog::Edited(int field) {
  // The gateway is the last field; the others are the address list.
  if (field < kGatewayField - kFirstAddressField) {
    _addressesEdited = true;
  }
}

}  // namespace Merel
