// The IPv4 dialog. The fields take only digits and dots and are checked on
// Enter, in screen order; the first bad one gets the focus and its message.
// Nothing here talks to the host: the window compares and applies.
#include "IPConfigurationDialog.h"

#include <memory>
#include <vector>

#include "HostCtl/AddressRules.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr int kWidth = 78;
constexpr int kHeight = 19;
constexpr int kTitleHeight = 7;
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
    : Dialog(parent, kWidth, kHeight, kTitleHeight),
      _config(config),
      _useNone(useNone),
      _useDhcp(useDhcp),
      _useStatic(!useNone && !useDhcp) {
  // Both flags set cannot come from the host; DHCP wins, as it does there.
  if (_useDhcp) {
    _useNone = false;
  }
  std::vector<std::unique_ptr<Item>> items;
  const uint32_t radioKeys[3] = {Strings::kIpv4Disable, Strings::kIpv4Dynamic,
                                 Strings::kIpv4Static};
  const bool marked[3] = {_useNone, _useDhcp, _useStatic};
  for (int i = 0; i < 3; ++i) {
    auto radio = std::make_unique<RadioItem>(_strings->GetString(radioKeys[i]), marked[i]);
    radio->SetHighlightFocus(true);
    _radios[i] = radio.get();
    items.push_back(std::move(radio));
  }
  items.push_back(std::make_unique<LabelItem>("", false));
  const uint32_t labelKeys[3] = {Strings::kIpv4AddressLabel, Strings::kSubnetMaskLabel,
                                 Strings::kDefaultGatewayLabel};
  const std::string values[3] = {config.GetIpv4Address().GetStringAddress(),
                                 config.GetIpv4Netmask().GetStringAddress(),
                                 config.GetIpv4Gateway().GetStringAddress()};
  for (int i = 0; i < 3; ++i) {
    auto field =
        std::make_unique<InputItem>(_strings->GetString(labelKeys[i]), values[i], kFieldWidth);
    field->SetSelectable(_useStatic);
    _fields[i] = field.get();
    items.push_back(std::move(field));
  }
  if (_contentWindow != nullptr) {
    _list = &_contentWindow->AddChild<ItemList>(0, 0, _contentWindow->GetWidth(),
                                                _contentWindow->GetHeight());
    _list->SetItems(std::move(items));
  }
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

void IPConfigurationDialog::Mark(int choice) {
  _useNone = choice == 0;
  _useDhcp = choice == 1;
  _useStatic = choice == 2;
  for (int i = 0; i < 3; ++i) {
    _radios[i]->SetChecked(i == choice);
    _fields[i]->SetSelectable(_useStatic);
  }
}

int IPConfigurationDialog::Selection() const {
  const int index = _list->CurrentIndex();
  return index < kSpacer ? index : index - 1;
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

int IPConfigurationDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kIpv4DialogTitle));
  SetText(_strings->GetString(Strings::kIpv4DialogText));
  SetFooter(kMarkOkCancelFooter);
  if (_list == nullptr) {
    return 0;
  }
  _list->DrawItems();
  while (true) {
    const int key = Frame::WaitForKey(this, true);
    const int selection = Selection();
    switch (key) {
      case ' ':
        if (selection <= 2) {
          Mark(selection);
        }
        _list->DrawItems();
        break;
      case KEY_DOWN:
        // The cursor follows the index before the move: coming down from the
        // last choice onto the address leaves it as it was.
        _list->Next();
        if (selection >= kAddressField) {
          Window::ShowCursor(true);
        }
        _list->DrawItems();
        break;
      case KEY_UP:
        _list->Prev();
        if (selection <= 2) {
          Window::ShowCursor(false);
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
        if (!IsFieldKey(key)) {
          break;
        }
        if (selection >= kAddressField) {
          InputItem& field = *_fields[selection - kAddressField];
          if (FieldKeys::Fits(field, key, kLongestAddress)) {
            field.HandleKey(key);
          }
        }
        _list->DrawItems();
        break;
    }
  }
}

}  // namespace Merel
