// The management network of the Linux host (merel --host linux) on real
// interfaces, in namespaces of its own (NamespaceUtil.h): the console's host
// has three veth adapters, nic0 bridged into br0 (the management switch),
// and their other ends are in a peer network namespace that plays the
// network around the host (10.99.0.1 is its router). What the console did
// is read back with `ip` inside the same namespaces (nsenter) and from the
// private /etc.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <tuple>
#include <string>

#include "../common/CommandOutput.h"
#include "NamespaceUtil.h"
#include "NetworkScreenUtil.h"

namespace {

using namespace MerelNetworkTest;
using namespace MerelNamespaceTest;

// The host's names and resolver, systemd-resolved where a case asks for it,
// and the network around the host.
constexpr NamespaceSteps kSteps = {"merel-net-host", R"SH(
printf '127.0.0.1\tlocalhost\n127.0.1.1\t@HOST@\n' > "$S/etc/hosts"
printf 'nameserver 10.99.0.1\n' > "$S/etc/resolv.conf.new"
rm -f "$S/etc/resolv.conf"; mv "$S/etc/resolv.conf.new" "$S/etc/resolv.conf"
rm -rf "$S/etc/systemd/network" "$S/etc/network/interfaces"
)SH", R"SH(
if [ -e /dev/log ] || [ -L /dev/log ]; then mount --bind /dev/null /dev/log; fi
# systemd-resolved keeping the resolver, for the cases that ask for it: its
# folder, its stub file as /etc/resolv.conf, and resolvectl (which this
# machine may lack) a recorder laid over /usr/bin.
if [ -e "$S/with-resolved" ]; then
  mkdir -p /run/systemd/resolve "$S/usr-bin" "$S/usr-bin-work"
  printf 'nameserver 127.0.0.53\noptions edns0 trust-ad\n' > /run/systemd/resolve/stub-resolv.conf
  ln -sfn ../run/systemd/resolve/stub-resolv.conf /etc/resolv.conf
  cp "$S/recorder" "$S/usr-bin/resolvectl"
  mount -t overlay overlay \
    -o "lowerdir=/usr/bin,upperdir=$S/usr-bin,workdir=$S/usr-bin-work" /usr/bin
fi
)SH", R"SH(
unshare --net sh -c 'readlink /proc/$$/ns/net > "$0/peer.ns"; echo $$ > "$0/peer.pid"
  exec sleep 100000' "$S" &
while [ ! -s "$S/peer.pid" ]; do sleep 0.05; done
P=$(cat "$S/peer.pid")
ip link set lo up
for i in 0 1 2; do ip link add nic$i type veth peer name peer$i netns "$P"; done
ip link add br0 type bridge
ip link set nic0 master br0
ip link set nic0 up
ip link set nic1 up
ip link set br0 up
ip addr add 10.99.0.2/24 dev br0
ip route add default via 10.99.0.1
nsenter -t "$P" -n sh -c 'ip link set lo up; ip link set peer0 up; ip link set peer1 up;
  ip addr add 10.99.0.1/24 dev peer0'
# Router advertisements of 2001:db8:99::/64, for the cases that ask for them.
RA=""
if [ -e "$S/with-ra" ]; then
  nsenter -t "$P" -n ip -6 addr add 2001:db8:99::1/64 dev peer0 nodad
  RA="--enable-ra --dhcp-range=2001:db8:99::,ra-only,64 --ra-param=peer0,4,600"
fi
# The router's DHCP and DNS; merel-test.lab is the name the network test
# looks up. Its leases and log stay in the scratch folder.
mkdir -p /var/lib/dhcpcd && mount -t tmpfs tmpfs /var/lib/dhcpcd
nsenter -t "$P" -n dnsmasq --conf-file=/dev/null --user=root --interface=peer0 \
  --bind-interfaces --no-resolv --no-hosts --dhcp-range=10.99.0.100,10.99.0.150,255.255.255.0,1h \
  --dhcp-option=option:router,10.99.0.1 --dhcp-option=option:dns-server,10.99.0.1 \
  --address=/merel-test.lab/10.99.0.42 --dhcp-leasefile="$S/leases" --pid-file="$S/dnsmasq.pid" \
  --log-dhcp --log-facility="$S/dnsmasq.log" $RA
while [ ! -s "$S/dnsmasq.pid" ]; do sleep 0.05; done
)SH"};

// Types `texts` into a dialog's fields, one below the other from the
// selected one; "" leaves a field as it is.
void Fill(Terminal& console, std::initializer_list<const char*> texts) {
  int field = 0;
  for (const char* text : texts) {
    if (field++ > 0)
      Type(console, {Key::kDown});
    if (*text)
      TypeText(console, text);
  }
}

// Types `text` over what the selected field holds.
void Retype(Terminal& console, const std::string& text) {
  Type(console, {Key::kEnd});
  TypeText(console, std::string(40, '\x7f') + text);
}

// The DNS dialog's fields (servers, host name), then the suffixes if any.
void SetDns(Terminal& console, std::initializer_list<const char*> fields, const char* suffixes) {
  Choose(console, "DNS Configuration", "Use the following DNS server addresses");
  Fill(console, fields);
  Accept(console);
  if (*suffixes)
    Edit(console, "Custom DNS Suffixes", "Suffixes:", {}, suffixes);
}

// IPv4 static, with the fields (address, netmask, gateway) typed in; with
// no fields, IPv4 from DHCP.
void SetIpv4(Terminal& console, std::initializer_list<const char*> fields) {
  Choose(console, "IPv4 Configuration", "Set static IPv4 address");
  if (fields.size() == 0)
    Type(console, {Key::kDown, Key::kSpace});
  else
    Type(console, {Key::kDown, Key::kDown, Key::kSpace, Key::kDown});
  Fill(console, fields);
  Accept(console);
}

class LinuxNetworkTest : public NamespaceTest {
 protected:
  LinuxNetworkTest() : NamespaceTest(kSteps) {}

