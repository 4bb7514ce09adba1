#include "DriverVMDialog.h"

#include <algorithm>
#include <memory>
#include <string>

#include "DeviceAssignment.h"
#include "ItemList.h"
#include "MessageDialog.h"
#include "TextArea.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{76, 18, 7};

const char* const kSavedNote =
    "The device assignment has been saved. It takes effect when the host is restarted.";
const char* const kSaveFailedTitle = "{color:red}Device Assignment Error{/color}";
const char* const kNoDevices = "{color:dark-grey}No devices without a native driver{/color}";
const char* const kNoAssignment =
    "{color:dark-grey}No device can be handed to the DriverVM on this host{/color}";

// A check line whose label follows the owner the device will have.
class DeviceItem : public CheckItem {
 public:
  using CheckItem::CheckItem;
  void SetLabel(std::string label) { _label = std::move(label); }
};

// One line per device in columns: address, names (cut to fit), and the
// owner, as "Host -> DriverVM" while a saved change waits for the restart.
constexpr size_t kNameWidth = 32;

std::string Owner(bool passthrough) {
  return passthrough ? "DriverVM" : "Host";
}

std::string Label(const HostCtl::Hardware::PciDevice& device, bool next) {
  std::string name = device.vendorName + " " + device.deviceName;
  if (name.size() > kNameWidth) {
    name = name.substr(0, kNameWidth - 3) + "...";
  }
  name.resize(kNameWidth, ' ');
  std::string owner = Owner(device.passthrough);
  if (next != device.passthrough) {
    owner += " -> " + Owner(next);
  }
  return device.address + "  " + name + "  " + owner;
}

// A question or a notice about the assignment, sized to its text: with
// `cancellable`, Enter answers yes and Esc no; otherwise only Enter closes it.
class DeviceNotice : public Dialog {
 public:
  DeviceNotice(Frame* parent, std::string title, std::string text, bool cancellable)
      : Dialog(parent, {kNoticeWidth, TitleRows(text) + kNoticeBodyRows, TitleRows(text)}),
        _title(std::move(title)),
        _text(std::move(text)),
        _cancellable(cancellable) {}

  int Loop() override {
    SetTitle(_title);
    SetText(_text);
    SetFooter(_cancellable ? kOkCancelFooter : kOkFooter);
    if (_cancellable) {
      return WaitForKeyOrEscape(kKeyEnter) ? 1 : 0;
    }
    WaitForEnter();
    return 1;
  }

 private:
  static constexpr int kNoticeWidth = 70;
  static constexpr int kNoticeBodyRows = 3;

  // The title line, a blank, the text, a blank; never taller than the screen.
  static int TitleRows(const std::string& text) {
    const int lines =
        TextArea::CountLines(TextArea::Layout(text, kNoticeWidth - 6, TextArea::Variables()));
    return std::clamp(lines + 4, 7, std::max(7, LINES - kNoticeBodyRows));
  }

  std::string _title;
  std::string _text;
  bool _cancellable;
};

}  // namespace

DriverVMDialog::DriverVMDialog(Frame* parent)
    : ChoiceListDialog(parent,
                       kSize,
                       Strings::kDriverVmTitle,
                       Strings::kDriverVmText,
                       std::string(kSelectToggleKeys) + kOkCancelFooter,
                       false) {
  DeviceAssignment assignment = ReadDeviceAssignment();
  _note = std::move(assignment.note);
  if (!_note.empty()) {
    _text = _note;
  }
  _devices = std::move(assignment.devices);
  for (const auto& device : _devices) {
    _saved.push_back(device.passthroughNextBoot);
  }
  if (_contentWindow == nullptr) {
    return;
  }
  std::vector<std::unique_ptr<Item>> items;
  for (const auto& device : _devices) {
    auto item = std::make_unique<DeviceItem>(Label(device, device.passthroughNextBoot),
                                             device.passthroughNextBoot);
    item->SetHighlightFocus(true);
    _checks.push_back(item.get());
    items.push_back(std::move(item));
  }
  if (!_note.empty()) {
    items.push_back(std::make_unique<LabelItem>(kNoAssignment, false));
  } else if (items.empty()) {
    items.push_back(std::make_unique<LabelItem>(kNoDevices, false));
  }
  SetItems(std::move(items));
}

void DriverVMDialog::Relabel(size_t index) {
  auto& device = _devices[index];
  static_cast<DeviceItem*>(_checks[index])->SetLabel(Label(device, device.passthroughNextBoot));
  _checks[index]->SetChecked(device.passthroughNextBoot);
}

void DriverVMDialog::Mark(size_t index) {
  if (_checks.empty()) {
    return;  // the row says why there is nothing to choose
  }
  const bool owner = !_devices[index].passthroughNextBoot;
  const std::string group = _devices[index].group;
  size_t members = 0;
  for (const auto& device : _devices) {
    members += !group.empty() && device.group == group;
  }
  if (members > 1) {
    // The user must see which devices go along before any of them does, and
    // may still back out.
    std::string text = std::string(_strings->GetString(Strings::kDeviceAssignmentWarning)) +
                       ". These devices change owner together:\n";
    for (const auto& device : _devices) {
      if (device.group == group) {
        text += "\n  " + device.address + "  " + device.vendorName + " " + device.deviceName;
      }
    }
    DeviceNotice warning(this, _strings->GetString(Strings::kDeviceAssignmentWarningTitle), text,
                         true);
    if (Frame::Run(&warning) == 0) {
      return;
    }
  }
  for (size_t i = 0; i < _devices.size(); ++i) {
    if (i == index || (!group.empty() && _devices[i].group == group)) {
      _devices[i].passthroughNextBoot = owner;
      Relabel(i);
    }
  }
  _list->DrawItems();
}

int DriverVMDialog::Enter() {
  const AssignmentSave save = SaveDeviceAssignment(_devices, _saved);
  if (!save.saved) {
    // Back to the list afterwards, with the user's choices as they were, so
    // that saving can be tried again.
    DeviceNotice error(this, kSaveFailedTitle,
                       std::string("The device assignment could not be saved: ") + save.error,
                       false);
    Frame::Run(&error);
    return kStay;
  }
  if (save.changed) {
    MessageDialog note(this, Strings::kDriverVmTitle, std::string(kSavedNote));
    Frame::Run(&note);
  }
  return 1;
}

}  // namespace Merel
