#include "HostState.h"

#include <algorithm>
#include <limits>
#include <set>
#include <stdexcept>
#include <type_traits>

#include <nlohmann/json.hpp>

#include "HostCtl/IpAddress.h"
#include "HostCtl/Ipv6Network.h"
#include "HostCtl/MacAddress.h"

namespace Platform {

namespace {

using Json = nlohmann::ordered_json;

// A member that is read but never written.
struct ReadOnly {
  const char* key;
};

// One list of members per record, shared by the reader and the writer, so
// the JSON names can never drift apart from each other.
template <class V>
void Fields(ProductState& s, V& v) {
  v("name", s.name);
  v("version", s.version);
  v("build", s.build);
  v("kernelVersion", s.kernelVersion);
  v("compilationOption", s.compilationOption);
}
template <class V>
void Fields(CpuState& s, V& v) {
  v("packages", s.packages);
  v("coresPerPackage", s.coresPerPackage);
  v("threadsPerCore", s.threadsPerCore);
  v("description", s.description);
}
template <class V>
void Fields(MemoryState& s, V& v) {
  v("totalPages", s.totalPages);
  v("pageSize", s.pageSize);
}
template <class V>
void Fields(BiosState& s, V& v) {
  v("vendor", s.vendor);
  v("major", s.major);
  v("minor", s.minor);
  v("version", s.version);
  v("releaseDate", s.releaseDate);
}
template <class V>
void Fields(StorageAdapterState& s, V& v) {
  v("name", s.name);
  v("model", s.model);
  v("driver", s.driver);
  v("firmwareVersion", s.firmwareVersion);
}
template <class V>
void Fields(PciDeviceState& s, V& v) {
  v("address", s.address);
  v("vendorName", s.vendorName);
  v("deviceName", s.deviceName);
  v("passthrough", s.passthrough);
  v("driver", s.driver);
  v("group", s.group);
  v("passthroughAfterReboot", s.passthroughAfterReboot);
}
template <class V>
void Fields(SmartCardState& s, V& v) {
  v("supported", s.supported);
  v("present", s.present);
  v("users", s.users);
  v("lookupFails", s.lookupFails);
}
template <class V>
void Fields(HardwareState& s, V& v) {
  v("vendor", s.vendor);
  v("model", s.model);
  v("uuid", s.uuid);
  v("serviceTag", s.serviceTag);
  v("assetTag", s.assetTag);
  v("bmcVersion", s.bmcVersion);
  v("bios", s.bios);
  v("cpu", s.cpu);
  v("memory", s.memory);
  v("storageAdapters", s.storageAdapters);
  v("pciDevices", s.pciDevices);
  v("deviceAssignmentState", s.deviceAssignmentState);
  v("deviceAssignmentNote", s.deviceAssignmentNote);
  v("smartCard", s.smartCard);
}
template <class V>
void Fields(PnicState& s, V& v) {
  v("name", s.name);
  v("mac", s.mac);
  v("label", s.label);
  v("pciAddress", s.pciAddress);
  v("driver", s.driver);
  v("linkUp", s.linkUp);
  v("speedMbps", s.speedMbps);
  v("fullDuplex", s.fullDuplex);
}
template <class V>
void Fields(PortGroupState& s, V& v) {
  v("name", s.name);
  v("vlanId", s.vlanId);
  v("activeUplinks", s.activeUplinks);
  v("standbyUplinks", s.standbyUplinks);
  v("maxActiveUplinks", s.maxActiveUplinks);
}
template <class V>
void Fields(VSwitchState& s, V& v) {
  v("name", s.name);
  v("numPorts", s.numPorts);
  v("mtu", s.mtu);
  v("uplinks", s.uplinks);
  v("portGroups", s.portGroups);
}
template <class V>
void Fields(DVPortState& s, V& v) {
  v("key", s.key);
  v("portgroupKey", s.portgroupKey);
  v("vlanId", s.vlanId);
  v("activeUplinks", s.activeUplinks);
  v("standbyUplinks", s.standbyUplinks);
  v("blocked", s.blocked);
}
template <class V>
void Fields(DVSwitchState& s, V& v) {
  v("name", s.name);
  v("uuid", s.uuid);
  v("uplinks", s.uplinks);
  v("ports", s.ports);
}
template <class V>
void Fields(NexNicState& s, V& v) {
  v("name", s.name);
  v("mac", s.mac);
  v("enabled", s.enabled);
  v("management", s.management);
  v("mtu", s.mtu);
  v("portGroup", s.portGroup);
  v("dvSwitch", s.dvSwitch);
  v("dvPort", s.dvPort);
  v("opaqueNetwork", s.opaqueNetwork);
  v("ipv4Mode", s.ipv4Mode);
  v("ipv4Address", s.ipv4Address);
  v("ipv4Netmask", s.ipv4Netmask);
  v("dhcpDns", s.dhcpDns);
  v("ipv6Dhcp", s.ipv6Dhcp);
  v("ipv6RouterAdvertised", s.ipv6RouterAdvertised);
  v("ipv6Addresses", s.ipv6Addresses);
  v("leaseAddress", s.leaseAddress);
  v("leaseRenewals", s.leaseRenewals);
  v("ipv6LeaseRenewals", s.ipv6LeaseRenewals);
  v("restarts", s.restarts);
  v("stops", s.stops);
}
template <class V>
void Fields(DhcpServerState& s, V& v) {
  v("available", s.available);
  v("poolStart", s.poolStart);
  v("poolEnd", s.poolEnd);
  v("netmask", s.netmask);
  v("gateway", s.gateway);
  v("dns", s.dns);
  v("domain", s.domain);
  v("hostname", s.hostname);
  v("ipv6Prefix", s.ipv6Prefix);
  v("ipv6Gateway", s.ipv6Gateway);
  v("ipv6DhcpAvailable", s.ipv6DhcpAvailable);
  v("ipv6Dns", s.ipv6Dns);
}
template <class V>
void Fields(RoutingState& s, V& v) {
  v("ipv4Gateway", s.ipv4Gateway);
  v("ipv6Gateway", s.ipv6Gateway);
}
template <class V>
void Fields(DnsState& s, V& v) {
  v("hostname", s.hostname);
  v("domain", s.domain);
  v("searchDomains", s.searchDomains);
  v("nameServers", s.nameServers);
  v("ipv6NameServers", s.ipv6NameServers);
  v("saveCount", s.saveCount);
  v("records", s.records);
}
template <class V>
void Fields(NetworkState& s, V& v) {
  v("ipv6Enabled", s.ipv6Enabled);
  v("ipv6EnabledAfterReboot", s.ipv6EnabledAfterReboot);
  v("netDumperEnabled", s.netDumperEnabled);
  v("pnics", s.pnics);
  v("vswitches", s.vswitches);
  v("dvswitches", s.dvswitches);
  v("nics", s.nics);
  v("routing", s.routing);
  v("dns", s.dns);
  v("dhcp", s.dhcp);
  v("reachable", s.reachable);
  v("pingDelayMs", s.pingDelayMs);
  v("resolveDelayMs", s.resolveDelayMs);
  v("autoConfigCount", s.autoConfigCount);
  v("managedBy", s.managedBy);
}
template <class V>
void Fields(AdvancedOptionState& s, V& v) {
  v("name", s.name);
  v("type", s.type);
  v("value", s.value);
  v("min", s.min);
  v("max", s.max);
  v("defaultValue", s.defaultValue);
  v("stringValue", s.stringValue);
  v("description", s.description);
}
template <class V>
void Fields(ServiceState& s, V& v) {
  v("name", s.name);
  v("running", s.running);
  v("enabled", s.enabled);
  v("restarts", s.restarts);
}
template <class V>
void Fields(VmState& s, V& v) {
  v("name", s.name);
  v("poweredOn", s.poweredOn);
  v("refusesSoftStop", s.refusesSoftStop);
  v("lastStop", s.lastStop);
}
template <class V>
void Fields(AccountState& s, V& v) {
  v("user", s.user);
  // A description may give a password so that `init` can seed the PAM
  // password database (mode 0600); host.json is world-readable and never
  // gets it back.
  v(ReadOnly{"password"}, s.password);
  v(ReadOnly{"expired"}, s.expired);
}
template <class V>
void Fields(FirewallRulesetState& s, V& v) {
  v("id", s.id);
  v("enabled", s.enabled);
}
template <class V>
void Fields(LockdownState& s, V& v) {
  v("enabled", s.enabled);
  v("possible", s.possible);
}
template <class V>
void Fields(FaultState& s, V& v) {
  v("call", s.call);
  v("text", s.text);
  v("once", s.once);
}
template <class V>
void Fields(HostState& s, V& v) {
  v("product", s.product);
  v("hardware", s.hardware);
  v("network", s.network);
  v("advancedOptions", s.advancedOptions);
  v("keyboardLayouts", s.keyboardLayouts);
  v("keyboardLayout", s.keyboardLayout);
  v("welcomeMessage", s.welcomeMessage);
  v("services", s.services);
  v("lockdown", s.lockdown);
  v("vms", s.vms);
  v("powerState", s.powerState);
  v("activeVirtualTerminal", s.activeVirtualTerminal);
  v("consoleKeyboard", s.consoleKeyboard);
  v("bootCount", s.bootCount);
  v("firewall", s.firewall);
  v("alerts", s.alerts);
  v("eventServiceAvailable", s.eventServiceAvailable);
  v("supportInfo", s.supportInfo);
  v("accounts", s.accounts);
  v("logs", s.logs);
  v("showLoginMarker", s.showLoginMarker);
  v("configResets", s.configResets);
  v("counters", s.counters);
  v("faults", s.faults);
}

template <class T>
struct IsVector : std::false_type {};
template <class T>
struct IsVector<std::vector<T>> : std::true_type {};
template <class T>
struct IsMap : std::false_type {};
template <class T>
struct IsMap<std::map<std::string, T>> : std::true_type {};

struct FormatError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

template <class T>
Json ToJ(const T& value);

struct Writer {
  Json& out;
  template <class T>
  void operator()(const char* key, const T& value) {
    out[key] = ToJ(value);
  }
  template <class T>
  void operator()(ReadOnly, const T&) {}
};

template <class T>
Json ToJ(const T& value) {
  if constexpr (std::is_same_v<T, std::string> || std::is_arithmetic_v<T>) {
    return Json(value);
  } else if constexpr (IsVector<T>::value) {
    Json array = Json::array();
    for (const auto& element : value)
      array.push_back(ToJ(element));
    return array;
  } else if constexpr (IsMap<T>::value) {
    Json object = Json::object();
    for (const auto& [key, element] : value)
      object[key] = ToJ(element);
    return object;
  } else {
    Json object = Json::object();
    Writer writer{object};
    Fields(const_cast<T&>(value), writer);
    return object;
  }
}

template <class T>
void FromJ(const Json& j, T& out, const std::string& path);

struct Reader {
  const Json& in;
  const std::string& path;
  std::set<std::string> known;
  template <class T>
  void operator()(const char* key, T& value) {
    known.insert(key);
    auto it = in.find(key);
    if (it != in.end()) {
      FromJ(*it, value, path.empty() ? std::string(key) : path + "." + key);
    }
  }
  template <class T>
  void operator()(ReadOnly member, T& value) {
    (*this)(member.key, value);
  }
};

template <class T>
void FromJ(const Json& j, T& out, const std::string& path) {
  if constexpr (std::is_same_v<T, bool>) {
    if (!j.is_boolean())
      throw FormatError(path + ": expected true or false");
    out = j.get<bool>();
  } else if constexpr (std::is_integral_v<T>) {
    if (!j.is_number_integer())
      throw FormatError(path + ": expected an integer");
    if (j.is_number_unsigned()) {
      auto value = j.get<uint64_t>();
      if (value > static_cast<uint64_t>(std::numeric_limits<T>::max())) {
        throw FormatError(path + ": number out of range");
      }
      out = static_cast<T>(value);
    } else {
      auto value = j.get<int64_t>();
      if (value < static_cast<int64_t>(std::numeric_limits<T>::min()) ||
          (value > 0 &&
           static_cast<uint64_t>(value) > static_cast<uint64_t>(std::numeric_limits<T>::max()))) {
        throw FormatError(path + ": number out of range");
      }
      out = static_cast<T>(value);
    }
  } else if constexpr (std::is_same_v<T, std::string>) {
    if (!j.is_string())
      throw FormatError(path + ": expected a string");
    out = j.get<std::string>();
  } else if constexpr (IsVector<T>::value) {
    if (!j.is_array())
      throw FormatError(path + ": expected a list");
    out.clear();
    out.resize(j.size());
    for (size_t i = 0; i < j.size(); ++i) {
      FromJ(j[i], out[i], path + "[" + std::to_string(i) + "]");
    }
  } else if constexpr (IsMap<T>::value) {
    if (!j.is_object())
      throw FormatError(path + ": expected an object");
    out.clear();
    for (auto it = j.begin(); it != j.end(); ++it) {
      FromJ(it.value(), out[it.key()], path + "." + it.key());
    }
  } else {
    if (!j.is_object())
      throw FormatError((path.empty() ? "top level" : path) + ": expected an object");
    Reader reader{j, path, {}};
    Fields(out, reader);
    // A misspelt member would otherwise be ignored silently and the host
    // would quietly take a default instead of what the author meant.
    for (auto it = j.begin(); it != j.end(); ++it) {
      if (!reader.known.count(it.key()) && it.key().rfind("//", 0) != 0) {
        throw FormatError((path.empty() ? "" : path + ".") + it.key() + ": unknown member");
      }
    }
  }
}

void CheckIpv4(const std::string& text, const std::string& path) {
  if (!HostCtl::Network::Ipv4Address::IsValidAddress(text)) {
    throw FormatError(path + ": not an IPv4 address: \"" + text + "\"");
  }
}
void CheckIpv6(const std::string& text, const std::string& path) {
  if (!HostCtl::Network::Ipv6Address::IsValidAddress(text)) {
    throw FormatError(path + ": not an IPv6 address: \"" + text + "\"");
  }
}
void CheckMac(const std::string& text, const std::string& path) {
  if (!text.empty() && !HostCtl::Network::MacAddress::IsValid(text)) {
    throw FormatError(path + ": not a MAC address: \"" + text + "\"");
  }
}
template <class T>
void CheckUnique(const std::vector<T>& items, const std::string& path) {
  std::set<std::string> names;
  for (size_t i = 0; i < items.size(); ++i) {
    std::string name;
    if constexpr (requires { items[i].name; })
      name = items[i].name;
    else
      name = items[i].id;
    std::string where = path + "[" + std::to_string(i) + "]";
    if (name.empty())
      throw FormatError(where + ": missing name");
    if (!names.insert(name).second)
      throw FormatError(where + ": duplicate name \"" + name + "\"");
  }
}

void ValidateOrThrow(const HostState& s) {
  const auto& net = s.network;
  CheckUnique(net.pnics, "network.pnics");
  for (size_t i = 0; i < net.pnics.size(); ++i) {
    CheckMac(net.pnics[i].mac, "network.pnics[" + std::to_string(i) + "].mac");
  }
  CheckUnique(net.vswitches, "network.vswitches");
  std::set<std::string> portGroups;
  for (size_t i = 0; i < net.vswitches.size(); ++i) {
    const auto& sw = net.vswitches[i];
    std::string where = "network.vswitches[" + std::to_string(i) + "]";
    for (const auto& uplink : sw.uplinks) {
      if (std::none_of(net.pnics.begin(), net.pnics.end(),
                       [&](const PnicState& p) { return p.name == uplink; })) {
        throw FormatError(where + ".uplinks: unknown adapter \"" + uplink + "\"");
      }
    }
    for (size_t k = 0; k < sw.portGroups.size(); ++k) {
      const auto& pg = sw.portGroups[k];
      std::string pgWhere = where + ".portGroups[" + std::to_string(k) + "]";
      if (pg.name.empty())
        throw FormatError(pgWhere + ": missing name");
      if (!portGroups.insert(pg.name).second) {
        throw FormatError(pgWhere + ": duplicate port group \"" + pg.name + "\"");
      }
      if (pg.vlanId > 4095)
        throw FormatError(pgWhere + ".vlanId: out of range (0-4095)");
    }
  }
  CheckUnique(net.dvswitches, "network.dvswitches");
  CheckUnique(net.nics, "network.nics");
  for (size_t i = 0; i < net.nics.size(); ++i) {
    const auto& nic = net.nics[i];
    std::string where = "network.nics[" + std::to_string(i) + "]";
    CheckMac(nic.mac, where + ".mac");
    int connections = !nic.portGroup.empty() + !nic.dvSwitch.empty() + !nic.opaqueNetwork.empty();
    if (connections != 1) {
      throw FormatError(where + ": needs exactly one of portGroup, dvSwitch, opaqueNetwork");
    }
    if (!nic.portGroup.empty() && !portGroups.count(nic.portGroup)) {
      throw FormatError(where + ".portGroup: unknown port group \"" + nic.portGroup + "\"");
    }
    if (!nic.dvSwitch.empty() &&
        std::none_of(net.dvswitches.begin(), net.dvswitches.end(),
                     [&](const DVSwitchState& d) { return d.name == nic.dvSwitch; })) {
      throw FormatError(where + ".dvSwitch: unknown distributed switch \"" + nic.dvSwitch + "\"");
    }
    if (nic.ipv4Mode != "static" && nic.ipv4Mode != "dhcp" && nic.ipv4Mode != "none") {
      throw FormatError(where + ".ipv4Mode: expected \"static\", \"dhcp\" or \"none\"");
    }
    CheckIpv4(nic.ipv4Address, where + ".ipv4Address");
    CheckIpv4(nic.ipv4Netmask, where + ".ipv4Netmask");
    if (nic.ipv4Mode == "static" &&
        !HostCtl::Network::Ipv4Address::IsValidNetmask(nic.ipv4Netmask) &&
        nic.ipv4Address != "0.0.0.0") {
      throw FormatError(where + ".ipv4Netmask: not a netmask: \"" + nic.ipv4Netmask + "\"");
    }
    if (!nic.leaseAddress.empty())
      CheckIpv4(nic.leaseAddress, where + ".leaseAddress");
    for (size_t k = 0; k < nic.ipv6Addresses.size(); ++k) {
      if (!HostCtl::Network::Ipv6Network::IsValidAddressAndNetmask(nic.ipv6Addresses[k])) {
        throw FormatError(where + ".ipv6Addresses[" + std::to_string(k) +
                          "]: not an IPv6 address/prefix: \"" + nic.ipv6Addresses[k] + "\"");
      }
    }
  }
  CheckIpv4(net.routing.ipv4Gateway, "network.routing.ipv4Gateway");
  CheckIpv6(net.routing.ipv6Gateway, "network.routing.ipv6Gateway");
  for (size_t i = 0; i < net.dns.nameServers.size(); ++i) {
    CheckIpv4(net.dns.nameServers[i], "network.dns.nameServers[" + std::to_string(i) + "]");
  }
  for (size_t i = 0; i < net.dns.ipv6NameServers.size(); ++i) {
    CheckIpv6(net.dns.ipv6NameServers[i], "network.dns.ipv6NameServers[" + std::to_string(i) + "]");
  }
  const auto& dhcp = net.dhcp;
  CheckIpv4(dhcp.poolStart, "network.dhcp.poolStart");
  CheckIpv4(dhcp.poolEnd, "network.dhcp.poolEnd");
  CheckIpv4(dhcp.netmask, "network.dhcp.netmask");
  CheckIpv4(dhcp.gateway, "network.dhcp.gateway");
  for (size_t i = 0; i < dhcp.dns.size(); ++i) {
    CheckIpv4(dhcp.dns[i], "network.dhcp.dns[" + std::to_string(i) + "]");
  }
  if (!dhcp.ipv6Prefix.empty() &&
      !HostCtl::Network::Ipv6Network::IsValidAddressAndNetmask(dhcp.ipv6Prefix)) {
    throw FormatError("network.dhcp.ipv6Prefix: not an IPv6 address/prefix: \"" + dhcp.ipv6Prefix +
                      "\"");
  }
  if (!dhcp.ipv6Gateway.empty())
    CheckIpv6(dhcp.ipv6Gateway, "network.dhcp.ipv6Gateway");
  for (size_t i = 0; i < dhcp.ipv6Dns.size(); ++i) {
    CheckIpv6(dhcp.ipv6Dns[i], "network.dhcp.ipv6Dns[" + std::to_string(i) + "]");
  }
  CheckUnique(s.advancedOptions, "advancedOptions");
  for (size_t i = 0; i < s.advancedOptions.size(); ++i) {
    const auto& option = s.advancedOptions[i];
    std::string where = "advancedOptions[" + std::to_string(i) + "]";
    if (option.type != "int" && option.type != "string") {
      throw FormatError(where + ".type: expected \"int\" or \"string\"");
    }
    if (option.type == "int" && option.min <= option.max &&
        (option.value < option.min || option.value > option.max)) {
      throw FormatError(where + ".value: outside min..max");
    }
  }
  CheckUnique(s.services, "services");
  CheckUnique(s.firewall, "firewall");
  if (s.powerState != "on" && s.powerState != "off" && s.powerState != "rebooting") {
    throw FormatError("powerState: expected \"on\", \"off\" or \"rebooting\"");
  }
  if (s.hardware.deviceAssignmentState < 0 || s.hardware.deviceAssignmentState > 2) {
    throw FormatError("hardware.deviceAssignmentState: expected 0, 1 or 2");
  }
  if (s.hardware.memory.pageSize == 0)
    throw FormatError("hardware.memory.pageSize: must not be 0");
  for (size_t i = 0; i < s.accounts.size(); ++i) {
    const auto& account = s.accounts[i];
    std::string where = "accounts[" + std::to_string(i) + "]";
    // The user names a file of the account module too.
    if (account.user.empty() || account.user.find_first_of(":/\n") != std::string::npos ||
        account.user == "." || account.user == ".." ||
        account.password.find(':') != std::string::npos ||
        account.password.find('\n') != std::string::npos) {
      throw FormatError(where +
                        ": user must be a non-empty file name; neither may contain ':' "
                        "or a line break");
    }
  }
  for (const auto& log : s.logs) {
    if (log.empty() || log.find('/') != std::string::npos) {
      throw FormatError("logs: \"" + log + "\" is not a file name");
    }
  }
}

AdvancedOptionState IntOption(const char* name,
                              int64_t value,
                              int64_t min,
                              int64_t max,
                              const char* description) {
  AdvancedOptionState option;
  option.name = name;
  option.value = value;
  option.defaultValue = value;
  option.min = min;
  option.max = max;
  option.description = description;
  return option;
}

}  // namespace

void FillDefaults(HostState& state) {
  const AdvancedOptionState options[] = {
      IntOption("/UserVars/MerelTimeOut", 600, 0, 86400,
                "Idle time in seconds before the console logs out automatically (0 disables)"),
      IntOption(
          "/UserVars/TarvikShellTimeOut", 0, 0, 86400,
          "Time in seconds the local shell stays available after it was enabled (0 disables)"),
      IntOption("/UserVars/TarvikShellInteractiveTimeOut", 0, 0, 86400,
                "Idle time in seconds before an interactive shell is logged out (0 disables)"),
  };
  for (const auto& option : options) {
    if (!FindOption(state, option.name))
      state.advancedOptions.push_back(option);
  }
  const ServiceState services[] = {
      {"TarvikShell", false, false, 0}, {"SSH", false, false, 0},  {"mgmtd", true, true, 0},
      {"fdxa", true, true, 0},          {"hamd", false, false, 0},
  };
  for (const auto& service : services) {
    if (!FindService(state, service.name))
      state.services.push_back(service);
  }
  if (std::none_of(state.firewall.begin(), state.firewall.end(),
                   [](const FirewallRulesetState& r) { return r.id == "sshServer"; })) {
    state.firewall.push_back({"sshServer", false});
  }
}

std::string ToJson(const HostState& state) {
  return ToJ(state).dump(2) + "\n";
}

bool FromJson(const std::string& text, HostState& state, std::string& error) {
  Json j;
  try {
    j = Json::parse(text);
  } catch (const Json::parse_error& e) {
    // nlohmann's text starts with "[json.exception.parse_error.101] parse error at line ..."
    std::string what = e.what();
    auto pos = what.find("] ");
    error = "not valid JSON: " + (pos == std::string::npos ? what : what.substr(pos + 2));
    return false;
  }
  HostState parsed;
  try {
    FromJ(j, parsed, "");
    ValidateOrThrow(parsed);
  } catch (const FormatError& e) {
    error = e.what();
    return false;
  }
  state = std::move(parsed);
  return true;
}

bool Validate(const HostState& state, std::string& error) {
  try {
    ValidateOrThrow(state);
  } catch (const FormatError& e) {
    error = e.what();
    return false;
  }
  return true;
}

template <class T, class Name>
static auto* FindIn(std::vector<T>& items, const Name& name) {
  for (auto& item : items) {
    if (item.name == name)
      return &item;
  }
  return static_cast<T*>(nullptr);
}

NexNicState* FindNic(HostState& state, const std::string& name) {
  return FindIn(state.network.nics, name);
}
const NexNicState* FindNic(const HostState& state, const std::string& name) {
  return FindNic(const_cast<HostState&>(state), name);
}
PnicState* FindPnic(HostState& state, const std::string& name) {
  return FindIn(state.network.pnics, name);
}
VSwitchState* FindVSwitch(HostState& state, const std::string& name) {
  return FindIn(state.network.vswitches, name);
}
PortGroupState* FindPortGroup(HostState& state, const std::string& name, VSwitchState** owner) {
  for (auto& sw : state.network.vswitches) {
    for (auto& pg : sw.portGroups) {
      if (pg.name == name) {
        if (owner)
          *owner = &sw;
        return &pg;
      }
    }
  }
  return nullptr;
}
DVSwitchState* FindDVSwitch(HostState& state, const std::string& name) {
  return FindIn(state.network.dvswitches, name);
}
AdvancedOptionState* FindOption(HostState& state, const std::string& name) {
  return FindIn(state.advancedOptions, name);
}
const AdvancedOptionState* FindOption(const HostState& state, const std::string& name) {
  return FindOption(const_cast<HostState&>(state), name);
}
ServiceState* FindService(HostState& state, const std::string& name) {
  return FindIn(state.services, name);
}
const NexNicState* ManagementNic(const HostState& state) {
  for (const auto& nic : state.network.nics) {
    if (nic.management)
      return &nic;
  }
  return nullptr;
}

}  // namespace Platform