  // A command run in the console's namespaces.
  std::string InHost(const std::string& command) const {
    return MerelTestCommon::CommandOutput("nsenter -t " + std::to_string(_console->Pid()) +
                                          " -n -m -u sh -c '" + command + "' 2>&1");
  }
  // The console's networkd file 10-merel-`name`.
  std::string Unit(const std::string& name) const {
    return File("/systemd/network/10-merel-" + name);
  }

  // Logs in as root and opens the network window; otherwise the test ends.
  void OpenNetwork(Terminal& console) {
    LogIn(console);
    Choose(console, kWindowTitle, "<Esc> Exit");
  }
};

// The adapters with their link state; then nic1 joins the bridge with a
// static address, gateway and names, and leaves it again; then the factory
// layout is restored.
TEST_F(LinuxNetworkTest, StaticAddressGatewayNamesUplinksAndRestore) {
  Terminal& console = Start();
  OpenNetwork(console);
  Choose(console, "Network Adapters", "nic2");
  // nic0 is the bridge's port; nic2's peer is down: no carrier.
  for (const auto& [nic, state] :
       {std::pair("[X] nic0", "Connected"), std::pair("[ ] nic1", "Connected"),
        std::pair("[ ] nic2", "Disconnected")})
    EXPECT_TRUE(Contains(RowWith(console, nic), state)) << nic << "\n" << console.Text();
  // The bridge is the switch, not an adapter; the peers are not the host's.
  ExpectLacks(console.Text(), {"] br0", "peer"});
  // nic1 joins nic0 on the bridge (and later leaves it).
  Type(console, {Key::kDown, Key::kSpace});
  Accept(console);
  SetIpv4(console, {"10.99.0.7", "255.255.255.0", "10.99.0.1"});
  SetDns(console, {"10.99.0.53", "", "new-host.lab.test"}, "a.test b.test");
  ApplyChanges(console);

  const std::string addresses = InHost("ip -4 -o addr show dev br0");
  ExpectHas(addresses, {"inet 10.99.0.7/24"});
  ExpectLacks(addresses, {"10.99.0.2/"});
  ExpectHas(InHost("ip -4 route show default"), {"default via 10.99.0.1 dev br0"});
  EXPECT_EQ(InHost("ls /sys/class/net/br0/brif"), "nic0\nnic1\n");
  EXPECT_EQ(InHost("hostname; cat /etc/hostname"), "new-host\nnew-host\n");
  ExpectHas(File("/hosts"), {"127.0.1.1\tnew-host.lab.test\tnew-host\n", "127.0.0.1\tlocalhost\n"});
  ExpectHas(File("/resolv.conf"), {"nameserver 10.99.0.53\n", "search lab.test a.test b.test\n"});

  // What the next boot brings up, field by field: the bridge with the MAC
  // address it has now (a new one would lose the address's lease), its
  // address and gateway, and its ports.
  ExpectHas(Unit("br0.network"), {"[Match]\nName=br0\n", "\n[Network]\nDHCP=no\n",
                                   "\nAddress=10.99.0.7/24\nGateway=10.99.0.1\n"});
  ExpectHas(Unit("br0.netdev"), {"[NetDev]\nName=br0\nKind=bridge\nMACAddress=" +
                                 InHost("cat /sys/class/net/br0/address")});
  for (const std::string uplink : {"nic0", "nic1"})
    ExpectHas(Unit(uplink + ".network"), {"[Match]\nName=" + uplink + "\n", "\nBridge=br0\n"});
  EXPECT_EQ(Unit("nic2.network"), "");

  // Taking nic1 off again leaves the bridge and its file.
  Accept(console);
  Edit(console, "Network Adapters", "nic2", {Key::kDown, Key::kSpace});
  ApplyChanges(console);
  EXPECT_EQ(InHost("ls /sys/class/net/br0/brif"), "nic0\n");
  EXPECT_EQ(Unit("nic1.network"), "");

  // The factory layout: one bridge on the first adapter with a link, DHCP
  // on it, the names reset; nic1 put on the bridge behind the console's back.
  SCOPED_TRACE("restore");
  InHost("ip link set nic1 master br0");
  Choose(console, "Network Restore Options", "Restore DVS");
  Choose(console, "Restore Network Settings", "<Esc> Cancel");
  console.SendKey(Key::kF11);
  // The test driver's domain runs: it is powered off first.
  ASSERT_TRUE(console.WaitFor([&] {
    return Contains(console.Text(), "Warning: VMs running") ||
           Contains(console.Text(), "Auto-configuring network. ");
  })) << console.Text();
  if (Contains(console.Text(), "Warning: VMs running"))
    console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, "Auto-configuring network. Done.")) << console.Text();
  EXPECT_EQ(InHost("ls /sys/class/net/br0/brif"), "nic0\n");
  EXPECT_TRUE(console.WaitFor([&] {
    return Contains(InHost("ip -4 -o addr show dev br0"), "inet 10.99.0.1");
  })) << InHost("ip addr") << Slurp(_scratch + "/dnsmasq.log");
  ExpectLacks(InHost("ip -4 -o addr show dev br0"), {"10.99.0.7/"});
  EXPECT_EQ(InHost("hostname"), "localhost\n");
  ExpectHas(Unit("br0.network"), {"\nDHCP=ipv4\n"});
  EXPECT_EQ(Unit("nic1.network"), "");
}

