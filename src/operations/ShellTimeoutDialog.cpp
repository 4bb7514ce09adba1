// The shell time-outs (their host part is actions/Timeouts).
#include "ShellTimeoutDialog.h"

#include <string>

#include "StringFactory.h"
#include "TimeoutInput.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{70, 21, 15};

}  // namespace

ShellTimeoutDialog::ShellTimeoutDialog(Frame* parent)
    : FormDialog(parent,
                 kSize,
                 Strings::kShellTimeoutsTitle,
                 Strings::kShellTimeoutsText,
                 kOkCancelFooter) {
  currentAvailability = ShellTimeoutMinutes(ShellTimeout::kAvailability);
  currentIdle = ShellTimeoutMinutes(ShellTimeout::kIdle);
  _availability = AddField(
      TimeoutField(_strings->GetString(Strings::kAvailabilityTimeoutLabel), currentAvailability));
  _idle = AddField(TimeoutField(_strings->GetString(Strings::kIdleTimeoutLabel), currentIdle));
  ShowRows();
}

void ShellTimeoutDialog::ApplyAvailability() {
  const std::optional<int> minutes =
      ChangedMinutes(this, _availability->GetValue(), currentAvailability * 60);
  if (!minutes) {
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

bool ShellTimeoutDialog::Finish() {
  ApplyAvailability();
  ApplyIdle();
  return true;
}

}  // namespace Merel
