// The DNS search suffixes as one line of text. The text is returned as
// typed once every suffix in it is a valid name; it is split into suffixes
// when the changes are applied.
#pragma once

#include <optional>
#include <string>

#include "DialogFields.h"
#include "FormDialog.h"

namespace Merel {

class SuffixesDialog : public FormDialog {
 public:
  SuffixesDialog(Frame* parent, const std::string& text);
  std::string GetText() const;

  // Whether `key` may edit the field: letters, digits, ".", "-", the
  // separators space and comma, and the editing keys.
  static bool IsFieldKey(int key);
  // Nothing when every suffix in `text` is a valid name and the text is not
  // longer than the field may hold; otherwise the message about the first
  // suffix that is not, or about the length.
  static std::optional<FieldError> Check(const std::string& text);

 private:
  bool Finish() override;

  InputItem* _field = nullptr;  // owned by _list
};

}  // namespace Merel