TEST_F(LinuxNetworkTest, AGatewayTheKernelRefusesIsShownAndTheNamesStillChange) {
  Terminal& console = Start();
  // The kernel has no route to a gateway outside every subnet of the host.
  ExpectWelcome(console);
  InHost("ip addr flush dev br0; ip addr add 10.99.0.2/32 dev br0");
  OpenNetwork(console);
  SetDns(console, {"", "", "after-failure"}, "");
  SetIpv4(console, {"", "", "10.99.0.254"});
  Press(console, Key::kEscape, "Apply changes and restart management network?");
  console.SendText("y");
  ASSERT_TRUE(WaitQuiet(console, "Setting default gateway failed: "))
      << console.Text() << InHost("ip addr; ip route");
  PressToMenu(console, Key::kEnter);
  EXPECT_EQ(InHost("hostname; cat /etc/hostname"), "after-failure\nafter-failure\n");
  ExpectLacks(InHost("ip route show default"), {"10.99.0.254"});
}

TEST_F(LinuxNetworkTest, DhcpLeaseFromTheRouterThenRestartAndTest) {
  Terminal& console = Start();
  OpenNetwork(console);
  SetIpv4(console, {});
  ApplyChanges(console);

  // The lease is on the bridge and on the welcome screen.
  const std::string addresses = InHost("ip -4 -o addr show dev br0");
  const auto at = addresses.find("inet 10.99.0.1");
  ASSERT_NE(at, std::string::npos) << addresses << Slurp(_scratch + "/dnsmasq.log");
  const std::string lease = addresses.substr(at + 5, addresses.find('/', at) - at - 5);
  ExpectLacks(addresses, {"10.99.0.2/"});
  ExpectHas(Unit("br0.network"), {"\nDHCP=ipv4\n"});
  console.SendKey(Key::kEscape);
  ASSERT_TRUE(WaitQuiet(console, "http://" + lease + "/")) << console.Text();

  // A restart renews the lease with the router: a new DHCPACK in its log.
  const size_t logged = Slurp(_scratch + "/dnsmasq.log").size();
  LogIn(console);
  Choose(console, "Restart Management Network", "Restart management network now?");
  Press(console, Key::kF11, "<Enter> OK");
  EXPECT_TRUE(console.WaitFor([&] {
    return Contains(Slurp(_scratch + "/dnsmasq.log").substr(logged), "DHCPACK");
  })) << Slurp(_scratch + "/dnsmasq.log");
  EXPECT_TRUE(console.WaitFor([&] {
    return Contains(InHost("ip -4 -o addr show dev br0"), "inet " + lease + "/");
  })) << InHost("ip addr; ip route; ps ax");
  PressToMenu(console, Key::kEnter);

  // The network test: the router answers, an address nobody holds does
  // not, and the test name resolves through the router's DNS.
  Choose(console, "Test Management Network", "Ping Address #0:");
  Fill(console, {"10.99.0.1", "10.99.0.77", "", ""});
  Retype(console, "merel-test.lab");
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitForResult(console)) << console.Text();
  for (const auto& [step, result] : {std::pair("Pinging address #1 (10.99.0.1).", "OK."),
                                     std::pair("Pinging address #2 (10.99.0.77).", "Failed."),
                                     std::pair("Resolving hostname (merel-test.lab).", "OK.")}) {
    EXPECT_TRUE(RowWith(console, step).ends_with(result))
        << console.Text() << InHost("ip addr; ip route; cat /etc/resolv.conf; ps ax");
  }
}

