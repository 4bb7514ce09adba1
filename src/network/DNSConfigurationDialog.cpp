// The DNS dialog. Server fields take the characters of IPv4 and IPv6
// addresses, the hostname field those of a host name; the servers are checked
// on Enter, the hostname is taken as typed.
#include "DNSConfigurationDialog.h"

#include <vector>

#include "HostCtl/AddressRules.h"
#include "HostCtl/Ipv4Address.h"
#include "HostCtl/Ipv6Address.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr int kWidth = 78;
constexpr int kHeight = 17;
constexpr int kTitleHeight = 6;
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
    : Dialog(parent, kWidth, kHeight, kTitleHeight),
      _automatic(automatic),
      _primary(primary != nullptr ? primary->Clone() : nullptr),
      _alternate(alternate != nullptr ? alternate->Clone() : nullptr),
      _hostname(hostname) {
  std::vector<std::unique_ptr<Item>> items;
  const uint32_t radioKeys[2] = {Strings::kDnsAutomatic, Strings::kDnsManual};
  for (int i = 0; i < 2; ++i) {
    auto radio =
        std::make_unique<RadioItem>(_strings->GetString(radioKeys[i]), (i == 0) == _automatic);
    radio->SetHighlightFocus(true);
    // Without DHCP for IPv4 there is nothing to obtain DNS settings from.
    radio->SetSelectable(usingDhcp);
    _radios[i] = radio.get();
    items.push_back(std::move(radio));
  }
  items.push_back(std::make_unique<LabelItem>("", false));
  const bool ipv6Alternate =
      _primary != nullptr && _primary->IsIpv4() && _alternate != nullptr && _alternate->IsIpv6();
  const std::string labels[3] = {
      _strings->GetString(Strings::kPrimaryDnsLabel),
      _strings->GetString(ipv6Alternate ? Strings::kIpv6DnsLabel : Strings::kAlternateDnsLabel),
      _strings->GetString(Strings::kHostnameLabel)};
  const std::string values[3] = {_primary ? _primary->GetStringAddress() : "",
                                 _alternate ? _alternate->GetStringAddress() : "", _hostname};
  for (int i = 0; i < 3; ++i) {
    auto field = std::make_unique<InputItem>(labels[i], values[i], kFieldWidth);
    field->SetSelectable(!_automatic);
    _fields[i] = field.get();
    items.push_back(std::move(field));
  }
  if (_contentWindow != nullptr) {
    _list = &_contentWindow->AddChild<ItemList>(0, 0, _contentWindow->GetWidth(),
                                                _contentWindow->GetHeight());
    _list->SetItems(std::move(items));
  }
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

void DNSConfigurationDialog::Mark(bool automatic) {
  _automatic = automatic;
  _radios[0]->SetChecked(automatic);
  _radios[1]->SetChecked(!automatic);
  for (InputItem* field : _fields) {
    field->SetSelectable(!automatic);
  }
}

int DNSConfigurationDialog::Selection() const {
  const int index = _list->CurrentIndex();
  return index < kSpacer ? index : index - 1;
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

int DNSConfigurationDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kDnsDialogTitle));
  SetText(_strings->GetString(Strings::kDnsDialogText));
  SetFooter(kMarkOkCancelFooter);
  if (_list == nullptr) {
    return 0;
  }
  Window::ShowCursor(Selection() >= kPrimaryField);
  _list->DrawItems();
  while (true) {
    const int key = Frame::WaitForKey(this, true);
    const int selection = Selection();
    switch (key) {
      case KEY_UP:
        _list->Prev();
        if (Selection() < kPrimaryField) {
          Window::ShowCursor(false);
        }
        _list->DrawItems();
        break;
      case KEY_DOWN:
        _list->Next();
        if (Selection() >= kPrimaryField) {
          Window::ShowCursor(true);
        }
        _list->DrawItems();
        break;
      case ' ':
        // A choice that cannot be selected cannot be marked either.
        if (selection < kPrimaryField && _radios[selection]->IsSelectable()) {
          Mark(selection == 0);
        }
        _list->DrawItems();
        break;
      case kKeyEnter:
        if (Finish()) {
          Window::ShowCursor(false);
          return 1;
        }
        break;
      case kKeyEscape:
        Window::ShowCursor(false);
        return 0;
      default:
        if (selection == kPrimaryField || selection == kAlternateField) {
          InputItem& field = *_fields[selection - kPrimaryField];
          if (IsServerKey(key) && FieldKeys::Fits(field, key, kLongestServer)) {
            field.HandleKey(key);
            if (selection == kAlternateField && field.GetValue().size() < 3) {
              field.SetLabel(_strings->GetString(Strings::kAlternateDnsLabel));
            }
          }
        } else if (selection == kHostnameField) {
          InputItem& field = *_fields[2];
          if (IsHostnameKey(key) && FieldKeys::Fits(field, key, kLongestHostname)) {
            field.HandleKey(key);
          }
        }
        _list->DrawItems();
        break;
    }
  }
}

}  // namespace Merel
