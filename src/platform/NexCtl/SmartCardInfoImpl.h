#pragma once

#include <string>
#include <vector>

namespace NexCtl::Hardware {

class SmartCardInfoImpl {
 public:
  // Whether the host has smart-card login support at all.
  bool IsSupported();
  bool IsCardPresent();
  // The user ids of the tokens on the present card (empty without a card).
  // Throws HostCtlException when the tokens cannot be looked up.
  std::vector<std::string> LookupTokens();
  // The first token's user id, empty when none.
  std::string GetUserId();
};

}  // namespace NexCtl::Hardware
