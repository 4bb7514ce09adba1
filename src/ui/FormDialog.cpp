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

RadioItem* FormDialog::AddRadio(const std::string& label, bool marked) {
  auto radio = std::make_unique<RadioItem>(label, marked);
  // The text cursor is hidden on a choice: the focused one shows selected.
  radio->SetHighlightFocus(true);
  RadioItem* raw = radio.get();
  _rows.push_back(std::move(radio));
  _fieldOfRow.push_back(-1);
  return raw;
}

CheckItem* FormDialog::AddCheck(const std::string& label, bool checked, int indent) {
  auto check = std::make_unique<CheckItem>(label, checked, indent);
  check->SetHighlightFocus(true);
  CheckItem* raw = check.get();
  _rows.push_back(std::move(check));
  _fieldOfRow.push_back(-1);
  return raw;
}

void FormDialog::AddSpacer() {
  _rows.push_back(std::make_unique<LabelItem>("", false));
  _fieldOfRow.push_back(-1);
}

InputItem* FormDialog::AddField(FieldSpec spec) {
  auto field = std::make_unique<InputItem>(spec.label, spec.value, spec.width);
  InputItem* raw = field.get();
  _rows.push_back(std::move(field));
  _fieldOfRow.push_back(static_cast<int>(_fields.size()));
  _fields.push_back(raw);
  _specs.push_back(std::move(spec));
  return raw;
}

void FormDialog::ShowRows() {
  if (_contentWindow == nullptr) {
    return;
  }
  _list = &_contentWindow->AddChild<ItemList>(0, 0, _contentWindow->GetWidth(),
                                              _contentWindow->GetHeight());
  _list->SetItems(std::move(_rows));
}

int FormDialog::FieldOn(int row) const {
  return row >= 0 && row < static_cast<int>(_fieldOfRow.size()) ? _fieldOfRow[row] : -1;
}

int FormDialog::Loop() {
  SetTitle(_strings->GetString(_titleKey));
  SetText(_strings->GetString(_textKey));
  SetFooter(_footer);
  if (_list == nullptr) {
    return 0;
  }
  if (_rule == CursorRule::kOnFields) {
    Window::ShowCursor(FieldOn(_list->CurrentIndex()) >= 0);
  }
  _list->DrawItems();
  for (;;) {
    const int key = Frame::WaitForKey(this, true);
    const int row = _list->CurrentIndex();
    const int field = FieldOn(row);
    switch (key) {
      case kKeyEscape:
        Window::ShowCursor(false);
        return 0;
      case kKeyEnter:
        if (Finish()) {
          Window::ShowCursor(false);
          return 1;
        }
        break;
      case KEY_UP:
      case KEY_DOWN: {
        const bool down = key == KEY_DOWN;
        if (down) {
          _list->Next();
        } else {
          _list->Prev();
        }
        if (_rule == CursorRule::kOnFields) {
          Window::ShowCursor(FieldOn(_list->CurrentIndex()) >= 0);
        } else if (down && field >= 0) {
          Window::ShowCursor(true);
        } else if (!down && field < 0) {
          Window::ShowCursor(false);
        }
        _list->DrawItems();
        break;
      }
      default:
        if (field >= 0 && _specs[field].allows(key)) {
          InputItem& input = *_fields[field];
          if (FieldKeys::Fits(input, key, _specs[field].longest)) {
            input.HandleKey(key);
            Edited(field);
          }
        } else if (key == ' ') {
          Mark(row);
        }
        _list->DrawItems();
        break;
    }
  }
}

}  // namespace Merel
