// The whole host as one typed value: what a backend reads and writes. The
// simulated host keeps it as ROOT/host.json; a host description (the input
// of `merel-sim init`) has the same shape, and every member it leaves out
// takes the default written here.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Platform {

struct ProductState {
  std::string name = "Tarvik";
  std::string version = "8.0.2";
  std::string build = "3070001";
  std::string kernelVersion = "8.0.2";
  std::string compilationOption = "release";
};

struct CpuState {
  uint32_t packages = 1;
  uint32_t coresPerPackage = 4;
  uint32_t threadsPerCore = 2;
  std::string description = "Intel(R) Xeon(R) CPU E5-2620 v4 @ 2.10GHz";
};

struct MemoryState {
  uint64_t totalPages = 4194304;  // 16 GiB of 4 KiB pages
  uint64_t pageSize = 4096;
};

struct BiosState {
  std::string vendor;
  int major = 0;
  int minor = 0;
  std::string version;
  std::string releaseDate;
};

struct StorageAdapterState {
  std::string name;  // "hba0"
  std::string model;
  std::string driver;
  std::string firmwareVersion;
};

struct PciDeviceState {
  std::string address;
  std::string vendorName;
  std::string deviceName;
  // Handed to the DriverVM in the running boot.
  bool passthrough = false;
  // The native driver that claims the device; empty when the host has none
  // (a network adapter's driver also shows on its pnic).
  std::string driver;
  // Devices of one group (an isolation domain of the PCI bus) can only be
  // handed over together; empty: a group of its own.
  std::string group;
  // The assignment saved for the next boot: -1 unchanged, else 0 or 1.
  int passthroughAfterReboot = -1;
};

struct SmartCardState {
  bool supported = false;
  bool present = false;
  std::vector<std::string> users;  // user ids of the tokens on the card
  bool lookupFails = false;
};

struct HardwareState {
  std::string vendor;
  std::string model;
  std::string uuid;
  std::string serviceTag;
  std::string assetTag;
  std::string bmcVersion;
  BiosState bios;
  CpuState cpu;
  MemoryState memory;
  std::vector<StorageAdapterState> storageAdapters;
  std::vector<PciDeviceState> pciDevices;
  int deviceAssignmentState = 0;  // 0 unsupported, 1 supported, 2 configurable
  // Why no device can be assigned although the entry is offered (the host
  // lacks what it takes); empty when devices can be.
  std::string deviceAssignmentNote;
  SmartCardState smartCard;
};

struct PnicState {
  std::string name;  // "pnic0"
  std::string mac;
  std::string label;
  std::string pciAddress;
  std::string driver;
  bool linkUp = true;
  int speedMbps = 10000;
  bool fullDuplex = true;
};

struct PortGroupState {
  std::string name;
  uint16_t vlanId = 0;
  std::vector<std::string> activeUplinks;
  std::vector<std::string> standbyUplinks;
  int maxActiveUplinks = 32;
};

struct VSwitchState {
  std::string name;
  int numPorts = 128;
  int mtu = 1500;
  std::vector<std::string> uplinks;
  std::vector<PortGroupState> portGroups;
};

struct DVPortState {
  std::string key;
  std::string portgroupKey;
  uint16_t vlanId = 0;
  std::vector<std::string> activeUplinks;
  std::vector<std::string> standbyUplinks;
  // The switch's manager blocked the port: no traffic passes it.
  bool blocked = false;
};

struct DVSwitchState {
  std::string name;
  std::string uuid;
  std::vector<std::string> uplinks;
  std::vector<DVPortState> ports;
};

