// The availability and idle time-outs of the local shell and SSH.
#pragma once

#include "Dialog.h"
#include "Item.h"
#include "ItemList.h"

namespace Merel {

class ShellTimeoutDialog : public Dialog {
 public:
  explicit ShellTimeoutDialog(Frame* parent);
  // 0 for Esc, 1 otherwise.
  int Loop() override;

 private:
  void ApplyAvailability();
  void ApplyIdle();

  ItemList* _list = nullptr;
  InputItem* _availability = nullptr;
  InputItem* _idle = nullptr;
  int currentAvailability = 0;
  int currentIdle = 0;
};

}  // namespace Merel
