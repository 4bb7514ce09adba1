#include "NetworkRestore.h"

#include <syslog.h>

#include "Command.h"
#include "HostCtl/HostCtlException.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/ResourceInfoImpl.h"
#include "Platform.h"
#include "PowerOffVms.h"

namespace Merel {

namespace {

// Not the shut-down tool: this one leaves the host up.
const char* const kPowerOffTool = "/sbin/powerOffVms";

}  // namespace

FactoryRestoreOutcome RestoreFactoryNetwork(
    const std::function<bool()>& agreeToPowerOff,
    const std::function<void(FactoryRestoreStep)>& progress) {
  try {
    int powerOffStatus = 0;
    if (NexCtl::Resource::ResourceInfoImpl().HasRunningVirtualMachines()) {
      if (!agreeToPowerOff()) {
        return FactoryRestoreOutcome::kCancelled;
      }
      progress(FactoryRestoreStep::kPoweringOff);
      powerOffStatus = PowerOffVms(kPowerOffTool, false);
      if (powerOffStatus == 0) {
        progress(FactoryRestoreStep::kPoweredOff);
      }
    }
    NexCtl::Network::NetworkInfoImpl network;
    // A dump target on the old network would point nowhere afterwards; it
    // goes even when the network itself is left alone.
    network.DisableNetDumper();
    if (powerOffStatus != 0) {
      // Machines still running keep their network.
      progress(FactoryRestoreStep::kFailed);
      Platform::Syslog(LOG_ERR, "%s", "Error powering off VMs");
      return FactoryRestoreOutcome::kMachinesRunning;
    }
    progress(FactoryRestoreStep::kConfiguring);
    Platform::Syslog(LOG_INFO, "%s", "Clearing Network Config");
    network.ClearNetworkConfig();
    Platform::Syslog(LOG_INFO, "%s", "Auto-Configuring Network");
    network.AutoConfigNetwork();
    progress(FactoryRestoreStep::kConfigured);
    return FactoryRestoreOutcome::kRestored;
  } catch (const HostCtl::Lib::HostCtlException&) {
    progress(FactoryRestoreStep::kFailed);
    Platform::Syslog(LOG_ERR, "%s", "Error auto-configuring network");
    return FactoryRestoreOutcome::kFailed;
  }
}

InterfaceRestart RestartManagementInterface(HostCtl::Network::NexNic& nic,
                                            const std::function<void()>& stopping,
                                            const std::function<void()>& stopped) {
  InterfaceRestart result;
  // Read before anything stops: a stopped interface reports no address.
  result.useDhcp = nic.GetIpConfig().GetUseDhcp();
  Platform::Syslog(LOG_INFO, "%s", ("Restarting " + nic.GetName() + "\n").c_str());
  PostObsv("obsv.user.merel.network.restart", "Restarting " + nic.GetName());
  stopping();
  nic.Disable();
  nic.Refresh();
  stopped();
  nic.Enable();
  if (!result.useDhcp) {
    result.ipv4Address = nic.GetIpConfig().GetIpv4Address().GetStringAddress();
  }
  result.ipv6Networks = nic.GetIpConfig().GetIpv6Network();
  return result;
}

}  // namespace Merel