struct NexNicState {
  std::string name;  // "nex0"
  std::string mac;
  bool enabled = true;
  bool management = false;
  int mtu = 1500;
  // Exactly one connection: a standard port group, a port of a distributed
  // switch, or an opaque network.
  std::string portGroup;
  std::string dvSwitch;
  std::string dvPort;
  std::string opaqueNetwork;
  std::string ipv4Mode = "static";  // "static", "dhcp" or "none"
  std::string ipv4Address = "0.0.0.0";
  std::string ipv4Netmask = "0.0.0.0";
  bool dhcpDns = false;
  bool ipv6Dhcp = false;
  bool ipv6RouterAdvertised = false;
  std::vector<std::string> ipv6Addresses;  // static, "addr/prefix"
  // What the DHCP server handed out (empty: no lease yet).
  std::string leaseAddress;
  int leaseRenewals = 0;
  int ipv6LeaseRenewals = 0;
  int restarts = 0;
  int stops = 0;  // disabled (a restart from the console is a stop, then an enable)
};

// The network the host sits in: what DHCP and router advertisements give.
struct DhcpServerState {
  bool available = true;
  std::string poolStart = "192.168.10.100";
  std::string poolEnd = "192.168.10.199";
  std::string netmask = "255.255.255.0";
  std::string gateway = "192.168.10.1";
  std::vector<std::string> dns = {"192.168.10.2"};
  std::string domain;
  std::string hostname;                         // handed to DHCP+DNS clients when not empty
  std::string ipv6Prefix = "2001:db8:10::/64";  // router advertisements
  std::string ipv6Gateway = "fe80::1";
  bool ipv6DhcpAvailable = true;
  std::vector<std::string> ipv6Dns;
};

struct RoutingState {
  std::string ipv4Gateway = "0.0.0.0";
  std::string ipv6Gateway = "::";
};

struct DnsState {
  std::string hostname = "localhost";
  std::string domain;
  std::vector<std::string> searchDomains;
  std::vector<std::string> nameServers;      // IPv4
  std::vector<std::string> ipv6NameServers;  // IPv6
  int saveCount = 0;
  // The world's DNS, as this host's resolver would see it.
  std::map<std::string, std::vector<std::string>> records;
};

struct NetworkState {
  bool ipv6Enabled = true;
  bool ipv6EnabledAfterReboot = true;
  bool netDumperEnabled = true;
  std::vector<PnicState> pnics;
  std::vector<VSwitchState> vswitches;
  std::vector<DVSwitchState> dvswitches;
  std::vector<NexNicState> nics;
  RoutingState routing;
  DnsState dns;
  DhcpServerState dhcp;
  // Addresses that answer `nexping`. The host's own addresses and its
  // gateways are reachable in any case.
  std::vector<std::string> reachable;
  // How long `nexping` takes for an address, in milliseconds (default: at
  // once); a very large value is a ping that never ends.
  std::map<std::string, int> pingDelayMs;
  // How long the resolver takes for a name the hosts file does not hold, in
  // milliseconds (default: at once).
  std::map<std::string, int> resolveDelayMs;
  int autoConfigCount = 0;
  // The program that owns the host's interfaces when it is not the console
  // (its settings are then only shown); "" when the console may change them.
  std::string managedBy;
};

struct AdvancedOptionState {
  std::string name;          // "/UserVars/MerelTimeOut"
  std::string type = "int";  // "int" or "string"
  int64_t value = 0;
  int64_t min = 0;
  int64_t max = 0;
  int64_t defaultValue = 0;
  std::string stringValue;
  std::string description;
};

struct ServiceState {
  std::string name;  // "TarvikShell", "SSH", "mgmtd", ...
  bool running = false;
  bool enabled = false;  // started at boot
  int restarts = 0;
};

struct VmState {
  std::string name;
  bool poweredOn = false;
  // Ignores a soft stop (a hung guest): only a terminate stops it, or the
  // host going down under it.
  bool refusesSoftStop = false;
  // How it last stopped: "shut down", "terminated" or "host went down".
  std::string lastStop;
};

struct AccountState {
  std::string user;
  // Only from a host description, to seed the PAM password database; never
  // stored in host.json (empty in a state read from there).
  std::string password;
  // Only from a host description: the password has expired, so the next
  // login leads into a change. Kept by the host's PAM module from then on,
  // which ends it with the change.
  bool expired = false;
};

