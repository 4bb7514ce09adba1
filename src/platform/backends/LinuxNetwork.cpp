#include "backends/LinuxNetwork.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "HostCtl/IpAddress.h"
#include "backends/LinuxServices.h"

namespace Platform::Linux {

namespace {

const char kManagementGroup[] = "Management Network";

std::string ReadValue(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

std::string LinkTarget(const std::string& path) {
  char target[4096];
  const ssize_t length = readlink(path.c_str(), target, sizeof(target) - 1);
  if (length <= 0)
    return "";
  const std::string text(target, static_cast<size_t>(length));
  return text.substr(text.rfind('/') + 1);
}

bool IsYes(const std::string& value) {
  return value == "yes" || value == "true" || value == "1" || value == "on";
}

}  // namespace

bool IsAdapter(const KernelLink& link) {
  if (link.name == "lo" || link.mac.empty() || link.mac == "00:00:00:00:00:00")
    return false;
  return link.kind.empty() || link.kind == "veth";
}

InterfaceFile ParseInterfaceFile(const std::string& text) {
  InterfaceFile file;
  file.present = true;
  std::istringstream lines(text);
  std::string line, section;
  bool address = false;
  std::string dhcp = "no";
  while (std::getline(lines, line)) {
    if (line.empty() || line[0] == '#' || line[0] == ';')
      continue;
    if (line[0] == '[') {
      section = line;
      continue;
    }
    const auto equals = line.find('=');
    if (equals == std::string::npos)
      continue;
    const std::string key = line.substr(0, equals);
    const std::string value = line.substr(equals + 1);
    if (section == "[Network]" && key == "DHCP")
      dhcp = value;
    else if (section == "[Network]" && key == "Address" && value.find(':') == std::string::npos)
      address = true;
    else if (section == "[Network]" && key == "IPv6AcceptRA")
      file.acceptRa = IsYes(value);
    else if (section == "[DHCPv4]" && key == "UseDNS")
      file.dhcpDns = IsYes(value);
    else if (section == "[Network]" && (key == "DNS" || key == "Domains")) {
      std::istringstream words(value);
      std::string word;
      while (words >> word)
        (key == "DNS" ? file.dns : file.domains).push_back(word);
    }
  }
  const bool dhcp4 = dhcp == "ipv4" || IsYes(dhcp);
  file.dhcpv6 = dhcp == "ipv6" || IsYes(dhcp);
  file.ipv4Mode = dhcp4 ? "dhcp" : address ? "static" : "none";
  return file;
}

std::string NetworkdDir(const std::string& root) {
  return root + "/etc/systemd/network";
}

std::string InterfaceFileName(const std::string& name) {
  return "10-merel-" + name + ".network";
}

void ParseResolver(const std::string& text, DnsState& dns) {
  dns.nameServers.clear();
  dns.ipv6NameServers.clear();
  dns.searchDomains.clear();
  dns.domain.clear();
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string key, value;
    if (!(words >> key))
      continue;
    if (key == "nameserver" && words >> value) {
      (value.find(':') != std::string::npos ? dns.ipv6NameServers : dns.nameServers)
          .push_back(value);
    } else if (key == "search") {
      dns.searchDomains.clear();
      while (words >> value)
        dns.searchDomains.push_back(value);
    } else if (key == "domain" && words >> value) {
      dns.domain = value;
    }
  }
}

std::vector<std::string> LeaseNameServers(const std::string& text) {
  std::vector<std::string> servers;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::string key = "domain_name_servers=";
    if (line.rfind(key, 0) != 0)
      continue;
    std::string value = line.substr(key.size());
    if (value.size() >= 2 && value.front() == '\'' && value.back() == '\'')
      value = value.substr(1, value.size() - 2);
    std::istringstream words(value);
    for (std::string server; words >> server;)
      servers.push_back(server);
  }
  return servers;
}

