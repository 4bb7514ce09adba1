#include "PasswordChange.h"

#include <security/pam_appl.h>
#include <syslog.h>

#include "Command.h"
#include "PamAuth.h"
#include "Platform.h"

namespace Merel {

namespace {

void AfterChange(const std::string& user) {
  // The account database is part of the state the host saves; without the
  // backup the new password would be lost at the next boot.
  char* const backup[] = {const_cast<char*>("backup.sh"), const_cast<char*>("0"), nullptr};
  RunCommand("/sbin/backup.sh", backup, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0);
  RoviRefresh(user);
  Platform::Syslog(LOG_INFO, "Login password for user %s has changed", user.c_str());
  PostObsv("obsv.user.merel.login.passwd.changed",
           std::string("Login password for user ") + user + " changed");
}

}  // namespace

bool PasswordAccepted(const std::string& user, const std::string& password) {
  const int status = Authenticate(user, password);
  return status == PAM_SUCCESS || status == PAM_NEW_AUTHTOK_REQD;
}

bool ChangeLoginPassword(const std::string& user,
                         const std::string& oldPassword,
                         const std::string& newPassword) {
  int status = PAM_SUCCESS;
  if (!ChangePassword(user, oldPassword, newPassword, &status)) {
    // PAM's own words for why, never the passwords.
    Platform::Syslog(LOG_ERR, "Changing the password of user %s failed: %s", user.c_str(),
                     pam_strerror(nullptr, status));
    return false;
  }
  AfterChange(user);
  return true;
}

}  // namespace Merel
