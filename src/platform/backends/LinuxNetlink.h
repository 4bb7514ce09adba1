// The kernel's network as the Linux host reads and changes it: links,
// addresses and default routes over rtnetlink. The netlink library lives in
// the module of system libraries (merel-linux.so, see LinuxServices.h) so
// that only the Linux host ever loads it; this is the table the console
// reaches it through. Plain values cross the module's boundary, nothing of
// the library's own.
#pragma once

#include <string>
#include <vector>

namespace Platform::Linux {

struct KernelLink {
  int index = 0;
  std::string name;
  // The kind the kernel reports ("bridge", "veth", "vlan", ...); empty for
  // a link with a device driver behind it.
  std::string kind;
  std::string mac;
  bool adminUp = false;  // IFF_UP
  bool carrier = false;  // operational state "up" (or "unknown" on an up link)
  int master = 0;        // the bridge it is a port of (0: none)
  int mtu = 1500;
  // The VLAN that untagged frames of this port (a bridge: of its own port)
  // belong to while the bridge filters VLANs; 0 for none.
  int pvid = 0;
};

struct KernelAddress {
  int index = 0;
  std::string address;  // "192.0.2.5", "2001:db8::5"
  int prefix = 0;
  bool ipv6 = false;
  // Obtained with a lifetime (DHCP, router advertisement), not set for good.
  bool dynamic = false;
  bool linkLocal = false;
};

struct KernelRoute {
  int index = 0;
  std::string gateway;
  bool ipv6 = false;
  // Learnt from a router advertisement: the network's, not the console's.
  bool advertised = false;
};

struct KernelNetwork {
  std::vector<KernelLink> links;
  std::vector<KernelAddress> addresses;
  std::vector<KernelRoute> defaultRoutes;  // of the main table
};

// Every call answers false with the kernel's reason in `error`.
struct Netlink {
  bool (*read)(KernelNetwork& network, std::string& error);
  // The link's addresses of one family that were set for good become
  // `addresses` ("a/prefix"); dynamic and link-local ones stay.
  bool (*setAddresses)(const std::string& link,
                       bool ipv6,
                       const std::vector<std::string>& addresses,
                       std::string& error);
  // The default route of the family through `gateway` on `link`; an empty
  // gateway removes it.
  bool (*setDefaultRoute)(const std::string& link,
                          bool ipv6,
                          const std::string& gateway,
                          std::string& error);
  // Makes `link` a port of bridge `master`; "" takes it out of its bridge.
  bool (*setMaster)(const std::string& link, const std::string& master, std::string& error);
  bool (*setUp)(const std::string& link, bool up, std::string& error);
  bool (*addBridge)(const std::string& name, std::string& error);
  // VLAN filtering of bridge `bridge` on or off.
  bool (*setVlanFiltering)(const std::string& bridge, bool on, std::string& error);
  // Adds VLAN `vid` to a port of a bridge (tagged), or with `self` to the
  // bridge's own port as its PVID, egress untagged; `add` false removes it.
  bool (*setPortVlan)(const std::string& link, bool self, int vid, bool add, std::string& error);
};

// The module's table, loaded once; nullptr with the reason in `error`.
const Netlink* LoadNetlink(std::string& error);

}  // namespace Platform::Linux

extern "C" const Platform::Linux::Netlink* merel_linux_netlink();
