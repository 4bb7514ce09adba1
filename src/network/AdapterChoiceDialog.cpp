#include "AdapterChoiceDialog.h"

#include <memory>

#include "ItemList.h"

namespace Merel {

namespace {

const char* const kKeys =
    "{color:black}<D>{/color} {color:dark-grey}View Details{/color}  "
    "{color:black}<Space>{/color} {color:dark-grey}Toggle Selected{/color}";

}  // namespace

AdapterChoiceDialog::AdapterChoiceDialog(Frame* parent,
                                         DialogSize size,
                                         uint32_t titleKey,
                                         uint32_t textKey)
    : ChoiceListDialog(parent,
                       size,
                       titleKey,
                       textKey,
                       std::string(kKeys) + kOkCancelFooter,
                       true) {}

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
    SetItems(std::move(items), 1);
  }
}

void AdapterChoiceDialog::Toggle(size_t index) {
  _checks[index]->SetChecked(!_checks[index]->IsChecked());
  _list->DrawItems();
}

void AdapterChoiceDialog::OtherKey(int key) {
  if ((key == 'd' || key == 'D') && _list->Count() > 0) {
    AdapterInfoDialog details(this, AdapterAt(static_cast<size_t>(_list->CurrentIndex())));
    Frame::Run(&details);
  }
}

}  // namespace Merel
