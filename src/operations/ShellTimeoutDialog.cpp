// The shell time-outs (their host part is actions/Timeouts).
#include "ShellTimeoutDialog.h"

#include <memory>
#include <string>
#include <vector>

#include "MessageDialog.h"
#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"
#include "TimeoutInput.h"

namespace Merel {

namespace {

constexpr int kWidth = 70;
constexpr int kHeight = 21;
constexpr int kTitleHeight = 15;
constexpr int kFieldLength = 5;

}  // namespace

ShellTimeoutDialog::ShellTimeoutDialog(Frame* parent)
    : Dialog(parent, kWidth, kHeight, kTitleHeight) {
  currentAvailability = ShellTimeoutMinutes(ShellTimeout::kAvailability);
  currentIdle = ShellTimeoutMinutes(ShellTimeout::kIdle);
  if (_contentWindow == nullptr) {
    return;
  }
  auto availability =
      std::make_unique<InputItem>(_strings->GetString(Strings::kAvailabilityTimeoutLabel),
                                  std::to_string(currentAvailability), kFieldLength);
  auto idle = std::make_unique<InputItem>(_strings->GetString(Strings::kIdleTimeoutLabel),
                                          std::to_string(currentIdle), kFieldLength);
  _availability = availability.get();
  _idle = idle.get();
  std::vector<std::unique_ptr<Item>> items;
  items.push_back(std::move(availability));
  items.push_back(std::move(idle));
  _list = &_contentWindow->AddChild<ItemList>(0, 0, _contentWindow->GetWidth(),
                                              _contentWindow->GetHeight());
  _list->SetItems(std::move(items));
}

void ShellTimeoutDialog::ApplyAvailability() {
  const std::optional<int> minutes =
      ChangedMinutes(this, _availability->GetValue(), currentAvailability * 60);
  if (!minutes) {
    return;
  }
  if (!Platform::HostHas(Platform::Feature::kShellAvailabilityTimeout)) {
    MessageDialog refusal(this, Strings::kAvailabilityTimeoutLabel,
                          Strings::kAvailabilityTimeoutUnavailable);
    Frame::Run(&refusal);
    return;
  }
  SetShellTimeout(ShellTimeout::kAvailability, *minutes);
}

void ShellTimeoutDialog::ApplyIdle() {
  const std::optional<int> minutes = ChangedMinutes(this, _idle->GetValue(), currentIdle * 60);
  if (!minutes) {
    return;
  }
  SetShellTimeout(ShellTimeout::kIdle, *minutes);
}

int ShellTimeoutDialog::Loop() {
  if (!OpenFields(Strings::kShellTimeoutsTitle, Strings::kShellTimeoutsText, kOkCancelFooter,
                  _list)) {
    return 0;
  }
  if (!EditTimeoutFields(this, _list)) {
    return 0;
  }
  ApplyAvailability();
  ApplyIdle();
  Window::ShowCursor(false);
  return 1;
}

}  // namespace Merel
