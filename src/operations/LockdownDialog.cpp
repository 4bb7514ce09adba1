#include "LockdownDialog.h"

#include <syslog.h>

#include <memory>
#include <string>
#include <vector>

#include "Command.h"
#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr int kWidth = 60;
constexpr int kHeight = 12;
constexpr int kTitleHeight = 6;
constexpr int kSpace = ' ';
constexpr size_t kCaptureSize = 255;

const char* const kToggleFooter =
    "{color:black}<Space>{/color} {color:dark-grey}Toggle Selected{/color}";

}  // namespace

LockdownDialog::LockdownDialog(Frame* parent)
    : Dialog(parent, kWidth, kHeight, kTitleHeight),
      _enabled(RoviQueryBool("rovisvc/auth/lockdown_is_enabled")) {
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
  if (wanted == _enabled) {
    return;
  }
  const RoviCommand record{_session.loginName,
                     wanted ? "rovisvc/auth/lockdown_mode_enter" : "rovisvc/auth/lockdown_mode_exit",
                     {}};
  char out[kCaptureSize + 1] = {};
  char err[kCaptureSize + 1] = {};
  size_t outSize = kCaptureSize;
  size_t errSize = kCaptureSize;
  // As the logged-in user and nobody else: a user the management service
  // refuses must not get the change through the console's own account.
  if (RunRoviOnce(record, out, &outSize, err, &errSize, nullptr, 0) == 0) {
    Platform::Syslog(LOG_INFO, wanted ? "Lockdown mode enabled" : "Lockdown mode disabled");
    _enabled = wanted;
    return;
  }
  std::string error(err, errSize);
  while (!error.empty() && error.back() == '\n') {
    error.pop_back();
  }
  Platform::Syslog(LOG_ERR,
                   wanted ? "Enabling lockdown mode failed with error: %s"
                          : "Disabling lockdown mode failed with error: %s",
                   error.c_str());
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
