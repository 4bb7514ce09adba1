// Lockdown mode and the configuration reset, apart from their dialogs: each
// runs the logged-in user's management command or the host's tool, logs
// what happened and returns it; the dialogs only show it.
#pragma once

#include <functional>
#include <string>

namespace Merel {

struct LockdownChange {
  bool changed = false;
  std::string error;  // the management service's text when it refused
};

// Whether lockdown mode is on, as the management service says.
bool IsLockdownEnabled();

// Whether lockdown mode is on or could be turned on.
bool LockdownAvailable();

// Turns lockdown mode on or off as `user` and nobody else: a user the
// management service refuses must not get the change through the console's
// own account.
LockdownChange SetLockdown(const std::string& user, bool enabled);

// Logs and announces the reset, then (once `starting` has shown it) resets
// the host configuration; false when the reset tool could not be started.
// Its own verdict is not examined: the host restarts either way.
bool ResetConfiguration(const std::function<void()>& starting);

// The restart after a reset, at once; false when it could not be started
// (otherwise the host goes down and ends this process).
bool RestartAfterReset();

}  // namespace Merel
