// The console login as the welcome screen uses it.
#pragma once

namespace Merel {

class Frame;

// Shows the login dialog (or, when console access is disabled for the host,
// the login-disabled dialog) over `parent`. Returns true when a user was
// authenticated; the user's name is then in Frame::_loginName and the session
// flag is set (Frame::SetLoggedIn(true)).
bool Login(Frame* parent);

}  // namespace Merel
