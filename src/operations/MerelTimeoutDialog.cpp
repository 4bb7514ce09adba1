// The console's idle time-out is a host advanced option; a change takes
// effect on the running session at once, not only at the next login.
#include "MerelTimeoutDialog.h"

#include <memory>
#include <string>
#include <vector>

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
    : Dialog(parent, kWidth, kHeight, kTitleHeight), currentSeconds(ConsoleTimeoutSeconds()) {
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
  // Refused, the old time-out stays in force; there is nothing the user
  // could do.
  if (SetConsoleTimeout(*minutes)) {
    _session.LoadIdleTimeout();
  }
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
