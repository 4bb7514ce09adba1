#include "LockdownDialog.h"

#include <memory>
#include <string>
#include <vector>

#include "HostSettings.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr int kWidth = 60;
constexpr int kHeight = 12;
constexpr int kTitleHeight = 6;
constexpr int kSpace = ' ';

const char* const kToggleFooter =
    "{color:black}<Space>{/color} {color:dark-grey}Toggle Selected{/color}";

}  // namespace

LockdownDialog::LockdownDialog(Frame* parent)
    : Dialog(parent, kWidth, kHeight, kTitleHeight),
      _enabled(IsLockdownEnabled()) {
  if (_contentWindow == nullptr) {
    return;
  }
  auto check =
      std::make_unique<CheckItem>(_strings->GetString(Strings::kLockdownEnableLabel), _enabled);
  _check = check.get();
  std::vector<std::unique_ptr<Item>> items;
  items.push_back(std::move(check));
  _list = &_contentWindow->AddChild<ItemList>(0, 0, _contentWindow->GetWidth(),
                                              _contentWindow->GetHeight());
  _list->SetItems(std::move(items));
}

void LockdownDialog::Apply() {
  const bool wanted = _check->IsChecked();
  if (wanted != _enabled && SetLockdown(_session.loginName, wanted).changed) {
    _enabled = wanted;
  }
}

int LockdownDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kLockdownTitle));
  SetText(_strings->GetString(Strings::kLockdownText));
  SetFooter(std::string(kToggleFooter) + kOkCancelFooter);
  Window::ShowCursor(false);
  if (_list == nullptr) {
    return 0;
  }
  _list->DrawItems();
  while (true) {
    switch (Frame::WaitForKey(this, true)) {
      case kSpace:
        _check->SetChecked(!_check->IsChecked());
        _list->DrawItems();
        break;
      case KEY_UP:
        _list->Prev();
        _list->DrawItems();
        break;
      case KEY_DOWN:
        _list->Next();
        _list->DrawItems();
        break;
      case kKeyEnter:
        Apply();
        return 1;
      case kKeyEscape:
        return 0;
      default:
        break;
    }
  }
}

}  // namespace Merel
