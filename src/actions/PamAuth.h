// The console's PAM transactions for the login: one conversation of the
// program's own and one authenticate + account check per attempt.
#pragma once

#include <security/pam_appl.h>

#include <string>

namespace Merel {

// The PAM service of the console: the program's own name in lower case.
extern const char* const MEREL_APP;  // "merel"

// The login conversation. `appdata` is the NUL-terminated secret the user
// typed; every prompt (echo on or off) is answered with a copy of it, error
// and information messages get no answer. Modules may call this with a null
// `resp` when they only report messages; that is fine as long as no message
// asks for an answer. Returns PAM_CONV_ERR for malformed calls and PAM_BUF_ERR
// when memory runs out; on failure nothing is left allocated.
int LoginConversation(int numMsg,
                      const struct pam_message** msg,
                      struct pam_response** resp,
                      void* appdata);

// The PAM transaction of the logged-in user, kept from the login to the
// logout so that the session stack (pam_open_session, pam_close_session)
// frames the session. One at a time: the console has one user.
class PamSession {
 public:
  PamSession() = default;
  ~PamSession() { Close(); }
  PamSession(const PamSession&) = delete;
  PamSession& operator=(const PamSession&) = delete;

  bool IsOpen() const { return _handle != nullptr; }
  // pam_close_session, pam_setcred(PAM_DELETE_CRED) and pam_end; nothing
  // when no session is open.
  void Close();

 private:
  friend int Authenticate(const std::string&, const std::string&, PamSession*);
  pam_handle_t* _handle = nullptr;
};

// pam_start("merel", user) with LoginConversation answering `password`, then
// pam_authenticate(PAM_SILENT) and, when that succeeded, pam_acct_mgmt
// (PAM_SILENT); pam_end with the last result, which is returned. With a
// `session` (closed before), a successful check goes on to
// pam_setcred(PAM_ESTABLISH_CRED) and pam_open_session, and the transaction
// stays open in `session`; a failure of either is the login's result.
int Authenticate(const std::string& user,
                 const std::string& password,
                 PamSession* session = nullptr);

// The session of the user logged in at the console; closed at the logout,
// and at the latest when the process exits.
PamSession& LoginSession();

// The password-change conversation. `appdata` is a PasswordChangeSecrets:
// the first echo-off prompt of the transaction (the authentication) is
// answered with the old password, the second and third (the new password
// and its repetition) with the new one; every other message gets an empty
// answer. A module that only reports may pass no answer array.
struct PasswordChangeSecrets {
  const char* oldPassword;
  const char* newPassword;
  int answered;  // echo-off prompts answered so far
};
int ChangeConversation(int numMsg,
                       const struct pam_message** msg,
                       struct pam_response** resp,
                       void* appdata);

// Changes `user`'s password through PAM: authenticate with the old one
// (an expired password is fine), the account check, pam_chauthtok, then
// pam_setcred(PAM_REFRESH_CRED). True only when all of it succeeded; on any
// failure the stack has not changed the password database. `pamStatus`
// receives the last PAM result.
bool ChangePassword(const std::string& user,
                    const std::string& oldPassword,
                    const std::string& newPassword,
                    int* pamStatus = nullptr);

}  // namespace Merel
