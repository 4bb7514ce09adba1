// The DNS search suffixes as one line of text. The text is returned as
// typed once every suffix in it is a valid name; it is split into suffixes
// when the changes are applied.
#pragma once

#include <optional>
#include <string>

#include "Dialog.h"
#include "DialogFields.h"
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
  // Nothing when every suffix in `text` is a valid name and the text is not
  // longer than the field may hold; otherwise the message about the first
  // suffix that is not, or about the length.
  static std::optional<FieldError> Check(const std::string& text);

 private:
  ItemList* _list = nullptr;
  InputItem* _field = nullptr;  // owned by _list
};

}  // namespace Merel
