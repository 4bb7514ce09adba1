#include "HostServices.h"

#include <pthread.h>
#include <syslog.h>

#include <cstdint>
#include <cstring>

#include "Command.h"
#include "HostCtl/HostCtlException.h"
#include "NexCtl/FirewallRuleset.h"
#include "NexCtl/NexCtlExec.h"
#include "NexCtl/SystemInfoImpl.h"
#include "Platform.h"

namespace Merel {

namespace {

void* GenerateMgmtdLiveCore(void*) {
  try {
    Platform::Syslog(LOG_INFO, "%s", "Executing nexbacktrace -c against mgmtd");
    const int status = NexCtl::Util::NexCtl_Exec(
        "/sbin/nexbacktrace -w -n mgmtd -o mgmtd-restart% -d /var/log/", false, true, false);
    if (status == 0) {
      NexCtl::System::SystemInfoImpl().SetSystemAlert("Mgmtd core dump completed");
    } else {
      Platform::Syslog(LOG_ERR, "nexbacktrace failed, probably mgmtd was down");
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "%s", e.what());
  }
  return nullptr;
}

void RunServices(const char* line) {
  try {
    NexCtl::Util::NexCtl_Exec(line, false, true, false);
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "%s", e.what());
  }
}

// The two services the troubleshooting window switches on and off.
struct Service {
  const char* script;
  const char* start;  // management commands
  const char* stop;
  const char* enable;
  const char* disable;
  const char* toolName;         // in the tool warnings
  const char* name;             // in the log line of the change
  const char* firewallRuleset;  // opened by the management command only
};
const Service kServices[] = {
    {"/etc/init.d/TarvikShell", "hostsvc/start_tarvik_shell", "hostsvc/stop_tarvik_shell",
     "hostsvc/enable_tarvik_shell", "hostsvc/disable_tarvik_shell", "Tarvik Shell", "Tarvik Shell",
     nullptr},
    {"/etc/init.d/SSH", "hostsvc/start_ssh", "hostsvc/stop_ssh", "hostsvc/enable_ssh",
     "hostsvc/disable_ssh", "ssh", "SSH", "sshServer"},
};

const Service& ServiceOf(HostService service) {
  return kServices[service == HostService::kShell ? 0 : 1];
}

bool RunManagement(const std::string& user, const char* command) {
  RoviCommand record{user, command, {}};
  char out[256];
  char err[256];
  size_t outSize = sizeof(out);
  size_t errSize = sizeof(err);
  return RunRoviCommand(record, out, &outSize, err, &errSize, nullptr, 0) == 0;
}

void UpdateFirewall(const char* rulesetId, bool enable) {
  try {
    auto ruleset = NexCtl::System::SystemInfoImpl().GetFirewallRulesetById(rulesetId);
    if (ruleset == nullptr) {
      return;
    }
    if (enable) {
      ruleset->Enable();
    } else {
      ruleset->Disable();
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_WARNING, "Failed to update firewall %s ruleset status: %s", rulesetId,
                     e.what());
  }
}

}  // namespace

void AnnounceAgentRestart() {
  Platform::Syslog(LOG_INFO, "%s", "Restarting host agents");
  PostObsv("obsv.user.merel.restarting.hostagents", "Restarting host agents");
}

bool StartLiveCoreCollection() {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  // Nothing ever joins it: it ends on its own, after the dialog is gone.
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread;
  const int error = pthread_create(&thread, &attributes, GenerateMgmtdLiveCore, nullptr);
  pthread_attr_destroy(&attributes);
  if (error != 0) {
    Platform::Syslog(LOG_ERR, "failed to create live core generation thread: %s",
                     strerror(error));
    return false;
  }
  return true;
}

void StopAgents() {
  RunServices("/bin/sh /sbin/services.sh stop");
}

void StartAgents() {
  RunServices("/bin/sh /sbin/services.sh start");
}

bool ServiceRunning(HostService service) {
  return RunServiceScript(ServiceOf(service).script, "status") == 0;
}

std::string SwitchService(const std::string& user, HostService which, bool on) {
  const Service& service = ServiceOf(which);
  if (!RunManagement(user, on ? service.start : service.stop)) {
    Platform::Syslog(LOG_WARNING, "Unable to run rovi-cmd to start/stop %s", service.toolName);
    RunServiceScript(service.script, on ? "start" : "stop");
    // The management command opens and closes the firewall itself; the
    // script does not.
    if (service.firewallRuleset != nullptr) {
      UpdateFirewall(service.firewallRuleset, on);
    }
  }
  // Makes the state last across reboots; the script has no such step.
  if (!RunManagement(user, on ? service.enable : service.disable)) {
    Platform::Syslog(LOG_WARNING, "Unable to run rovi-cmd to enable/disable %s", service.toolName);
  }
  Platform::Syslog(LOG_INFO, "%s",
                   ("User " + user + (on ? " enabled " : " disabled ") + service.name).c_str());
  try {
    Platform::ServiceSwitched(which, on);
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_WARNING, "Applying the availability timeout to %s failed: %s",
                     service.name, e.what());
    return e.what();
  }
  return "";
}

}  // namespace Merel
