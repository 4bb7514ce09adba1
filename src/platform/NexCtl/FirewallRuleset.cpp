#include "NexCtl/FirewallRuleset.h"

#include "FacadeSupport.h"

namespace HostCtl::System {

namespace {

Platform::FirewallRulesetState& Require(Platform::HostState& state, const std::string& id) {
  for (auto& ruleset : state.firewall) {
    if (ruleset.id == id)
      return ruleset;
  }
  Platform::Fail("Firewall ruleset '" + id + "' not found");
}

}  // namespace

bool FirewallRuleset::IsEnabled() const {
  Platform::HostState state = Platform::LoadHost("FirewallRuleset.IsEnabled");
  return Require(state, _id).enabled;
}

void FirewallRuleset::Enable() {
  Platform::ModifyHost("FirewallRuleset.Enable",
                       [&](Platform::HostState& state) { Require(state, _id).enabled = true; });
}

void FirewallRuleset::Disable() {
  Platform::ModifyHost("FirewallRuleset.Disable",
                       [&](Platform::HostState& state) { Require(state, _id).enabled = false; });
}

}  // namespace HostCtl::System