std::vector<std::string> SearchList(const DnsState& dns) {
  std::vector<std::string> search = dns.searchDomains;
  if (search.empty() && !dns.domain.empty())
    search.push_back(dns.domain);
  return search;
}

std::string HostsDomain(const std::string& hosts) {
  std::istringstream lines(hosts);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string address, name;
    if (words >> address >> name && address == "127.0.1.1") {
      const auto dot = name.find('.');
      return dot == std::string::npos ? "" : name.substr(dot + 1);
    }
  }
  return "";
}

std::string RenderResolver(const DnsState& dns) {
  std::ostringstream out;
  out << "# Written by the console.\n";
  if (!dns.domain.empty())
    out << "domain " << dns.domain << "\n";
  const std::vector<std::string> search = SearchList(dns);
  if (!search.empty()) {
    out << "search";
    for (const auto& name : search)
      out << " " << name;
    out << "\n";
  }
  for (const auto& server : dns.nameServers)
    out << "nameserver " << server << "\n";
  for (const auto& server : dns.ipv6NameServers)
    out << "nameserver " << server << "\n";
  return out.str();
}

std::string ManagementLink(const KernelNetwork& kernel) {
  auto holdsDefault = [&](const KernelLink& link) {
    return std::any_of(kernel.defaultRoutes.begin(), kernel.defaultRoutes.end(),
                       [&](const KernelRoute& route) { return route.index == link.index; });
  };
  const KernelLink* firstBridge = nullptr;
  for (const auto& link : kernel.links) {
    if (link.kind != "bridge")
      continue;
    if (holdsDefault(link))
      return link.name;
    if (!firstBridge)
      firstBridge = &link;
  }
  if (firstBridge)
    return firstBridge->name;
  for (const auto& link : kernel.links) {
    if (IsAdapter(link) && holdsDefault(link))
      return link.name;
  }
  for (const auto& link : kernel.links) {
    if (!IsAdapter(link))
      continue;
    for (const auto& address : kernel.addresses) {
      if (address.index == link.index && !address.ipv6)
        return link.name;
    }
  }
  for (const auto& link : kernel.links) {
    if (IsAdapter(link))
      return link.name;
  }
  return "";
}

