// Choosing the console keyboard layout among those the host offers. Reached
// from the menu and, before anyone has logged in, from the login dialog, so
// that a password can be typed with the right layout.
#pragma once

#include <string>
#include <vector>

#include "ChoiceListDialog.h"

namespace Merel {

class RadioItem;

// Run, it gives 1 when a layout was set on the host, 0 otherwise.
class KeyboardDialog : public ChoiceListDialog {
 public:
  explicit KeyboardDialog(Frame* parent);

 private:
  void Mark(size_t index) override;
  int Enter() override;
  bool Apply();

  std::vector<std::string> _layouts;
  std::vector<RadioItem*> _radios;  // owned by _list
  // Index of the chosen layout, -1 when the host's current layout is not in
  // its own list (then Enter sets the first one).
  int _chosen = -1;
};

}  // namespace Merel
