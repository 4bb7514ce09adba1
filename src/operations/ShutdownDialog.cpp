#include "ShutdownDialog.h"

#include <syslog.h>

#include <memory>

#include "Command.h"
#include "ItemList.h"
#include "Platform.h"
#include "RebootConfirmDialog.h"
#include "ShutdownConfirmDialog.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr int kWidth = 60;
constexpr int kHeight = 19;
constexpr int kTitleHeight = 13;

constexpr int kSpace = ' ';

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

ShutdownDialog::ShutdownDialog(Frame* parent) : Dialog(parent, kWidth, kHeight, kTitleHeight) {
  if (_contentWindow == nullptr) {
    return;
  }
  auto force = std::make_unique<CheckItem>(_strings->GetString(Strings::kForceTerminateVms), false);
  _force = force.get();
  std::vector<std::unique_ptr<Item>> items;
  items.push_back(std::move(force));
  _list = &_contentWindow->AddChild<ItemList>(0, 0, _contentWindow->GetWidth(),
                                              _contentWindow->GetHeight());
  _list->SetItems(std::move(items));
}

int ShutdownDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kShutdownTitle));
  SetText(_strings->GetString(Strings::kShutdownText));
  SetFooter(kFooter);
  Window::ShowCursor(false);
  for (;;) {
    const int key = Frame::WaitForKey(this, true);
    const bool graceful = _force == nullptr || !_force->IsChecked();
    switch (key) {
      case kSpace:
        if (_force != nullptr) {
          _force->SetChecked(!_force->IsChecked());
          _list->DrawItems();
        }
        break;
      case kKeyEscape:
        return 0;
      case KEY_F(2): {
        Announce("obsv.user.merel.shutdown.host", "Shutting down host");
        ShutdownConfirmDialog progress(this, graceful);
        Frame::Run(&progress);
        break;
      }
      case KEY_F(11): {
        Announce("obsv.user.merel.reboot.host", "Rebooting host");
        RebootConfirmDialog progress(this, graceful);
        Frame::Run(&progress);
        break;
      }
      default:
        break;
    }
  }
}

}  // namespace Merel