void MapNetwork(const KernelNetwork& kernel,
                const std::map<std::string, InterfaceFile>& files,
                const std::string& root,
                NetworkState& network) {
  const std::string sysNet = root + "/sys/class/net";
  network.pnics.clear();
  network.vswitches.clear();
  network.nics.clear();
  network.dvswitches.clear();
  network.routing = {};
  for (const auto& link : kernel.links) {
    if (!IsAdapter(link))
      continue;
    PnicState pnic;
    pnic.name = link.name;
    pnic.mac = link.mac;
    const std::string dir = sysNet + "/" + link.name;
    pnic.driver = LinkTarget(dir + "/device/driver");
    if (pnic.driver.empty())
      pnic.driver = link.kind;
    pnic.pciAddress = LinkTarget(dir + "/device");
    pnic.linkUp = link.carrier;
    // "-1" (or nothing) while the link is down.
    const long speed = std::strtol(ReadValue(dir + "/speed").c_str(), nullptr, 10);
    pnic.speedMbps = link.carrier && speed > 0 ? static_cast<int>(speed) : 0;
    pnic.fullDuplex = ReadValue(dir + "/duplex") == "full";
    network.pnics.push_back(pnic);
  }
  const std::string management = ManagementLink(kernel);
  const KernelLink* managed = nullptr;
  for (const auto& link : kernel.links) {
    if (link.name == management)
      managed = &link;
  }
  if (!managed)
    return;

  // One switch for each bridge; on a host without one the management
  // adapter stands alone on a switch of the console's own.
  for (const auto& link : kernel.links) {
    if (link.kind != "bridge")
      continue;
    VSwitchState vswitch;
    vswitch.name = link.name;
    vswitch.mtu = link.mtu;
    for (const auto& port : kernel.links) {
      if (port.master == link.index && IsAdapter(port))
        vswitch.uplinks.push_back(port.name);
    }
    PortGroupState group;
    group.name = link.name == management ? kManagementGroup : link.name;
    group.activeUplinks = vswitch.uplinks;
    // The group's VLAN is the one the bridge's own port sends untagged
    // frames into; without filtering every VLAN passes and none is set.
    if (ReadValue(sysNet + "/" + link.name + "/bridge/vlan_filtering") == "1")
      group.vlanId = static_cast<uint16_t>(link.pvid);
    vswitch.portGroups.push_back(group);
    network.vswitches.push_back(vswitch);
  }
  if (managed->kind != "bridge") {
    VSwitchState vswitch;
    vswitch.name = "vSwitch0";
    vswitch.mtu = managed->mtu;
    vswitch.uplinks = {management};
    PortGroupState group;
    group.name = kManagementGroup;
    group.activeUplinks = {management};
    vswitch.portGroups.push_back(group);
    network.vswitches.insert(network.vswitches.begin(), vswitch);
  }

  NexNicState nic;
  nic.name = management;
  nic.mac = managed->mac;
  nic.management = true;
  nic.enabled = managed->adminUp;
  nic.mtu = managed->mtu;
  nic.portGroup = kManagementGroup;
  const auto file = files.find(management);
  const KernelAddress* ipv4 = nullptr;
  for (const auto& address : kernel.addresses) {
    if (address.index != managed->index || address.linkLocal)
      continue;
    if (address.ipv6)
      nic.ipv6Addresses.push_back(address.address + "/" + std::to_string(address.prefix));
    else if (!ipv4)
      ipv4 = &address;
  }
  // The model's DHCP server is the one that gave the lease: what the
  // interface holds is what the console shows.
  network.dhcp = {};
  network.dhcp.available = false;
  network.dhcp.ipv6DhcpAvailable = false;
  network.dhcp.ipv6Prefix.clear();
  network.dhcp.ipv6Gateway.clear();
  network.dhcp.poolStart = network.dhcp.poolEnd = "0.0.0.0";
  network.dhcp.dns.clear();
  std::string mode;
  if (file != files.end() && file->second.present) {
    mode = file->second.ipv4Mode;
    nic.dhcpDns = mode == "dhcp" && file->second.dhcpDns;
    nic.ipv6RouterAdvertised = file->second.acceptRa;
    nic.ipv6Dhcp = file->second.dhcpv6;
  } else {
    mode = !ipv4 ? "none" : ipv4->dynamic ? "dhcp" : "static";
    nic.dhcpDns = mode == "dhcp";
    // The DHCP client's IPv6 instance keeps a pid file while it runs.
    nic.ipv6Dhcp = access((root + "/run/dhcpcd/" + management + "-6.pid").c_str(), F_OK) == 0;
  }
  // Whether the kernel configures addresses from router advertisements is
  // the kernel's to say (the DHCP client's IPv6 instance switches it off
  // and solicits by itself).
  if (const std::string ra =
          ReadValue(root + "/proc/sys/net/ipv6/conf/" + management + "/accept_ra");
      !ra.empty())
    nic.ipv6RouterAdvertised = ra != "0";
  nic.ipv4Mode = mode;
  for (const auto& route : kernel.defaultRoutes) {
    if (route.ipv6 && route.advertised && network.dhcp.ipv6Gateway.empty())
      network.dhcp.ipv6Gateway = route.gateway;
    else if (route.ipv6 && !route.advertised && network.routing.ipv6Gateway == "::")
      network.routing.ipv6Gateway = route.gateway;
    if (!route.ipv6 && network.routing.ipv4Gateway == "0.0.0.0")
      network.routing.ipv4Gateway = route.gateway;
  }
  if (ipv4) {
    nic.ipv4Address = ipv4->address;
    nic.ipv4Netmask = NetmaskOf(ipv4->prefix);
    if (mode == "dhcp") {
      nic.leaseAddress = ipv4->address;
      network.dhcp.netmask = nic.ipv4Netmask;
      network.dhcp.gateway = network.routing.ipv4Gateway;
    }
  }
  network.nics.push_back(nic);
}

