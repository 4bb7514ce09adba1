#include "ChoiceListDialog.h"

#include <curses.h>

#include "ItemList.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

ChoiceListDialog::ChoiceListDialog(Frame* parent,
                                   DialogSize size,
                                   uint32_t titleKey,
                                   uint32_t textKey,
                                   std::string footer,
                                   bool needsRows)
    : Dialog(parent, size),
      _text(_strings->GetString(textKey)),
      _titleKey(titleKey),
      _footer(std::move(footer)),
      _needsRows(needsRows) {}

void ChoiceListDialog::SetItems(std::vector<std::unique_ptr<Item>> items, int headerRows) {
  if (_contentWindow == nullptr || _contentWindow->GetHeight() <= headerRows) {
    return;
  }
  _list = &_contentWindow->AddChild<ItemList>(0, headerRows, _contentWindow->GetWidth(),
                                              _contentWindow->GetHeight() - headerRows);
  _list->SetItems(std::move(items));
}

int ChoiceListDialog::Loop() {
  SetTitle(_strings->GetString(_titleKey));
  SetText(_text);
  SetFooter(_footer);
  Window::ShowCursor(false);
  if (_list == nullptr && _needsRows) {
    return 0;
  }
  if (_list != nullptr) {
    for (int i = 0; i < _startRow; ++i) {
      _list->Next();
    }
    _list->DrawItems();
  }
  for (;;) {
    const int key = Frame::WaitForKey(this, _idleLimit);
    switch (key) {
      case KEY_UP:
        // The list redraws itself when the focus moves.
        if (_list != nullptr) {
          _list->Prev();
        }
        break;
      case KEY_DOWN:
        if (_list != nullptr) {
          _list->Next();
        }
        break;
      case ' ':
        if (_list != nullptr && _list->Count() > 0) {
          Mark(static_cast<size_t>(_list->CurrentIndex()));
        }
        break;
      case kKeyEnter: {
        const int result = Enter();
        if (result != kStay) {
          return result;
        }
        break;
      }
      case kKeyEscape:
        return 0;
      default:
        OtherKey(key);
        break;
    }
  }
}

}  // namespace Merel