// SLAAC from the router's advertisements is what the welcome screen shows;
// static IPv6 then replaces it in the kernel and in the files; then the
// management VLAN; then IPv6 goes off.
TEST_F(LinuxNetworkTest, SlaacThenStaticIpv6ThenVlanThenIpv6Off) {
  std::ofstream(_scratch + "/with-ra");
  Terminal& console = Start();
  ExpectWelcome(console);
  std::string slaac;
  ASSERT_TRUE(console.WaitFor([&] {
    const std::string text = InHost("ip -6 -o addr show dev br0 scope global");
    const auto at = text.find("inet6 2001:db8:99:");
    slaac = at == std::string::npos ? "" : text.substr(at + 6, text.find('/', at) - at - 6);
    return !slaac.empty() && !Contains(text, "tentative");
  })) << InHost("ip -6 addr") << Slurp(_scratch + "/dnsmasq.log");
  console.SendKey(Key::kEscape);  // the welcome screen reads the host again
  ASSERT_TRUE(WaitQuiet(console, "http://[" + slaac + "]/")) << console.Text();

  OpenNetwork(console);
  // Static: the advertised address stays in the first field but is not the
  // console's to keep; the second field and the gateway are typed.
  Choose(console, "IPv6 Configuration", "Set static IPv6");
  Type(console, {Key::kDown, Key::kDown, Key::kDown, Key::kSpace, Key::kDown, Key::kDown});
  Fill(console, {"2001:db8:99::7/64", "", ""});
  Retype(console, "2001:db8:99::1");
  Accept(console);
  ApplyChanges(console);

  const std::string addresses = InHost("ip -6 -o addr show dev br0 scope global");
  ExpectHas(addresses, {"inet6 2001:db8:99::7/64"});
  ExpectLacks(addresses, {slaac + "/"});
  ExpectHas(InHost("ip -6 route show default"), {"default via 2001:db8:99::1 dev br0"});
  EXPECT_EQ(InHost("cat /proc/sys/net/ipv6/conf/br0/accept_ra"), "0\n");
  ExpectHas(Unit("br0.network"), {"\nIPv6AcceptRA=no\n", "\nAddress=10.99.0.2/24\n",
                                   "\nAddress=2001:db8:99::7/64\n", "\nGateway=2001:db8:99::1\n"});

  // The management VLAN is the bridge's VLAN filtering, where the kernel
  // has it; where not, the entry says so and nothing changes.
  SCOPED_TRACE("VLAN");
  Accept(console);
  if (InHost("test -e /sys/class/net/br0/bridge/vlan_filtering && echo yes") != "yes\n") {
    Choose(console, "VLAN (optional)", "kernel does not support VLANs on the management");
    ExpectHas(console.Text(), {"Nothing was changed."});
    Accept(console);
    PressToMenu(console, Key::kEscape);  // nothing to apply: no question
  } else {
    Edit(console, "VLAN (optional)", "VLAN ID (1-4094", {}, "20");
    ApplyChanges(console);
    EXPECT_EQ(InHost("cat /sys/class/net/br0/bridge/vlan_filtering"), "1\n");
    ExpectHas(InHost("bridge vlan show dev br0"), {"20 PVID Egress Untagged"});
    ExpectHas(InHost("bridge vlan show dev nic0"), {"20"});
    ExpectLacks(InHost("bridge vlan show dev nic0"), {"20 PVID"});
  }

  // IPv6 off: the kernel at once (every interface), the next boot through
  // the console's sysctl file and an interface file without IPv6, and the
  // host restarts as the console asks.
  SCOPED_TRACE("IPv6 off");
  Accept(console);
  Edit(console, "IPv6 Configuration", "Disable IPv6", {Key::kUp, Key::kUp, Key::kUp, Key::kSpace});
  Press(console, Key::kEscape, "Apply changes and reboot host?");
  console.SendText("Y");
  ASSERT_TRUE(console.WaitFor([&] { return Contains(Calls(), "reboot"); })) << console.Text();
  EXPECT_EQ(InHost("cat /proc/sys/net/ipv6/conf/all/disable_ipv6 /proc/sys/net/ipv6/conf/br0/"
                   "disable_ipv6"),
            "1\n1\n");
  ExpectLacks(InHost("ip -6 addr show dev br0"), {"inet6"});
  ExpectHas(File("/sysctl.d/10-merel-ipv6.conf"), {"net.ipv6.conf.all.disable_ipv6 = 1\n"});
  ExpectHas(Unit("br0.network"), {"\nLinkLocalAddressing=no\nIPv6AcceptRA=no\n",
                                   "\nAddress=10.99.0.2/24\n"});
  ExpectLacks(Unit("br0.network"), {"2001:db8"});
}

