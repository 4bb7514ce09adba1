// The en_US string table. Every fixed text of the menus and dialogs lives
// here, by number; several numbers deliberately share one text because
// different screens grew their own key for what reads the same.
#include "StringFactory.h"

#include <cstring>
#include <string>
#include <utility>

#include "HostCtl/HostCtlException.h"
#include "NexCtl/SystemInfoImpl.h"

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
  try {
    NexCtl::System::SystemInfoImpl info;
    const NexCtl::System::SystemVersion version = info.GetSystemVersion();
    std::string line = version.product + " " + version.version + " (Nexel " +
                       version.kernelVersion + " Build " + version.build + ")";
    // Never destroyed: the text is handed out for the life of the process.
    cached = new std::string(std::move(line));
    return cached->c_str();
  } catch (const HostCtl::Lib::HostCtlException&) {
    return "";
  }
}

}  // namespace

const char* en_US_Factory::GetString(uint32_t key) {
  switch (key) {
    case 0:
      return "Customize System/View Logs";
    case 1:
      return "Shut Down/Restart";
    case 4:
      return "System Customization";
    case 5:
      return "Configure Password";
    case 6:
      return "Configure Lockdown Mode";
    case 7:
      return "Configure DriverVM Devices";
    case 8:
      return "Configure Management Network";
    case 9:
      return "Restart Management Network";
    case 10:
      return "Test Management Network";
    case 11:
      return "Network Restore Options";
    case 12:
      return "View Support Information";
    case 13:
      return "View System Logs";
    case 14:
      return "Troubleshooting Options";
    case 15:
      return "Reset System Configuration";
    case 16:
      return "Configure Keyboard";
    case 17:
      return "Restart Management Network: Error";
    case 18:
      return "Enable Management Network: Error";
    case 19:
      return "Disable Management Network: Error";
    case 20:
      return "Management network interface cannot be found.";
    case 21:
      return "Operation on the management network interface failed.";
    case 22:
      return "To prevent unauthorized access to this system, set the password for the user.";
    case 23:
      return "When enabled, lockdown mode prevents users from logging directly into this host. The "
             "host will only be accessible through this local console or an authorized centralized "
             "management application.";
    case 24:
      return "It is possible to use a Linux DriverVM to control network and storage devices. This "
             "is recommended only for devices which Tarvik does not natively support. Performance "
             "may be compromised when compared to native Tarvik drivers, but the use of a DriverVM "
             "may allow you to utilize hardware that would not normally work with Tarvik";
    case 25:
      return "To view or modify this host's management network settings in detail, press <Enter>.";
    case 26:
      return "Restarting the management network interface may be required to restore networking or "
             "to renew a DHCP lease.\n\nRestarting the management network will result in a brief "
             "network outage that may temporarily affect running virtual machines.\n\nNote: If a "
             "renewed DHCP lease results in a new network identity (e.g., IP address or hostname), "
             "remote management software will be disconnected.";
    case 27:
      return "To perform a brief network test, press <Enter>.\n\nBy default, this test will "
             "attempt to ping the configured default gateway, ping the configured primary and "
             "alternate DNS servers, and resolve the configured hostname.";
    case 28:
      return "To view various network restore options like full network restore, move Management "
             "network from misconfigured DVS to standard switch or correct misconfigured DVS "
             "Management network port properties.";
    case 29:
      return "Press the corresponding key to view a log.\nPress <Q> to return to this screen.";
    case 30:
      return "To view various troubleshooting mode options like Enable Tarvik Shell, Enable SSH "
             "and Restart Agents.";
    case 31:
      return "Warning!\n\nAll system parameters will be reverted to their software defaults, "
             "including any parameters customized by the hardware manufacturer. The root password "
             "will be reset to nothing, which may allow unauthorized access to your system. All "
             "virtual machines will be unregistered.\n\nThis operation requires a restart of the "
             "host. It is recommended to previously shut down or migrate running virtual machines "
             "off this host.";
    case 32:
      return "Warning!\n\nAll custom extensions will be removed.\n\nThis operation requires a "
             "restart of the host. It is recommended to previously shut down or migrate running "
             "virtual machines off this host.";
    case 33:
      return "Network identity acquired from DHCP server";
    case 34:
      return "To select the layout type for the keyboard of this host, press <Enter>.";
    case 35:
      return "Change default password to prevent unauthorized access";
    case 36:
      return "Unknown";
    case 37:
      return "IPv4 Address";
    case 38:
      return "IPv6 Addresses";
    case 39:
      return "Attributed addresses";
    case 40:
      return "Default Gateway";
    case 41:
      return "Subnet Mask";
    case 42:
      return "Hostname";
    case 43:
      return "Primary DNS Server";
    case 44:
      return "Alternate DNS Server";
    case 45:
      return "IPv6 DNS Server";
    case 46:
      return "Configure Management Network";
    case 47:
      return "DriverVM Devices";
    case 48:
      return "Network Adapters";
    case 49:
      return "VLAN (optional)";
    case 50:
      return "IPv4 Configuration";
    case 51:
      return "IPv6 Configuration";
    case 52:
      return "IPv6 is enabled.";
    case 53:
      return "IPv6 is disabled.";
    case 54:
      return "DNS Configuration";
    case 55:
      return "Custom DNS Suffixes";
    case 56:
      return "The adapters listed here provide the default network connection to and from this "
             "host. When two or more adapters are used, connections will be fault-tolerant and "
             "outgoing traffic will be load-balanced.";
    case 57:
      return "It is possible to use a Linux DriverVM to control network and storage devices. This "
             "is recommended only for devices which Tarvik does not natively support. Performance "
             "may be compromised when compared to native Tarvik drivers, but the use of a DriverVM "
             "may allow you to use hardware that would not normally work with Tarvik";
    case 58:
      return "A VLAN is a virtual network within a physical network. Because several VLANs can "
             "co-exist on the same physical network segment, VLAN configuration and partitioning "
             "is often more flexible, better isolated, and less expensive than flat networks based "
             "on traditional physical topology.\n\nIf you are unsure how to configure or use a "
             "VLAN, it is safe to leave this option unset.";
    case 59:
      return "This host can obtain an IPv4 address and other networking parameters automatically "
             "if your network includes a DHCP server. If not, ask your network administrator for "
             "the appropriate settings.";
    case 60:
      return "This host can obtain IPv6 addresses and other networking parameters automatically if "
             "your network includes a DHCPv6 server or supports Router Advertisement.";
    case 61:
      return "This host can be configured to support IPv6. A restart of the host will be required "
             "to enable or disable IPv6.";
    case 62:
      return "The support for IPv6 will be enabled after the next reboot.";
    case 63:
      return "If this host is configured using DHCP, DNS server addresses and other DNS parameters "
             "can be obtained automatically. If not, ask your network administrator for the "
             "appropriate settings.";
    case 64:
      return "When using short, unqualified names, DNS queries will attempt to locate the "
             "specified host by appending the suffixes listed here in the order shown until a "
             "match is found or the list is exhausted.\n\nIf no suffixes are specified here, a "
             "default suffix list is derived from the local domain name.";
    case 65:
      return "Network Configuration Error";
    case 66:
      return "Network Restore Options";
    case 67:
      return "Restore Network Settings";
    case 68:
      return "Restore Standard Switch";
    case 69:
      return "Restore DVS";
    case 70:
      return "Restoring the network settings will revert all network configuration and will "
             "automatically configure the network with defaults.\n\nRestoring the network settings "
             "will stop all the running virtual machines on the host.";
    case 71:
      return "All management network and associated uplinks can be moved onto a new vSwitch in "
             "order to restore network connectivity to Fleetdesk. All interfaces apart from "
             "management interface will be disabled.\nTry Restore DVS option to manually repair "
             "misconfigured DVS.";
    case 72:
      return "Reconfigure properties of misconfigured DVS Management network port.\n\nA new DVS "
             "host local port will be created with the reconfigured properties and the management "
             "network will be moved to this new port. All other properties will be cloned from "
             "original DVPort. This operation is available only for Ostrel DVS";
    case 73:
      return "DriverVM Configuration";
    case 74:
      return "Select the devices from this host for which you would like to use the DriverVM. Note "
             "only devices for which Tarvik does not contain a native driver will appear below.";
    case 75:
      return "Device Assignment Warning";
    case 76:
      return "Due to the PCI topology of this system or device constraints, changes to the "
             "ownership of this device will affect the ownership of other devices";
    case 77:
      return "Network Adapters";
    case 78:
      return "Select the adapters for this host's default management network connection. Use two "
             "or more adapters for fault-tolerance and load-balancing.";
    case 79:
      return "Network Adapters: Warning";
    case 80:
      return "One or more of the selected adapters are already used for other connections.";
    case 81:
      return "Remove these adapters from their current connections?";
    case 82:
      return "Invalid IP address";
    case 83:
      return "Please reenter a valid IPv4 address (x.x.x.x).";
    case 84:
      return "Please reenter a valid IPv6 network address (x:x:x/x).";
    case 85:
      return "Invalid IP or IPv6 address.";
    case 86:
      return "Invalid subnet";
    case 87:
      return "Please reenter a valid subnet (x.x.x.x).";
    case 88:
      return "Invalid scope";
    case 89:
      return "Cannot add a link-local address as static address.";
    case 90:
      return "Invalid gateway address";
    case 91:
      return "Please reenter a valid gateway address (x.x.x.x).";
    case 92:
      return "Please reenter a valid IPv6 gateway address (x:x:x).";
    case 93:
      return "Link-local addresses are not supported as default gateway.";
    case 94:
      return "Invalid DNS server address";
    case 95:
      return "Please reenter a valid DNS server address (IP or IPv6).";
    case 96:
      return "Invalid VLAN ID";
    case 97:
      return "Please reenter a valid VLAN ID (1-4095).";
    case 98:
      return "You entered a VLAN ID of 4095. This host will receive all VLAN-tagged frames and be "
             "able to send any VLAN-tagged frame.\n\nUnless this is specifically intended, it is "
             "best not to configure a VLAN ID of 4095.";
    case 99:
      return "If you are unsure how to configure or use a VLAN, it is safe to leave this option "
             "unset.";
    case 100:
      return "VLAN ID (1-4094, or 4095 to access all VLANs):";
    case 101:
      return "IPv4 Configuration";
    case 102:
      return "This host can obtain network settings automatically if your network includes a DHCP "
             "server. If it does not, the following settings must be specified:";
    case 103:
      return "Disable IPv4 configuration for management network";
    case 104:
      return "Use dynamic IPv4 address and network configuration";
    case 105:
      return "Set static IPv4 address and network configuration:";
    case 106:
      return "IPv6 Configuration";
    case 107:
      return "This host can obtain network settings automatically if your network supports "
             "Stateless Address Autoconfiguration (SLAAC) or includes a DHCPv6 server. If it does "
             "not, static settings must be specified:";
    case 108:
      return "Disable IPv6 (restart required)";
    case 109:
      return "Use dynamic IPv6 address and network configuration";
    case 110:
      return "Use DHCPv6";
    case 111:
      return "Set static IPv6 address and network configuration";
    case 112:
      return "Static address";
    case 113:
      return "Default gateway";
    case 114:
      return "Warning";
    case 115:
      return "No adapter";
    case 116:
      return "Automatic";
    case 117:
      return "None";
    case 118:
      return "Manual";
    case 119:
      return "Set";
    case 120:
      return "Not set";
    case 121:
      return "Enabled";
    case 122:
      return "Disabled";
    case 123:
      return "Done.";
    case 124:
      return "DNS Configuration";
    case 125:
      return "This host can only obtain DNS settings automatically if it also obtains its IP "
             "configuration automatically.";
    case 126:
      return "Obtain DNS server addresses and a hostname automatically";
    case 127:
      return "Use the following DNS server addresses and hostname:";
    case 128:
      return "DNS queries will attempt to locate hosts by appending the suffixes specified here to "
             "short, unqualified names.\n\nUse spaces or commas to separate multiple entries.";
    case 129:
      return "Suffixes:";
    case 130:
      return "Restart Management Network: Confirm";
    case 131:
      return "Restarting the management network will result in a brief network outage. It may "
             "disconnect remote management software and affect running virtual machines.";
    case 132:
      return "Restart management network now?";
    case 133:
      return "Restart Management Network";
    case 134:
      return "Please wait while the management network restarts.";
    case 135:
      return "Stopping management network.";
    case 136:
      return "Starting management network.";
    case 137:
      return "IP address is ";
    case 138:
      return "Restore Standard Switch";
    case 139:
      return "All management network and associated uplinks can be moved onto a new vSwitch in "
             "order to restore network connectivity to Fleetdesk.";
    case 140:
      return "Move the management network onto a standard switch?";
    case 141:
      return "To manage this host go to:";
    case 142:
      return "Warning: DHCP lookup failed. You may be unable to access this system until you "
             "customize its network configuration.";
    case 143:
      return "Warning: Host is running in audit mode. Your configuration will not be persistent "
             "across reboots. Please contact support.";
    case 144:
      return "Authentication Required";
    case 145:
      return "Enter an authorized login name and password for ";
    case 146:
      return "Enter the smart card login PIN for ";
    case 147:
      return "Authentication Denied";
    case 148:
      return "Direct console access has been disabled by the administrator for ";
    case 149:
      return "Login Name:";
    case 150:
      return "Login Id:";
    case 151:
      return "Password:";
    case 152:
      return "PIN:";
    case 153:
      return "Authentication failed";
    case 154:
      return "Invalid login or password.";
    case 155:
      return "User does not have permission to login to MEREL.";
    case 156:
      return "Password has expired.\nYou will be prompted to set a new password and then login "
             "again.";
    case 157:
      return "Configure Password";
    case 158:
      return "Setting the password will prevent unauthorized access to this host.";
    case 159:
      return "Old Password:";
    case 160:
      return "New Password:";
    case 161:
      return "Confirm Password:";
    case 162:
      return "Configure Password: Error";
    case 163:
      return "Configure Password: Warning";
    case 164:
      return "The old password you entered is incorrect";
    case 165:
      return "The new password and the confirmed password do not match.";
    case 166:
      return "Empty passwords are not allowed.";
    case 167:
      return "New password is same as old password. Are you sure?";
    case 168:
      return "The password change operation failed.\nPlease ensure that your password meets the "
             "complexity criteria set by the system.";
    case 169:
      return "Shut Down/Restart";
    case 170:
      return "Remote management software is recommended to safely shut down or restart this "
             "host.\n\nBy default, running virtual machines will be powered off, suspended, or "
             "shut down according to the current system shutdown policy.\nIf this host is part of "
             "an HA cluster, then HA will not restart these VMs unless they are forcefully "
             "terminated.";
    case 171:
      return "Forcefully terminate running VMs, if any ...";
    case 172:
      return "Shut Down Host";
    case 173:
      return "Shutdown in progress...";
    case 174:
      return "Warning: VMs running on the host";
    case 175:
      return "Host has VMs running. Are you sure you want to shutdown/restart the host or restore "
             "the network.";
    case 176:
      return "Restart Host";
    case 177:
      return "Restart in progress...";
    case 178:
      return "Reset System Configuration: Confirm";
    case 179:
      return "Warning! All system parameters will be reverted to their software defaults, and host "
             "configuration will be lost.";
    case 180:
      return "Reset System Configuration now?";
    case 181:
      return "Reset System Configuration";
    case 182:
      return "Please wait while the default settings are restored.";
    case 183:
      return "Default settings are restored. Press <Enter> to restart your host.";
    case 184:
      return "Remove Custom Extensions: Confirm";
    case 185:
      return "Warning! All custom extensions will be removed.";
    case 186:
      return "Remove custom extensions now?";
    case 187:
      return "Remove Custom Extensions";
    case 188:
      return "Please wait while the custom extensions are removed.";
    case 189:
      return "Custom extensions have been removed. Press <Enter> to restart your host.";
    case 190:
      return "Restore Network Factory Settings";
    case 191:
      return "This option will reset the host network configuration to its default setting.";
    case 192:
      return "Are you sure you want to reset the host network configuration?";
    case 193:
      return "Restore to default blocked setting (unblocked) ";
    case 194:
      return "Select DVS uplinks";
    case 195:
      return "Please enter a valid VLAN ID (1-4094).";
    case 196:
      return "Restore DVS";
    case 197:
      return "Enter the properties for new DVS host local port that will be created.\nAll other "
             "properties will be taken as default.";
    case 198:
      return "Restore DVS: Error";
    case 199:
      return "Unable to restore DVS. Check logs for details.";
    case 200:
      return "Unable to restore DVS. Restore DVS operation cannot be performed on 3rd party DVS.";
    case 201:
      return "DVS Uplinks";
    case 202:
      return "Select the DVS Uplinks (one or more) to be used by management nexnic";
    case 203:
      return "DVS Uplinks: Warning";
    case 204:
      return "No uplinks were selected.";
    case 205:
      return "Do you want to continue?";
    case 206:
      return "No DVS Uplinks: Error";
    case 207:
      return "No uplinks are configured on the host for this DVS.";
    case 208:
      return "Restore Network Settings";
    case 209:
      return "Please wait while the factory network settings are restored.";
    case 210:
      return "Powering Off VMs.";
    case 211:
      return "Auto-configuring network.";
    case 212:
      return "Configure Management Network: Confirm";
    case 213:
      return "You have made changes to the host's management network.\nApplying these changes may "
             "result in a brief network outage, disconnect remote management software and affect "
             "running virtual machines. In case IPv6 has been enabled or disabled this will "
             "restart your host.";
    case 214:
      return "Apply changes and restart management network?";
    case 215:
      return "Apply changes and reboot host?";
    case 216:
      return "Test Management Network";
    case 217:
      return "By default, this test will attempt to ping your default gateway and DNS servers, and "
             "resolve your hostname.";
    case 218:
      return "Ping Address";
    case 219:
      return "Resolve Hostname";
    case 220:
      return "Testing Management Network";
    case 221:
      return "You may interrupt the test at any time.";
    case 222:
      return "Pinging address";
    case 223:
      return "Resolving hostname";
    case 224:
      return "Failed.";
    case 225:
      return "OK.";
    case 226:
      return "Troubleshooting Mode Options";
    case 227:
      return "Enable Tarvik Shell";
    case 228:
      return "Disable Tarvik Shell";
    case 229:
      return "Enable SSH";
    case 230:
      return "Disable SSH";
    case 231:
      return "Tarvik Shell";
    case 232:
      return "SSH Support";
    case 233:
      return "Modify Tarvik Shell and SSH timeouts";
    case 234:
      return "Modify MEREL idle timeout";
    case 235:
      return "Restart Management Agents";
    case 236:
      return "Change current state of the Tarvik Shell";
    case 237:
      return "Change current state of SSH";
    case 238:
      return "Tarvik Shell is Enabled";
    case 239:
      return "Tarvik Shell is Disabled";
    case 240:
      return "SSH is Enabled";
    case 241:
      return "SSH is Disabled";
    case 242:
      return "The management agents are the programs that allow remote management software to "
             "monitor and control this host.\n\nRestarting the management agents will disconnect "
             "all remote management software and will affect all running services.";
    case 243:
      return "Modify the number of minutes that can elapse before you must log in after Tarvik "
             "Shell access is enabled and the idle timeout for interactive sessions.";
    case 244:
      return "Modify the number of idle minutes that can elapse before you must log in again in "
             "MEREL.";
    case 245:
      return "Restart Management Agents: Confirm";
    case 246:
      return "{color:red}Warning! Restarting the management agents will disconnect all remote "
             "management software. This will affect all running services.\nCollection of extra "
             "troubleshooting information can take a noticeable amount of time.{/color}";
    case 247:
      return "Restart management agents now?";
    case 248:
      return "Stopping management agents.";
    case 249:
      return "Starting management agents.";
    case 250:
      return "Collect extra troubleshooting information";
    case 251:
      return "Collecting host agent live core information.";
    case 252:
      return "Please, wait ...";
    case 253:
      return "Configure Lockdown Mode";
    case 254:
      return "When enabled, lockdown mode prevents users from logging directly into this host.";
    case 255:
      return "Enable lockdown mode";
    case 256:
      return "If you are having difficulty using your keyboard, choose a layout that matches your "
             "keyboard from the options below.";
    case 257:
      return "Enable IPv6: Restart Required";
    case 258:
      return "This host must be restarted before IPv6 will be enabled.";
    case 259:
      return "Disable IPv6: Restart Required";
    case 260:
      return "This host must be restarted before IPv6 will be disabled.";
    case 261:
      return "Router advertised";
    case 262:
      return "DHCP";
    case 263:
      return "STATIC";
    case 264:
      return "AUTOCONF";
    case 265:
      return "Waiting for DHCP...";
    case 266:
      return "Set the timeouts for Tarvik Shell access (local and remote)";
    case 267:
      return "Set the number of minutes that can elapse before you must log in after Tarvik Shell "
             "is enabled (the availability timeout) and the timeout for idle interactive "
             "sessions.\n\nAfter the availability timeout expires any running shell instances will "
             "remain, but new sessions will not be allowed.  Changes to idle timeout will apply on "
             "next login, but will not affect any existing sessions.\n\nValues are in minutes. Use "
             "zero to disable timeouts. Maximum value is 1440 minutes.";
    case 268:
      return "Availability timeout";
    case 269:
      return "Idle timeout";
    case 270:
      return "Invalid timeout value";
    case 271:
      return "Timeout value must be between 0 (disabled) and 1440 minutes";
    case 272:
      return "Set idle timeout for MEREL access";
    case 273:
      return "Set the number of idle minutes that can elapse before you must log in again in "
             "MEREL.\n\nValue is in minutes. Use zero to disable the timeout. Maximum value is "
             "1440 minutes.";
    case 274:
      return "MEREL idle timeout";
    case 2:
      return ProductLine();
    case 3:
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
