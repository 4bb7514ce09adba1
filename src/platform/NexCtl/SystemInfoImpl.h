// Host system settings: welcome message, console keyboard, version, firewall.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "NexCtl/FirewallRuleset.h"

namespace NexCtl::System {

struct SystemVersion {
  std::string product;        // "Tarvik"
  std::string version;        // "8.0.2"
  std::string kernelVersion;  // "8.0.2"
  std::string build;          // "3074155"
};

// Facade over the backend; holds no state between calls. Every call throws
// HostCtl::Lib::HostCtlException when the host cannot be read or changed.
class SystemInfoImpl {
 public:
  // The custom welcome message (markup), empty when none is set.
  std::string GetWelcomeMessage();
  void SetWelcomeMessage(const std::string& message);

  std::vector<std::string> GetKeyboardLayouts();
  std::string GetKeyboardLayout();
  // Throws when `name` is not one of GetKeyboardLayouts().
  void SetKeyboardLayout(const std::string& name);

  SystemVersion GetSystemVersion();

  std::vector<std::string> GetFirewallRulesets();
  // Null when the host has no ruleset of that id.
  std::unique_ptr<HostCtl::System::FirewallRuleset> GetFirewallRulesetById(const std::string& id);

  // Raises a host alert (kept in the host state and written to its syslog).
  void SetSystemAlert(const std::string& text);
};

}  // namespace NexCtl::System
