// Entry to the console login from the welcome screen, the choice between the
// login and the login-disabled dialog, and the smart-card check of the key
// wait.
#include "Login.h"

#include <sys/stat.h>
#include <syslog.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "Frame.h"
#include "HostCtl/HostCtlException.h"
#include "LoginDialog.h"
#include "LoginDisabledDialog.h"
#include "NexCtl/SmartCardInfoImpl.h"
#include "Platform.h"

namespace Merel {

namespace {

// The host's management services create this marker while direct console
// login is allowed, and remove it when the administrator disables it. So the
// login is offered exactly when the marker exists; its content is not read.
// (A host that cannot tell therefore keeps its console locked rather than
// open.) The simulated host creates the marker by default.
const char* const kShowLoginMarker = "/var/run/ostrel/show-merel-login";

bool ConsoleLoginAllowed() {
  struct stat info;
  return stat(Platform::HostPath(kShowLoginMarker).c_str(), &info) == 0;
}

}  // namespace

void SmartCardCheck(Session& session) {
  if (!session.loggedIn) {
    const std::string id = CardUserId();
    if (!id.empty()) {
      Platform::Syslog(LOG_INFO, "Found smart card with user id '%s'", id.c_str());
    }
    return;
  }
  if (!session.isLoggedWithSmartCard) {
    return;
  }
  // A smart-card session lasts as long as its card: once the card (or the
  // token of the logged-in user on it) is gone, the console restarts, which
  // ends the session.
  NexCtl::Hardware::SmartCardInfoImpl card;
  std::vector<std::string> ids;
  try {
    if (card.IsCardPresent()) {
      ids = card.LookupTokens();
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    // Without the tokens nothing can be decided; the session is kept.
    Platform::Syslog(LOG_ERR, "Error trying to lookup smart card tokens: %s", e.what());
    return;
  }
  if (std::find(ids.begin(), ids.end(), session.smartCardLoginId) == ids.end()) {
    Platform::Syslog(LOG_INFO, "Logging out user id '%s'", session.smartCardLoginId.c_str());
    exit(0);
  }
}

bool Login(Frame* parent) {
  try {
    if (!ConsoleLoginAllowed()) {
      LoginDisabledDialog dialog(parent);
      Frame::Run(&dialog);
      return false;
    }
    LoginDialog dialog(parent);
    return Frame::Run(&dialog) != 0;
  } catch (const MerelTimeout&) {
    // Only a message dialog over the login waits with the idle limit; a
    // time-out there abandons the login, not a session (there is none), so
    // it ends here and the welcome screen is shown again.
    if (parent != nullptr) {
      parent->Draw(true);
      parent->GetSession().fgFrame = parent;
    }
    return false;
  }
}

}  // namespace Merel
