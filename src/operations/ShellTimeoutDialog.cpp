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

void ShellTimeoutDialog::Apply(ShellTimeout timeout, const InputItem& field, int currentMinutes) {
  const std::optional<int> minutes = ChangedMinutes(this, field.GetValue(), currentMinutes * 60);
  if (minutes) {
    SetShellTimeout(timeout, *minutes);
  }
}

bool ShellTimeoutDialog::Finish() {
  Apply(ShellTimeout::kAvailability, *_availability, currentAvailability);
  Apply(ShellTimeout::kIdle, *_idle, currentIdle);
  return true;
}

}  // namespace Merel
