// The IPv4 dialog. The fields take only digits and dots and are checked on
// Enter, in screen order; the first bad one gets the focus and its message.
// Nothing here talks to the host: the window compares and applies.
#include "IPConfigurationDialog.h"

#include "HostCtl/AddressRules.h"
#include "StringFactory.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{78, 19, 7};
constexpr int kFieldWidth = 16;
// "255.255.255.255" and one more: a longer paste then stays too long to be
// an address, instead of being cut to one that happens to be valid.
constexpr size_t kLongestAddress = 16;
// The spacer sits between the radio items and the fields: list positions
// after it are one more than their selection index.
constexpr int kSpacer = 3;

bool IsFieldKey(int key) {
  return FieldKeys::IsDigit(key) || key == '.' || FieldKeys::IsEditing(key);
}

}  // namespace

IPConfigurationDialog::IPConfigurationDialog(Frame* parent,
                                             bool useNone,
                                             bool useDhcp,
                                             const HostCtl::Network::IpConfig& config)
    : FormDialog(parent, kSize, Strings::kIpv4DialogTitle,
                 Strings::kIpv4DialogText, kMarkOkCancelFooter, CursorRule::kRowBeforeMove),
      _config(config),
      _useNone(useNone),
      _useDhcp(useDhcp),
      _useStatic(!useNone && !useDhcp) {
  // Both flags set cannot come from the host; DHCP wins, as it does there.
  if (_useDhcp) {
    _useNone = false;
  }
  const uint32_t radioKeys[3] = {Strings::kIpv4Disable, Strings::kIpv4Dynamic,
                                 Strings::kIpv4Static};
  const bool marked[3] = {_useNone, _useDhcp, _useStatic};
  for (int i = 0; i < 3; ++i) {
    _radios[i] = AddRadio(_strings->GetString(radioKeys[i]), marked[i]);
  }
  AddSpacer();
  const uint32_t labelKeys[3] = {Strings::kIpv4AddressLabel, Strings::kSubnetMaskLabel,
                                 Strings::kDefaultGatewayLabel};
  const std::string values[3] = {config.GetIpv4Address().GetStringAddress(),
                                 config.GetIpv4Netmask().GetStringAddress(),
                                 config.GetIpv4Gateway().GetStringAddress()};
  for (int i = 0; i < 3; ++i) {
    _fields[i] = AddField({_strings->GetString(labelKeys[i]), values[i], kFieldWidth, IsFieldKey,
                           kLongestAddress});
    _fields[i]->SetSelectable(_useStatic);
  }
  ShowRows();
}

std::optional<FieldError> IPConfigurationDialog::Check(const std::string& address,
                                                       const std::string& netmask,
                                                       const std::string& gateway) {
  using HostCtl::Network::Ipv4Address;
  if (!Ipv4Address::IsValidAddress(address)) {
    return FieldError{kAddressField, Strings::kInvalidIpTitle, Strings::kInvalidIpv4Text};
  }
  if (!Ipv4Address::IsValidAddress(netmask) || !Ipv4Address::IsValidNetmask(netmask)) {
    return FieldError{kNetmaskField, Strings::kInvalidSubnetTitle, Strings::kInvalidSubnetText};
  }
  if (!Ipv4Address::IsValidAddress(gateway)) {
    return FieldError{kGatewayField, Strings::kInvalidGatewayTitle, Strings::kInvalidGatewayText};
  }
  // Well formed, all three; now whether they mean anything together.
  const Ipv4Address host(address);
  const Ipv4Address mask(netmask);
  if (const std::string reason = HostCtl::Network::Ipv4AddressProblem(host, mask);
      !reason.empty()) {
    return ReasonError(kAddressField, Strings::kInvalidIpTitle, Strings::kInvalidIpv4Text, reason);
  }
  if (const std::string reason =
          HostCtl::Network::Ipv4GatewayProblem(Ipv4Address(gateway), host, mask);
      !reason.empty()) {
    return ReasonError(kGatewayField, Strings::kInvalidGatewayTitle, Strings::kInvalidGatewayText,
                       reason);
  }
  return std::nullopt;
}

void IPConfigurationDialog::Mark(int row) {
  // Rows 0 to 2 are the choices (none, DHCP, static); a field only redraws.
  if (row > 2) {
    return;
  }
  _useNone = row == 0;
  _useDhcp = row == 1;
  _useStatic = row == 2;
  for (int i = 0; i < 3; ++i) {
    _radios[i]->SetChecked(i == row);
    _fields[i]->SetSelectable(_useStatic);
  }
}

int IPConfigurationDialog::ListIndex(int selection) {
  return selection < kSpacer ? selection : selection + 1;
}

bool IPConfigurationDialog::Finish() {
  _config.SetUseDhcp(_useDhcp);
  if (_useNone) {
    _config.SetIpv4UseNone();
  }
  if (!_useStatic) {
    // Whatever the fields hold is of no interest without a static address.
    _config.SetIpv4Gateway(HostCtl::Network::Ipv4Address());
    return true;
  }
  const std::string& address = _fields[0]->GetValue();
  const std::string& netmask = _fields[1]->GetValue();
  const std::string& gateway = _fields[2]->GetValue();
  if (const std::optional<FieldError> error = Check(address, netmask, gateway)) {
    ShowFieldError(this, *_list, ListIndex(error->field), *error);
    return false;
  }
  _config.SetIpv4Address(HostCtl::Network::Ipv4Address(address));
  _config.SetIpv4Netmask(HostCtl::Network::Ipv4Address(netmask));
  _config.SetIpv4Gateway(HostCtl::Network::Ipv4Address(gateway));
  return true;
}

}  // namespace Merel
