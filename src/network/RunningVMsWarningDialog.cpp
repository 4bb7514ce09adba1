#include "RunningVMsWarningDialog.h"

#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{60, 10, 7};

const char* const kFooter =
    "{color:black}<Enter>{/color} {color:dark-grey}Confirm{/color}"
    "{align:right}{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}";

}  // namespace

RunningVMsWarningDialog::RunningVMsWarningDialog(Frame* parent)
    : Dialog(parent, kSize) {}

int RunningVMsWarningDialog::Loop() {
  const bool yes = Ask(_strings->GetString(Strings::kVmsRunningTitle),
                       _strings->GetString(Strings::kVmsRunningQuestion), kFooter, nullptr, "",
                       kKeyEnter);
  return yes ? 1 : 0;
}

}  // namespace Merel
