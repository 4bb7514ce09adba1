// The console's idle time-out is a host advanced option; a change takes
// effect on the running session at once, not only at the next login.
#include "MerelTimeoutDialog.h"

#include <syslog.h>

#include <memory>
#include <string>
#include <vector>

#include "HostCtl/AdvancedOption.h"
#include "HostCtl/HostCtlException.h"
#include "NexCtl/AdvancedOptionImpl.h"
#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"
#include "TimeoutInput.h"

namespace Merel {

namespace {

constexpr int kWidth = 70;
constexpr int kHeight = 15;
constexpr int kTitleHeight = 9;
constexpr int kFieldLength = 5;

}  // namespace

MerelTimeoutDialog::MerelTimeoutDialog(Frame* parent)
    : Dialog(parent, kWidth, kHeight, kTitleHeight) {
  try {
    auto option = NexCtl::Adv::AdvancedOptionImpl().FindOption(MEREL_TIMEOUT_VAR);
    if (auto* integer = dynamic_cast<HostCtl::Adv::AdvancedIntegerOption*>(option.get())) {
      currentSeconds = static_cast<int>(integer->GetValue());
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting MerelTimeOut failed: %s", e.what());
  }
  if (_contentWindow == nullptr) {
    return;
  }
  auto field = std::make_unique<InputItem>(_strings->GetString(Strings::kMerelTimeoutLabel),
                                           std::to_string(currentSeconds / 60), kFieldLength);
  _field = field.get();
  std::vector<std::unique_ptr<Item>> items;
  items.push_back(std::move(field));
  _list = &_contentWindow->AddChild<ItemList>(0, 0, _contentWindow->GetWidth(),
                                              _contentWindow->GetHeight());
  _list->SetItems(std::move(items));
}

void MerelTimeoutDialog::Apply() {
  // A refused value closes the dialog with nothing changed.
  const std::optional<int> minutes = ChangedMinutes(this, _field->GetValue(), currentSeconds);
  if (!minutes) {
    return;
  }
  try {
    NexCtl::Adv::AdvancedOptionImpl options;
    auto option = options.FindOption(MEREL_TIMEOUT_VAR);
    if (dynamic_cast<HostCtl::Adv::AdvancedIntegerOption*>(option.get()) == nullptr) {
      return;
    }
    options.SetIntegerOption(MEREL_TIMEOUT_VAR, static_cast<int64_t>(*minutes) * 60);
  } catch (const HostCtl::Lib::HostCtlException&) {
    // The old time-out stays in force; there is nothing the user could do.
    return;
  }
  _session.LoadIdleTimeout();
  LogTimeoutChange("Merel timeout", *minutes);
}

int MerelTimeoutDialog::Loop() {
  if (!OpenFields(Strings::kMerelTimeoutTitle, Strings::kMerelTimeoutText, kOkCancelFooter,
                  _list)) {
    return 0;
  }
  if (!EditTimeoutFields(this, _list)) {
    return 0;
  }
  Apply();
  Window::ShowCursor(false);
  return 1;
}

}  // namespace Merel
