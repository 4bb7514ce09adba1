// The console's idle time-out is a host advanced option; a change takes
// effect on the running session at once, not only at the next login.
#include "MerelTimeoutDialog.h"

#include <string>

#include "StringFactory.h"
#include "TimeoutInput.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{70, 15, 9};

}  // namespace

MerelTimeoutDialog::MerelTimeoutDialog(Frame* parent)
    : FormDialog(parent,
                 kSize,
                 Strings::kMerelTimeoutTitle,
                 Strings::kMerelTimeoutText,
                 kOkCancelFooter),
      currentSeconds(ConsoleTimeoutSeconds()) {
  _field = AddField(
      TimeoutField(_strings->GetString(Strings::kMerelTimeoutLabel), currentSeconds / 60));
  ShowRows();
}

bool MerelTimeoutDialog::Finish() {
  // A refused value closes the dialog with nothing changed.
  const std::optional<int> minutes = ChangedMinutes(this, _field->GetValue(), currentSeconds);
  if (!minutes) {
    return true;
  }
  // Refused, the old time-out stays in force; there is nothing the user
  // could do.
  if (SetConsoleTimeout(*minutes)) {
    _session.LoadIdleTimeout();
  }
  return true;
}

}  // namespace Merel
