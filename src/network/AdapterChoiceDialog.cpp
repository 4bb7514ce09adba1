#include "AdapterChoiceDialog.h"

#include <memory>

#include "ItemList.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

const char* const kKeys =
    "{color:black}<D>{/color} {color:dark-grey}View Details{/color}  "
    "{color:black}<Space>{/color} {color:dark-grey}Toggle Selected{/color}";

}  // namespace

AdapterChoiceDialog::AdapterChoiceDialog(Frame* parent,
                                         int width,
                                         int height,
                                         int titleHeight,
                                         uint32_t titleKey,
                                         uint32_t textKey)
    : Dialog(parent, width, height, titleHeight), _titleKey(titleKey), _textKey(textKey) {}

std::string AdapterChoiceDialog::Plain(const std::string& text) {
  std::string plain = text;
  for (char& c : plain) {
    if (c == '{') {
      c = '(';
    } else if (c == '}') {
      c = ')';
    } else if (c < ' ' || c > '~') {
      c = '?';
    }
  }
  return plain;
}

std::string AdapterChoiceDialog::Shorten(const std::string& text, size_t width) {
  if (text.size() <= width) {
    return text;
  }
  if (width <= 3) {
    return std::string(width, '.');
  }
  return text.substr(0, width - 3) + "...";
}

void AdapterChoiceDialog::SetRows(const char* header,
                                  const std::vector<std::pair<std::string, bool>>& rows) {
  std::vector<std::unique_ptr<Item>> items;
  for (const auto& [text, checked] : rows) {
    auto check = std::make_unique<CheckItem>(text, checked);
    check->SetHighlightFocus(true);
    _checks.push_back(check.get());
    items.push_back(std::move(check));
  }
  if (_contentWindow != nullptr && _contentWindow->GetHeight() > 1) {
    _contentWindow
        ->AddChild<TextArea>(0, 0, _contentWindow->GetWidth(), 1, _contentWindow->GetForeground())
        .SetText(header);
    _list = &_contentWindow->AddChild<ItemList>(0, 1, _contentWindow->GetWidth(),
                                                _contentWindow->GetHeight() - 1);
    _list->SetItems(std::move(items));
  }
}

void AdapterChoiceDialog::Toggle(size_t index) {
  _checks[index]->SetChecked(!_checks[index]->IsChecked());
  _list->DrawItems();
}

int AdapterChoiceDialog::Loop() {
  SetTitle(_strings->GetString(_titleKey));
  SetText(_strings->GetString(_textKey));
  SetFooter(std::string(kKeys) + kOkCancelFooter);
  Window::ShowCursor(false);
  if (_list == nullptr) {
    return 0;
  }
  _list->DrawItems();
  while (true) {
    const int key = Frame::WaitForKey(this, true);
    const bool onRow = _list->Count() > 0;
    const size_t index = static_cast<size_t>(_list->CurrentIndex());
    switch (key) {
      case KEY_UP:
        _list->Prev();
        break;
      case KEY_DOWN:
        _list->Next();
        break;
      case ' ':
        if (onRow) {
          Toggle(index);
        }
        break;
      case 'd':
      case 'D':
        if (onRow) {
          AdapterInfoDialog details(this, AdapterAt(index));
          Frame::Run(&details);
        }
        break;
      case kKeyEnter:
        if (Finish()) {
          return 1;
        }
        break;
      case kKeyEscape:
        return 0;
      default:
        break;
    }
  }
}

}  // namespace Merel