struct FirewallRulesetState {
  std::string id;
  bool enabled = false;
};

struct LockdownState {
  bool enabled = false;
  bool possible = false;
};

// A host-library call made to fail on purpose (`merel-sim fail`): `call` is a
// method name ("SetHostname") or Class.Method ("PnicImpl.GetMacAddress"),
// `text` the exception text. A once-fault is removed by the call it fails.
struct FaultState {
  std::string call;
  std::string text;
  bool once = false;
};

struct HostState {
  ProductState product;
  HardwareState hardware;
  NetworkState network;
  std::vector<AdvancedOptionState> advancedOptions;
  std::vector<std::string> keyboardLayouts = {
      "Default",      "US Default",   "United Kingdom", "German",    "French",
      "Swiss German", "Swiss French", "Belgian",        "Spanish",   "Italian",
      "Portuguese",   "Dutch",        "Danish",         "Norwegian", "Swedish",
      "Finnish",      "Icelandic",    "Polish",         "Czech",     "Slovenian",
      "Croatian",     "Estonian",     "Russian",        "Turkish",   "Japanese",
      "Korean",       "Brazilian",    "Latin American", "US Dvorak", "Canadian French"};
  std::string keyboardLayout = "US Default";
  std::string welcomeMessage;
  std::vector<ServiceState> services;
  LockdownState lockdown;
  std::vector<VmState> vms;
  std::string powerState = "on";  // "on", "off", "rebooting"
  int activeVirtualTerminal = 0;  // 0: never switched
  // The console runs on the host's own keyboard and screen (not a serial
  // line or a remote session).
  bool consoleKeyboard = false;
  int bootCount = 1;
  std::vector<FirewallRulesetState> firewall;
  std::vector<std::string> alerts;
  bool eventServiceAvailable = true;
  std::string supportInfo;
  std::vector<AccountState> accounts = {{"root", "merel"}};
  // The log files (names under /var/log, "syslog.log") that `merel-sim init`
  // creates; a description may leave some out.
  std::vector<std::string> logs = {"syslog.log", "nexel.log", "hostboot.log", "mgmtd.log",
                                   "fdxa.log",   "hamd.log",  "obsvd.log"};
  // Whether /var/run/ostrel/show-merel-login is created at init.
  bool showLoginMarker = true;
  int configResets = 0;
  // Free counters for tools and tests.
  std::map<std::string, int64_t> counters;
  std::vector<FaultState> faults;
};

// Defaults that every host gets unless its description says otherwise:
// the advanced options the console reads, the services, the logs.
void FillDefaults(HostState& state);

// JSON (nlohmann) conversion. FromJson reports the first problem as one line
// ("network.nics[0].ipv4Address: not an IPv4 address") and returns false.
std::string ToJson(const HostState& state);
bool FromJson(const std::string& text, HostState& state, std::string& error);
// Checks the cross references and addresses of a state (done by FromJson).
bool Validate(const HostState& state, std::string& error);

// Lookups; null when absent.
NexNicState* FindNic(HostState& state, const std::string& name);
const NexNicState* FindNic(const HostState& state, const std::string& name);
PnicState* FindPnic(HostState& state, const std::string& name);
VSwitchState* FindVSwitch(HostState& state, const std::string& name);
// The port group and, through `owner`, its switch.
PortGroupState* FindPortGroup(HostState& state,
                              const std::string& name,
                              VSwitchState** owner = nullptr);
DVSwitchState* FindDVSwitch(HostState& state, const std::string& name);
AdvancedOptionState* FindOption(HostState& state, const std::string& name);
const AdvancedOptionState* FindOption(const HostState& state, const std::string& name);
ServiceState* FindService(HostState& state, const std::string& name);
// The management interface: the first enabled-or-not NIC marked management.
const NexNicState* ManagementNic(const HostState& state);

}  // namespace Platform
