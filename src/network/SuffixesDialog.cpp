// The suffixes dialog: one field, each suffix in it checked on Enter.
#include "SuffixesDialog.h"

#include <string>

#include "DialogFields.h"
#include "HostCtl/AddressRules.h"
#include "NetworkSettings.h"
#include "StringFactory.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{70, 13, 8};
constexpr int kFieldWidth = 40;
// Room for a long search list; more than the resolver would ever use.
constexpr size_t kLongestText = 1024;
// The field takes one character more than is allowed, so that a paste that
// does not fit is refused on Enter as a whole, never stored cut short.
constexpr size_t kFieldLimit = kLongestText + 1;
// A bad suffix is quoted in the message, up to this many characters.
constexpr size_t kLongestQuote = 40;
const char* const kInvalidSuffixTitle = "Invalid DNS suffix";
const char* const kInvalidSuffixText =
    "Please reenter the suffixes, separated by spaces or commas.";

std::string Quote(const std::string& suffix) {
  if (suffix.size() <= kLongestQuote) {
    return "\"" + suffix + "\"";
  }
  return "\"" + suffix.substr(0, kLongestQuote - 3) + "...\"";
}

}  // namespace

SuffixesDialog::SuffixesDialog(Frame* parent, const std::string& text)
    : FormDialog(parent, kSize, Strings::kNetSuffixes,
                 Strings::kSuffixesText, kOkCancelFooter) {
  _field = AddField(
      {_strings->GetString(Strings::kSuffixesLabel), text, kFieldWidth, IsFieldKey, kFieldLimit});
  ShowRows();
}

std::string SuffixesDialog::GetText() const {
  return _field->GetValue();
}

bool SuffixesDialog::IsFieldKey(int key) {
  return FieldKeys::IsLetter(key) || FieldKeys::IsDigit(key) || key == '.' || key == '-' ||
         key == ' ' || key == ',' || FieldKeys::IsEditing(key);
}

std::optional<FieldError> SuffixesDialog::Check(const std::string& text) {
  if (text.size() > kLongestText) {
    return FieldError{0, 0, 0, kInvalidSuffixTitle,
                      "The suffixes can have at most " + std::to_string(kLongestText) +
                          " characters in all. " + kInvalidSuffixText};
  }
  for (const std::string& suffix : SplitSuffixes(text)) {
    if (const std::string reason = HostCtl::Network::NameProblem(suffix); !reason.empty()) {
      return FieldError{0, 0, 0, kInvalidSuffixTitle,
                        Quote(suffix) + ": " + reason + " " + kInvalidSuffixText};
    }
  }
  return std::nullopt;
}

bool SuffixesDialog::Finish() {
  if (const std::optional<FieldError> error = Check(_field->GetValue())) {
    ShowFieldError(this, *_list, 0, *error);
    return false;
  }
  return true;
}

}  // namespace Merel
