#include "ShutdownConfirmDialog.h"

#include "PowerProgress.h"
#include "StringFactory.h"

namespace Merel {

namespace {

constexpr int kWidth = 70;
constexpr int kHeight = 10;
constexpr int kTitleHeight = 7;

}  // namespace

ShutdownConfirmDialog::ShutdownConfirmDialog(Frame* parent, bool graceful)
    : Dialog(parent, kWidth, kHeight, kTitleHeight), _graceful(graceful) {}

int ShutdownConfirmDialog::Loop() {
  return StopVmsAndGoDown(this, _strings->GetString(Strings::kShutdownHost),
                          _strings->GetString(Strings::kShutdownInProgress), _graceful, "poweroff");
}

}  // namespace Merel
