/* A PAM module for the tests: account results pam_matrix cannot give.
 *
 *   account required /path/pam_merel_test.so state=DIR
 *
 * pam_sm_acct_mgmt reads DIR/<user>: "expired" gives PAM_NEW_AUTHTOK_REQD,
 * "denied" gives PAM_PERM_DENIED; anything else, or no file, PAM_SUCCESS.
 * In an auth stack it stays out of the way (PAM_IGNORE). */
#include <stdio.h>
#include <string.h>

#include <security/pam_modules.h>

PAM_EXTERN int pam_sm_acct_mgmt(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  (void)flags;
  const char* dir = NULL;
  for (int i = 0; i < argc; ++i) {
    if (strncmp(argv[i], "state=", 6) == 0)
      dir = argv[i] + 6;
  }
  const char* user = NULL;
  if (dir == NULL || pam_get_user(pamh, &user, NULL) != PAM_SUCCESS || user == NULL ||
      strchr(user, '/') != NULL) {
    return PAM_SUCCESS;
  }
  char path[4096];
  char state[32] = "";
  snprintf(path, sizeof path, "%s/%s", dir, user);
  FILE* file = fopen(path, "r");
  if (file == NULL)
    return PAM_SUCCESS;
  if (fscanf(file, "%31s", state) != 1)
    state[0] = '\0';
  fclose(file);
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