bool BridgeFiltersVlans(const std::string& root, const std::string& name) {
  return !name.empty() &&
         access((root + "/sys/class/net/" + name + "/bridge/vlan_filtering").c_str(), F_OK) == 0;
}

uint16_t SwitchVlan(const VSwitchState& vswitch) {
  for (const auto& group : vswitch.portGroups) {
    if (group.vlanId != 0)
      return group.vlanId;
  }
  return 0;
}

std::map<std::string, std::string> RenderNetworkd(const NetworkState& network,
                                                  const std::map<std::string, std::string>& bridges,
                                                  bool resolver) {
  std::map<std::string, std::string> files;
  const char* const heading = "# Written by the console; changed with its network settings.\n";
  // The section that gives the bridge's own port its VLAN, by bridge name.
  std::map<std::string, std::string> ownVlan;
  for (const auto& vswitch : network.vswitches) {
    const auto bridge = bridges.find(vswitch.name);
    if (bridge == bridges.end())
      continue;
    const uint16_t vlan = SwitchVlan(vswitch);
    // networkd gives a new bridge a MAC address of its own making: the one
    // the host is known by on its network (DHCP, neighbours) is written.
    std::string netdev =
        std::string(heading) + "[NetDev]\nName=" + vswitch.name + "\nKind=bridge\n";
    if (!bridge->second.empty())
      netdev += "MACAddress=" + bridge->second + "\n";
    if (vlan != 0)
      netdev += "\n[Bridge]\nVLANFiltering=yes\n";
    files["10-merel-" + vswitch.name + ".netdev"] = netdev;
    const std::string tagged =
        vlan == 0 ? "" : "\n[BridgeVLAN]\nVLAN=" + std::to_string(vlan) + "\n";
    if (vlan != 0) {
      ownVlan[vswitch.name] = "\n[BridgeVLAN]\nPVID=" + std::to_string(vlan) +
                              "\nEgressUntagged=" + std::to_string(vlan) + "\n";
    }
    for (const auto& uplink : vswitch.uplinks) {
      files[InterfaceFileName(uplink)] = std::string(heading) + "[Match]\nName=" + uplink +
                                         "\n\n[Network]\nBridge=" + vswitch.name + "\n" + tagged;
    }
    // A bridge that is not the management interface still comes up.
    if (std::none_of(network.nics.begin(), network.nics.end(),
                     [&](const NexNicState& nic) { return nic.name == vswitch.name; })) {
      files[InterfaceFileName(vswitch.name)] =
          std::string(heading) + "[Match]\nName=" + vswitch.name +
          "\n\n[Network]\nDHCP=no\nLinkLocalAddressing=no\nConfigureWithoutCarrier=yes\n" +
          ownVlan[vswitch.name];
    }
  }
  for (const auto& nic : network.nics) {
    if (!nic.management)
      continue;
    const bool dhcp4 = nic.ipv4Mode == "dhcp";
    // The files are the next boot's: IPv6 as it will be then.
    const bool ipv6 = network.ipv6EnabledAfterReboot;
    std::ostringstream out;
    out << heading << "[Match]\nName=" << nic.name << "\n\n[Network]\n";
    out << "DHCP="
        << (dhcp4 && ipv6 && nic.ipv6Dhcp ? "yes"
            : dhcp4                       ? "ipv4"
            : ipv6 && nic.ipv6Dhcp        ? "ipv6"
                                          : "no")
        << "\n";
    if (nic.ipv4Mode == "static" && PrefixOf(nic.ipv4Netmask) > 0) {
      out << "Address=" << nic.ipv4Address << "/" << PrefixOf(nic.ipv4Netmask) << "\n";
      if (network.routing.ipv4Gateway != "0.0.0.0" && !network.routing.ipv4Gateway.empty())
        out << "Gateway=" << network.routing.ipv4Gateway << "\n";
    }
    out << "LinkLocalAddressing=" << (ipv6 ? "ipv6" : "no") << "\n";
    out << "IPv6AcceptRA=" << (ipv6 && nic.ipv6RouterAdvertised ? "yes" : "no") << "\n";
    if (ipv6) {
      for (const auto& address : nic.ipv6Addresses)
        out << "Address=" << address << "\n";
      if (network.routing.ipv6Gateway != "::" && !network.routing.ipv6Gateway.empty())
        out << "Gateway=" << network.routing.ipv6Gateway << "\n";
    }
    if (resolver) {
      // Name servers the lease brings are the DHCP client's to give.
      if (!(dhcp4 && nic.dhcpDns)) {
        for (const auto* list : {&network.dns.nameServers, &network.dns.ipv6NameServers}) {
          for (const auto& server : *list)
            out << "DNS=" << server << "\n";
        }
      }
      const std::vector<std::string> search = SearchList(network.dns);
      if (!search.empty()) {
        out << "Domains=";
        for (size_t i = 0; i < search.size(); ++i)
          out << (i ? " " : "") << search[i];
        out << "\n";
      }
    }
    out << "ConfigureWithoutCarrier=yes\n";
    if (dhcp4)
      out << "\n[DHCPv4]\nUseDNS=" << (nic.dhcpDns ? "yes" : "no") << "\nUseHostname=no\n";
    out << ownVlan[nic.name];
    files[InterfaceFileName(nic.name)] = out.str();
  }
  return files;
}

