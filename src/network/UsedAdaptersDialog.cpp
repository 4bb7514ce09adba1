// The confirmation before adapters are taken from other switches. It names
// every adapter and the switch that loses it, so that nobody cuts off a
// virtual machine network without seeing it.
#include "UsedAdaptersDialog.h"

#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{70, 16, 6};

}  // namespace

UsedAdaptersDialog::UsedAdaptersDialog(Frame* parent,
                                       const std::vector<Adapter>& adapters,
                                       const std::string& switchName)
    : UsedAdaptersDialog(parent,
                         adapters,
                         switchName,
                         Strings::kAdaptersWarningTitle,
                         Strings::kAdaptersRemoveQuestion) {}

UsedAdaptersDialog::UsedAdaptersDialog(Frame* parent,
                                       const std::vector<Adapter>& adapters,
                                       const std::string& switchName,
                                       uint32_t titleKey,
                                       uint32_t questionKey)
    : Dialog(parent, kSize),
      _titleKey(titleKey),
      _questionKey(questionKey),
      _body(Body(adapters, switchName)) {
  _bodyText = AddContentText();
}

std::string UsedAdaptersDialog::Body(const std::vector<Adapter>& adapters,
                                     const std::string& switchName) {
  std::string body;
  for (const Adapter& adapter : adapters) {
    body += adapter.name + " will be removed from " + adapter.usedBy.value_or("") +
            " and added to " + switchName + ".\n";
  }
  return body;
}

int UsedAdaptersDialog::Loop() {
  const bool yes =
      Ask(_strings->GetString(_titleKey), _strings->GetString(Strings::kAdaptersInUse),
          kOkCancelFooter, _bodyText, _body + "\n" + _strings->GetString(_questionKey), kKeyEnter);
  return yes ? 1 : 0;
}

}  // namespace Merel
