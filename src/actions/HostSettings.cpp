#include "HostSettings.h"

#include <syslog.h>

#include "Command.h"
#include "Platform.h"

namespace Merel {

namespace {

constexpr size_t kCaptureSize = 255;

}  // namespace

bool IsLockdownEnabled() {
  return RoviQueryBool("rovisvc/auth/lockdown_is_enabled");
}

bool LockdownAvailable() {
  return IsLockdownEnabled() || RoviQueryBool("rovisvc/auth/lockdown_is_possible");
}

LockdownChange SetLockdown(const std::string& user, bool enabled) {
  const RoviCommand record{
      user, enabled ? "rovisvc/auth/lockdown_mode_enter" : "rovisvc/auth/lockdown_mode_exit", {}};
  char out[kCaptureSize + 1] = {};
  char err[kCaptureSize + 1] = {};
  size_t outSize = kCaptureSize;
  size_t errSize = kCaptureSize;
  LockdownChange change;
  if (RunRoviOnce(record, out, &outSize, err, &errSize, nullptr, 0) == 0) {
    Platform::Syslog(LOG_INFO, enabled ? "Lockdown mode enabled" : "Lockdown mode disabled");
    change.changed = true;
    return change;
  }
  change.error.assign(err, errSize);
  while (!change.error.empty() && change.error.back() == '\n') {
    change.error.pop_back();
  }
  Platform::Syslog(LOG_ERR,
                   enabled ? "Enabling lockdown mode failed with error: %s"
                           : "Disabling lockdown mode failed with error: %s",
                   change.error.c_str());
  return change;
}

bool ResetConfiguration(const std::function<void()>& starting) {
  Platform::Syslog(LOG_INFO, "%s", "Restoring factory defaults");
  PostObsv("obsv.user.merel.restore.factory.defaults", "Restoring factory defaults");
  starting();
  return Platform::System("/sbin/configReset.sh --reset-only > /dev/null 2>&1") != -1;
}

bool RestartAfterReset() {
  return Platform::System("reboot -f") != -1;
}

}  // namespace Merel
