// Restore Standard Switch: after F11, the management interface and the
// uplinks of its connection are moved onto a new standard switch of their
// own, and every other kernel interface is disabled, so that nothing but
// the management network competes for the adapters that reach the host.
#pragma once

#include "Dialog.h"

namespace Merel {

class TextArea;

class SafeModeNetworkDialog : public Dialog {
 public:
  explicit SafeModeNetworkDialog(Frame* parent);
  // 1 after the move was attempted (its failures are logged), 0 when
  // cancelled.
  int Loop() override;

 private:
  // Throws HostCtl::Lib::HostCtlException; false when there is no
  // management interface.
  static bool MoveManagementNetwork();

  TextArea* _text = nullptr;
};

}  // namespace Merel
