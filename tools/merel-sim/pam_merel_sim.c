/* The simulated host's account module. merel-sim init makes it the host's
 * whole PAM service:
 *
 *   auth required /path/pam_merel_sim.so passdb=FILE
 *   account required /path/pam_merel_sim.so passdb=FILE state=DIR
 *   password required /path/pam_merel_sim.so passdb=FILE state=DIR
 *   session required /path/pam_merel_sim.so sessions=LOG
 *
 * FILE holds one line per account, "user:password:service", each field
 * with '%', ':', CR and LF written as %25, %3A, %0D and %0A (any other byte,
 * UTF-8 included, as it is), so that any password a user can type fits in
 * a field. merel-sim writes the same format (Platform::WriteAccounts). A '%'
 * followed by anything but two hex digits reads as itself. The module checks
 * the password typed at authentication, refuses accounts the file does not
 * know, and writes a changed password back (DurableFile.h: the file is
 * always whole, the old one or the new one).
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
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <security/pam_ext.h>
#include <security/pam_modules.h>

#include "DurableFile.h"

static const char* Option(int argc, const char** argv, const char* name) {
  size_t length = strlen(name);
  for (int i = 0; i < argc; ++i) {
    if (strncmp(argv[i], name, length) == 0 && argv[i][length] == '=')
      return argv[i] + length + 1;
  }
  return NULL;
}

static int HexValue(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  if (c >= 'A' && c <= 'F')
    return c - 'A' + 10;
  return -1;
}

/* The field [begin, end) decoded into a new string (NULL when out of memory). */
static char* DecodeField(const char* begin, const char* end) {
  char* out = malloc((size_t)(end - begin) + 1);
  if (out == NULL)
    return NULL;
  size_t n = 0;
  for (const char* p = begin; p < end; ++p) {
    if (*p == '%' && end - p >= 3 && HexValue(p[1]) >= 0 && HexValue(p[2]) >= 0) {
      out[n++] = (char)(HexValue(p[1]) * 16 + HexValue(p[2]));
      p += 2;
    } else {
      out[n++] = *p;
    }
  }
  out[n] = '\0';
  return out;
}

/* Appends `text` encoded to `out` (which has room for 3 bytes per byte). */
static void EncodeField(const char* text, char* out) {
  out += strlen(out);
  for (const unsigned char* p = (const unsigned char*)text; *p != '\0'; ++p) {
    if (*p == '%' || *p == ':' || *p == '\n' || *p == '\r') {
      sprintf(out, "%%%02X", *p);
      out += 3;
    } else {
      *out++ = (char)*p;
    }
  }
  *out = '\0';
}

/* The whole file into a new string; NULL with errno set. */
static char* ReadAll(const char* path) {
  FILE* file = fopen(path, "re");
  if (file == NULL)
    return NULL;
  size_t size = 0, room = 4096;
  char* text = malloc(room);
  while (text != NULL) {
    size_t n = fread(text + size, 1, room - size - 1, file);
    size += n;
    if (size < room - 1)
      break;
    room *= 2;
    char* bigger = realloc(text, room);
    if (bigger == NULL)
      free(text);
    text = bigger;
  }
  if (text != NULL)
    text[size] = '\0';
  fclose(file);
  return text;
}

/* Finds the line of `user` for `service` (for any service when NULL) in
 * `text`: its start and end, and where its password field lies. 1 when
 * found. */
static int FindAccount(const char* text, const char* user, const char* service,
                       const char** lineBegin, const char** lineEnd,
                       const char** passBegin, const char** passEnd) {
  for (const char* line = text; *line != '\0';) {
    const char* end = strchr(line, '\n');
    if (end == NULL)
      end = line + strlen(line);
    const char* first = memchr(line, ':', (size_t)(end - line));
    const char* second = first ? memchr(first + 1, ':', (size_t)(end - first - 1)) : NULL;
    if (second != NULL) {
      char* name = DecodeField(line, first);
      char* serv = DecodeField(second + 1, end);
      int match = name && serv && strcmp(name, user) == 0 &&
                  (service == NULL || strcmp(serv, service) == 0);
      free(name);
      free(serv);
      if (match) {
        *lineBegin = line;
        *lineEnd = end;
        *passBegin = first + 1;
        *passEnd = second;
        return 1;
      }
    }
    line = *end == '\n' ? end + 1 : end;
  }
  return 0;
}

