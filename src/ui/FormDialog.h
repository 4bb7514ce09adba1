// A dialog of choices (radio buttons and check boxes), lines Enter acts on
// and typed fields in one list, with the key loop all of them share: Up and
// Down move over what can be selected, the text cursor showing on a field;
// Space marks a choice; a key a field allows goes into it while the value
// fits; Enter finishes when the values pass their checks (or, filled in
// field by field, moves on until the last field); Esc cancels. A dialog
// gives its rows as field specifications and answers Space, edits, moves
// and Enter.
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
// always fits. A masked field shows stars for what is typed, and its value
// is wiped when the rows or the dialog go: it holds a secret.
struct FieldSpec {
  static constexpr size_t kAnyLength = SIZE_MAX;

  std::string label;
  std::string value;
  int width = -1;
  bool (*allows)(int key) = nullptr;
  size_t longest = 0;
  bool masked = false;
};

class FormDialog : public Dialog {
 public:
  ~FormDialog() override;
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

  // What Enter and Tab do.
  enum class Moves {
    // Enter finishes on any row; Tab is a key like any other.
    kFinishAnywhere,
    // The fields are filled in one after the other: Enter and Tab move on
    // to the next row, and Enter on the last field finishes. Tab stays on
    // the last field.
    kFieldByField,
    // As kFieldByField, but Tab from the last field goes round to the first
    // row that can still be selected.
    kFieldByFieldAround,
  };

  FormDialog(Frame* parent,
             DialogSize size,
             uint32_t titleKey,
             uint32_t textKey,
             const char* footer,
             CursorRule rule = CursorRule::kOnFields);

  // The rows, top to bottom; then ShowRows (or ShowRowsIn) once.
  RadioItem* AddRadio(const std::string& label, bool marked);
  CheckItem* AddCheck(const std::string& label, bool checked, int indent);
  void AddSpacer();
  InputItem* AddField(FieldSpec wanted);
  // A line Enter acts on (Activate), shown selected while it has the focus.
  LabelItem* AddAction(const std::string& label);
  // Puts the rows into the body; without room for them the dialog ends at
  // once when run.
  void ShowRows();
  // Puts them into the given place of `parent` instead, for a dialog laid
  // out otherwise; called again (after ClearRows), the rows replace those
  // shown.
  void ShowRowsIn(Window& parent, int x, int y, int width, int height);
  // Drops the rows, a masked field's value wiped, for others to be added.
  void ClearRows();
  // Moves the focus to field `field` and redraws.
  void FocusField(int field);
  // Draws the rows, the text cursor as the cursor rule has it.
  void Redraw();

  // The title, description and footer, before the rows are first drawn.
  virtual void ShowTexts();

  // Space on `row` (counted from the top, the spacer too), unless the row is
  // a field that takes a space. The list is redrawn afterwards.
  virtual void Mark(int /*row*/) {}
  // A key went into field `field` (counted among the fields).
  virtual void Edited(int /*field*/) {}
  // Moving on from field `field` (with Down, or Enter and Tab field by
  // field): false keeps the focus there, a bad value shown first. A field
  // may stop being selectable here, so that it is left behind for good.
  virtual bool Leave(int /*field*/) { return true; }
  // Enter on `row`, a line added with AddAction.
  virtual void Activate(int /*row*/) {}
  // A key that none of the above takes, on `row`; the dialog may act on it
  // (a function key) or say why it was not taken.
  virtual void OtherKey(int /*row*/, int /*key*/) {}
  // Enter: true when the values are taken; a bad one is shown first
  // (ShowFieldError) and the loop goes on.
  virtual bool Finish() = 0;

  ItemList* _list = nullptr;
  Moves _moves = Moves::kFinishAnywhere;
  // Whether the session's idle limit ends the dialog.
  bool _idleLimit = true;

 private:
  // Adds `row`, the field `field` (-1: none) or a line Enter acts on.
  template <typename T>
  T* AddRow(std::unique_ptr<T> row, int field = -1, bool action = false);
  // The field on `row`, or -1.
  int FieldOn(int row) const;
  // Moves the focus to `row`, which can be selected, or to the first row
  // that can when `row` is above it (0).
  void StepTo(int row);
  // Up, Down, or Enter and Tab moving on, from `field` (-1: not a field).
  void Move(int key, int field, bool onLastField);

  uint32_t _titleKey;
  uint32_t _textKey;
  const char* _footer;
  CursorRule _rule;
  std::vector<std::unique_ptr<Item>> _rows;  // until ShowRows
  std::vector<int> _fieldOfRow;              // -1 for a choice, a line or the spacer
  std::vector<bool> _actionRow;
  std::vector<InputItem*> _fields;           // owned by _list
  std::vector<FieldSpec> _specs;
};

}  // namespace Merel