std::string RenderHosts(const std::string& hosts,
                        const std::string& host,
                        const std::string& domain) {
  std::string line = "127.0.1.1\t";
  line += domain.empty() ? host : host + "." + domain + "\t" + host;
  std::istringstream lines(hosts);
  std::string current, out;
  bool placed = false;
  while (std::getline(lines, current)) {
    std::istringstream words(current);
    std::string first;
    words >> first;
    if (first == "127.0.1.1") {
      if (!placed)
        out += line + "\n";
      placed = true;
      continue;
    }
    out += current + "\n";
    // Debian's place for it: right after the loopback line.
    if (!placed && first == "127.0.0.1") {
      out += line + "\n";
      placed = true;
    }
  }
  if (!placed)
    out += line + "\n";
  return out;
}

std::string RenderIpv6Sysctl(bool enabled) {
  const char* const value = enabled ? "0" : "1";
  return std::string("# Written by the console; IPv6 on or off from the next boot on.\n") +
         "net.ipv6.conf.all.disable_ipv6 = " + value + "\nnet.ipv6.conf.default.disable_ipv6 = " +
         value + "\n";
}

bool ParseIpv6Sysctl(const std::string& text, bool& enabled) {
  std::istringstream lines(text);
  std::string line;
  bool found = false;
  while (std::getline(lines, line)) {
    line.erase(std::remove_if(line.begin(), line.end(), ::isspace), line.end());
    const std::string key = "net.ipv6.conf.all.disable_ipv6=";
    if (line.rfind(key, 0) == 0) {
      enabled = line.substr(key.size()) == "0";
      found = true;
    }
  }
  return found;
}

int PrefixOf(const std::string& netmask) {
  return HostCtl::Network::Ipv4Address::IsValidNetmask(netmask) || netmask == "0.0.0.0"
             ? HostCtl::Network::Ipv4Address(netmask).GetPrefixLength()
             : -1;
}

std::string NetmaskOf(int prefix) {
  return HostCtl::Network::Ipv4Address::FromPrefixLength(prefix).GetStringAddress();
}

const Netlink* LoadNetlink(std::string& error) {
  using Table = const Netlink* (*)();
  const auto table = reinterpret_cast<Table>(ModuleEntry("merel_linux_netlink", error));
  return table != nullptr ? table() : nullptr;
}

}  // namespace Platform::Linux
