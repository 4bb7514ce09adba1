/* The simulated host's account module: the account states pam_matrix
 * cannot give. merel-sim init puts it in the host's PAM service after
 * pam_matrix:
 *
 *   account required /path/pam_merel_sim.so state=DIR
 *   password required /path/pam_merel_sim.so state=DIR
 *
 * DIR/<user> holds one word for the account. pam_sm_acct_mgmt: "expired"
 * gives PAM_NEW_AUTHTOK_REQD, "denied" gives PAM_PERM_DENIED; anything else,
 * or no file, PAM_SUCCESS. In an auth stack it stays out of the way
 * (PAM_IGNORE).
 *
 * pam_sm_chauthtok, in the preliminary pass (before any module has written
 * a password): "authtok" refuses every new password with PAM_AUTHTOK_ERR,
 * as strict quality rules would; "conv" asks the application's conversation
 * a malformed question (no messages) and fails with what it answers. In the
 * update pass the user's word goes: a new password ends an expiry. */
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <security/pam_modules.h>

/* The user's state word into `state` (empty when none); its file's path
 * into `path`. 0 when the module has no state directory or user. */
static int ReadState(pam_handle_t* pamh, int argc, const char** argv, char* path, size_t size,
                     char state[32]) {
  const char* dir = NULL;
  for (int i = 0; i < argc; ++i) {
    if (strncmp(argv[i], "state=", 6) == 0)
      dir = argv[i] + 6;
  }
  const char* user = NULL;
  if (dir == NULL || pam_get_user(pamh, &user, NULL) != PAM_SUCCESS || user == NULL ||
      strchr(user, '/') != NULL) {
    return 0;
  }
  state[0] = '\0';
  snprintf(path, size, "%s/%s", dir, user);
  FILE* file = fopen(path, "r");
  if (file != NULL) {
    if (fscanf(file, "%31s", state) != 1)
      state[0] = '\0';
    fclose(file);
  }
  return 1;
}

PAM_EXTERN int pam_sm_acct_mgmt(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  (void)flags;
  char path[4096];
  char state[32];
  if (!ReadState(pamh, argc, argv, path, sizeof path, state))
    return PAM_SUCCESS;
  if (strcmp(state, "expired") == 0)
    return PAM_NEW_AUTHTOK_REQD;
  if (strcmp(state, "denied") == 0)
    return PAM_PERM_DENIED;
  return PAM_SUCCESS;
}

PAM_EXTERN int pam_sm_authenticate(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  (void)pamh, (void)flags, (void)argc, (void)argv;
  return PAM_IGNORE;
}

PAM_EXTERN int pam_sm_setcred(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  (void)pamh, (void)flags, (void)argc, (void)argv;
  return PAM_IGNORE;
}

PAM_EXTERN int pam_sm_chauthtok(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  char path[4096];
  char state[32];
  if (!ReadState(pamh, argc, argv, path, sizeof path, state))
    return PAM_IGNORE;
  if (flags & PAM_PRELIM_CHECK) {
    if (strcmp(state, "authtok") == 0)
      return PAM_AUTHTOK_ERR;
    if (strcmp(state, "conv") == 0) {
      const struct pam_conv* conv = NULL;
      if (pam_get_item(pamh, PAM_CONV, (const void**)&conv) != PAM_SUCCESS || conv == NULL)
        return PAM_CONV_ERR;
      struct pam_response* resp = NULL;
      int result = conv->conv(0, NULL, &resp, conv->appdata_ptr);
      return result == PAM_SUCCESS ? PAM_SUCCESS : PAM_CONV_ERR;
    }
    return PAM_SUCCESS;
  }
  if (flags & PAM_UPDATE_AUTHTOK)
    unlink(path);
  return PAM_SUCCESS;
}
