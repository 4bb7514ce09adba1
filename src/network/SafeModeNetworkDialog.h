// Restore Standard Switch: after F11, the management interface and the
// uplinks of its connection are moved onto a new standard switch of their
// own, and every other kernel interface is disabled, so that nothing but
// the management network competes for the adapters that reach the host.
// The move is all or nothing: a failure puts back what had moved, and a
// message says what failed.
#pragma once

#include <string>

#include "Dialog.h"

namespace Merel {

class TextArea;

class SafeModeNetworkDialog : public Dialog {
 public:
  explicit SafeModeNetworkDialog(Frame* parent);
  // 1 after the management network was moved, 0 when cancelled or when the
  // move failed (the failure was logged and shown).
  int Loop() override;

 private:
  enum class Outcome {
    kMoved,
    kNoInterface,
    kFailedRestored,     // a step failed; everything was put back
    kFailedNotRestored,  // a step failed, and so did putting something back
  };
  // `failure` gets the failed step and the host's text. Throws
  // HostCtl::Lib::HostCtlException only for a failure before anything was
  // changed.
  static Outcome MoveManagementNetwork(std::string& failure);

  TextArea* _text = nullptr;
};

}  // namespace Merel