// Interfaces another program configures are only shown: the window says
// whose they are, no dialog opens, and a restart changes nothing either.
TEST_F(LinuxNetworkTest, InterfacesOfIfupdownAreShownReadOnly) {
  Terminal& console = Start();
  ExpectWelcome(console);
  fs::create_directories(_scratch + "/etc/network");
  std::ofstream(_scratch + "/etc/network/interfaces") << "auto nic0\niface nic0 inet manual\n";
  const std::string before = InHost("ip -4 -o addr; ip route; ip -o link");
  // Enter shows why nothing can be changed, and Enter again closes that.
  const char* const managed = "This host's network is managed by ifupdown; the settings are";
  LogIn(console);
  Choose(console, kWindowTitle, managed);
  Accept(console);
  ASSERT_TRUE(SelectEntry(console, "IPv4 Configuration")) << console.Text();
  ExpectHas(RightText(console), {"IPv4 Address: 10.99.0.2"});
  Press(console, Key::kEnter, managed);
  Accept(console);
  PressToMenu(console, Key::kEscape);  // nothing to apply: no question

  // Restart and every restore are refused before they ask anything.
  Choose(console, "Restart Management Network", managed);
  PressToMenu(console, Key::kEnter);
  Choose(console, "Network Restore Options", "Restore DVS");
  Press(console, Key::kEnter, managed);
  EXPECT_EQ(InHost("ip -4 -o addr; ip route; ip -o link"), before);
  EXPECT_FALSE(fs::exists(_scratch + "/etc/systemd/network"));
}

