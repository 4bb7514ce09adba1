// The rtnetlink calls behind LinuxNetlink.h, made with libnl-route-3. Each
// call opens its own socket: the console changes the network a few times
// per apply, and a socket kept open would only hold stale caches.
#include "backends/LinuxNetlink.h"

#include <arpa/inet.h>
#include <linux/if.h>
#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <netlink/netlink.h>
#include <netlink/route/addr.h>
#include <netlink/route/link.h>
#include <netlink/route/link/bridge.h>
#include <netlink/route/route.h>

#include <cstdio>
#include <map>
#include <memory>

namespace Platform::Linux {

namespace {

struct SocketFree {
  void operator()(nl_sock* sock) const { nl_socket_free(sock); }
};
struct CacheFree {
  void operator()(nl_cache* cache) const { nl_cache_free(cache); }
};
struct AddrPut {
  void operator()(nl_addr* addr) const { nl_addr_put(addr); }
};
struct LinkPut {
  void operator()(rtnl_link* link) const { rtnl_link_put(link); }
};
using Socket = std::unique_ptr<nl_sock, SocketFree>;
using Cache = std::unique_ptr<nl_cache, CacheFree>;
using Addr = std::unique_ptr<nl_addr, AddrPut>;
using Link = std::unique_ptr<rtnl_link, LinkPut>;

bool Failed(int rc, const std::string& what, std::string& error) {
  if (rc >= 0)
    return false;
  error = what + ": " + nl_geterror(rc);
  return true;
}

Socket Open(std::string& error) {
  Socket sock(nl_socket_alloc());
  if (!sock) {
    error = "netlink: out of memory";
    return nullptr;
  }
  if (Failed(nl_connect(sock.get(), NETLINK_ROUTE), "netlink", error))
    return nullptr;
  return sock;
}

std::string Text(nl_addr* addr) {
  if (!addr)
    return "";
  char text[INET6_ADDRSTRLEN] = {};
  const int family = nl_addr_get_family(addr);
  if ((family == AF_INET || family == AF_INET6) &&
      inet_ntop(family, nl_addr_get_binary_addr(addr), text, sizeof(text)))
    return text;
  return "";
}

std::string Mac(nl_addr* addr) {
  if (!addr || nl_addr_get_len(addr) != 6)
    return "";
  const auto* bytes = static_cast<const unsigned char*>(nl_addr_get_binary_addr(addr));
  char text[18];
  snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", bytes[0], bytes[1], bytes[2],
           bytes[3], bytes[4], bytes[5]);
  return text;
}

// A default route of the main table (what "ip route" shows as "default").
bool IsDefaultRoute(rtnl_route* route) {
  nl_addr* dst = rtnl_route_get_dst(route);
  return rtnl_route_get_table(route) == RT_TABLE_MAIN &&
         (!dst || nl_addr_get_prefixlen(dst) == 0) && rtnl_route_get_type(route) == RTN_UNICAST;
}

int IndexOf(nl_sock* sock, const std::string& name, std::string& error) {
  rtnl_link* found = nullptr;
  if (Failed(rtnl_link_get_kernel(sock, 0, name.c_str(), &found), name, error))
    return 0;
  Link link(found);
  return rtnl_link_get_ifindex(link.get());
}

// A socket in `sock` and the index of link `name`: 0, with `error` set,
// when either cannot be had.
int OpenOn(const std::string& name, Socket& sock, std::string& error) {
  sock = Open(error);
  return sock ? IndexOf(sock.get(), name, error) : 0;
}

// One link of the dump ReadPvids asks for: its PVID, if it has one, goes
// into the map `arg`.
int OnBridgeLink(nl_msg* msg, void* arg) {
  auto* pvids = static_cast<std::map<int, int>*>(arg);
  nlmsghdr* header = nlmsg_hdr(msg);
  if (header->nlmsg_type != RTM_NEWLINK)
    return NL_SKIP;
  nlattr* attrs[IFLA_MAX + 1] = {};
  if (nlmsg_parse(header, sizeof(ifinfomsg), attrs, IFLA_MAX, nullptr) < 0 || !attrs[IFLA_AF_SPEC])
    return NL_OK;
  const int index = static_cast<ifinfomsg*>(nlmsg_data(header))->ifi_index;
  nlattr* entry = nullptr;
  int rest = 0;
  nla_for_each_nested(entry, attrs[IFLA_AF_SPEC], rest) {
    if (nla_type(entry) != IFLA_BRIDGE_VLAN_INFO ||
        nla_len(entry) < static_cast<int>(sizeof(bridge_vlan_info)))
      continue;
    const auto* info = static_cast<const bridge_vlan_info*>(nla_data(entry));
    if (info->flags & BRIDGE_VLAN_INFO_PVID)
      (*pvids)[index] = info->vid;
  }
  return NL_OK;
}

// The PVID of each bridge port and bridge (its own port) by interface
// index. libnl keeps no bridge VLANs of a bridge's own port, and only a dump
// of the bridge family asking for them lists it, so the dump is made here. A
// kernel without VLAN filtering lists none. Without the VLANs the links are
// still the links: a failed dump only leaves every PVID at none.
std::map<int, int> ReadPvids() {
  std::map<int, int> pvids;
  std::string ignored;
  Socket sock = Open(ignored);
  if (!sock)
    return pvids;
  std::unique_ptr<nl_msg, void (*)(nl_msg*)> msg(nlmsg_alloc_simple(RTM_GETLINK, NLM_F_DUMP),
                                                 nlmsg_free);
  ifinfomsg header = {};
  header.ifi_family = AF_BRIDGE;
  if (!msg || nlmsg_append(msg.get(), &header, sizeof(header), NLMSG_ALIGNTO) < 0 ||
      nla_put_u32(msg.get(), IFLA_EXT_MASK, RTEXT_FILTER_BRVLAN) < 0 ||
      nl_send_auto(sock.get(), msg.get()) < 0)
    return pvids;
  nl_socket_modify_cb(sock.get(), NL_CB_VALID, NL_CB_CUSTOM, OnBridgeLink, &pvids);
  nl_recvmsgs_default(sock.get());
  return pvids;
}

bool Read(KernelNetwork& network, std::string& error) {
  network = {};
  Socket sock = Open(error);
  if (!sock)
    return false;
  nl_cache* raw = nullptr;
  if (Failed(rtnl_link_alloc_cache(sock.get(), AF_UNSPEC, &raw), "links", error))
    return false;
  Cache links(raw);
  for (nl_object* object = nl_cache_get_first(links.get()); object;
       object = nl_cache_get_next(object)) {
    auto* link = reinterpret_cast<rtnl_link*>(object);
    KernelLink entry;
    entry.index = rtnl_link_get_ifindex(link);
    entry.name = rtnl_link_get_name(link) ? rtnl_link_get_name(link) : "";
    const char* kind = rtnl_link_get_type(link);
    entry.kind = kind ? kind : "";
    entry.mac = Mac(rtnl_link_get_addr(link));
    const unsigned flags = rtnl_link_get_flags(link);
    entry.adminUp = (flags & IFF_UP) != 0;
    const uint8_t state = rtnl_link_get_operstate(link);
    entry.carrier = state == IF_OPER_UP || (state == IF_OPER_UNKNOWN && (flags & IFF_RUNNING));
    entry.master = rtnl_link_get_master(link);
    entry.mtu = static_cast<int>(rtnl_link_get_mtu(link));
    network.links.push_back(entry);
  }
  const std::map<int, int> pvids = ReadPvids();
  for (auto& entry : network.links) {
    if (const auto found = pvids.find(entry.index); found != pvids.end())
      entry.pvid = found->second;
  }
  raw = nullptr;
  if (Failed(rtnl_addr_alloc_cache(sock.get(), &raw), "addresses", error))
    return false;
  Cache addresses(raw);
  for (nl_object* object = nl_cache_get_first(addresses.get()); object;
       object = nl_cache_get_next(object)) {
    auto* addr = reinterpret_cast<rtnl_addr*>(object);
    const int family = rtnl_addr_get_family(addr);
    if (family != AF_INET && family != AF_INET6)
      continue;
    KernelAddress entry;
    entry.index = rtnl_addr_get_ifindex(addr);
    entry.address = Text(rtnl_addr_get_local(addr));
    entry.prefix = static_cast<int>(rtnl_addr_get_prefixlen(addr));
    entry.ipv6 = family == AF_INET6;
    entry.dynamic = (rtnl_addr_get_flags(addr) & IFA_F_PERMANENT) == 0;
    entry.linkLocal = rtnl_addr_get_scope(addr) == RT_SCOPE_LINK;
    if (!entry.address.empty())
      network.addresses.push_back(entry);
  }
  raw = nullptr;
  if (Failed(rtnl_route_alloc_cache(sock.get(), AF_UNSPEC, 0, &raw), "routes", error))
    return false;
  Cache routes(raw);
  for (nl_object* object = nl_cache_get_first(routes.get()); object;
       object = nl_cache_get_next(object)) {
    auto* route = reinterpret_cast<rtnl_route*>(object);
    if (!IsDefaultRoute(route) || rtnl_route_get_nnexthops(route) < 1)
      continue;
    rtnl_nexthop* hop = rtnl_route_nexthop_n(route, 0);
    KernelRoute entry;
    entry.index = rtnl_route_nh_get_ifindex(hop);
    entry.gateway = Text(rtnl_route_nh_get_gateway(hop));
    entry.ipv6 = rtnl_route_get_family(route) == AF_INET6;
    entry.advertised = rtnl_route_get_protocol(route) == RTPROT_RA;
    if (!entry.gateway.empty())
      network.defaultRoutes.push_back(entry);
  }
  return true;
}

bool SetAddresses(const std::string& name,
                  bool ipv6,
                  const std::vector<std::string>& wanted,
                  std::string& error) {
  Socket sock;
  const int index = OpenOn(name, sock, error);
  if (index == 0)
    return false;
  const int family = ipv6 ? AF_INET6 : AF_INET;
  std::vector<Addr> parsed;
  for (const auto& text : wanted) {
    nl_addr* raw = nullptr;
    if (Failed(nl_addr_parse(text.c_str(), family, &raw), text, error))
      return false;
    parsed.emplace_back(raw);
  }
  nl_cache* raw = nullptr;
  if (Failed(rtnl_addr_alloc_cache(sock.get(), &raw), "addresses", error))
    return false;
  Cache addresses(raw);
  // What stays is not deleted and added again: that would drop the routes
  // the kernel made for it.
  std::vector<bool> present(parsed.size(), false);
  for (nl_object* object = nl_cache_get_first(addresses.get()); object;
       object = nl_cache_get_next(object)) {
    auto* addr = reinterpret_cast<rtnl_addr*>(object);
    if (rtnl_addr_get_ifindex(addr) != index || rtnl_addr_get_family(addr) != family ||
        (rtnl_addr_get_flags(addr) & IFA_F_PERMANENT) == 0 ||
        rtnl_addr_get_scope(addr) == RT_SCOPE_LINK)
      continue;
    bool keep = false;
    for (size_t i = 0; i < parsed.size(); ++i) {
      if (nl_addr_cmp(rtnl_addr_get_local(addr), parsed[i].get()) == 0 &&
          static_cast<unsigned>(rtnl_addr_get_prefixlen(addr)) ==
              nl_addr_get_prefixlen(parsed[i].get())) {
        keep = present[i] = true;
      }
    }
    if (!keep && Failed(rtnl_addr_delete(sock.get(), addr, 0), Text(rtnl_addr_get_local(addr)),
                        error))
      return false;
  }
  for (size_t i = 0; i < parsed.size(); ++i) {
    if (present[i])
      continue;
    std::unique_ptr<rtnl_addr, void (*)(rtnl_addr*)> addr(rtnl_addr_alloc(), rtnl_addr_put);
    rtnl_addr_set_ifindex(addr.get(), index);
    rtnl_addr_set_family(addr.get(), family);
    rtnl_addr_set_local(addr.get(), parsed[i].get());
    rtnl_addr_set_prefixlen(addr.get(), nl_addr_get_prefixlen(parsed[i].get()));
    if (Failed(rtnl_addr_add(sock.get(), addr.get(), 0), wanted[i], error))
      return false;
  }
  return true;
}

bool SetDefaultRoute(const std::string& name,
                     bool ipv6,
                     const std::string& gateway,
                     std::string& error) {
  Socket sock = Open(error);
  if (!sock)
    return false;
  const int family = ipv6 ? AF_INET6 : AF_INET;
  nl_cache* raw = nullptr;
  if (Failed(rtnl_route_alloc_cache(sock.get(), family, 0, &raw), "routes", error))
    return false;
  Cache routes(raw);
  for (nl_object* object = nl_cache_get_first(routes.get()); object;
       object = nl_cache_get_next(object)) {
    auto* route = reinterpret_cast<rtnl_route*>(object);
    if (IsDefaultRoute(route) && rtnl_route_get_protocol(route) != RTPROT_RA &&
        Failed(rtnl_route_delete(sock.get(), route, 0), "default route", error))
      return false;
  }
  if (gateway.empty())
    return true;
  const int index = IndexOf(sock.get(), name, error);
  if (index == 0)
    return false;
  nl_addr* parsed = nullptr;
  if (Failed(nl_addr_parse(gateway.c_str(), family, &parsed), gateway, error))
    return false;
  Addr via(parsed);
  parsed = nullptr;
  if (Failed(nl_addr_parse(ipv6 ? "::/0" : "0.0.0.0/0", family, &parsed), "default", error))
    return false;
  Addr any(parsed);
  std::unique_ptr<rtnl_route, void (*)(rtnl_route*)> route(rtnl_route_alloc(), rtnl_route_put);
  rtnl_route_set_family(route.get(), static_cast<uint8_t>(family));
  rtnl_route_set_dst(route.get(), any.get());
  rtnl_route_set_table(route.get(), RT_TABLE_MAIN);
  rtnl_route_set_protocol(route.get(), RTPROT_STATIC);
  rtnl_route_set_scope(route.get(), RT_SCOPE_UNIVERSE);
  rtnl_route_set_type(route.get(), RTN_UNICAST);
  rtnl_nexthop* hop = rtnl_route_nh_alloc();  // owned by the route once added
  rtnl_route_nh_set_ifindex(hop, index);
  rtnl_route_nh_set_gateway(hop, via.get());
  rtnl_route_add_nexthop(route.get(), hop);
  return !Failed(rtnl_route_add(sock.get(), route.get(), NLM_F_CREATE | NLM_F_REPLACE),
                 "gateway " + gateway, error);
}

bool SetMaster(const std::string& name, const std::string& master, std::string& error) {
  Socket sock;
  const int index = OpenOn(name, sock, error);
  if (index == 0)
    return false;
  if (master.empty())
    return !Failed(rtnl_link_release_ifindex(sock.get(), index), name, error);
  const int bridge = IndexOf(sock.get(), master, error);
  if (bridge == 0)
    return false;
  return !Failed(rtnl_link_enslave_ifindex(sock.get(), bridge, index), name, error);
}

bool SetUp(const std::string& name, bool up, std::string& error) {
  Socket sock = Open(error);
  if (!sock)
    return false;
  rtnl_link* found = nullptr;
  if (Failed(rtnl_link_get_kernel(sock.get(), 0, name.c_str(), &found), name, error))
    return false;
  Link link(found);
  Link change(rtnl_link_alloc());
  if (up)
    rtnl_link_set_flags(change.get(), IFF_UP);
  else
    rtnl_link_unset_flags(change.get(), IFF_UP);
  return !Failed(rtnl_link_change(sock.get(), link.get(), change.get(), 0), name, error);
}

bool AddBridge(const std::string& name, std::string& error) {
  Socket sock = Open(error);
  if (!sock)
    return false;
  return !Failed(rtnl_link_bridge_add(sock.get(), name.c_str()), name, error);
}

// libnl has no setter for a bridge's VLAN filtering nor for port VLANs: the
// link messages are built with its message API, as "ip" and "bridge" send
// them, and sent and acknowledged through it.
using Message = std::unique_ptr<nl_msg, void (*)(nl_msg*)>;

Message LinkMessage(int type, int family, int index) {
  Message msg(nlmsg_alloc_simple(type, 0), nlmsg_free);
  ifinfomsg header = {};
  header.ifi_family = static_cast<unsigned char>(family);
  header.ifi_index = index;
  if (msg && nlmsg_append(msg.get(), &header, sizeof(header), NLMSG_ALIGNTO) < 0)
    msg.reset();
  return msg;
}

bool SendAcked(nl_sock* sock, Message msg, const std::string& what, std::string& error) {
  if (!msg) {
    error = what + ": out of memory";
    return false;
  }
  // nl_send_sync frees the message whatever happens.
  return !Failed(nl_send_sync(sock, msg.release()), what, error);
}

bool SetVlanFiltering(const std::string& bridge, bool on, std::string& error) {
  Socket sock;
  const int index = OpenOn(bridge, sock, error);
  if (index == 0)
    return false;
  Message msg = LinkMessage(RTM_NEWLINK, AF_UNSPEC, index);
  nlattr* info = msg ? nla_nest_start(msg.get(), IFLA_LINKINFO) : nullptr;
  nlattr* data = nullptr;
  if (!info || nla_put_string(msg.get(), IFLA_INFO_KIND, "bridge") < 0 ||
      !(data = nla_nest_start(msg.get(), IFLA_INFO_DATA)) ||
      nla_put_u8(msg.get(), IFLA_BR_VLAN_FILTERING, on ? 1 : 0) < 0)
    msg.reset();
  if (msg) {
    nla_nest_end(msg.get(), data);
    nla_nest_end(msg.get(), info);
  }
  return SendAcked(sock.get(), std::move(msg), bridge + " VLAN filtering", error);
}

bool SetPortVlan(const std::string& name, bool self, int vid, bool add, std::string& error) {
  Socket sock;
  const int index = OpenOn(name, sock, error);
  if (index == 0)
    return false;
  Message msg = LinkMessage(add ? RTM_SETLINK : RTM_DELLINK, AF_BRIDGE, index);
  bridge_vlan_info vlan = {};
  vlan.vid = static_cast<uint16_t>(vid);
  if (self && add)
    vlan.flags = BRIDGE_VLAN_INFO_PVID | BRIDGE_VLAN_INFO_UNTAGGED;
  nlattr* afAttrs = msg ? nla_nest_start(msg.get(), IFLA_AF_SPEC) : nullptr;
  if (!afAttrs || (self && nla_put_u16(msg.get(), IFLA_BRIDGE_FLAGS, BRIDGE_FLAGS_SELF) < 0) ||
      nla_put(msg.get(), IFLA_BRIDGE_VLAN_INFO, sizeof(vlan), &vlan) < 0)
    msg.reset();
  if (msg)
    nla_nest_end(msg.get(), afAttrs);
  return SendAcked(sock.get(), std::move(msg), name + " VLAN " + std::to_string(vid), error);
}

const Netlink kNetlink = {Read,  SetAddresses, SetDefaultRoute,  SetMaster,
                          SetUp, AddBridge,    SetVlanFiltering, SetPortVlan};

}  // namespace

}  // namespace Platform::Linux

extern "C" const Platform::Linux::Netlink* merel_linux_netlink() {
  return &Platform::Linux::kNetlink;
}