/* The user and service of the transaction; PAM_SUCCESS when both are known. */
static int Names(pam_handle_t* pamh, const char** user, const char** service) {
  if (pam_get_user(pamh, user, NULL) != PAM_SUCCESS || *user == NULL || **user == '\0')
    return PAM_USER_UNKNOWN;
  const void* item = NULL;
  if (pam_get_item(pamh, PAM_SERVICE, &item) != PAM_SUCCESS || item == NULL)
    return PAM_SERVICE_ERR;
  *service = item;
  return PAM_SUCCESS;
}

/* With `password`: PAM_SUCCESS when the database holds that password for
 * the user (for any service, as pam_matrix does). Without: PAM_SUCCESS when
 * the user may use this service, PAM_PERM_DENIED when only others. */
static int CheckAccount(pam_handle_t* pamh, const char* passdb, const char* password) {
  const char* user;
  const char* service;
  int rc = Names(pamh, &user, &service);
  if (rc != PAM_SUCCESS)
    return rc;
  char* text = ReadAll(passdb);
  if (text == NULL)
    return PAM_AUTHINFO_UNAVAIL;
  const char *lineBegin, *lineEnd, *passBegin, *passEnd;
  rc = PAM_USER_UNKNOWN;
  if (password == NULL && !FindAccount(text, user, service, &lineBegin, &lineEnd, &passBegin,
                                       &passEnd)) {
    if (FindAccount(text, user, NULL, &lineBegin, &lineEnd, &passBegin, &passEnd))
      rc = PAM_PERM_DENIED;
  } else if (FindAccount(text, user, password == NULL ? service : NULL, &lineBegin, &lineEnd,
                         &passBegin, &passEnd)) {
    rc = PAM_SUCCESS;
    if (password != NULL) {
      char* stored = DecodeField(passBegin, passEnd);
      rc = stored != NULL && strcmp(stored, password) == 0 ? PAM_SUCCESS : PAM_AUTH_ERR;
      if (stored != NULL) {
        explicit_bzero(stored, strlen(stored));
        free(stored);
      }
    }
  }
  explicit_bzero(text, strlen(text));
  free(text);
  return rc;
}

/* Writes `password` as the user's new one. */
static int StorePassword(pam_handle_t* pamh, const char* passdb, const char* password) {
  const char* user;
  const char* service;
  int rc = Names(pamh, &user, &service);
  if (rc != PAM_SUCCESS)
    return rc;
  char* text = ReadAll(passdb);
  if (text == NULL)
    return PAM_AUTHINFO_UNAVAIL;
  const char *lineBegin, *lineEnd, *passBegin, *passEnd;
  if (!FindAccount(text, user, service, &lineBegin, &lineEnd, &passBegin, &passEnd)) {
    free(text);
    return PAM_USER_UNKNOWN;
  }
  size_t size = strlen(text);
  size_t room = size + 3 * strlen(password) + 1;
  char* updated = malloc(room);
  rc = PAM_BUF_ERR;
  if (updated != NULL) {
    memcpy(updated, text, (size_t)(passBegin - text));
    updated[passBegin - text] = '\0';
    EncodeField(password, updated);
    strcat(updated, passEnd);
    rc = merel_write_file(passdb, updated, strlen(updated), 0600) == 0 ? PAM_SUCCESS
                                                                        : PAM_AUTHTOK_ERR;
    explicit_bzero(updated, room);
    free(updated);
  }
  explicit_bzero(text, size);
  free(text);
  return rc;
}

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
  const char* passdb = Option(argc, argv, "passdb");
  if (passdb != NULL) {
    int known = CheckAccount(pamh, passdb, NULL);
    if (known != PAM_SUCCESS)
      return known;
  }
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
  (void)flags;
  const char* passdb = Option(argc, argv, "passdb");
  if (passdb == NULL)
    return PAM_IGNORE;
  const char* password = NULL;
  int rc = pam_get_authtok(pamh, PAM_AUTHTOK, &password, NULL);
  if (rc != PAM_SUCCESS)
    return rc;
  rc = CheckAccount(pamh, passdb, password != NULL ? password : "");
  return rc == PAM_USER_UNKNOWN ? PAM_AUTH_ERR : rc;
}