// Where systemd-resolved keeps the resolver, the servers and suffixes go to
// it for the management interface and into the interface's file for the
// next boot; its resolv.conf stays its own.
TEST_F(LinuxNetworkTest, DnsGoesToResolvedWhereItRuns) {
  std::ofstream(_scratch + "/with-resolved");
  Terminal& console = Start();
  OpenNetwork(console);
  const std::string resolver = InHost("readlink /etc/resolv.conf; cat /etc/resolv.conf");
  SetDns(console, {"10.99.0.53", "10.99.0.54"}, "a.test b.test");
  ApplyChanges(console);

  // Each setting reaches resolved as it is made: the last calls hold all.
  auto last = [&](const std::string& command) {
    const std::string calls = Calls();
    const size_t at = calls.rfind("\nresolvectl " + command + " ");
    return at == std::string::npos ? "" : calls.substr(at + 1, calls.find('\n', at + 1) - at - 1);
  };
  EXPECT_EQ(std::tuple(last("dns"), last("domain")),
            std::tuple("resolvectl dns br0 10.99.0.53 10.99.0.54",
                       "resolvectl domain br0 a.test b.test"));
  ExpectHas(Unit("br0.network"),
            {"\nDNS=10.99.0.53\n", "\nDNS=10.99.0.54\n", "\nDomains=a.test b.test\n"});
  EXPECT_EQ(InHost("readlink /etc/resolv.conf; cat /etc/resolv.conf"), resolver);

  // Read back from the file: the window shows what was set.
  Choose(console, kWindowTitle, "<Esc> Exit");
  for (const auto& [entry, shows] : {std::pair("DNS Configuration", "10.99.0.54"),
                                     std::pair("Custom DNS Suffixes", "a.test")}) {
    ASSERT_TRUE(SelectEntry(console, entry)) << console.Text();
    ExpectHas(RightText(console), {shows});
  }

  // The router's server from a lease goes there too, never through the
  // link (the DHCP client's own hook writes the file it finds).
  SetIpv4(console, {});
  Edit(console, "DNS Configuration", "Use the following DNS server addresses",
       {Key::kUp, Key::kUp, Key::kSpace});
  ApplyChanges(console);
  EXPECT_EQ(std::tuple(last("dns"), last("domain")),
            std::tuple("resolvectl dns br0 10.99.0.1", "resolvectl domain br0 a.test b.test"));
  EXPECT_EQ(InHost("readlink /etc/resolv.conf; cat /etc/resolv.conf"), resolver);
}

}  // namespace
