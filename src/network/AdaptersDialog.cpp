// The adapter chooser. Every physical adapter is listed with its label, MAC
// address, link state and the switch that uses it; the management switch's
// own uplinks come checked. Adapters that another switch uses can be chosen,
// but Enter first says which switch loses them and asks. A choice of no
// adapter at all is refused: the management network would lose the host.
// A choice of adapters none of which has link is asked about first.
#include "AdaptersDialog.h"

#include <syslog.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>

#include "HostCtl/HostCtlException.h"
#include "ItemList.h"
#include "MessageDialog.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/VirtualSwitchInfoImpl.h"
#include "NoLinkDialog.h"
#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"
#include "UsedAdaptersDialog.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{78, 22, 7};
// A row's fields; the check box takes the first four columns of the line.
constexpr size_t kNameField = 13;
constexpr size_t kLabelField = 30;
constexpr size_t kRowWidth = kSize.width - 4 - 4;

const char* const kHeader =
    "    {align:padding:13}Device Name{/align}{align:padding:30}Hardware Label (MAC "
    "Address){/align}Status";
const char* const kNoAdapterText =
    "Select at least one adapter. Without an adapter the management network cannot reach this "
    "host.";
const char* const kNotAvailable = "N/A";

}  // namespace

AdaptersDialog::AdaptersDialog(Frame* parent,
                               const std::vector<std::string>& uplinks,
                               int maxActiveUplinks,
                               const std::string& switchName)
    : AdapterChoiceDialog(parent, kSize, Strings::kAdaptersTitle, Strings::kAdaptersText),
      _switchName(switchName),
      _uplinks(uplinks),
      _maxActiveUplinks(maxActiveUplinks),
      _oldCount(uplinks.size()) {
  ReadAdapters();
  std::vector<std::pair<std::string, bool>> rows;
  for (const Adapter& adapter : _adapters) {
    rows.emplace_back(Row(adapter),
                      std::find(_uplinks.begin(), _uplinks.end(), adapter.name) != _uplinks.end());
  }
  SetRows(kHeader, rows);
}

bool AdaptersDialog::ComesBefore(const std::string& a, const std::string& b) {
  return AdapterComesBefore(a, b);
}

std::vector<size_t> AdaptersDialog::ListingOrder(const std::vector<std::string>& names) {
  return AdapterListingOrder(names);
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
    adapters.push_back(AdapterOf(pnic));
  }
  // A current uplink the host did not list stays choosable, with whatever
  // is known of it; otherwise it would be dropped without the user seeing.
  std::set<std::string> listedNames;
  for (const Adapter& adapter : adapters) {
    listedNames.insert(adapter.name);
  }
  for (const std::string& uplink : _uplinks) {
    const bool listed = listedNames.count(uplink) != 0;
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
  std::vector<std::string> names;
  names.reserve(adapters.size());
  for (const Adapter& adapter : adapters) {
    names.push_back(adapter.name);
  }
  _adapters.reserve(adapters.size());
  for (size_t at : ListingOrder(names)) {
    _adapters.push_back(std::move(adapters[at]));
  }
}

void AdaptersDialog::Toggle(size_t index) {
  const std::string& name = _adapters[index].name;
  _uplinks.erase(std::remove(_uplinks.begin(), _uplinks.end(), name), _uplinks.end());
  if (!_checks[index]->IsChecked()) {
    _uplinks.push_back(name);
  }
  AdapterChoiceDialog::Toggle(index);
}

bool AdaptersDialog::Finish() {
  if (_uplinks.empty()) {
    MessageDialog message(this, Strings::kNoAdapter, kNoAdapterText);
    Frame::Run(&message);
    return false;
  }
  std::vector<Adapter> chosen;
  for (const std::string& uplink : _uplinks) {
    for (const Adapter& adapter : _adapters) {
      if (adapter.name == uplink) {
        chosen.push_back(adapter);
      }
    }
  }
  if (NoLinkDialog::NoneHasLink(chosen)) {
    NoLinkDialog confirm(this, Strings::kAdaptersWarningTitle, chosen);
    if (Frame::Run(&confirm) == 0) {
      return false;
    }
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

}  // namespace Merel
