// Writing the network window's settings record to the host.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "NexCtl/NexNic.h"
#include "NetworkSettings.h"

namespace Merel {

// What the pass reports while it runs, so that its caller can show it at the
// moment it happens (the later steps wait for that).
struct NetworkApplyProgress {
  // A step failed: the text says which and why ("Setting DNS failed: ...").
  std::function<void(const std::string& failure)> failed;
  // The new IPv4 settings are on the interface.
  std::function<void()> addressChanged;
};

struct NetworkApplyResult {
  // Every failed step's text, in the order they failed.
  std::vector<std::string> failures;
  // IPv6 was switched on or off: the kernel takes that only when it boots.
  bool restartNeeded = false;
};

// One pass over the record in a fixed order: each group of settings is
// compared with what the host reports at that moment and only what differs
// is written. A failing step is logged and reported, and the pass goes on
// with the next one. The caller restarts the host when asked to (the user
// already agreed), and only then calls FinishNetworkApply.
NetworkApplyResult ApplyNetworkSettings(NetworkSettings& settings,
                                        HostCtl::Network::NexNic& nic,
                                        const NetworkApplyProgress& progress = {});

// The management agents read the new network. Last, after a restart that
// could not be started: a host on its way down needs no refresh. As `user`.
void FinishNetworkApply(const std::string& user);

}  // namespace Merel
