// The console login as the welcome screen uses it.
#pragma once

namespace Merel {

class Frame;

// Shows the login dialog (or, when console access is disabled for the host,
// the login-disabled dialog) over `parent`. Returns true when a user was
// authenticated; the user's name is then the session's loginName and the
// session is logged in (Session::SetLoggedIn(true)).
bool Login(Frame* parent);

}  // namespace Merel
