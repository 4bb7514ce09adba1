// Says why nothing can be offered and that the host was left as it was:
// the switch has no uplink, every adapter belongs to another distributed
// switch, and those are not ours to take.
#include "NoUplinksDialog.h"

#include "StringFactory.h"

namespace Merel {

NoUplinksDialog::NoUplinksDialog(Frame* parent, const std::string& dvSwitch)
    : MessageDialog(parent, Strings::kNoDvsUplinksErrorTitle, Message(dvSwitch)) {}

std::string NoUplinksDialog::Message(const std::string& dvSwitch) {
  return std::string(GetStringFactory("en_US")->GetString(Strings::kNoDvsUplinksText)) + "\n" +
         dvSwitch +
         " has no uplink of its own, and no adapter is free or on a standard switch. "
         "Nothing was changed.";
}

}  // namespace Merel
