#include "ShutdownDialog.h"

#include <curses.h>
#include <syslog.h>

#include <memory>

#include "Command.h"
#include "ItemList.h"
#include "Platform.h"
#include "RebootConfirmDialog.h"
#include "ShutdownConfirmDialog.h"
#include "StringFactory.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{60, 19, 13};

const char* const kFooter =
    "{color:black}<F2>{/color} {color:dark-grey}Shut Down{/color}  "
    "{color:black}<F11>{/color} {color:dark-grey}Restart{/color}"
    "{align:right}{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}";

// The log line and the event go out before anything is stopped, so that the
// record is there even if the host goes down mid-way.
void Announce(const char* eventId, const char* message) {
  Platform::Syslog(LOG_INFO, "%s", message);
  PostObsv(eventId, message);
}

}  // namespace

ShutdownDialog::ShutdownDialog(Frame* parent)
    : ChoiceListDialog(parent,
                       kSize,
                       Strings::kShutdownTitle,
                       Strings::kShutdownText,
                       kFooter,
                       false) {
  if (_contentWindow == nullptr) {
    return;
  }
  auto force = std::make_unique<CheckItem>(_strings->GetString(Strings::kForceTerminateVms), false);
  _force = force.get();
  std::vector<std::unique_ptr<Item>> items;
  items.push_back(std::move(force));
  SetItems(std::move(items));
}

void ShutdownDialog::Mark(size_t /*index*/) {
  _force->SetChecked(!_force->IsChecked());
  _list->DrawItems();
}

void ShutdownDialog::OtherKey(int key) {
  const bool graceful = _force == nullptr || !_force->IsChecked();
  if (key == KEY_F(2)) {
    Announce("obsv.user.merel.shutdown.host", "Shutting down host");
    ShutdownConfirmDialog progress(this, graceful);
    Frame::Run(&progress);
  } else if (key == KEY_F(11)) {
    Announce("obsv.user.merel.reboot.host", "Rebooting host");
    RebootConfirmDialog progress(this, graceful);
    Frame::Run(&progress);
  }
}

}  // namespace Merel
