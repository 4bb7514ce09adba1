#include "FormDialog.h"

#include <curses.h>

#include "FieldKeys.h"
#include "ItemList.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

FormDialog::FormDialog(Frame* parent,
                       DialogSize size,
                       uint32_t titleKey,
                       uint32_t textKey,
                       const char* footer,
                       CursorRule rule)
    : Dialog(parent, size),
      _titleKey(titleKey),
      _textKey(textKey),
      _footer(footer),
      _rule(rule) {}

FormDialog::~FormDialog() {
  ClearRows();
}

template <typename T>
T* FormDialog::AddRow(std::unique_ptr<T> row, int field, bool action) {
  T* raw = row.get();
  _rows.push_back(std::move(row));
  _fieldOfRow.push_back(field);
  _actionRow.push_back(action);
  return raw;
}

RadioItem* FormDialog::AddRadio(const std::string& label, bool marked) {
  auto radio = std::make_unique<RadioItem>(label, marked);
  // The text cursor is hidden on a choice: the focused one shows selected.
  radio->SetHighlightFocus(true);
  return AddRow(std::move(radio));
}

CheckItem* FormDialog::AddCheck(const std::string& label, bool checked, int indent) {
  auto check = std::make_unique<CheckItem>(label, checked, indent);
  check->SetHighlightFocus(true);
  return AddRow(std::move(check));
}

void FormDialog::AddSpacer() {
  AddRow(std::make_unique<LabelItem>("", false));
}

InputItem* FormDialog::AddField(FieldSpec wanted) {
  auto field = std::make_unique<InputItem>(wanted.label, wanted.value, wanted.width);
  field->SetPassword(wanted.masked);
  InputItem* raw = AddRow(std::move(field), static_cast<int>(_fields.size()));
  _fields.push_back(raw);
  _specs.push_back(std::move(wanted));
  return raw;
}

LabelItem* FormDialog::AddAction(const std::string& label) {
  auto line = std::make_unique<LabelItem>(label);
  // The text cursor is hidden here: only the highlight shows where Enter goes.
  line->SetHighlightFocus(true);
  return AddRow(std::move(line), -1, true);
}

void FormDialog::ShowRows() {
  if (_contentWindow == nullptr) {
    return;
  }
  ShowRowsIn(*_contentWindow, 0, 0, _contentWindow->GetWidth(), _contentWindow->GetHeight());
}

void FormDialog::ShowRowsIn(Window& parent, int x, int y, int width, int height) {
  if (_list == nullptr) {
    _list = &parent.AddChild<ItemList>(x, y, width, height);
  }
  _list->SetItems(std::move(_rows));
  _rows.clear();
}

void FormDialog::ClearRows() {
  for (size_t i = 0; i < _fields.size(); ++i) {
    if (_specs[i].masked) {
      _fields[i]->Wipe();
    }
  }
  _rows.clear();
  _fieldOfRow.clear();
  _actionRow.clear();
  _fields.clear();
  _specs.clear();
}

int FormDialog::FieldOn(int row) const {
  return row >= 0 && row < static_cast<int>(_fieldOfRow.size()) ? _fieldOfRow[row] : -1;
}

void FormDialog::FocusField(int field) {
  int row = 0;
  while (row < static_cast<int>(_fieldOfRow.size()) && _fieldOfRow[row] != field) {
    ++row;
  }
  StepTo(row);
  Redraw();
}

void FormDialog::StepTo(int row) {
  while (_list->CurrentIndex() != row) {
    const int before = _list->CurrentIndex();
    if (before < row) {
      _list->Next();
    } else {
      _list->Prev();
    }
    if (_list->CurrentIndex() == before) {
      break;
    }
  }
}

void FormDialog::Redraw() {
  if (_rule == CursorRule::kOnFields) {
    // Shown before the rows are drawn: the current field's row places the
    // cursor last.
    Window::ShowCursor(FieldOn(_list->CurrentIndex()) >= 0);
  }
  _list->DrawItems();
}

void FormDialog::ShowTexts() {
  SetTitle(_strings->GetString(_titleKey));
  SetText(_strings->GetString(_textKey));
  SetFooter(_footer);
}

void FormDialog::Move(int key, int field, bool onLastField) {
  if (key == KEY_UP) {
    _list->Prev();
  } else if (field < 0 || Leave(field)) {
    if (key == kKeyTab && _moves == Moves::kFieldByFieldAround && onLastField) {
      // Round to the first row still open: up as far as the list goes.
      StepTo(0);
    } else {
      _list->Next();
    }
  }
  if (_rule == CursorRule::kRowBeforeMove) {
    if (key != KEY_UP && field >= 0) {
      Window::ShowCursor(true);
    } else if (key == KEY_UP && field < 0) {
      Window::ShowCursor(false);
    }
  }
  Redraw();
}

int FormDialog::Loop() {
  ShowTexts();
  if (_list == nullptr) {
    return 0;
  }
  Redraw();
  const bool byField = _moves != Moves::kFinishAnywhere;
  for (;;) {
    const int key = Frame::WaitForKey(this, _idleLimit);
    const int row = _list->CurrentIndex();
    const int field = FieldOn(row);
    // Asked anew for every key: a dialog may have rebuilt its rows.
    const bool onLastField = field >= 0 && field == static_cast<int>(_fields.size()) - 1;
    if (key == kKeyEscape) {
      Window::ShowCursor(false);
      return 0;
    }
    if (key == kKeyEnter && row < static_cast<int>(_actionRow.size()) && _actionRow[row]) {
      Activate(row);
      Redraw();
    } else if (key == kKeyEnter && (!byField || onLastField)) {
      if (Finish()) {
        Window::ShowCursor(false);
        return 1;
      }
    } else if (key == KEY_UP || key == KEY_DOWN ||
               (byField && (key == kKeyEnter || key == kKeyTab))) {
      Move(key, field, onLastField);
    } else {
      if (field >= 0 && _specs[field].allows(key)) {
        InputItem& input = *_fields[field];
        if (FieldKeys::Fits(input, key, _specs[field].longest)) {
          input.HandleKey(key);
          Edited(field);
        }
      } else if (key == ' ') {
        Mark(row);
      } else {
        OtherKey(row, key);
      }
      _list->DrawItems();
    }
  }
}

}  // namespace Merel
