// The module behind LinuxServices.h: the journal, audit and libvirt calls of
// the Linux host, and the table the console finds them through.
#include "backends/LinuxServices.h"

#include <libaudit.h>
#include <syslog.h>
#include <unistd.h>

#include <systemd/sd-journal.h>

#include "backends/LinuxVms.h"

namespace Platform::Linux {

namespace {

void JournalEvent(const std::string& message, const std::string& id) {
  sd_journal_send("MESSAGE=%s", message.c_str(), "MEREL_EVENT_ID=%s", id.c_str(), "PRIORITY=%i",
                  LOG_INFO, "SYSLOG_IDENTIFIER=MEREL", nullptr);
}

bool AuditAccount(const std::string& record, const std::string& user, bool success) {
  const int type = record == "login.connect"      ? AUDIT_USER_LOGIN
                   : record == "login.disconnect" ? AUDIT_USER_LOGOUT
                                                  : AUDIT_USER_ACCT;
  const int fd = audit_open();
  if (fd < 0)
    return false;
  // A kernel whose audit subsystem is off takes the record and drops it:
  // only one that keeps it is "where audit runs".
  if (audit_is_enabled(fd) <= 0) {
    audit_close(fd);
    return false;
  }
  char tty[64] = {};
  if (ttyname_r(STDIN_FILENO, tty, sizeof(tty)) != 0)
    tty[0] = '\0';
  const int sent = audit_log_acct_message(fd, type, nullptr, record.c_str(), user.c_str(),
                                          static_cast<unsigned int>(-1), nullptr, nullptr,
                                          tty[0] ? tty : nullptr, success ? 1 : 0);
  audit_close(fd);
  return sent > 0;
}

const Services kServices = {StopVirtualMachines, RunningVirtualMachines, JournalEvent,
                            AuditAccount};

}  // namespace

}  // namespace Platform::Linux

extern "C" const Platform::Linux::Services* merel_linux_services() {
  return &Platform::Linux::kServices;
}
