// The console's own idle time-out.
#pragma once

#include "Dialog.h"
#include "Item.h"
#include "ItemList.h"

namespace Merel {

class MerelTimeoutDialog : public Dialog {
 public:
  explicit MerelTimeoutDialog(Frame* parent);
  // 0 for Esc, 1 otherwise.
  int Loop() override;

 private:
  void Apply();

  ItemList* _list = nullptr;
  InputItem* _field = nullptr;
  int currentSeconds = 0;
};

}  // namespace Merel
