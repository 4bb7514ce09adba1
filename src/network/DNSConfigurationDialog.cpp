// The DNS dialog. Server fields take the characters of IPv4 and IPv6
// addresses, the hostname field those of a host name; the servers are checked
// on Enter, the hostname is taken as typed.
#include "DNSConfigurationDialog.h"

#include "HostCtl/AddressRules.h"
#include "HostCtl/Ipv4Address.h"
#include "HostCtl/Ipv6Address.h"
#include "StringFactory.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{78, 17, 6};
constexpr int kFieldWidth = 44;
// "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.255", and for both fields one
// character more: a longer paste then stays too long to pass its check,
// instead of being cut to a value that happens to be valid.
constexpr size_t kLongestServer = 45 + 1;
constexpr size_t kLongestHostname = HostCtl::Network::kLongestName + 1;
// The table has no title for a bad hostname.
const char* const kInvalidHostnameTitle = "Invalid hostname";
const char* const kInvalidHostnameText = "Please reenter a valid hostname.";
constexpr int kSpacer = 2;

bool IsServerKey(int key) {
  return FieldKeys::IsHexDigit(key) || key == ':' || key == '.' || FieldKeys::IsEditing(key);
}

bool IsHostnameKey(int key) {
  return FieldKeys::IsLetter(key) || FieldKeys::IsDigit(key) || key == '-' || key == '.' ||
         FieldKeys::IsEditing(key);
}

}  // namespace

DNSConfigurationDialog::DNSConfigurationDialog(Frame* parent,
                                               bool automatic,
                                               bool usingDhcp,
                                               const HostCtl::Network::IpAddress* primary,
                                               const HostCtl::Network::IpAddress* alternate,
                                               const std::string& hostname)
    : FormDialog(parent, kSize, Strings::kDnsDialogTitle,
                 Strings::kDnsDialogText, kMarkOkCancelFooter),
      _automatic(automatic),
      _primary(primary != nullptr ? primary->Clone() : nullptr),
      _alternate(alternate != nullptr ? alternate->Clone() : nullptr),
      _hostname(hostname) {
  const uint32_t radioKeys[2] = {Strings::kDnsAutomatic, Strings::kDnsManual};
  for (int i = 0; i < 2; ++i) {
    _radios[i] = AddRadio(_strings->GetString(radioKeys[i]), (i == 0) == _automatic);
    // Without DHCP for IPv4 there is nothing to obtain DNS settings from.
    _radios[i]->SetSelectable(usingDhcp);
  }
  AddSpacer();
  const bool ipv6Alternate =
      _primary != nullptr && _primary->IsIpv4() && _alternate != nullptr && _alternate->IsIpv6();
  const FieldSpec specs[3] = {
      {_strings->GetString(Strings::kPrimaryDnsLabel), _primary ? _primary->GetStringAddress() : "",
       kFieldWidth, IsServerKey, kLongestServer},
      {_strings->GetString(ipv6Alternate ? Strings::kIpv6DnsLabel : Strings::kAlternateDnsLabel),
       _alternate ? _alternate->GetStringAddress() : "", kFieldWidth, IsServerKey, kLongestServer},
      {_strings->GetString(Strings::kHostnameLabel), _hostname, kFieldWidth, IsHostnameKey,
       kLongestHostname}};
  for (int i = 0; i < 3; ++i) {
    _fields[i] = AddField(specs[i]);
    _fields[i]->SetSelectable(!_automatic);
  }
  ShowRows();
}

std::optional<FieldError> DNSConfigurationDialog::Check(const std::string& primary,
                                                        const std::string& alternate,
                                                        const std::string& hostname) {
  using HostCtl::Network::Ipv4Address;
  using HostCtl::Network::Ipv6Address;
  const std::string* texts[2] = {&primary, &alternate};
  for (int i = 0; i < 2; ++i) {
    const std::string& text = *texts[i];
    if (text.empty()) {
      continue;
    }
    if (!Ipv4Address::IsValidAddress(text) && !Ipv6Address::IsValidAddress(text)) {
      return FieldError{kPrimaryField + i, Strings::kInvalidDnsTitle, Strings::kInvalidDnsText};
    }
    // "::" or "0.0.0.0" would read as no server and silently drop one.
    if (const std::string reason = HostCtl::Network::NameServerProblem(*ServerOf(text));
        !reason.empty()) {
      return ReasonError(kPrimaryField + i, Strings::kInvalidDnsTitle, Strings::kInvalidDnsText,
                         reason);
    }
  }
  // An empty hostname is let through as it always was.
  if (!hostname.empty()) {
    if (const std::string reason = HostCtl::Network::NameProblem(hostname); !reason.empty()) {
      return FieldError{kHostnameField, 0, 0, kInvalidHostnameTitle,
                        reason + " " + kInvalidHostnameText};
    }
  }
  return std::nullopt;
}

std::unique_ptr<HostCtl::Network::IpAddress> DNSConfigurationDialog::ServerOf(
    const std::string& text) {
  using HostCtl::Network::Ipv4Address;
  using HostCtl::Network::Ipv6Address;
  if (text.empty()) {
    return nullptr;
  }
  if (Ipv6Address::IsValidAddress(text)) {
    return std::make_unique<Ipv6Address>(text);
  }
  return std::make_unique<Ipv4Address>(text);
}

void DNSConfigurationDialog::Mark(int row) {
  // A choice that cannot be selected cannot be marked either.
  if (row >= kPrimaryField || !_radios[row]->IsSelectable()) {
    return;
  }
  _automatic = row == 0;
  _radios[0]->SetChecked(_automatic);
  _radios[1]->SetChecked(!_automatic);
  for (InputItem* field : _fields) {
    field->SetSelectable(!_automatic);
  }
}

void DNSConfigurationDialog::Edited(int field) {
  if (field == kAlternateField - kPrimaryField && _fields[field]->GetValue().size() < 3) {
    _fields[field]->SetLabel(_strings->GetString(Strings::kAlternateDnsLabel));
  }
}

int DNSConfigurationDialog::ListIndex(int selection) {
  return selection < kSpacer ? selection : selection + 1;
}

bool DNSConfigurationDialog::Finish() {
  if (_automatic) {
    return true;
  }
  const std::string& primary = _fields[0]->GetValue();
  const std::string& alternate = _fields[1]->GetValue();
  if (const std::optional<FieldError> error = Check(primary, alternate, _fields[2]->GetValue())) {
    ShowFieldError(this, *_list, ListIndex(error->field), *error);
    return false;
  }
  _primary = ServerOf(primary);
  _alternate = ServerOf(alternate);
  _hostname = _fields[2]->GetValue();
  return true;
}

}  // namespace Merel
