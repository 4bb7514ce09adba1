// The Linux host's network: read from the kernel and the console's own
// networkd files, changed through rtnetlink, the resolver file and the host
// name files, and kept in networkd files for the next boot.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <map>
#include <sstream>

#include "DurableFile.h"
#include "HostCtl/HostCtlException.h"
#include "backends/LinuxBackend.h"
#include "backends/LinuxFacts.h"
#include "backends/LinuxNetwork.h"

namespace Platform {

namespace {

std::string Slurp(const std::string& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

// The first of `places` that is a program of the machine in `root`, with
// `root` before it; "" when none is.
std::string FirstProgram(const std::string& root, std::initializer_list<const char*> places) {
  for (const char* place : places) {
    if (access((root + place).c_str(), X_OK) == 0)
      return root + place;
  }
  return "";
}

bool Contains(const std::vector<std::string>& list, const std::string& name) {
  return std::find(list.begin(), list.end(), name) != list.end();
}

// The kernel's bridges by name, with their MAC addresses.
std::map<std::string, std::string> Bridges(const Linux::KernelNetwork& kernel) {
  std::map<std::string, std::string> bridges;
  for (const auto& link : kernel.links) {
    if (link.kind == "bridge")
      bridges[link.name] = link.mac;
  }
  return bridges;
}

// The addresses the interface obtained by itself are not the
// administrator's to keep: they come back with their mechanism.
std::vector<std::string> StaticIpv6(const NexNicState& nic, const Linux::KernelNetwork& kernel) {
  std::vector<std::string> result;
  for (const auto& text : nic.ipv6Addresses) {
    const bool dynamic = std::any_of(
        kernel.addresses.begin(), kernel.addresses.end(), [&](const Linux::KernelAddress& a) {
          return a.ipv6 && a.dynamic && a.address + "/" + std::to_string(a.prefix) == text;
        });
    if (!dynamic)
      result.push_back(text);
  }
  return result;
}

// A kernel setting under /proc/sys: not a file of the machine's that must
// survive a crash, only a value handed to the kernel.
bool SetKnob(const std::string& path, const std::string& value, std::string& error) {
  const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  const bool ok = fd >= 0 && write(fd, value.data(), value.size()) ==
                                 static_cast<ssize_t>(value.size());
  if (!ok)
    error = path.substr(path.find("/proc/")) + ": " + strerror(errno);
  if (fd >= 0)
    close(fd);
  return ok;
}

// The adapters the switch's port groups team, in order.
std::vector<std::string> Teamed(const VSwitchState& vswitch) {
  std::vector<std::string> names;
  for (const auto& group : vswitch.portGroups) {
    for (const auto* list : {&group.activeUplinks, &group.standbyUplinks}) {
      for (const auto& name : *list) {
        if (!Contains(names, name))
          names.push_back(name);
      }
    }
  }
  return names;
}

}  // namespace

HostState Untracked(HostState state) {
  state.advancedOptions.clear();
  NetworkState& network = state.network;
  network.dns.hostname.clear();
  network.dns.domain.clear();
  network.dns.searchDomains.clear();
  network.dns.nameServers.clear();
  network.dns.ipv6NameServers.clear();
  network.dns.saveCount = 0;
  network.routing = {};
  network.ipv6EnabledAfterReboot = true;
  network.autoConfigCount = 0;
  // A dump target has no meaning on a Linux host: switching it off is kept
  // as done.
  network.netDumperEnabled = false;
  for (auto& nic : network.nics) {
    // The MAC address follows the first uplink by itself on a bridge; the
    // counters are the simulated host's bookkeeping.
    nic.mac.clear();
    nic.ipv4Mode.clear();
    nic.ipv4Address.clear();
    nic.ipv4Netmask.clear();
    nic.leaseAddress.clear();
    nic.dhcpDns = false;
    nic.ipv6Addresses.clear();
    nic.enabled = true;
    nic.ipv6RouterAdvertised = nic.ipv6Dhcp = false;
    nic.leaseRenewals = nic.ipv6LeaseRenewals = nic.restarts = nic.stops = 0;
  }
  for (auto& vswitch : network.vswitches) {
    vswitch.uplinks.clear();
    for (auto& group : vswitch.portGroups) {
      group.activeUplinks.clear();
      group.standbyUplinks.clear();
      group.vlanId = 0;
    }
  }
  return state;
}

std::string NetworkJson(const NetworkState& network) {
  HostState state;
  state.network = network;
  return ToJson(state);
}

void LinuxBackend::ReadNetwork(const Linux::KernelNetwork& kernel, NetworkState& network) const {
  std::map<std::string, Linux::InterfaceFile> files;
  for (const auto& link : kernel.links) {
    const std::string path = Linux::NetworkdDir(_root) + "/" + Linux::InterfaceFileName(link.name);
    if (access(path.c_str(), F_OK) == 0)
      files[link.name] = Linux::ParseInterfaceFile(Slurp(path));
  }
  Linux::MapNetwork(kernel, files, _root, network);
  network.ipv6Enabled = Slurp(_root + "/proc/sys/net/ipv6/conf/all/disable_ipv6") != "1\n";
  if (!Linux::ParseIpv6Sysctl(Slurp(Ipv6SysctlPath()), network.ipv6EnabledAfterReboot))
    network.ipv6EnabledAfterReboot = network.ipv6Enabled;
  if (!ResolvedRuns()) {
    Linux::ParseResolver(Slurp(_root + "/etc/resolv.conf"), network.dns);
  } else {
    // resolved's own list of every server it asks, unless the console set
    // the management interface's; the domain is the host name's.
    Linux::ParseResolver(Slurp(_root + "/run/systemd/resolve/resolv.conf"), network.dns);
    const auto file = network.nics.empty() ? files.end() : files.find(network.nics.front().name);
    if (file != files.end() && !file->second.dns.empty()) {
      network.dns.nameServers.clear();
      network.dns.ipv6NameServers.clear();
      for (const auto& server : file->second.dns)
        (server.find(':') != std::string::npos ? network.dns.ipv6NameServers
                                               : network.dns.nameServers)
            .push_back(server);
    }
    if (file != files.end() && !file->second.domains.empty())
      network.dns.searchDomains = file->second.domains;
    network.dns.domain = Linux::HostsDomain(Slurp(_root + "/etc/hosts"));
  }
  if (!network.nics.empty() && network.nics.front().dhcpDns)
    network.dhcp.dns = network.dns.nameServers;
}

bool LinuxBackend::ResolvedRuns() const {
  struct stat folder = {};
  if (stat((_root + "/run/systemd/resolve").c_str(), &folder) != 0 || !S_ISDIR(folder.st_mode))
    return false;
  char target[4096];
  const ssize_t length = readlink((_root + "/etc/resolv.conf").c_str(), target, sizeof(target) - 1);
  if (length <= 0)
    return false;
  // Debian links it relatively ("../run/systemd/resolve/stub-resolv.conf").
  std::filesystem::path link(std::string(target, static_cast<size_t>(length)));
  if (link.is_relative())
    link = std::filesystem::path("/etc") / link;
  return link.lexically_normal().string().rfind("/run/systemd/resolve/", 0) == 0;
}

std::string LinuxBackend::Resolvectl() const {
  return FirstProgram(_root, {"/usr/bin/resolvectl", "/bin/resolvectl"});
}

bool LinuxBackend::DnsToResolved(const NetworkState& network,
                                 const NexNicState& nic,
                                 std::string& error) {
  std::vector<std::string> servers;
  if (nic.dhcpDns && nic.ipv4Mode == "dhcp") {
    std::string lease;
    const std::string client = DhcpClient();
    if (client.empty()) {
      error = "no DHCP client (dhcpcd) on this host";
      return false;
    }
    if (!RunTool({client, "-4", "-U", nic.name}, error, &lease))
      return false;
    servers = Linux::LeaseNameServers(lease);
  } else {
    for (const auto* list : {&network.dns.nameServers, &network.dns.ipv6NameServers})
      servers.insert(servers.end(), list->begin(), list->end());
  }
  const std::string tool = Resolvectl();
  if (tool.empty()) {
    error = "no resolvectl on this host";
    return false;
  }
  // An empty word clears a list.
  const std::vector<std::string> search = Linux::SearchList(network.dns);
  std::vector<std::string> dns = {tool, "dns", nic.name};
  dns.insert(dns.end(), servers.begin(), servers.end());
  std::vector<std::string> domain = {tool, "domain", nic.name};
  domain.insert(domain.end(), search.begin(), search.end());
  if (servers.empty())
    dns.push_back("");
  if (search.empty())
    domain.push_back("");
  return RunTool(dns, error) && RunTool(domain, error);
}

std::string LinuxBackend::NetworkOwner(const Linux::KernelNetwork& kernel) const {
  if (access((_root + "/run/NetworkManager/NetworkManager.pid").c_str(), F_OK) == 0 ||
      access((_root + "/run/NetworkManager.pid").c_str(), F_OK) == 0)
    return "NetworkManager";
  // ifupdown owns what its file configures; a file naming only loopback
  // (Debian's default with another manager) owns nothing.
  std::istringstream lines(Slurp(_root + "/etc/network/interfaces"));
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string key, name;
    if (!(words >> key >> name) || (key != "iface" && key != "auto" && key != "allow-hotplug"))
      continue;
    for (const auto& link : kernel.links) {
      if (link.name == name && name != "lo")
        return "ifupdown";
    }
  }
  return "";
}

const Linux::Netlink& LinuxBackend::ChangeableNetwork(Linux::KernelNetwork& kernel) const {
  std::string error;
  const Linux::Netlink* netlink = Linux::LoadNetlink(error);
  if (!netlink || !netlink->read(kernel, error))
    throw HostCtl::Lib::HostCtlException(error);
  if (const std::string owner = NetworkOwner(kernel); !owner.empty())
    throw HostCtl::Lib::HostCtlException("This host's network is managed by " + owner +
                                         "; the console changes nothing of it.");
  return *netlink;
}

std::string LinuxBackend::Ipv6SysctlPath() const {
  return _root + "/etc/sysctl.d/10-merel-ipv6.conf";
}

std::string LinuxBackend::DhcpClient() const {
  return FirstProgram(_root, {"/usr/sbin/dhcpcd", "/sbin/dhcpcd"});
}

void LinuxBackend::WriteNetworkd(const NetworkState& network,
                                 const Linux::KernelNetwork& kernel,
                                 std::vector<std::string>& failures) {
  const std::string dir = Linux::NetworkdDir(_root);
  mkdir((_root + "/etc/systemd").c_str(), 0755);
  mkdir(dir.c_str(), 0755);
  // Addresses the interface obtained by itself are not written down.
  NetworkState written = network;
  for (auto& nic : written.nics)
    nic.ipv6Addresses = StaticIpv6(nic, kernel);
  const auto files = Linux::RenderNetworkd(written, Bridges(kernel), ResolvedRuns());
  std::string error;
  for (const auto& [name, content] : files) {
    if (Slurp(dir + "/" + name) != content &&
        !WriteFileDurably(dir + "/" + name, content, 0644, error))
      failures.push_back(error);
  }
  // A file of ours that the state no longer has (an uplink that left).
  if (DIR* folder = opendir(dir.c_str())) {
    bool removed = false;
    while (dirent* entry = readdir(folder)) {
      const std::string name = entry->d_name;
      if (name.rfind("10-merel-", 0) == 0 && !files.count(name) &&
          (name.size() > 8 && (name.substr(name.size() - 8) == ".network" ||
                               name.substr(name.size() - 7) == ".netdev")))
        removed = unlink((dir + "/" + name).c_str()) == 0 || removed;
    }
    closedir(folder);
    if (removed)
      merel_sync_parent((dir + "/x").c_str());
  }
}

void LinuxBackend::ApplyNetwork(const HostState& before, const HostState& after) {
  std::string error;
  Linux::KernelNetwork kernel;
  const Linux::Netlink* netlink = &ChangeableNetwork(kernel);
  const NetworkState& was = before.network;
  const NetworkState& now = after.network;
  // Each part that fails is reported; the others are still made, and only
  // what the kernel took is kept for the next boot.
  std::vector<std::string> failures;
  NetworkState kept = was;
  auto fail = [&](const std::string& text) { failures.push_back(text); };
  const bool resolved = ResolvedRuns();

  if (now.dns.hostname != was.dns.hostname || now.dns.domain != was.dns.domain) {
    const std::string& host = now.dns.hostname;
    bool ok = true;
    if (host != Linux::ReadHostname(_root) && sethostname(host.c_str(), host.size()) != 0) {
      fail("host name: " + std::string(strerror(errno)));
      ok = false;
    }
    if (ok && (!WriteFileDurably(_root + "/etc/hostname", host + "\n", 0644, error) ||
               !WriteFileDurably(_root + "/etc/hosts",
                                 Linux::RenderHosts(Slurp(_root + "/etc/hosts"), host,
                                                    now.dns.domain),
                                 0644, error))) {
      fail(error);
      ok = false;
    }
    if (ok) {
      kept.dns.hostname = now.dns.hostname;
      kept.dns.domain = now.dns.domain;
    }
  }
  if (now.dns.nameServers != was.dns.nameServers ||
      now.dns.ipv6NameServers != was.dns.ipv6NameServers ||
      now.dns.searchDomains != was.dns.searchDomains || now.dns.domain != was.dns.domain) {
    if (resolved) {
      // resolv.conf is resolved's: the management interface's servers and
      // suffixes go to resolved now, and to its networkd file for the next
      // boot.
      const NexNicState* managed = ManagementNic(after);
      bool ok = false;
      if (!managed)
        error = "no management interface";
      else
        ok = DnsToResolved(now, *managed, error);
      if (ok)
        kept.dns = now.dns;
      else
        fail("DNS: " + error);
    } else if (WriteFileDurably(_root + "/etc/resolv.conf", Linux::RenderResolver(now.dns), 0644,
                                error)) {
      kept.dns = now.dns;
    } else {
      fail(error);
    }
  }

  // Uplinks: the ports of each bridge are the adapters its port group
  // teams (a bridge forwards through all of them: none is on standby).
  for (const auto& vswitch : now.vswitches) {
    const auto old = std::find_if(was.vswitches.begin(), was.vswitches.end(),
                                  [&](const VSwitchState& v) { return v.name == vswitch.name; });
    if (old == was.vswitches.end())
      continue;
    const std::vector<std::string> wanted = Teamed(vswitch);
    const std::vector<std::string> current = Teamed(*old);
    if (wanted == current)
      continue;
    if (!Bridges(kernel).count(vswitch.name)) {
      fail(vswitch.name + ": the uplinks of a host without a bridge cannot change");
      continue;
    }
    std::vector<std::string> ports = current;
    for (const auto& uplink : current) {
      if (Contains(wanted, uplink))
        continue;
      if (netlink->setMaster(uplink, "", error))
        ports.erase(std::find(ports.begin(), ports.end(), uplink));
      else
        fail(error);
    }
    for (const auto& uplink : wanted) {
      if (Contains(current, uplink))
        continue;
      if (netlink->setMaster(uplink, vswitch.name, error) && netlink->setUp(uplink, true, error))
        ports.push_back(uplink);
      else
        fail(error);
    }
    for (auto& keptOne : kept.vswitches) {
      if (keptOne.name == vswitch.name) {
        keptOne.uplinks = ports;
        for (auto& group : keptOne.portGroups)
          group.activeUplinks = ports;
      }
    }
  }

  // The VLAN of a bridge's port group: the bridge filters VLANs, its own
  // port (the host's traffic) sends and takes the VLAN untagged, and the
  // uplinks carry it tagged. No VLAN switches the filtering off again, so
  // that the host's untagged frames pass as before. An uplink that joined
  // carries the VLAN too.
  for (const auto& vswitch : now.vswitches) {
    const auto old = std::find_if(was.vswitches.begin(), was.vswitches.end(),
                                  [&](const VSwitchState& v) { return v.name == vswitch.name; });
    auto keptOne = std::find_if(kept.vswitches.begin(), kept.vswitches.end(),
                                [&](const VSwitchState& v) { return v.name == vswitch.name; });
    if (old == was.vswitches.end() || keptOne == kept.vswitches.end())
      continue;
    const uint16_t vlan = Linux::SwitchVlan(vswitch);
    const uint16_t oldVlan = Linux::SwitchVlan(*old);
    const std::vector<std::string> ports = Teamed(*keptOne);
    const std::vector<std::string> oldPorts = Teamed(*old);
    if (vlan == oldVlan && (vlan == 0 || ports == oldPorts))
      continue;
    const std::string what = "VLAN " + std::to_string(vlan == 0 ? oldVlan : vlan) + ": ";
    if (!Bridges(kernel).count(vswitch.name)) {
      fail(what + vswitch.name + " is not a bridge");
      continue;
    }
    if (vlan == 4095) {
      fail(what + "a Linux bridge does not pass every VLAN to its own port; set one VLAN (1-4094)");
      continue;
    }
    bool ok = true;
    if (vlan != 0) {
      ok = (oldVlan != 0 || netlink->setVlanFiltering(vswitch.name, true, error)) &&
           netlink->setPortVlan(vswitch.name, true, vlan, true, error);
      for (const auto& port : ports)
        ok = ok && netlink->setPortVlan(port, false, vlan, true, error);
    }
    if (ok && oldVlan != 0 && oldVlan != vlan) {
      ok = netlink->setPortVlan(vswitch.name, true, oldVlan, false, error);
      for (const auto& port : ports) {
        if (Contains(oldPorts, port))
          ok = ok && netlink->setPortVlan(port, false, oldVlan, false, error);
      }
      ok = ok && (vlan != 0 || netlink->setVlanFiltering(vswitch.name, false, error));
    }
    if (!ok) {
      fail(what + error);
      continue;
    }
    for (auto& group : keptOne->portGroups)
      group.vlanId = vlan;
  }

  // IPv6 on or off: the console's model has it take effect with the next
  // boot (the console's sysctl file), and the kernel takes it at once too;
  // "all" reaches every interface.
  const bool ipv6On = now.ipv6EnabledAfterReboot;
  const bool ipv6Toggled = now.ipv6EnabledAfterReboot != was.ipv6EnabledAfterReboot;
  if (ipv6Toggled) {
    mkdir((_root + "/etc/sysctl.d").c_str(), 0755);
    bool ok = WriteFileDurably(Ipv6SysctlPath(), Linux::RenderIpv6Sysctl(ipv6On), 0644, error);
    for (const char* scope : {"all", "default"}) {
      ok = ok && SetKnob(_root + "/proc/sys/net/ipv6/conf/" + scope + "/disable_ipv6",
                         ipv6On ? "0" : "1", error);
    }
    if (ok)
      kept.ipv6EnabledAfterReboot = kept.ipv6Enabled = ipv6On;
    else
      fail(error);
  }

  // The management interface: its addresses and the default routes.
  const NexNicState* nic = ManagementNic(after);
  const NexNicState* oldNic = ManagementNic(before);
  if (nic && oldNic && nic->name == oldNic->name) {
    NexNicState* keptNic = nullptr;
    for (auto& candidate : kept.nics) {
      if (candidate.name == nic->name)
        keptNic = &candidate;
    }
    // Enabled again after a stop is a restart as well.
    const bool restart =
        nic->restarts != oldNic->restarts || (nic->enabled && !oldNic->enabled);
    if (restart || nic->enabled != oldNic->enabled) {
      if (restart || !nic->enabled) {
        if (!netlink->setUp(nic->name, false, error))
          fail(error);
      }
      if (nic->enabled && !netlink->setUp(nic->name, true, error))
        fail(error);
      keptNic->enabled = nic->enabled;
    }
    // Taking the link down drops its routes and IPv6 addresses: a restart
    // puts everything back.
    const bool ipv4Changed = restart || nic->ipv4Mode != oldNic->ipv4Mode ||
                             nic->ipv4Address != oldNic->ipv4Address ||
                             nic->ipv4Netmask != oldNic->ipv4Netmask;
    const bool renew = nic->leaseRenewals != oldNic->leaseRenewals;
    const std::string client = DhcpClient();
    bool leased = false;
    if (ipv4Changed || (renew && nic->ipv4Mode == "dhcp")) {
      std::vector<std::string> addresses;
      if (nic->ipv4Mode == "static")
        addresses.push_back(nic->ipv4Address + "/" +
                            std::to_string(Linux::PrefixOf(nic->ipv4Netmask)));
      // The DHCP client owns the interface's IPv4 while it runs: it leaves
      // before the console's addresses go on, and comes (or renews) after
      // the console's are gone.
      bool ok = true;
      if (oldNic->ipv4Mode == "dhcp" && nic->ipv4Mode != "dhcp" && !client.empty())
        RunTool({client, "-4", "-x", nic->name}, error);
      if (nic->ipv4Mode != "dhcp") {
        ok = netlink->setAddresses(nic->name, false, addresses, error);
      } else if (client.empty()) {
        error = "no DHCP client (dhcpcd) on this host";
        ok = false;
      } else {
        if (oldNic->ipv4Mode != "dhcp")
          netlink->setAddresses(nic->name, false, {}, error);
        std::vector<std::string> words = {client, "-4", "-w", "-t", "20", "-C", "hostname"};
        if (oldNic->ipv4Mode == "dhcp")
          words.insert(words.begin() + 2, "-n");
        // The client's own resolver hook would write through resolved's
        // link: there the lease's servers go to resolved instead.
        if (!nic->dhcpDns || resolved)
          words.insert(words.end(), {"-C", "resolv.conf"});
        words.push_back(nic->name);
        ok = leased = RunTool(words, error);
      }
      if (!ok) {
        fail(error);
      } else {
        keptNic->ipv4Mode = nic->ipv4Mode;
        keptNic->ipv4Address = nic->ipv4Address;
        keptNic->ipv4Netmask = nic->ipv4Netmask;
        keptNic->dhcpDns = nic->dhcpDns;
      }
    }
    // Where resolved keeps the resolver, the lease's servers are handed to
    // it when the client got a lease or DNS from DHCP was switched on.
    if (resolved && nic->dhcpDns && keptNic->ipv4Mode == "dhcp" && (leased || !oldNic->dhcpDns) &&
        !DnsToResolved(now, *nic, error))
      fail("DNS: " + error);
    // IPv6 of the management interface: addresses from router
    // advertisements by the kernel, DHCPv6 by the DHCP client's IPv6
    // instance; taking the link down or switching IPv6 back on cleared
    // the interface's own addresses and routes.
    bool ipv6Reset = restart || (ipv6Toggled && ipv6On);
    if (!ipv6On) {
      if (oldNic->ipv6Dhcp && !client.empty())
        RunTool({client, "-6", "-x", nic->name}, error);
      keptNic->ipv6RouterAdvertised = nic->ipv6RouterAdvertised;
      keptNic->ipv6Dhcp = nic->ipv6Dhcp;
    } else if (ipv6Reset || nic->ipv6RouterAdvertised != oldNic->ipv6RouterAdvertised ||
               nic->ipv6Dhcp != oldNic->ipv6Dhcp) {
      const std::string conf = _root + "/proc/sys/net/ipv6/conf/" + nic->name + "/";
      if (oldNic->ipv6Dhcp && !nic->ipv6Dhcp && !client.empty())
        RunTool({client, "-6", "-x", nic->name}, error);
      const bool ra = nic->ipv6RouterAdvertised;
      // A forwarding interface takes advertisements only when told to.
      const std::string accept = !ra ? "0" : Slurp(conf + "forwarding") == "1\n" ? "2" : "1";
      bool ok = SetKnob(conf + "accept_ra", accept, error) &&
                SetKnob(conf + "autoconf", ra ? "1" : "0", error);
      // What advertisements gave stays until its lifetime ends: the
      // interface's IPv6 starts over without it.
      if (ok && oldNic->ipv6RouterAdvertised && !ra && !ipv6Reset) {
        ok = SetKnob(conf + "disable_ipv6", "1", error) &&
             SetKnob(conf + "disable_ipv6", "0", error);
        ipv6Reset = true;
      }
      if (ok && nic->ipv6Dhcp) {
        if (client.empty()) {
          error = "no DHCP client (dhcpcd) on this host";
          ok = false;
        } else {
          // Started in the background (a network without DHCPv6 says so
          // only in its advertisements), or told to renew when it runs.
          std::vector<std::string> words = {client, "-6", "-n", "-b", "-C", "hostname"};
          if (!nic->dhcpDns || resolved)
            words.insert(words.end(), {"-C", "resolv.conf"});
          words.push_back(nic->name);
          ok = RunTool(words, error);
        }
      }
      if (ok) {
        keptNic->ipv6RouterAdvertised = ra;
        keptNic->ipv6Dhcp = nic->ipv6Dhcp;
      } else {
        fail(error);
      }
    }
    if (ipv6On && (ipv6Reset || nic->ipv6Addresses != oldNic->ipv6Addresses)) {
      const std::vector<std::string> wanted = StaticIpv6(*nic, kernel);
      if (netlink->setAddresses(nic->name, true, wanted, error))
        keptNic->ipv6Addresses = wanted;
      else
        fail(error);
    }
    keptNic->dhcpDns = nic->dhcpDns;
    if (nic->ipv4Mode != "dhcp" &&
        (restart || ipv4Changed || now.routing.ipv4Gateway != was.routing.ipv4Gateway)) {
      const std::string& gateway = now.routing.ipv4Gateway;
      if (netlink->setDefaultRoute(nic->name, false,
                                   gateway == "0.0.0.0" || nic->ipv4Mode == "none" ? "" : gateway,
                                   error))
        kept.routing.ipv4Gateway = gateway;
      else
        fail(error);
    }
    if (ipv6On && (ipv6Reset || now.routing.ipv6Gateway != was.routing.ipv6Gateway)) {
      const std::string& gateway = now.routing.ipv6Gateway;
      if (netlink->setDefaultRoute(nic->name, true, gateway == "::" ? "" : gateway, error))
        kept.routing.ipv6Gateway = gateway;
      else
        fail(error);
    }
  }
  // The bridge's MAC address follows its ports: the files take the one it
  // has now.
  Linux::KernelNetwork changed;
  WriteNetworkd(kept, netlink->read(changed, error) ? changed : kernel, failures);
  if (!failures.empty()) {
    std::string text;
    for (const auto& failure : failures)
      text += (text.empty() ? "" : "; ") + failure;
    throw HostCtl::Lib::HostCtlException(text);
  }
}

void LinuxBackend::RestoreNetwork() {
  std::string error;
  Linux::KernelNetwork kernel;
  const Linux::Netlink* netlink = &ChangeableNetwork(kernel);
  const Linux::KernelLink* first = nullptr;
  for (const auto& link : kernel.links) {
    if (Linux::IsAdapter(link) && (!first || (link.carrier && !first->carrier)))
      first = &link;
  }
  if (!first)
    throw HostCtl::Lib::HostCtlException("no network adapter on this host");
  if (Bridges(kernel).empty()) {
    // The adapter's own addresses and routes go: the bridge takes its place.
    const std::string client = DhcpClient();
    if (!client.empty())
      RunTool({client, "-x", first->name}, error);
    if (!netlink->setAddresses(first->name, false, {}, error) ||
        !netlink->setAddresses(first->name, true, {}, error) ||
        !netlink->setDefaultRoute(first->name, false, "", error) ||
        !netlink->addBridge("br0", error) || !netlink->setUp("br0", true, error))
      throw HostCtl::Lib::HostCtlException(error);
  }
  const std::string adapter = first->name;
  const HostState before = Load();
  HostState after = before;
  NetworkState& network = after.network;
  const NexNicState* managed = ManagementNic(before);
  if (!managed)
    throw HostCtl::Lib::HostCtlException("no bridge on this host");
  for (auto& vswitch : network.vswitches) {
    if (vswitch.name != managed->name)
      continue;
    for (auto& group : vswitch.portGroups) {
      group.activeUplinks = {adapter};
      group.standbyUplinks.clear();
      group.vlanId = 0;
    }
  }
  for (auto& nic : network.nics) {
    nic.ipv4Mode = "dhcp";
    nic.dhcpDns = true;
    nic.ipv6Addresses.clear();
    nic.ipv6RouterAdvertised = true;
    nic.ipv6Dhcp = false;
    nic.enabled = true;
  }
  network.routing = {};
  network.dns.hostname = "localhost";
  network.dns.domain.clear();
  network.dns.searchDomains.clear();
  network.dns.nameServers.clear();
  network.dns.ipv6NameServers.clear();
  ApplyNetwork(before, after);
}

}  // namespace Platform
