// Moving the management network onto a new standard switch of its own: the
// management interface and the uplinks of its connection move there, and
// every other kernel interface is disabled, so that nothing but the
// management network competes for the adapters that reach the host. The
// move is all or nothing: a failure puts back what had moved.
#pragma once

#include <string>

namespace Merel {

struct StandardSwitchMove {
  enum class Outcome {
    kMoved,
    kNoInterface,
    kFailedRestored,     // a step failed; everything was put back
    kFailedNotRestored,  // a step failed, and so did putting something back
  };
  Outcome outcome = Outcome::kMoved;
  // The failed step and the host's text ("moving uplink pnic1: busy").
  std::string failure;
};

// Makes the move and logs it (every failure, and the attempt itself).
StandardSwitchMove MoveManagementToStandardSwitch();

}  // namespace Merel
