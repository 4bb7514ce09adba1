// The answer to F2 on a host whose administrator has disabled direct console
// access: there is nothing to type, only the reason and OK.
#include "LoginDisabledDialog.h"

#include "StringFactory.h"
#include "Terminal.h"
#include "TextArea.h"

namespace Merel {

namespace {

// The same box as the login it stands in for; six title rows leave room for
// the two lines the sentence and a host name take at this width.
constexpr DialogSize kSize{60, 9, 6};

constexpr uint32_t kMessage =
    148;  // "Direct console access has been disabled by the administrator for "

}  // namespace

LoginDisabledDialog::LoginDisabledDialog(Frame* parent) : Dialog(parent, kSize) {}

int LoginDisabledDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kLoginDeniedTitle));
  SetText(std::string(_strings->GetString(kMessage)) + TextArea::VariableValue("hostname"));
  SetFooter(kOkFooter);
  // Nobody is logged in, so no idle limit applies.
  WaitForEnter(false);
  return 0;
}

}  // namespace Merel
