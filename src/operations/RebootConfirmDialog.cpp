#include "RebootConfirmDialog.h"

#include "PowerProgress.h"
#include "StringFactory.h"

namespace Merel {

namespace {

constexpr int kWidth = 70;
constexpr int kHeight = 10;
constexpr int kTitleHeight = 7;

}  // namespace

RebootConfirmDialog::RebootConfirmDialog(Frame* parent, bool graceful)
    : Dialog(parent, kWidth, kHeight, kTitleHeight), _graceful(graceful) {}

int RebootConfirmDialog::Loop() {
  return StopVmsAndGoDown(this, _strings->GetString(Strings::kRestartHost),
                          _strings->GetString(Strings::kRestartInProgress), _graceful, "reboot");
}

}  // namespace Merel
