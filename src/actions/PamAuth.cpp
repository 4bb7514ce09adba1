// PAM for the console login. The password is handed to the conversation as
// application data rather than kept in a global, so two transactions can
// never see each other's secret.
#include "PamAuth.h"

#include <cstdlib>
#include <cctype>
#include <cstring>
#include <string>

#include <unistd.h>

namespace Merel {

const char* const MEREL_APP = "merel";

int LoginConversation(int numMsg,
                      const struct pam_message** msg,
                      struct pam_response** resp,
                      void* appdata) {
  if (numMsg <= 0 || numMsg > PAM_MAX_NUM_MSG || msg == nullptr) {
    return PAM_CONV_ERR;
  }
  bool needsAnswer = false;
  bool answerable = true;
  for (int i = 0; i < numMsg; ++i) {
    if (msg[i] == nullptr) {
      return PAM_CONV_ERR;
    }
    switch (msg[i]->msg_style) {
      case PAM_PROMPT_ECHO_OFF:
      case PAM_PROMPT_ECHO_ON:
        needsAnswer = true;
        break;
      case PAM_ERROR_MSG:
      case PAM_TEXT_INFO:
        break;
      default:
        // A binary or unknown request cannot be answered by a password.
        answerable = false;
        break;
    }
  }
  if (resp == nullptr) {
    // Modules that only report (an error or a notice) may pass no answer
    // array at all; the console has nowhere to show such text at this point.
    return needsAnswer ? PAM_CONV_ERR : PAM_SUCCESS;
  }
  *resp = nullptr;
  if (!answerable || (needsAnswer && appdata == nullptr)) {
    return PAM_CONV_ERR;
  }

  auto* replies = static_cast<struct pam_response*>(calloc(numMsg, sizeof(struct pam_response)));
  if (replies == nullptr) {
    return PAM_BUF_ERR;
  }
  const char* secret = static_cast<const char*>(appdata);
  for (int i = 0; i < numMsg; ++i) {
    const int style = msg[i]->msg_style;
    if (style != PAM_PROMPT_ECHO_OFF && style != PAM_PROMPT_ECHO_ON) {
      continue;  // error and information messages get no answer
    }
    replies[i].resp = strdup(secret);
    if (replies[i].resp == nullptr) {
      for (int j = 0; j < i; ++j) {
        free(replies[j].resp);
      }
      free(replies);
      return PAM_BUF_ERR;
    }
  }
  *resp = replies;
  return PAM_SUCCESS;
}

int Authenticate(const std::string& user, const std::string& password, PamSession* session) {
  if (session != nullptr) {
    session->Close();
  }
  char* secret = strdup(password.c_str());
  if (secret == nullptr) {
    return PAM_BUF_ERR;
  }
  const struct pam_conv conversation = {LoginConversation, secret};
  pam_handle_t* handle = nullptr;
  int result = pam_start(MEREL_APP, user.c_str(), &conversation, &handle);
  if (result == PAM_SUCCESS) {
    // Session modules name the terminal in their records.
    const char* tty = ttyname(STDIN_FILENO);
    if (tty != nullptr) {
      pam_set_item(handle, PAM_TTY, tty);
    }
    result = pam_authenticate(handle, PAM_SILENT);
    if (result == PAM_SUCCESS) {
      result = pam_acct_mgmt(handle, PAM_SILENT);
    }
    bool keep = false;
    if (result == PAM_SUCCESS && session != nullptr) {
      // The password is wiped below, but the transaction lives on: from here
      // the conversation answers no prompt, and notices go nowhere.
      const struct pam_conv quiet = {LoginConversation, nullptr};
      pam_set_item(handle, PAM_CONV, &quiet);
      result = pam_setcred(handle, PAM_ESTABLISH_CRED | PAM_SILENT);
      if (result == PAM_SUCCESS) {
        result = pam_open_session(handle, PAM_SILENT);
        if (result != PAM_SUCCESS) {
          pam_setcred(handle, PAM_DELETE_CRED | PAM_SILENT);
        }
      }
      keep = result == PAM_SUCCESS;
    }
    if (keep) {
      session->_handle = handle;
    } else {
      pam_end(handle, result);
    }
  }
  // The copy is wiped before it goes back to the allocator.
  explicit_bzero(secret, strlen(secret));
  free(secret);
  return result;
}

void PamSession::Close() {
  if (_handle == nullptr) {
    return;
  }
  pam_handle_t* handle = _handle;
  _handle = nullptr;
  int result = pam_close_session(handle, PAM_SILENT);
  const int cred = pam_setcred(handle, PAM_DELETE_CRED | PAM_SILENT);
  pam_end(handle, result == PAM_SUCCESS ? cred : result);
}

PamSession& LoginSession() {
  // A static: an exit in the middle of a session (a restart request, a
  // resize, a termination signal) still closes it on the way out.
  static PamSession session;
  return session;
}

namespace {

// Most password modules ask again for the current password when the change
// itself starts (unless the caller is root), after the authentication has
// already asked for it: such a prompt gets the old password and does not
// count as one of the new-password prompts.
bool AsksForCurrentPassword(const char* prompt) {
  if (prompt == nullptr) {
    return false;
  }
  std::string text;
  for (const char* c = prompt; *c != '\0'; ++c) {
    text += static_cast<char>(tolower(static_cast<unsigned char>(*c)));
  }
  return text.find("old") != std::string::npos || text.find("current") != std::string::npos;
}

}  // namespace

int ChangeConversation(int numMsg,
                       const struct pam_message** msg,
                       struct pam_response** resp,
                       void* appdata) {
  auto* secrets = static_cast<PasswordChangeSecrets*>(appdata);
  if (numMsg <= 0 || numMsg > PAM_MAX_NUM_MSG || msg == nullptr || secrets == nullptr) {
    return PAM_CONV_ERR;
  }
  bool needsAnswer = false;
  for (int i = 0; i < numMsg; ++i) {
    if (msg[i] == nullptr) {
      return PAM_CONV_ERR;
    }
    const int style = msg[i]->msg_style;
    needsAnswer = needsAnswer || style == PAM_PROMPT_ECHO_OFF || style == PAM_PROMPT_ECHO_ON;
  }
  if (resp == nullptr) {
    return needsAnswer ? PAM_CONV_ERR : PAM_SUCCESS;
  }
  *resp = nullptr;
  auto* replies = static_cast<struct pam_response*>(calloc(numMsg, sizeof(struct pam_response)));
  if (replies == nullptr) {
    return PAM_BUF_ERR;
  }
  for (int i = 0; i < numMsg; ++i) {
    const char* answer = "";
    if (msg[i]->msg_style == PAM_PROMPT_ECHO_OFF) {
      if (AsksForCurrentPassword(msg[i]->msg)) {
        answer = secrets->oldPassword;
      } else {
        const int n = ++secrets->answered;
        answer = n == 1 ? secrets->oldPassword : n <= 3 ? secrets->newPassword : "";
      }
    }
    replies[i].resp = strdup(answer);
    if (replies[i].resp == nullptr) {
      for (int j = 0; j < i; ++j) {
        explicit_bzero(replies[j].resp, strlen(replies[j].resp));
        free(replies[j].resp);
      }
      free(replies);
      return PAM_BUF_ERR;
    }
  }
  *resp = replies;
  return PAM_SUCCESS;
}

bool ChangePassword(const std::string& user,
                    const std::string& oldPassword,
                    const std::string& newPassword,
                    int* pamStatus) {
  // The conversation reads the caller's buffers directly: no further copy
  // of either password is made here, so none is left behind to wipe.
  PasswordChangeSecrets secrets{oldPassword.c_str(), newPassword.c_str(), 0};
  const struct pam_conv conversation = {ChangeConversation, &secrets};
  pam_handle_t* handle = nullptr;
  int result = pam_start(MEREL_APP, user.c_str(), &conversation, &handle);
  bool changed = false;
  if (result == PAM_SUCCESS) {
    result = pam_authenticate(handle, PAM_SILENT);
    if (result == PAM_SUCCESS || result == PAM_NEW_AUTHTOK_REQD) {
      result = pam_acct_mgmt(handle, PAM_SILENT);
      if (result == PAM_SUCCESS || result == PAM_NEW_AUTHTOK_REQD) {
        result = pam_chauthtok(handle, PAM_SILENT);
        if (result == PAM_SUCCESS) {
          result = pam_setcred(handle, PAM_REFRESH_CRED);
          changed = result == PAM_SUCCESS;
        }
      }
    }
    pam_end(handle, result);
  }
  if (pamStatus != nullptr) {
    *pamStatus = result;
  }
  return changed;
}

}  // namespace Merel
