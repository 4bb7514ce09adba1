// The host part of changing the logged-in user's password: PAM changes it,
// then the host keeps the account database across boots, the management
// service forgets the user's old credentials, and the change is logged and
// announced. The passwords are only passed on, never kept or logged.
#pragma once

#include <string>

namespace Merel {

// Whether `password` is `user`'s (an expired one counts).
bool PasswordAccepted(const std::string& user, const std::string& password);

// Changes `user`'s password; false (logged with PAM's reason) when PAM did
// not, and the host then holds the old one.
bool ChangeLoginPassword(const std::string& user,
                         const std::string& oldPassword,
                         const std::string& newPassword);

}  // namespace Merel
