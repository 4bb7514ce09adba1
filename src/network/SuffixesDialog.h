// The DNS search suffixes as one line of text. The text is returned as
// typed; it is split into suffixes when the changes are applied.
#pragma once

#include <string>

#include "Dialog.h"
#include "ItemList.h"

namespace Merel {

class InputItem;

class SuffixesDialog : public Dialog {
 public:
  SuffixesDialog(Frame* parent, const std::string& text);
  // 1 on Enter, 0 on Esc.
  int Loop() override;
  std::string GetText() const;

  // Whether `key` may edit the field: letters, digits, ".", "-", the
  // separators space and comma, and the editing keys.
  static bool IsFieldKey(int key);

 private:
  ItemList* _list = nullptr;
  InputItem* _field = nullptr;  // owned by _list
};

}  // namespace Merel
