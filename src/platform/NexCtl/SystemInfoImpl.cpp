#include "NexCtl/SystemInfoImpl.h"

#include <algorithm>

#include "FacadeSupport.h"

namespace NexCtl::System {

std::string SystemInfoImpl::GetWelcomeMessage() {
  return Platform::LoadHost("SystemInfoImpl.GetWelcomeMessage").welcomeMessage;
}

void SystemInfoImpl::SetWelcomeMessage(const std::string& message) {
  Platform::ModifyHost("SystemInfoImpl.SetWelcomeMessage",
                       [&](Platform::HostState& state) { state.welcomeMessage = message; });
}

std::vector<std::string> SystemInfoImpl::GetKeyboardLayouts() {
  return Platform::LoadHost("SystemInfoImpl.GetKeyboardLayouts").keyboardLayouts;
}

std::string SystemInfoImpl::GetKeyboardLayout() {
  return Platform::LoadHost("SystemInfoImpl.GetKeyboardLayout").keyboardLayout;
}

void SystemInfoImpl::SetKeyboardLayout(const std::string& name) {
  Platform::ModifyHost("SystemInfoImpl.SetKeyboardLayout", [&](Platform::HostState& state) {
    const auto& layouts = state.keyboardLayouts;
    if (std::find(layouts.begin(), layouts.end(), name) == layouts.end()) {
      Platform::Fail("Keyboard layout '" + name + "' is not available");
    }
    state.keyboardLayout = name;
  });
}

SystemVersion SystemInfoImpl::GetSystemVersion() {
  Platform::HostState state = Platform::LoadHost("SystemInfoImpl.GetSystemVersion");
  return {state.product.name, state.product.version, state.product.kernelVersion,
          state.product.build};
}

std::vector<std::string> SystemInfoImpl::GetFirewallRulesets() {
  std::vector<std::string> ids;
  for (const auto& ruleset : Platform::LoadHost("SystemInfoImpl.GetFirewallRulesets").firewall)
    ids.push_back(ruleset.id);
  return ids;
}

std::unique_ptr<HostCtl::System::FirewallRuleset> SystemInfoImpl::GetFirewallRulesetById(
    const std::string& id) {
  for (const auto& ruleset : Platform::LoadHost("SystemInfoImpl.GetFirewallRulesetById").firewall) {
    if (ruleset.id == id) {
      return std::make_unique<HostCtl::System::FirewallRuleset>(id);
    }
  }
  return nullptr;
}

void SystemInfoImpl::SetSystemAlert(const std::string& text) {
  Platform::ModifyHost("SystemInfoImpl.SetSystemAlert",
                       [&](Platform::HostState& state) { state.alerts.push_back(text); });
}

}  // namespace NexCtl::System
