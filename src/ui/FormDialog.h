// A dialog of choices (radio buttons and check boxes) and typed fields in one
// list, with the key loop all of them share: Up and Down move over what can
// be selected, the text cursor showing on a field; Space marks a choice; a
// key a field allows goes into it while the value fits; Enter finishes when
// the values pass their checks; Esc cancels. A dialog gives its rows as
// field specifications and answers Space, edits and Enter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Dialog.h"
#include "Item.h"

namespace Merel {

class ItemList;

// One typed field: its label and first value, its width on screen (-1: half
// the row), the characters it lets in (editing keys are the filter's to
// allow too) and the longest value it holds. A field that still shows the
// value it came with is replaced by the first character typed, so that one
// always fits.
struct FieldSpec {
  std::string label;
  std::string value;
  int width = -1;
  bool (*allows)(int key) = nullptr;
  size_t longest = 0;
};

class FormDialog : public Dialog {
 public:
  // 1 when Enter was taken (Finish said yes), 0 on Esc.
  int Loop() override;

 protected:
  // How the text cursor follows Up and Down.
  enum class CursorRule {
    // Shown exactly while the selected row is a field.
    kOnFields,
    // Looks at the row before the move: Down from a field shows it, Up from
    // a choice hides it, and any other move leaves it as it was.
    kRowBeforeMove,
  };

  FormDialog(Frame* parent,
             DialogSize size,
             uint32_t titleKey,
             uint32_t textKey,
             const char* footer,
             CursorRule rule = CursorRule::kOnFields);

  // The rows, top to bottom; then ShowRows once.
  RadioItem* AddRadio(const std::string& label, bool marked);
  CheckItem* AddCheck(const std::string& label, bool checked, int indent);
  void AddSpacer();
  InputItem* AddField(FieldSpec spec);
  // Puts the rows into the body; without room for them the dialog ends at
  // once when run.
  void ShowRows();

  // Space on `row` (counted from the top, the spacer too), unless the row is
  // a field that takes a space. The list is redrawn afterwards.
  virtual void Mark(int /*row*/) {}
  // A key went into field `field` (counted among the fields).
  virtual void Edited(int /*field*/) {}
  // Enter: true when the values are taken; a bad one is shown first
  // (ShowFieldError) and the loop goes on.
  virtual bool Finish() = 0;

  ItemList* _list = nullptr;

 private:
  // The field on `row`, or -1.
  int FieldOn(int row) const;

  uint32_t _titleKey;
  uint32_t _textKey;
  const char* _footer;
  CursorRule _rule;
  std::vector<std::unique_ptr<Item>> _rows;  // until ShowRows
  std::vector<int> _fieldOfRow;              // -1 for a choice or the spacer
  std::vector<InputItem*> _fields;           // owned by _list
  std::vector<FieldSpec> _specs;
};

}  // namespace Merel
