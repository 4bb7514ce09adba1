// Lockdown mode on and off. The host's management service keeps the mode;
// the console only asks it to enter or leave.
#pragma once

#include "Dialog.h"
#include "Item.h"
#include "ItemList.h"

namespace Merel {

class LockdownDialog : public Dialog {
 public:
  explicit LockdownDialog(Frame* parent);
  // 1 after Enter (whether or not anything changed), 0 after Esc.
  int Loop() override;

 private:
  void Apply();

  ItemList* _list = nullptr;
  CheckItem* _check = nullptr;
  bool _enabled = false;
};

}  // namespace Merel
