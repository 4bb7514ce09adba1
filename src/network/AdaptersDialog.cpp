// The adapter chooser. Every physical adapter is listed with its label, MAC
// address, link state and the switch that uses it; the management switch's
// own uplinks come checked. Adapters that another switch uses can be chosen,
// but Enter first says which switch loses them and asks. A choice of no
// adapter at all is refused: the management network would lose the host.
#include "AdaptersDialog.h"

#include <syslog.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>

#include "HostCtl/HostCtlException.h"
#include "MessageDialog.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/VirtualSwitchInfoImpl.h"
#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"
#include "UsedAdaptersDialog.h"

namespace Merel {

namespace {

constexpr int kWidth = 78;
constexpr int kHeight = 22;
constexpr int kTitleHeight = 7;
// A row's fields; the check box takes the first four columns of the line.
constexpr size_t kNameField = 13;
constexpr size_t kLabelField = 30;
constexpr size_t kRowWidth = kWidth - 4 - 4;

const char* const kHeader =
    "    {align:padding:13}Device Name{/align}{align:padding:30}Hardware Label (MAC "
    "Address){/align}Status";
const char* const kKeys =
    "{color:black}<D>{/color} {color:dark-grey}View Details{/color}  "
    "{color:black}<Space>{/color} {color:dark-grey}Toggle Selected{/color}";
const char* const kNoAdapterText =
    "Select at least one adapter. Without an adapter the management network cannot reach this "
    "host.";
const char* const kNotAvailable = "N/A";

// Host texts go into markup: braces would be read as tags, and anything
// that is not plain printable text would upset the fixed-width fields.
std::string Plain(const std::string& text) {
  std::string plain = text;
  for (char& c : plain) {
    if (c == '{') {
      c = '(';
    } else if (c == '}') {
      c = ')';
    } else if (c < ' ' || c > '~') {
      c = '?';
    }
  }
  return plain;
}

}  // namespace

AdaptersDialog::AdaptersDialog(Frame* parent, const std::vector<std::string>& uplinks,
                               int maxActiveUplinks, const std::string& switchName)
    : Dialog(parent, kWidth, kHeight, kTitleHeight),
      _switchName(switchName),
      _uplinks(uplinks),
      _maxActiveUplinks(maxActiveUplinks),
      _oldCount(uplinks.size()) {
  ReadAdapters();
  std::vector<std::unique_ptr<Item>> items;
  for (const Adapter& adapter : _adapters) {
    const bool chosen = std::find(_uplinks.begin(), _uplinks.end(), adapter.name) != _uplinks.end();
    auto check = std::make_unique<CheckItem>(Row(adapter), chosen);
    check->SetHighlightFocus(true);
    _checks.push_back(check.get());
    items.push_back(std::move(check));
  }
  if (_contentWindow != nullptr && _contentWindow->GetHeight() > 1) {
    _contentWindow->AddChild<TextArea>(0, 0, _contentWindow->GetWidth(), 1,
                                       _contentWindow->GetForeground())
        .SetText(kHeader);
    _list = &_contentWindow->AddChild<ItemList>(0, 1, _contentWindow->GetWidth(),
                                                _contentWindow->GetHeight() - 1);
    _list->SetItems(std::move(items));
  }
}

bool AdaptersDialog::ComesBefore(const std::string& a, const std::string& b) {
  int numberA = 0;
  int numberB = 0;
  if (sscanf(a.c_str(), "pnic%d", &numberA) == 1 && sscanf(b.c_str(), "pnic%d", &numberB) == 1 &&
      numberA != numberB) {
    return numberA < numberB;
  }
  const size_t shorter = std::min(a.size(), b.size());
  const int order = memcmp(a.data(), b.data(), shorter);
  return order != 0 ? order < 0 : a.size() < b.size();
}

std::string AdaptersDialog::Shorten(const std::string& text, size_t width) {
  if (text.size() <= width) {
    return text;
  }
  if (width <= 3) {
    return std::string(width, '.');
  }
  return text.substr(0, width - 3) + "...";
}

std::string AdaptersDialog::Row(const Adapter& adapter) {
  // Each field keeps one blank before the next.
  const std::string mac = " (" + Plain(adapter.mac.value_or(kNotAvailable)) + ")";
  std::string label = "(...)";
  if (adapter.label && !adapter.label->empty()) {
    label = Shorten(Plain(*adapter.label), kLabelField - 1 - std::min(mac.size(), kLabelField - 1));
  }
  std::string status = kNotAvailable;
  if (adapter.connected) {
    status = *adapter.connected ? "Connected" : "Disconnected";
  }
  std::string row = "{align:padding:13}" + Shorten(Plain(adapter.name), kNameField - 1) +
                    "{/align}{align:padding:30}" + Shorten(label + mac, kLabelField - 1) +
                    "{/align}" + status;
  const std::string user = adapter.usedBy ? Plain(*adapter.usedBy) : kNotAvailable;
  const size_t used = kNameField + kLabelField + status.size() + 1;
  if (!user.empty() && used < kRowWidth) {
    row += " " + Shorten(user, kRowWidth - used);
  }
  return row;
}

int AdaptersDialog::MaxActiveFor(int oldMax, size_t oldCount, size_t newCount) {
  const int count = static_cast<int>(newCount);
  if (oldMax <= 0 || static_cast<size_t>(oldMax) >= oldCount) {
    return count;
  }
  return std::max(1, std::min(oldMax, count));
}

void AdaptersDialog::ReadAdapters() {
  std::vector<HostCtl::Network::PnicInfo> pnics;
  try {
    pnics = NexCtl::Network::NetworkInfoImpl().GetPnics();
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting physical nics failed: %s", e.what());
  }
  // Who uses which adapter. An adapter missing from a scan that failed has
  // an unknown user, not none.
  std::map<std::string, std::string> users;
  bool usersKnown = true;
  NexCtl::Network::VirtualSwitchInfoImpl switches;
  try {
    for (const HostCtl::Network::VirtualSwitch& vswitch : switches.GetVirtualSwitches()) {
      for (const std::string& uplink : vswitch.uplinks) {
        users[uplink] = vswitch.name;
      }
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Scanning virtual switches failed: %s", e.what());
    usersKnown = false;
  }
  try {
    for (const HostCtl::Network::DVSwitch& dvSwitch : switches.GetDVSwitches()) {
      for (const std::string& uplink : dvSwitch.uplinks) {
        users[uplink] = dvSwitch.name;
      }
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Scanning dvswitches failed: %s", e.what());
    usersKnown = false;
  }

  std::vector<Adapter> adapters;
  for (const HostCtl::Network::PnicInfo& pnic : pnics) {
    Adapter adapter;
    adapter.name = pnic.name;
    adapter.label = pnic.label;
    adapter.mac = pnic.mac.GetStringAddress();
    adapter.connected = pnic.linkUp;
    adapters.push_back(std::move(adapter));
  }
  // A current uplink the host did not list stays choosable, with whatever
  // is known of it; otherwise it would be dropped without the user seeing.
  for (const std::string& uplink : _uplinks) {
    const bool listed = std::any_of(adapters.begin(), adapters.end(),
                                    [&](const Adapter& a) { return a.name == uplink; });
    if (!listed) {
      Adapter adapter;
      adapter.name = uplink;
      adapter.label.reset();
      adapters.push_back(std::move(adapter));
    }
  }
  for (Adapter& adapter : adapters) {
    const auto user = users.find(adapter.name);
    if (user != users.end()) {
      adapter.usedBy = user->second;
    } else if (!usersKnown) {
      adapter.usedBy.reset();
    }
  }
  // Insertion by hand: the order mixes numbers and bytes, and a sort must
  // not be handed a comparison that odd names could make inconsistent.
  for (Adapter& adapter : adapters) {
    auto at = std::find_if(_adapters.begin(), _adapters.end(),
                           [&](const Adapter& a) { return ComesBefore(adapter.name, a.name); });
    _adapters.insert(at, std::move(adapter));
  }
}

void AdaptersDialog::Toggle(size_t index) {
  CheckItem& check = *_checks[index];
  const std::string& name = _adapters[index].name;
  _uplinks.erase(std::remove(_uplinks.begin(), _uplinks.end(), name), _uplinks.end());
  if (!check.IsChecked()) {
    _uplinks.push_back(name);
  }
  check.SetChecked(!check.IsChecked());
  _list->DrawItems();
}

void AdaptersDialog::ShowDetails(size_t index) {
  AdapterInfoDialog details(this, _adapters[index]);
  Frame::Run(&details);
}

bool AdaptersDialog::Finish() {
  if (_uplinks.empty()) {
    MessageDialog message(this, Strings::kNoAdapter, kNoAdapterText);
    Frame::Run(&message);
    return false;
  }
  std::vector<Adapter> taken;
  for (const std::string& uplink : _uplinks) {
    for (const Adapter& adapter : _adapters) {
      if (adapter.name == uplink && adapter.usedBy && !adapter.usedBy->empty() &&
          *adapter.usedBy != _switchName) {
        taken.push_back(adapter);
      }
    }
  }
  if (!taken.empty()) {
    UsedAdaptersDialog confirm(this, taken, _switchName);
    if (Frame::Run(&confirm) == 0) {
      return false;
    }
  }
  _maxActiveUplinks = MaxActiveFor(_maxActiveUplinks, _oldCount, _uplinks.size());
  return true;
}

int AdaptersDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kAdaptersTitle));
  SetText(_strings->GetString(Strings::kAdaptersText));
  SetFooter(std::string(kKeys) + kOkCancelFooter);
  Window::ShowCursor(false);
  if (_list == nullptr) {
    return 0;
  }
  _list->DrawItems();
  while (true) {
    const int key = Frame::WaitForKey(this, true);
    const bool onRow = _list->Count() > 0;
    const size_t index = static_cast<size_t>(_list->CurrentIndex());
    switch (key) {
      case KEY_UP:
        _list->Prev();
        break;
      case KEY_DOWN:
        _list->Next();
        break;
      case ' ':
        if (onRow) {
          Toggle(index);
        }
        break;
      case 'd':
      case 'D':
        if (onRow) {
          ShowDetails(index);
        }
        break;
      case kKeyEnter:
        if (Finish()) {
          return 1;
        }
        break;
      case kKeyEscape:
        return 0;
      default:
        break;
    }
  }
}

}  // namespace Merel
