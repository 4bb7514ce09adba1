// Another program (NetworkManager, ifupdown) may own the host's interfaces.
// Then the console shows the network but changes none of it: every entry
// that would change it says who owns it instead.
#pragma once

#include <cstdint>
#include <string>

namespace Merel {

class Frame;

// The program that owns the interfaces, or empty when the host leaves them
// to the console. A host that cannot say is taken as leaving them (the
// change itself then fails with its own message).
std::string NetworkOwner();

// When `owner` is not empty, tells the user under `titleKey` that the
// network belongs to it, and returns true: the caller changes nothing.
bool RefuseOwnedNetwork(Frame* parent, uint32_t titleKey, const std::string& owner);
bool RefuseOwnedNetwork(Frame* parent, uint32_t titleKey);

}  // namespace Merel
