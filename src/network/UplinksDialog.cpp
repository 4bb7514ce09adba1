// The uplink chooser of the port repair. The rows look like the adapter
// list of the network window, with the speed in place of the hardware label
// (what matters when picking a way out is which adapter has link and how
// fast). The broken port's active uplinks that have link come checked;
// choosing only adapters without link is asked about; an adapter of a
// standard switch may be chosen, but Enter first says which switch loses it.
// Choosing nothing is refused: the interface would have no way out at all.
#include "UplinksDialog.h"

#include <algorithm>
#include <memory>

#include "ItemList.h"
#include "MessageDialog.h"
#include "NoLinkDialog.h"
#include "StringFactory.h"
#include "Terminal.h"
#include "UsedUplinksDialog.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{78, 20, 6};
constexpr size_t kNameField = 13;
constexpr size_t kStatusField = 14;
constexpr size_t kSpeedField = 12;
constexpr size_t kMacField = 19;
// The check box takes the first four columns of the content line.
constexpr size_t kRowWidth = kSize.width - 4 - 4;

const char* const kHeader =
    "    {align:padding:13}Device Name{/align}{align:padding:14}Status{/align}"
    "{align:padding:12}Speed{/align}{align:padding:19}MAC Address{/align}Used By";
const char* const kChooseOne =
    " Choose at least one: without an uplink the management interface cannot reach the network.";
const char* const kNotAvailable = "N/A";

std::string Field(const std::string& text, size_t width) {
  return "{align:padding:" + std::to_string(width) + "}" +
         AdapterChoiceDialog::Shorten(AdapterChoiceDialog::Plain(text), width - 1) + "{/align}";
}

}  // namespace

UplinksDialog::UplinksDialog(Frame* parent, const DvsRepair& repair)
    : AdapterChoiceDialog(parent, kSize, Strings::kDvsUplinksTitle, Strings::kDvsUplinksText),
      _repair(repair) {
  std::vector<std::pair<std::string, bool>> rows;
  for (const DvsUplinkCandidate& candidate : _repair.candidates) {
    // A dead uplink of the broken port is no way out: offered, not chosen.
    rows.emplace_back(Row(candidate),
                      candidate.active && candidate.adapter.connected.value_or(false));
  }
  SetRows(kHeader, rows);
}

std::string UplinksDialog::Row(const DvsUplinkCandidate& candidate) {
  const Adapter& adapter = candidate.adapter;
  std::string status = kNotAvailable;
  if (adapter.connected) {
    status = *adapter.connected ? "Connected" : "Disconnected";
  }
  const std::string speed =
      candidate.speedMbps > 0 ? std::to_string(candidate.speedMbps) + " Mbps" : kNotAvailable;
  std::string row = Field(adapter.name, kNameField) + Field(status, kStatusField) +
                    Field(speed, kSpeedField) +
                    Field(adapter.mac.value_or(kNotAvailable), kMacField);
  const std::string user = adapter.usedBy ? Plain(*adapter.usedBy) : kNotAvailable;
  constexpr size_t used = kNameField + kStatusField + kSpeedField + kMacField;
  if (!user.empty()) {
    row += Shorten(user, kRowWidth - used);
  }
  return row;
}

bool UplinksDialog::Finish() {
  _chosen.clear();
  std::vector<Adapter> chosen;
  for (size_t i = 0; i < _checks.size(); ++i) {
    if (_checks[i]->IsChecked()) {
      _chosen.push_back(_repair.candidates[i].adapter.name);
      chosen.push_back(_repair.candidates[i].adapter);
    }
  }
  if (_chosen.empty()) {
    MessageDialog message(
        this, Strings::kDvsUplinksWarningTitle,
        std::string(_strings->GetString(Strings::kNoUplinksSelected)) + kChooseOne);
    Frame::Run(&message);
    return false;
  }
  if (NoLinkDialog::NoneHasLink(chosen)) {
    NoLinkDialog confirm(this, Strings::kDvsUplinksWarningTitle, chosen);
    if (Frame::Run(&confirm) == 0) {
      return false;
    }
  }
  const std::vector<Adapter> taken = TakenFromStandardSwitches(_repair.candidates, _chosen);
  if (!taken.empty()) {
    UsedUplinksDialog confirm(this, taken, _repair.dvSwitch);
    return Frame::Run(&confirm) != 0;
  }
  return true;
}

}  // namespace Merel
