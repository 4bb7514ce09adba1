// Repairing the management port of a distributed switch: the management
// interface is moved onto a new host-local port of the same switch, carried
// by uplinks the administrator chooses.
#pragma once

#include "Dialog.h"

namespace Merel {

class RestoreDVSDialog : public Dialog {
 public:
  explicit RestoreDVSDialog(Frame* parent);
  // 1 when the management interface was moved, 0 when nothing changed.
  int Loop() override;

 private:
  // Logs the host's failure text and shows it.
  void ShowFailure(const char* text);

  TextArea* _body = nullptr;
};

}  // namespace Merel
