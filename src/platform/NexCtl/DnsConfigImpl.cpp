#include "NexCtl/DnsConfigImpl.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "DurableFile.h"
#include "FacadeSupport.h"
#include "HostCtl/AddressRules.h"
#include "HostModel.h"

namespace NexCtl::Network {

namespace {

// Why `name` cannot be a host name, domain or search suffix, quoted with it
// for the exception; empty when it can. The exception text reaches the log
// and the screen, so a pasted page is quoted only by its start.
std::string NameFault(const std::string& name) {
  const std::string problem = HostCtl::Network::NameProblem(name);
  if (problem.empty()) {
    return "";
  }
  constexpr size_t kQuoted = 64;
  const std::string shown = name.size() <= kQuoted ? name : name.substr(0, kQuoted) + "...";
  return "'" + shown + "': " + problem;
}

std::vector<std::string> SplitNames(const std::string& text) {
  std::vector<std::string> names;
  std::string current;
  for (char c : text + " ") {
    if (c == ' ' || c == ',' || c == '\t' || c == '\n') {
      if (!current.empty())
        names.push_back(current);
      current.clear();
    } else {
      current += c;
    }
  }
  return names;
}

}  // namespace

std::string DnsConfigImpl::GetHostname() {
  Platform::RequireNetStack(_netStack);
  return Platform::LoadHost("DnsConfigImpl.GetHostname").network.dns.hostname;
}

std::string DnsConfigImpl::GetDomain() {
  Platform::RequireNetStack(_netStack);
  return Platform::LoadHost("DnsConfigImpl.GetDomain").network.dns.domain;
}

std::vector<std::string> DnsConfigImpl::GetSearchDomains() {
  Platform::RequireNetStack(_netStack);
  return Platform::LoadHost("DnsConfigImpl.GetSearchDomains").network.dns.searchDomains;
}

std::vector<HostCtl::Network::Ipv4Address> DnsConfigImpl::GetNameServers() {
  Platform::RequireNetStack(_netStack);
  std::vector<HostCtl::Network::Ipv4Address> servers;
  for (const auto& text : Platform::Model::EffectiveIpv4NameServers(
           Platform::LoadHost("DnsConfigImpl.GetNameServers"))) {
    servers.emplace_back(text);
  }
  return servers;
}

std::vector<HostCtl::Network::Ipv6Address> DnsConfigImpl::GetIpv6NameServers() {
  Platform::RequireNetStack(_netStack);
  std::vector<HostCtl::Network::Ipv6Address> servers;
  for (const auto& text : Platform::Model::EffectiveIpv6NameServers(
           Platform::LoadHost("DnsConfigImpl.GetIpv6NameServers"))) {
    servers.emplace_back(text);
  }
  return servers;
}

void DnsConfigImpl::SetHostname(const std::string& hostname, bool /*fromDhcp*/) {
  Platform::RequireNetStack(_netStack);
  if (hostname.find('.') != std::string::npos) {
    Platform::Fail("Invalid hostname '" + hostname + "': a host name has no dots.");
  }
  if (const std::string fault = NameFault(hostname); !fault.empty()) {
    Platform::Fail("Invalid hostname " + fault);
  }
  Platform::ModifyHost("DnsConfigImpl.SetHostname",
                       [&](Platform::HostState& state) { state.network.dns.hostname = hostname; });
}

void DnsConfigImpl::SetFqdn(const std::string& fqdn, bool /*fromDhcp*/, const std::string& domain) {
  Platform::RequireNetStack(_netStack);
  if (const std::string fault = NameFault(fqdn); !fault.empty()) {
    Platform::Fail("Invalid fully qualified domain name " + fault);
  }
  if (const std::string fault = domain.empty() ? "" : NameFault(domain); !fault.empty()) {
    Platform::Fail("Invalid domain " + fault);
  }
  auto dot = fqdn.find('.');
  std::string host = fqdn.substr(0, dot);
  std::string dom = !domain.empty() ? domain : dot == std::string::npos ? "" : fqdn.substr(dot + 1);
  Platform::ModifyHost("DnsConfigImpl.SetFqdn", [&](Platform::HostState& state) {
    state.network.dns.hostname = host;
    state.network.dns.domain = dom;
  });
}

void DnsConfigImpl::SetDomain(const std::string& domain) {
  Platform::RequireNetStack(_netStack);
  if (const std::string fault = domain.empty() ? "" : NameFault(domain); !fault.empty()) {
    Platform::Fail("Invalid domain " + fault);
  }
  Platform::ModifyHost("DnsConfigImpl.SetDomain",
                       [&](Platform::HostState& state) { state.network.dns.domain = domain; });
}

void DnsConfigImpl::SetSearchDomainsString(const std::string& domains) {
  Platform::RequireNetStack(_netStack);
  auto names = SplitNames(domains);
  for (const auto& name : names) {
    if (const std::string fault = NameFault(name); !fault.empty())
      Platform::Fail("Invalid search domain " + fault);
  }
  Platform::ModifyHost("DnsConfigImpl.SetSearchDomainsString", [&](Platform::HostState& state) {
    state.network.dns.searchDomains = names;
  });
}

void DnsConfigImpl::AddSearchDomain(const std::string& domain) {
  Platform::RequireNetStack(_netStack);
  if (const std::string fault = NameFault(domain); !fault.empty()) {
    Platform::Fail("Invalid search domain " + fault);
  }
  Platform::ModifyHost("DnsConfigImpl.AddSearchDomain", [&](Platform::HostState& state) {
    auto& list = state.network.dns.searchDomains;
    if (std::find(list.begin(), list.end(), domain) == list.end())
      list.push_back(domain);
  });
}

void DnsConfigImpl::RemoveNameServers() {
  Platform::RequireNetStack(_netStack);
  Platform::ModifyHost("DnsConfigImpl.RemoveNameServers", [](Platform::HostState& state) {
    state.network.dns.nameServers.clear();
    state.network.dns.ipv6NameServers.clear();
  });
}

void DnsConfigImpl::AddNameServer(const HostCtl::Network::IpAddress& server) {
  Platform::RequireNetStack(_netStack);
  if (const std::string problem = HostCtl::Network::NameServerProblem(server);
      !problem.empty()) {
    Platform::Fail("Invalid name server address: " + problem);
  }
  Platform::ModifyHost("DnsConfigImpl.AddNameServer", [&](Platform::HostState& state) {
    auto& list =
        server.IsIpv4() ? state.network.dns.nameServers : state.network.dns.ipv6NameServers;
    std::string text =
        server.IsIpv4() ? server.GetStringAddress() : server.GetScopedStringAddress();
    if (std::find(list.begin(), list.end(), text) == list.end())
      list.push_back(text);
  });
}

void DnsConfigImpl::SaveConfig() {
  Platform::RequireNetStack(_netStack);
  // The resolver file is in place before the state counts the save, so a
  // state that says "saved" never goes with an old file.
  Platform::ModifyHost("DnsConfigImpl.SaveConfig", [&](Platform::HostState& state) {
    std::ostringstream out;
    const auto& dns = state.network.dns;
    std::vector<std::string> search = dns.searchDomains;
    if (search.empty() && !dns.domain.empty())
      search.push_back(dns.domain);
    if (!dns.domain.empty())
      out << "domain " << dns.domain << "\n";
    if (!search.empty()) {
      out << "search";
      for (const auto& name : search)
        out << " " << name;
      out << "\n";
    }
    for (const auto& server : Platform::Model::EffectiveIpv4NameServers(state))
      out << "nameserver " << server << "\n";
    for (const auto& server : Platform::Model::EffectiveIpv6NameServers(state))
      out << "nameserver " << server << "\n";
    std::string error;
    if (Platform::HostHas(Platform::Feature::kResolverFileOnSave) &&
        !Platform::WriteFileDurably(Platform::HostPath("/etc/resolv.conf"), out.str(), 0644,
                                    error)) {
      Platform::Fail(error);
    }
    ++state.network.dns.saveCount;
  });
}

}  // namespace NexCtl::Network
