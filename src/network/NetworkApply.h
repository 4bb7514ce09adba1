// Writing the network window's settings record to the host.
#pragma once

#include <functional>

#include "NexCtl/NexNic.h"
#include "NetworkSettings.h"

namespace Merel {

class Frame;

// One pass over the record in a fixed order: each group of settings is
// compared with what the host reports at that moment and only what differs
// is written. A failing step is logged and shown (in front of `owner`), and
// the pass goes on with the next one. `repaint` rebuilds the owner's view;
// it is called once the new IPv4 settings are on the interface.
void ApplyNetworkSettings(Frame* owner,
                          NetworkSettings& settings,
                          HostCtl::Network::NexNic& nic,
                          const std::function<void()>& repaint);

}  // namespace Merel
