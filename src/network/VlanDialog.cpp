// The VLAN dialog: digits only, a range check on Enter, and a warning that
// does not block for 4095, the ID that receives every VLAN.
#include "VlanDialog.h"

#include <cstdlib>

#include "MessageDialog.h"
#include "StringFactory.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{70, 11, 6};
constexpr int kFieldWidth = 5;
// Five digits are enough to type an ID that is too large and be told so.
constexpr size_t kLongestText = 5;
constexpr unsigned long kAllVlans = 4095;

bool IsFieldKey(int key) {
  return FieldKeys::IsDigit(key) || FieldKeys::IsEditing(key);
}

}  // namespace

VlanDialog::VlanDialog(Frame* parent, uint16_t vlanId)
    : FormDialog(parent, kSize, Strings::kNetVlan, Strings::kVlanText,
                 kOkCancelFooter) {
  _field = AddField({_strings->GetString(Strings::kVlanLabel),
                     vlanId == 0 ? "" : std::to_string(vlanId), kFieldWidth, IsFieldKey,
                     kLongestText});
  ShowRows();
}

unsigned long VlanDialog::ValueOf(const std::string& text) {
  return text.empty() ? 0 : static_cast<unsigned long>(strtol(text.c_str(), nullptr, 10));
}

std::optional<FieldError> VlanDialog::Check(const std::string& text) {
  if (text.empty()) {
    return std::nullopt;
  }
  const unsigned long value = ValueOf(text);
  if (value == 0 || value > kAllVlans) {
    return FieldError{0, Strings::kInvalidVlanTitle, Strings::kInvalidVlanText};
  }
  return std::nullopt;
}

uint16_t VlanDialog::GetVlanId() const {
  const unsigned long value = ValueOf(_field->GetValue());
  return value > kAllVlans ? 0 : static_cast<uint16_t>(value);
}

bool VlanDialog::Finish() {
  const std::string& text = _field->GetValue();
  if (const std::optional<FieldError> error = Check(text)) {
    ShowFieldError(this, *_list, 0, *error);
    return false;
  }
  if (ValueOf(text) == kAllVlans) {
    MessageDialog warning(this, Strings::kWarningTitle, Strings::kVlan4095Warning);
    Frame::Run(&warning);
  }
  return true;
}

}  // namespace Merel
