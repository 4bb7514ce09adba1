// The suffixes dialog: one field, no check on Enter.
#include "SuffixesDialog.h"

#include <memory>
#include <vector>

#include "DialogFields.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr int kWidth = 70;
constexpr int kHeight = 13;
constexpr int kTitleHeight = 8;
constexpr int kFieldWidth = 40;
// Room for a long search list; more than the resolver would ever use.
constexpr size_t kLongestText = 1024;

}  // namespace

SuffixesDialog::SuffixesDialog(Frame* parent, const std::string& text)
    : Dialog(parent, kWidth, kHeight, kTitleHeight) {
  std::vector<std::unique_ptr<Item>> items;
  auto field =
      std::make_unique<InputItem>(_strings->GetString(Strings::kSuffixesLabel), text, kFieldWidth);
  _field = field.get();
  items.push_back(std::move(field));
  if (_contentWindow != nullptr) {
    _list = &_contentWindow->AddChild<ItemList>(0, 0, _contentWindow->GetWidth(),
                                                _contentWindow->GetHeight());
    _list->SetItems(std::move(items));
  }
}

std::string SuffixesDialog::GetText() const {
  return _field->GetValue();
}

bool SuffixesDialog::IsFieldKey(int key) {
  return FieldKeys::IsLetter(key) || FieldKeys::IsDigit(key) || key == '.' || key == '-' ||
         key == ' ' || key == ',' || FieldKeys::IsEditing(key);
}

int SuffixesDialog::Loop() {
  if (!OpenFields(Strings::kNetSuffixes, Strings::kSuffixesText, kOkCancelFooter, _list)) {
    return 0;
  }
  while (true) {
    const int key = Frame::WaitForKey(this, true);
    if (key == kKeyEnter || key == kKeyEscape) {
      Window::ShowCursor(false);
      return key == kKeyEnter ? 1 : 0;
    }
    if (IsFieldKey(key) && FieldKeys::Fits(*_field, key, kLongestText)) {
      _field->HandleKey(key);
      _list->DrawItems();
    }
  }
}

}  // namespace Merel
