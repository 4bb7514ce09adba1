// Choosing the console keyboard layout among those the host offers. Reached
// from the menu and, before anyone has logged in, from the login dialog, so
// that a password can be typed with the right layout.
#pragma once

#include <string>
#include <vector>

#include "Dialog.h"
#include "ItemList.h"

namespace Merel {

class RadioItem;

class KeyboardDialog : public Dialog {
 public:
  explicit KeyboardDialog(Frame* parent);
  // 1 when a layout was set on the host, 0 on Esc (nothing changed).
  int Loop() override;

 private:
  void Choose(int index);
  bool Apply();

  ItemList* _list = nullptr;
  std::vector<std::string> _layouts;
  std::vector<RadioItem*> _radios;  // owned by _list
  // Index of the chosen layout, -1 when the host's current layout is not in
  // its own list (then Enter sets the first one).
  int _chosen = -1;
};

}  // namespace Merel
