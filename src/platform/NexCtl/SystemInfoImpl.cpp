#include "NexCtl/SystemInfoImpl.h"

#include <algorithm>

#include "FacadeSupport.h"

namespace NexCtl::System {

std::string SystemInfoImpl::GetWelcomeMessage() {
  return Platform::LoadHost().welcomeMessage;
}

void SystemInfoImpl::SetWelcomeMessage(const std::string& message) {
  Platform::ModifyHost([&](Platform::HostState& state) { state.welcomeMessage = message; });
}

std::vector<std::string> SystemInfoImpl::GetKeyboardLayouts() {
  return Platform::LoadHost().keyboardLayouts;
}

std::string SystemInfoImpl::GetKeyboardLayout() {
  return Platform::LoadHost().keyboardLayout;
}

void SystemInfoImpl::SetKeyboardLayout(const std::string& name) {
  Platform::ModifyHost([&](Platform::HostState& state) {
    const auto& layouts = state.keyboardLayouts;
    if (std::find(layouts.begin(), layouts.end(), name) == layouts.end()) {
      Platform::Fail("Keyboard layout '" + name + "' is not available");
    }
    state.keyboardLayout = name;
  });
}

SystemVersion SystemInfoImpl::GetSystemVersion() {
  Platform::HostState state = Platform::LoadHost();
  return {state.product.name, state.product.version, state.product.kernelVersion,
          state.product.build};
}

std::vector<std::string> SystemInfoImpl::GetFirewallRulesets() {
  std::vector<std::string> ids;
  for (const auto& ruleset : Platform::LoadHost().firewall)
    ids.push_back(ruleset.id);
  return ids;
}

std::unique_ptr<HostCtl::System::FirewallRuleset> SystemInfoImpl::GetFirewallRulesetById(
    const std::string& id) {
  for (const auto& ruleset : Platform::LoadHost().firewall) {
    if (ruleset.id == id) {
      return std::make_unique<HostCtl::System::FirewallRuleset>(id);
    }
  }
  return nullptr;
}

void SystemInfoImpl::SetSystemAlert(const std::string& text) {
  Platform::ModifyHost([&](Platform::HostState& state) { state.alerts.push_back(text); });
}

}  // namespace NexCtl::System
