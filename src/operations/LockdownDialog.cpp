#include "LockdownDialog.h"

#include <memory>
#include <string>
#include <vector>

#include "HostSettings.h"
#include "ItemList.h"
#include "StringFactory.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{60, 12, 6};

}  // namespace

LockdownDialog::LockdownDialog(Frame* parent)
    : ChoiceListDialog(parent,
                       kSize,
                       Strings::kLockdownTitle,
                       Strings::kLockdownText,
                       std::string(kToggleKeys) + kOkCancelFooter,
                       true),
      _enabled(IsLockdownEnabled()) {
  if (_contentWindow == nullptr) {
    return;
  }
  auto check =
      std::make_unique<CheckItem>(_strings->GetString(Strings::kLockdownEnableLabel), _enabled);
  _check = check.get();
  std::vector<std::unique_ptr<Item>> items;
  items.push_back(std::move(check));
  SetItems(std::move(items));
}

void LockdownDialog::Mark(size_t /*index*/) {
  _check->SetChecked(!_check->IsChecked());
  _list->DrawItems();
}

int LockdownDialog::Enter() {
  const bool wanted = _check->IsChecked();
  if (wanted != _enabled && SetLockdown(_session.loginName, wanted).changed) {
    _enabled = wanted;
  }
  return 1;
}

}  // namespace Merel
