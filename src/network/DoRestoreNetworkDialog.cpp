#include "DoRestoreNetworkDialog.h"

#include <string>

#include "NetworkRestore.h"
#include "RunningVMsWarningDialog.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

// As large as the confirmation it opens from, which it covers whole; two
// lines for the description.
DoRestoreNetworkDialog::DoRestoreNetworkDialog(Frame* parent) : Dialog(parent, {60, 13, 6}) {
  const int height = _bodyWindow->GetHeight() - 2;
  if (height >= 1) {
    _text = &_bodyWindow->AddChild<TextArea>(2, 0, _bodyWindow->GetWidth() - 4, height, kDarkGrey);
  }
}

void DoRestoreNetworkDialog::Append(const std::string& text) {
  if (_text != nullptr) {
    _text->AppendText(text);
  }
}

int DoRestoreNetworkDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kRestoreNetworkTitle));
  SetText(_strings->GetString(Strings::kRestoreNetworkWait));
  SetFooter("");
  const std::string done = _strings->GetString(Strings::kDone) + std::string("\n");
  const std::string failed = _strings->GetString(Strings::kFailed) + std::string("\n");
  auto agree = [this] {
    RunningVMsWarningDialog warning(this);
    return Frame::Run(&warning) != 0;
  };
  auto show = [&](FactoryRestoreStep step) {
    switch (step) {
      case FactoryRestoreStep::kPoweringOff:
        if (_text != nullptr) {
          _text->SetText(_strings->GetString(Strings::kPoweringOffVms));
        }
        Append(" ");
        // On screen while the machines stop, which can take minutes.
        Window::UpdateTerminal();
        break;
      case FactoryRestoreStep::kConfiguring:
        Append(_strings->GetString(Strings::kAutoConfiguringNetwork) + std::string(" "));
        Window::UpdateTerminal();
        break;
      case FactoryRestoreStep::kPoweredOff:
      case FactoryRestoreStep::kConfigured:
        Append(done);
        break;
      case FactoryRestoreStep::kFailed:
        Append(failed);
        break;
    }
  };
  if (RestoreFactoryNetwork(agree, show) == FactoryRestoreOutcome::kCancelled) {
    return 0;
  }
  SetFooter("{align:right}{color:black}<Enter>{/color}{color:dark-grey} OK{/color}{/align}");
  WaitForEnter();
  return 1;
}

}  // namespace Merel