/* No credentials to set; with the password database the module is the
 * whole stack, and a stack that only ignores fails. */
PAM_EXTERN int pam_sm_setcred(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  (void)pamh, (void)flags;
  return Option(argc, argv, "passdb") != NULL ? PAM_SUCCESS : PAM_IGNORE;
}

/* The new password, asked twice; PAM_AUTHTOK_ERR when the answers differ. */
static int AskNewPassword(pam_handle_t* pamh, char** password) {
  char* again = NULL;
  *password = NULL;
  int rc = pam_prompt(pamh, PAM_PROMPT_ECHO_OFF, password, "New password: ");
  if (rc == PAM_SUCCESS)
    rc = pam_prompt(pamh, PAM_PROMPT_ECHO_OFF, &again, "Retype new password: ");
  if (rc == PAM_SUCCESS && (*password == NULL || again == NULL || strcmp(*password, again) != 0))
    rc = PAM_AUTHTOK_ERR;
  if (again != NULL) {
    explicit_bzero(again, strlen(again));
    free(again);
  }
  if (rc != PAM_SUCCESS && *password != NULL) {
    explicit_bzero(*password, strlen(*password));
    free(*password);
    *password = NULL;
  }
  return rc;
}

/* The password pass with a password database: the account must be known
 * first, and the update writes the new password. */
static int ChangeStored(pam_handle_t* pamh, int flags, const char* passdb) {
  if (flags & PAM_PRELIM_CHECK)
    return CheckAccount(pamh, passdb, NULL);
  if (!(flags & PAM_UPDATE_AUTHTOK))
    return PAM_SUCCESS;
  char* password = NULL;
  int rc = AskNewPassword(pamh, &password);
  if (rc != PAM_SUCCESS)
    return rc;
  rc = StorePassword(pamh, passdb, password);
  if (rc == PAM_SUCCESS)
    pam_set_item(pamh, PAM_AUTHTOK, password);
  explicit_bzero(password, strlen(password));
  free(password);
  return rc;
}

PAM_EXTERN int pam_sm_chauthtok(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  char path[4096];
  char state[32];
  const char* passdb = Option(argc, argv, "passdb");
  if (!ReadState(pamh, argc, argv, path, sizeof path, state)) {
    return passdb != NULL ? ChangeStored(pamh, flags, passdb) : PAM_IGNORE;
  }
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
    return passdb != NULL ? ChangeStored(pamh, flags, passdb) : PAM_SUCCESS;
  }
  if (passdb != NULL) {
    int rc = ChangeStored(pamh, flags, passdb);
    if (rc != PAM_SUCCESS)
      return rc;
  }
  /* A new password ends an expiry. */
  if (flags & PAM_UPDATE_AUTHTOK) {
    unlink(path);
    merel_sync_parent(path);
  }
  return PAM_SUCCESS;
}

/* The session stack: "open USER" and "close USER" lines appended to the
 * file of the `sessions` option, so that a test can see a login's session
 * framed by the logout. Without the option the module accepts and keeps
 * nothing. */
static int RecordSession(pam_handle_t* pamh, int argc, const char** argv, const char* what) {
  const char* log = Option(argc, argv, "sessions");
  if (log == NULL)
    return PAM_SUCCESS;
  const char* user = NULL;
  if (pam_get_item(pamh, PAM_USER, (const void**)&user) != PAM_SUCCESS || user == NULL)
    return PAM_SESSION_ERR;
  char* before = ReadAll(log);
  const size_t kept = before != NULL ? strlen(before) : 0;
  const size_t size = kept + strlen(what) + strlen(user) + 3;
  char* text = malloc(size);
  int rc = PAM_BUF_ERR;
  if (text != NULL) {
    snprintf(text, size, "%s%s %s\n", before != NULL ? before : "", what, user);
    rc = merel_write_file(log, text, strlen(text), 0644) == 0 ? PAM_SUCCESS : PAM_SESSION_ERR;
  }
  free(text);
  free(before);
  return rc;
}

PAM_EXTERN int pam_sm_open_session(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  (void)flags;
  return RecordSession(pamh, argc, argv, "open");
}

PAM_EXTERN int pam_sm_close_session(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  (void)flags;
  return RecordSession(pamh, argc, argv, "close");
}
