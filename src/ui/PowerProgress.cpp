#include "PowerProgress.h"

#include "Platform.h"
#include "PowerOffVms.h"
#include "StringFactory.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{70, 10, 7};

}  // namespace

PowerProgressDialog::PowerProgressDialog(Frame* parent,
                                         bool graceful,
                                         uint32_t titleKey,
                                         uint32_t textKey,
                                         const char* command)
    : Dialog(parent, kSize),
      _graceful(graceful),
      _titleKey(titleKey),
      _textKey(textKey),
      _command(command) {}

int PowerProgressDialog::Loop() {
  SetTitle(_strings->GetString(_titleKey));
  SetText(_strings->GetString(_textKey));
  // On screen before the virtual machines are stopped, which may take long.
  Window::UpdateTerminal();
  StopVirtualMachines(_session.loginName, _graceful);
  if (Platform::System(_command) == -1) {
    return 0;
  }
  WaitForTheEnd();
}

}  // namespace Merel
