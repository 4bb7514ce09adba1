// The en_US string table. Every fixed text of the menus and dialogs lives
// here, by number; several numbers deliberately share one text because
// different screens grew their own key for what reads the same.
#include "StringFactory.h"

#include <cstring>
#include <string>
#include <utility>

#include "Platform.h"

namespace Merel {

namespace {

StringFactory* instance = nullptr;

// Key 2, the product line of the welcome screen. The host's version does not
// change under a running console, so it is asked for once. A failed query is
// not remembered: the line stays empty until a later request succeeds.
const char* ProductLine() {
  static std::string* cached = nullptr;
  if (cached != nullptr) {
    return cached->c_str();
  }
  std::string line;
  if (!Platform::ProductLine(line)) {
    return "";
  }
  // Never destroyed: the text is handed out for the life of the process.
  cached = new std::string(std::move(line));
  return cached->c_str();
}

}  // namespace

const char* en_US_Factory::GetString(uint32_t key) {
  using namespace Strings;
  switch (key) {
    case kWelcomeCustomizeCaption:
      return "Customize System/View Logs";
    case kWelcomeShutdownCaption:
      return "Shut Down/Restart";
    case kMenuTitle:
      return "System Customization";
    case kMenuConfigurePassword:
      return "Configure Password";
    case kMenuConfigureLockdown:
      return "Configure Lockdown Mode";
    case kMenuConfigureDriverVm:
      return "Configure DriverVM Devices";
    case kMenuConfigureNetwork:
      return "Configure Management Network";
    case kMenuRestartNetwork:
      return "Restart Management Network";
    case kMenuTestNetwork:
      return "Test Management Network";
    case kMenuNetworkRestore:
      return "Network Restore Options";
    case kMenuSupportInformation:
      return "View Support Information";
    case kMenuSystemLogs:
      return "View System Logs";
    case kMenuTroubleshooting:
      return "Troubleshooting Options";
    case kMenuResetConfiguration:
      return "Reset System Configuration";
    case kMenuConfigureKeyboard:
      return "Configure Keyboard";
    case kRestartNetworkErrorTitle:
      return "Restart Management Network: Error";
    case kEnableNetworkErrorTitle:
      return "Enable Management Network: Error";
    case kDisableNetworkErrorTitle:
      return "Disable Management Network: Error";
    case kNoManagementInterface:
      return "Management network interface cannot be found.";
    case kManagementInterfaceFailed:
      return "Operation on the management network interface failed.";
    case kHelpPasswordUnset:
      return "To prevent unauthorized access to this system, set the password for the user.";
    case kHelpLockdown:
      return "When enabled, lockdown mode prevents users from logging directly into this host. The "
             "host will only be accessible through this local console or an authorized centralized "
             "management application.";
    case kHelpDriverVm:
      return "It is possible to use a Linux DriverVM to control network and storage devices. This "
             "is recommended only for devices which Tarvik does not natively support. Performance "
             "may be compromised when compared to native Tarvik drivers, but the use of a DriverVM "
             "may allow you to utilize hardware that would not normally work with Tarvik";
    case kHelpConfigureNetwork:
      return "To view or modify this host's management network settings in detail, press <Enter>.";
    case kHelpRestartNetwork:
      return "Restarting the management network interface may be required to restore networking or "
             "to renew a DHCP lease.\n\nRestarting the management network will result in a brief "
             "network outage that may temporarily affect running virtual machines.\n\nNote: If a "
             "renewed DHCP lease results in a new network identity (e.g., IP address or hostname), "
             "remote management software will be disconnected.";
    case kHelpTestNetwork:
      return "To perform a brief network test, press <Enter>.\n\nBy default, this test will "
             "attempt to ping the configured default gateway, ping the configured primary and "
             "alternate DNS servers, and resolve the configured hostname.";
    case kHelpNetworkRestore:
      return "To view various network restore options like full network restore, move Management "
             "network from misconfigured DVS to standard switch or correct misconfigured DVS "
             "Management network port properties.";
    case kHelpSystemLogs:
      return "Press the corresponding key to view a log.\nPress <Q> to return to this screen.";
    case kHelpTroubleshooting:
      return "To view various troubleshooting mode options like Enable Tarvik Shell, Enable SSH "
             "and Restart Agents.";
    case kHelpResetConfiguration:
      return "Warning!\n\nAll system parameters will be reverted to their software defaults, "
             "including any parameters customized by the hardware manufacturer. The root password "
             "will be reset to nothing, which may allow unauthorized access to your system. All "
             "virtual machines will be unregistered.\n\nThis operation requires a restart of the "
             "host. It is recommended to previously shut down or migrate running virtual machines "
             "off this host.";
    case kHelpRemoveExtensions:
      return "Warning!\n\nAll custom extensions will be removed.\n\nThis operation requires a "
             "restart of the host. It is recommended to previously shut down or migrate running "
             "virtual machines off this host.";
    case kDhcpIdentity:
      return "Network identity acquired from DHCP server";
    case kHelpKeyboard:
      return "To select the layout type for the keyboard of this host, press <Enter>.";
    case kHelpPasswordDefault:
      return "Change default password to prevent unauthorized access";
    case kUnknown:
      return "Unknown";
    case kIpv4AddressLabel:
      return "IPv4 Address";
    case kIpv6AddressesLabel:
      return "IPv6 Addresses";
    case kAttributedAddressesLabel:
      return "Attributed addresses";
    case kDefaultGatewayLabel:
      return "Default Gateway";
    case kSubnetMaskLabel:
      return "Subnet Mask";
    case kHostnameLabel:
      return "Hostname";
    case kPrimaryDnsLabel:
      return "Primary DNS Server";
    case kAlternateDnsLabel:
      return "Alternate DNS Server";
    case kIpv6DnsLabel:
      return "IPv6 DNS Server";
    case kNetworkWindowTitle:
      return "Configure Management Network";
    case kNetDriverVmDevices:
      return "DriverVM Devices";
    case kNetAdapters:
      return "Network Adapters";
    case kNetVlan:
      return "VLAN (optional)";
    case kNetIpv4:
      return "IPv4 Configuration";
    case kNetIpv6:
      return "IPv6 Configuration";
    case kIpv6Enabled:
      return "IPv6 is enabled.";
    case kIpv6Disabled:
      return "IPv6 is disabled.";
    case kNetDns:
      return "DNS Configuration";
    case kNetSuffixes:
      return "Custom DNS Suffixes";
    case kHelpNetAdapters:
      return "The adapters listed here provide the default network connection to and from this "
             "host. When two or more adapters are used, connections will be fault-tolerant and "
             "outgoing traffic will be load-balanced.";
    case kHelpNetDriverVm:
      return "It is possible to use a Linux DriverVM to control network and storage devices. This "
             "is recommended only for devices which Tarvik does not natively support. Performance "
             "may be compromised when compared to native Tarvik drivers, but the use of a DriverVM "
             "may allow you to use hardware that would not normally work with Tarvik";
    case kHelpNetVlan:
      return "A VLAN is a virtual network within a physical network. Because several VLANs can "
             "co-exist on the same physical network segment, VLAN configuration and partitioning "
             "is often more flexible, better isolated, and less expensive than flat networks based "
             "on traditional physical topology.\n\nIf you are unsure how to configure or use a "
             "VLAN, it is safe to leave this option unset.";
    case kHelpNetIpv4:
      return "This host can obtain an IPv4 address and other networking parameters automatically "
             "if your network includes a DHCP server. If not, ask your network administrator for "
             "the appropriate settings.";
    case kHelpNetIpv6:
      return "This host can obtain IPv6 addresses and other networking parameters automatically if "
             "your network includes a DHCPv6 server or supports Router Advertisement.";
    case kHelpNetIpv6Disabled:
      return "This host can be configured to support IPv6. A restart of the host will be required "
             "to enable or disable IPv6.";
    case kIpv6AfterReboot:
      return "The support for IPv6 will be enabled after the next reboot.";
    case kHelpNetDns:
      return "If this host is configured using DHCP, DNS server addresses and other DNS parameters "
             "can be obtained automatically. If not, ask your network administrator for the "
             "appropriate settings.";
    case kHelpNetSuffixes:
      return "When using short, unqualified names, DNS queries will attempt to locate the "
             "specified host by appending the suffixes listed here in the order shown until a "
             "match is found or the list is exhausted.\n\nIf no suffixes are specified here, a "
             "default suffix list is derived from the local domain name.";
    case kNetworkErrorTitle:
      return "Network Configuration Error";
    case kRestoreWindowTitle:
      return "Network Restore Options";
    case kRestoreNetworkSettings:
      return "Restore Network Settings";
    case kRestoreStandardSwitch:
      return "Restore Standard Switch";
    case kRestoreDvs:
      return "Restore DVS";
    case kHelpRestoreNetworkSettings:
      return "Restoring the network settings will revert all network configuration and will "
             "automatically configure the network with defaults.\n\nRestoring the network settings "
             "will stop all the running virtual machines on the host.";
    case kHelpRestoreStandardSwitch:
      return "All management network and associated uplinks can be moved onto a new vSwitch in "
             "order to restore network connectivity to Fleetdesk. All interfaces apart from "
             "management interface will be disabled.\nTry Restore DVS option to manually repair "
             "misconfigured DVS.";
    case kHelpRestoreDvs:
      return "Reconfigure properties of misconfigured DVS Management network port.\n\nA new DVS "
             "host local port will be created with the reconfigured properties and the management "
             "network will be moved to this new port. All other properties will be cloned from "
             "original DVPort. This operation is available only for Ostrel DVS";
    case kDriverVmTitle:
      return "DriverVM Configuration";
    case kDriverVmText:
      return "Select the devices from this host for which you would like to use the DriverVM. Note "
             "only devices for which Tarvik does not contain a native driver will appear below.";
    case kDeviceAssignmentWarningTitle:
      return "Device Assignment Warning";
    case kDeviceAssignmentWarning:
      return "Due to the PCI topology of this system or device constraints, changes to the "
             "ownership of this device will affect the ownership of other devices";
    case kAdaptersTitle:
      return "Network Adapters";
    case kAdaptersText:
      return "Select the adapters for this host's default management network connection. Use two "
             "or more adapters for fault-tolerance and load-balancing.";
    case kAdaptersWarningTitle:
      return "Network Adapters: Warning";
    case kAdaptersInUse:
      return "One or more of the selected adapters are already used for other connections.";
    case kAdaptersRemoveQuestion:
      return "Remove these adapters from their current connections?";
    case kInvalidIpTitle:
      return "Invalid IP address";
    case kInvalidIpv4Text:
      return "Please reenter a valid IPv4 address (x.x.x.x).";
    case kInvalidIpv6NetworkText:
      return "Please reenter a valid IPv6 network address (x:x:x/x).";
    case kInvalidIpOrIpv6Text:
      return "Invalid IP or IPv6 address.";
    case kInvalidSubnetTitle:
      return "Invalid subnet";
    case kInvalidSubnetText:
      return "Please reenter a valid subnet (x.x.x.x).";
    case kInvalidScopeTitle:
      return "Invalid scope";
    case kLinkLocalStaticText:
      return "Cannot add a link-local address as static address.";
    case kInvalidGatewayTitle:
      return "Invalid gateway address";
    case kInvalidGatewayText:
      return "Please reenter a valid gateway address (x.x.x.x).";
    case kInvalidIpv6GatewayText:
      return "Please reenter a valid IPv6 gateway address (x:x:x).";
    case kLinkLocalGatewayText:
      return "Link-local addresses are not supported as default gateway.";
    case kInvalidDnsTitle:
      return "Invalid DNS server address";
    case kInvalidDnsText:
      return "Please reenter a valid DNS server address (IP or IPv6).";
    case kInvalidVlanTitle:
      return "Invalid VLAN ID";
    case kInvalidVlanText:
      return "Please reenter a valid VLAN ID (1-4095).";
    case kVlan4095Warning:
      return "You entered a VLAN ID of 4095. This host will receive all VLAN-tagged frames and be "
             "able to send any VLAN-tagged frame.\n\nUnless this is specifically intended, it is "
             "best not to configure a VLAN ID of 4095.";
    case kVlanText:
      return "If you are unsure how to configure or use a VLAN, it is safe to leave this option "
             "unset.";
    case kVlanLabel:
      return "VLAN ID (1-4094, or 4095 to access all VLANs):";
    case kIpv4DialogTitle:
      return "IPv4 Configuration";
    case kIpv4DialogText:
      return "This host can obtain network settings automatically if your network includes a DHCP "
             "server. If it does not, the following settings must be specified:";
    case kIpv4Disable:
      return "Disable IPv4 configuration for management network";
    case kIpv4Dynamic:
      return "Use dynamic IPv4 address and network configuration";
    case kIpv4Static:
      return "Set static IPv4 address and network configuration:";
    case kIpv6DialogTitle:
      return "IPv6 Configuration";
    case kIpv6DialogText:
      return "This host can obtain network settings automatically if your network supports "
             "Stateless Address Autoconfiguration (SLAAC) or includes a DHCPv6 server. If it does "
             "not, static settings must be specified:";
    case kIpv6Disable:
      return "Disable IPv6 (restart required)";
    case kIpv6Dynamic:
      return "Use dynamic IPv6 address and network configuration";
    case kIpv6UseDhcpv6:
      return "Use DHCPv6";
    case kIpv6Static:
      return "Set static IPv6 address and network configuration";
    case kStaticAddressLabel:
      return "Static address";
    case kIpv6GatewayLabel:
      return "Default gateway";
    case kWarningTitle:
      return "Warning";
    case kNoAdapter:
      return "No adapter";
    case kAutomatic:
      return "Automatic";
    case kNone:
      return "None";
    case kManual:
      return "Manual";
    case kSet:
      return "Set";
    case kNotSet:
      return "Not set";
    case kEnabled:
      return "Enabled";
    case kDisabled:
      return "Disabled";
    case kDone:
      return "Done.";
    case kDnsDialogTitle:
      return "DNS Configuration";
    case kDnsDialogText:
      return "This host can only obtain DNS settings automatically if it also obtains its IP "
             "configuration automatically.";
    case kDnsAutomatic:
      return "Obtain DNS server addresses and a hostname automatically";
    case kDnsManual:
      return "Use the following DNS server addresses and hostname:";
    case kSuffixesText:
      return "DNS queries will attempt to locate hosts by appending the suffixes specified here to "
             "short, unqualified names.\n\nUse spaces or commas to separate multiple entries.";
    case kSuffixesLabel:
      return "Suffixes:";
    case kRestartNetworkConfirmTitle:
      return "Restart Management Network: Confirm";
    case kRestartNetworkConfirmText:
      return "Restarting the management network will result in a brief network outage. It may "
             "disconnect remote management software and affect running virtual machines.";
    case kRestartNetworkQuestion:
      return "Restart management network now?";
    case kRestartNetworkTitle:
      return "Restart Management Network";
    case kRestartNetworkWait:
      return "Please wait while the management network restarts.";
    case kStoppingNetwork:
      return "Stopping management network.";
    case kStartingNetwork:
      return "Starting management network.";
    case kIpAddressIs:
      return "IP address is ";
    case kRestoreStandardSwitchTitle:
      return "Restore Standard Switch";
    case kRestoreStandardSwitchText:
      return "All management network and associated uplinks can be moved onto a new vSwitch in "
             "order to restore network connectivity to Fleetdesk.";
    case kRestoreStandardSwitchQuestion:
      return "Move the management network onto a standard switch?";
    case kWelcomeManageHeading:
      return "To manage this host go to:";
    case kWelcomeDhcpWarning:
      return "Warning: DHCP lookup failed. You may be unable to access this system until you "
             "customize its network configuration.";
    case kWelcomeAuditWarning:
      return "Warning: Host is running in audit mode. Your configuration will not be persistent "
             "across reboots. Please contact support.";
    case kLoginTitle:
      return "Authentication Required";
    case kLoginPasswordPrompt:
      return "Enter an authorized login name and password for ";
    case kLoginPinPrompt:
      return "Enter the smart card login PIN for ";
    case kLoginDeniedTitle:
      return "Authentication Denied";
    case kLoginDisabledText:
      return "Direct console access has been disabled by the administrator for ";
    case kLoginNameLabel:
      return "Login Name:";
    case kLoginIdLabel:
      return "Login Id:";
    case kPasswordLabel:
      return "Password:";
    case kPinLabel:
      return "PIN:";
    case kLoginFailedTitle:
      return "Authentication failed";
    case kLoginInvalid:
      return "Invalid login or password.";
    case kLoginNoPermission:
      return "User does not have permission to login to MEREL.";
    case kLoginPasswordExpired:
      return "Password has expired.\nYou will be prompted to set a new password and then login "
             "again.";
    case kPasswordTitle:
      return "Configure Password";
    case kPasswordText:
      return "Setting the password will prevent unauthorized access to this host.";
    case kOldPasswordLabel:
      return "Old Password:";
    case kNewPasswordLabel:
      return "New Password:";
    case kConfirmPasswordLabel:
      return "Confirm Password:";
    case kPasswordErrorTitle:
      return "Configure Password: Error";
    case kPasswordWarningTitle:
      return "Configure Password: Warning";
    case kOldPasswordIncorrect:
      return "The old password you entered is incorrect";
    case kPasswordMismatch:
      return "The new password and the confirmed password do not match.";
    case kPasswordEmpty:
      return "Empty passwords are not allowed.";
    case kPasswordSameQuestion:
      return "New password is same as old password. Are you sure?";
    case kPasswordChangeFailed:
      return "The password change operation failed.\nPlease ensure that your password meets the "
             "complexity criteria set by the system.";
    case kShutdownTitle:
      return "Shut Down/Restart";
    case kShutdownText:
      return "Remote management software is recommended to safely shut down or restart this "
             "host.\n\nBy default, running virtual machines will be powered off, suspended, or "
             "shut down according to the current system shutdown policy.\nIf this host is part of "
             "an HA cluster, then HA will not restart these VMs unless they are forcefully "
             "terminated.";
    case kForceTerminateVms:
      return "Forcefully terminate running VMs, if any ...";
    case kShutdownHost:
      return "Shut Down Host";
    case kShutdownInProgress:
      return "Shutdown in progress...";
    case kVmsRunningTitle:
      return "Warning: VMs running on the host";
    case kVmsRunningQuestion:
      return "Host has VMs running. Are you sure you want to shutdown/restart the host or restore "
             "the network.";
    case kRestartHost:
      return "Restart Host";
    case kRestartInProgress:
      return "Restart in progress...";
    case kResetConfirmTitle:
      return "Reset System Configuration: Confirm";
    case kResetConfirmText:
      return "Warning! All system parameters will be reverted to their software defaults, and host "
             "configuration will be lost.";
    case kResetQuestion:
      return "Reset System Configuration now?";
    case kResetTitle:
      return "Reset System Configuration";
    case kResetWait:
      return "Please wait while the default settings are restored.";
    case kResetDone:
      return "Default settings are restored. Press <Enter> to restart your host.";
    case kRemoveExtensionsConfirmTitle:
      return "Remove Custom Extensions: Confirm";
    case kRemoveExtensionsConfirmText:
      return "Warning! All custom extensions will be removed.";
    case kRemoveExtensionsQuestion:
      return "Remove custom extensions now?";
    case kRemoveExtensionsTitle:
      return "Remove Custom Extensions";
    case kRemoveExtensionsWait:
      return "Please wait while the custom extensions are removed.";
    case kRemoveExtensionsDone:
      return "Custom extensions have been removed. Press <Enter> to restart your host.";
    case kFactoryRestoreTitle:
      return "Restore Network Factory Settings";
    case kFactoryRestoreText:
      return "This option will reset the host network configuration to its default setting.";
    case kFactoryRestoreQuestion:
      return "Are you sure you want to reset the host network configuration?";
    case kRestoreUnblockedLabel:
      return "Restore to default blocked setting (unblocked) ";
    case kSelectDvsUplinks:
      return "Select DVS uplinks";
    case kDvsVlanInvalid:
      return "Please enter a valid VLAN ID (1-4094).";
    case kRestoreDvsTitle:
      return "Restore DVS";
    case kRestoreDvsText:
      return "Enter the properties for new DVS host local port that will be created.\nAll other "
             "properties will be taken as default.";
    case kRestoreDvsErrorTitle:
      return "Restore DVS: Error";
    case kRestoreDvsFailed:
      return "Unable to restore DVS. Check logs for details.";
    case kRestoreDvsThirdParty:
      return "Unable to restore DVS. Restore DVS operation cannot be performed on 3rd party DVS.";
    case kDvsUplinksTitle:
      return "DVS Uplinks";
    case kDvsUplinksText:
      return "Select the DVS Uplinks (one or more) to be used by management nexnic";
    case kDvsUplinksWarningTitle:
      return "DVS Uplinks: Warning";
    case kNoUplinksSelected:
      return "No uplinks were selected.";
    case kContinueQuestion:
      return "Do you want to continue?";
    case kNoDvsUplinksErrorTitle:
      return "No DVS Uplinks: Error";
    case kNoDvsUplinksText:
      return "No uplinks are configured on the host for this DVS.";
    case kRestoreNetworkTitle:
      return "Restore Network Settings";
    case kRestoreNetworkWait:
      return "Please wait while the factory network settings are restored.";
    case kPoweringOffVms:
      return "Powering Off VMs.";
    case kAutoConfiguringNetwork:
      return "Auto-configuring network.";
    case kApplyConfirmTitle:
      return "Configure Management Network: Confirm";
    case kApplyConfirmText:
      return "You have made changes to the host's management network.\nApplying these changes may "
             "result in a brief network outage, disconnect remote management software and affect "
             "running virtual machines. In case IPv6 has been enabled or disabled this will "
             "restart your host.";
    case kApplyRestartQuestion:
      return "Apply changes and restart management network?";
    case kApplyRebootQuestion:
      return "Apply changes and reboot host?";
    case kTestTitle:
      return "Test Management Network";
    case kTestText:
      return "By default, this test will attempt to ping your default gateway and DNS servers, and "
             "resolve your hostname.";
    case kPingAddressLabel:
      return "Ping Address";
    case kResolveHostnameLabel:
      return "Resolve Hostname";
    case kTestRunningTitle:
      return "Testing Management Network";
    case kTestInterruptHint:
      return "You may interrupt the test at any time.";
    case kPingingAddress:
      return "Pinging address";
    case kResolvingHostname:
      return "Resolving hostname";
    case kFailed:
      return "Failed.";
    case kOk:
      return "OK.";
    case kTroubleshootingTitle:
      return "Troubleshooting Mode Options";
    case kEnableShell:
      return "Enable Tarvik Shell";
    case kDisableShell:
      return "Disable Tarvik Shell";
    case kEnableSsh:
      return "Enable SSH";
    case kDisableSsh:
      return "Disable SSH";
    case kShellLabel:
      return "Tarvik Shell";
    case kSshLabel:
      return "SSH Support";
    case kShellTimeouts:
      return "Modify Tarvik Shell and SSH timeouts";
    case kMerelTimeout:
      return "Modify MEREL idle timeout";
    case kRestartAgents:
      return "Restart Management Agents";
    case kHelpShellToggle:
      return "Change current state of the Tarvik Shell";
    case kHelpSshToggle:
      return "Change current state of SSH";
    case kShellEnabled:
      return "Tarvik Shell is Enabled";
    case kShellDisabled:
      return "Tarvik Shell is Disabled";
    case kSshEnabled:
      return "SSH is Enabled";
    case kSshDisabled:
      return "SSH is Disabled";
    case kHelpRestartAgents:
      return "The management agents are the programs that allow remote management software to "
             "monitor and control this host.\n\nRestarting the management agents will disconnect "
             "all remote management software and will affect all running services.";
    case kHelpShellTimeouts:
      return "Modify the number of minutes that can elapse before you must log in after Tarvik "
             "Shell access is enabled and the idle timeout for interactive sessions.";
    case kHelpMerelTimeout:
      return "Modify the number of idle minutes that can elapse before you must log in again in "
             "MEREL.";
    case kRestartAgentsConfirmTitle:
      return "Restart Management Agents: Confirm";
    case kRestartAgentsWarning:
      return "{color:red}Warning! Restarting the management agents will disconnect all remote "
             "management software. This will affect all running services.\nCollection of extra "
             "troubleshooting information can take a noticeable amount of time.{/color}";
    case kRestartAgentsQuestion:
      return "Restart management agents now?";
    case kStoppingAgents:
      return "Stopping management agents.";
    case kStartingAgents:
      return "Starting management agents.";
    case kCollectLiveCore:
      return "Collect extra troubleshooting information";
    case kCollectingLiveCore:
      return "Collecting host agent live core information.";
    case kPleaseWait:
      return "Please, wait ...";
    case kLockdownTitle:
      return "Configure Lockdown Mode";
    case kLockdownText:
      return "When enabled, lockdown mode prevents users from logging directly into this host.";
    case kLockdownEnableLabel:
      return "Enable lockdown mode";
    case kKeyboardText:
      return "If you are having difficulty using your keyboard, choose a layout that matches your "
             "keyboard from the options below.";
    case kEnableIpv6RestartTitle:
      return "Enable IPv6: Restart Required";
    case kEnableIpv6RestartText:
      return "This host must be restarted before IPv6 will be enabled.";
    case kDisableIpv6RestartTitle:
      return "Disable IPv6: Restart Required";
    case kDisableIpv6RestartText:
      return "This host must be restarted before IPv6 will be disabled.";
    case kRouterAdvertised:
      return "Router advertised";
    case kDhcpOrigin:
      return "DHCP";
    case kStaticOrigin:
      return "STATIC";
    case kAutoconfOrigin:
      return "AUTOCONF";
    case kWaitingForDhcp:
      return "Waiting for DHCP...";
    case kShellTimeoutsTitle:
      return "Set the timeouts for Tarvik Shell access (local and remote)";
    case kShellTimeoutsText:
      return "Set the number of minutes that can elapse before you must log in after Tarvik Shell "
             "is enabled (the availability timeout) and the timeout for idle interactive "
             "sessions.\n\nAfter the availability timeout expires any running shell instances will "
             "remain, but new sessions will not be allowed.  Changes to idle timeout will apply on "
             "next login, but will not affect any existing sessions.\n\nValues are in minutes. Use "
             "zero to disable timeouts. Maximum value is 1440 minutes.";
    case kAvailabilityTimeoutLabel:
      return "Availability timeout";
    case kIdleTimeoutLabel:
      return "Idle timeout";
    case kInvalidTimeoutTitle:
      return "Invalid timeout value";
    case kInvalidTimeoutText:
      return "Timeout value must be between 0 (disabled) and 1440 minutes";
    case kMerelTimeoutTitle:
      return "Set idle timeout for MEREL access";
    case kMerelTimeoutText:
      return "Set the number of idle minutes that can elapse before you must log in again in "
             "MEREL.\n\nValue is in minutes. Use zero to disable the timeout. Maximum value is "
             "1440 minutes.";
    case kMerelTimeoutLabel:
      return "MEREL idle timeout";
    case kWelcomeProductLine:
      return ProductLine();
    case kEmpty:
    default:
      return "";
  }
}

StringFactory* GetStringFactory(const char* locale) {
  if (instance != nullptr) {
    return instance;
  }
  if (locale != nullptr && strcmp(locale, "en_US") == 0) {
    instance = new en_US_Factory();
  }
  return instance;
}

}  // namespace Merel
