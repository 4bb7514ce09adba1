// The keyboard layout chooser: one radio line per layout the host offers.
// Moving does not change the choice; Space does, and Enter sets the chosen
// layout on the host.
#include "KeyboardDialog.h"

#include <syslog.h>

#include <memory>

#include "HostCtl/HostCtlException.h"
#include "ItemList.h"
#include "NexCtl/SystemInfoImpl.h"
#include "Platform.h"
#include "StringFactory.h"

namespace Merel {

namespace {

// Title on row 1 and the two-line help text on rows 3 and 4; the body then
// has eight rows of layouts above the footer.
constexpr DialogSize kSize{76, 18, 6};

}  // namespace

KeyboardDialog::KeyboardDialog(Frame* parent)
    : ChoiceListDialog(parent,
                       kSize,
                       Strings::kMenuConfigureKeyboard,
                       Strings::kKeyboardText,
                       std::string(kSelectToggleKeys) + kOkCancelFooter,
                       true) {
  // From the login nobody is logged in yet, and no idle limit applies.
  _idleLimit = _session.loggedIn;
  std::string current;
  try {
    NexCtl::System::SystemInfoImpl system;
    _layouts = system.GetKeyboardLayouts();
    current = system.GetKeyboardLayout();
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting keyboard layouts failed: %s", e.what());
  }

  for (size_t i = 0; i < _layouts.size() && _chosen == -1; ++i) {
    if (_layouts[i] == current) {
      _chosen = static_cast<int>(i);
    }
  }
  std::vector<std::unique_ptr<Item>> items;
  for (size_t i = 0; i < _layouts.size(); ++i) {
    // Moving does not change the choice, so the cursor line must show itself.
    auto item = std::make_unique<RadioItem>(_layouts[i], static_cast<int>(i) == _chosen);
    item->SetHighlightFocus(true);
    _radios.push_back(item.get());
    items.push_back(std::move(item));
  }
  SetItems(std::move(items));
  // Start on the chosen layout, scrolled into view.
  _startRow = _chosen;
}

void KeyboardDialog::Mark(size_t index) {
  if (_chosen >= 0) {
    _radios[static_cast<size_t>(_chosen)]->SetChecked(false);
  }
  _radios[index]->SetChecked(true);
  _chosen = static_cast<int>(index);
  _list->DrawItems();
}

bool KeyboardDialog::Apply() {
  if (_layouts.empty()) {
    return false;
  }
  // A current layout the host does not list leaves nothing chosen; the first
  // layout is then what Enter sets.
  const std::string& name = _layouts[static_cast<size_t>(_chosen >= 0 ? _chosen : 0)];
  try {
    NexCtl::System::SystemInfoImpl().SetKeyboardLayout(name);
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Setting keyboard layout failed: %s", e.what());
    return false;
  }
  Platform::Syslog(LOG_INFO, "Keyboard Layout changed to %s", name.c_str());
  return true;
}

int KeyboardDialog::Enter() {
  return Apply() ? 1 : 0;
}

}  // namespace Merel
