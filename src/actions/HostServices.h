// The host's services as the troubleshooting screens change them: the
// management agents' restart (one step at a time, so that a dialog can show
// each while it runs) and the local shell and SSH switched on and off as the
// logged-in user. Each logs what happened; the screens only show it.
#pragma once

#include <string>

#include "Platform.h"

namespace Merel {

// Logs and announces the restart of the management agents.
void AnnounceAgentRestart();

// Starts collecting a live core of the management daemon in the background
// (it outlasts the restart, and nobody waits for it); false when it could
// not be started.
bool StartLiveCoreCollection();

// The agents' service script, stopping or starting all of them. Its result
// is not examined: a half-stopped agent is restarted by the start step
// anyway, and the user can only try again.
void StopAgents();
void StartAgents();

using HostService = Platform::HostService;

// Whether the service runs now.
bool ServiceRunning(HostService service);

// Starts or stops the service for good (also after a reboot) as `user`,
// with the service's own script where the management command fails, and has
// the host apply the availability time-out to the change. "" when that was
// done, else why the time-out could not be applied (logged): the service
// itself has been switched all the same.
std::string SwitchService(const std::string& user, HostService service, bool on);

}  // namespace Merel
