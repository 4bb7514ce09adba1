// One ruleset of the host firewall ("sshServer", ...). Names the ruleset; the
// state is read from and written to the host on each call.
#pragma once

#include <string>

namespace HostCtl::System {

class FirewallRuleset {
 public:
  explicit FirewallRuleset(std::string id) : _id(std::move(id)) {}
  const std::string& GetId() const { return _id; }
  bool IsEnabled() const;
  void Enable();
  void Disable();

 private:
  std::string _id;
};

}  // namespace HostCtl::System
