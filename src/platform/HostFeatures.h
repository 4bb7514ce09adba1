// What a host may lack and what it switches: shared by the platform calls
// and the backends that answer them.
#pragma once

namespace Platform {

// Host operations a host may lack altogether (not just for now): the
// screens then say so instead of offering them, and the host library leaves
// out what the host does otherwise.
enum class Feature {
  kLockdownMode,        // the management service's lockdown mode
  kConfigurationReset,  // a factory configuration to reset to
  kManagementVlan,      // a VLAN set on the management port group
  // The DNS save writes the resolver file; a host whose backend writes it
  // with the settings themselves, or leaves it to a resolver service,
  // lacks it.
  kResolverFileOnSave,
};

// The services the troubleshooting window switches on and off.
enum class HostService { kShell, kSsh };

}  // namespace Platform
