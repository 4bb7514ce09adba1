// The two network operations of the restore and troubleshooting windows that
// show their steps while they run: the factory restore of the host network
// and the restart of the management interface. Each reports a step as it
// begins or ends, so that the caller can have it on screen meanwhile (a
// power-off may take minutes, a stopped interface a while).
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "HostCtl/Ipv6Network.h"
#include "NexCtl/NexNic.h"

namespace Merel {

enum class FactoryRestoreStep {
  kPoweringOff,  // the running virtual machines are being powered off
  kPoweredOff,   // ... and they are
  kConfiguring,  // the network configuration is cleared and built anew
  kConfigured,   // ... and it is
  kFailed,       // the step under way failed; nothing more is done
};

enum class FactoryRestoreOutcome {
  kCancelled,       // machines were running and the caller would not stop them
  kRestored,
  kMachinesRunning, // they would not stop: their network was left alone
  kFailed,          // a host call failed (logged)
};

// Powers off running virtual machines (when `agreeToPowerOff` says so: a
// host that cannot say whether any run is not restored either), turns off
// the network dump target, clears the network configuration and lets the
// host build its default one.
FactoryRestoreOutcome RestoreFactoryNetwork(
    const std::function<bool()>& agreeToPowerOff,
    const std::function<void(FactoryRestoreStep)>& progress);

struct InterfaceRestart {
  bool useDhcp = false;  // as read before the restart
  // The static IPv4 address afterwards; empty with DHCP (a lease is not
  // awaited).
  std::string ipv4Address;
  std::vector<HostCtl::Network::Ipv6Network> ipv6Networks;
};

// Stops and starts the management interface `nic`, logging and posting the
// event first; `stopping` runs before it goes down, `stopped` once it is.
InterfaceRestart RestartManagementInterface(HostCtl::Network::NexNic& nic,
                                            const std::function<void()>& stopping,
                                            const std::function<void()>& stopped);

}  // namespace Merel
