#include "NoLinkDialog.h"

#include <algorithm>

#include "AdapterChoiceDialog.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{70, 16, 6};

const char* const kWarning =
    "None of the chosen adapters has link. The management network will have no link, and the "
    "host cannot be reached over the network until one of them is connected.";
const char* const kQuestion = "Use these adapters anyway?";

}  // namespace

NoLinkDialog::NoLinkDialog(Frame* parent, uint32_t titleKey, const std::vector<Adapter>& chosen)
    : Dialog(parent, kSize), _titleKey(titleKey) {
  for (const Adapter& adapter : chosen) {
    std::string status = "status unknown";
    if (adapter.connected) {
      status = *adapter.connected ? "Connected" : "Disconnected";
    }
    _body += AdapterChoiceDialog::Plain(adapter.name) + ": " + status + "\n";
  }
  _bodyText = AddContentText();
}

bool NoLinkDialog::NoneHasLink(const std::vector<Adapter>& chosen) {
  return std::none_of(chosen.begin(), chosen.end(),
                      [](const Adapter& adapter) { return adapter.connected.value_or(false); });
}

int NoLinkDialog::Loop() {
  const bool yes = Ask(_strings->GetString(_titleKey), kWarning, kOkCancelFooter, _bodyText,
                       _body + "\n" + kQuestion, kKeyEnter);
  return yes ? 1 : 0;
}

}  // namespace Merel
