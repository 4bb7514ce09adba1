// The management network of the Linux host (merel --host linux) on real
// interfaces, each case in namespaces of its own: the console's host has
// three veth adapters, nic0 bridged into br0 (the management switch), and
// their other ends are in a peer network namespace that plays the network
// around the host (10.99.0.1 is its router). /etc is a private copy, /run
// and /sys are fresh, and the service and power commands are recorders, so
// that nothing reaches the machine the tests run on. What the console did
// is read back with `ip` inside the same namespaces (nsenter) and from the
// private /etc.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "Harness.h"
#include "NamespaceUtil.h"
#include "NetworkScreenUtil.h"

namespace {

using namespace MerelNetworkTest;
namespace fs = std::filesystem;
using namespace MerelNamespaceTest;

constexpr const char* kHostName = "merel-net-host";

// @S@ is the scratch folder, @MEREL@ the console, @PAM@ the PAM service.
const char kSetup[] = R"SH(#!/bin/sh
set -e
export PATH=/usr/sbin:/usr/bin:/sbin:/bin
S=@S@
hostname @HOST@
cp -a /etc "$S/etc"
echo @HOST@ > "$S/etc/hostname"
printf '127.0.0.1\tlocalhost\n127.0.1.1\t@HOST@\n' > "$S/etc/hosts"
printf 'nameserver 10.99.0.1\n' > "$S/etc/resolv.conf.new"
rm -f "$S/etc/resolv.conf"; mv "$S/etc/resolv.conf.new" "$S/etc/resolv.conf"
rm -rf "$S/etc/systemd/network" "$S/etc/network/interfaces"
root_hash=$(openssl passwd -6 -salt merelroot rootpw)
sed -i "s|^root:[^:]*:|root:$root_hash:|" "$S/etc/shadow"
mkdir -p "$S/etc/merel"
: > "$S/etc/merel/console-login"
cp @PAM@ "$S/etc/pam.d/merel"
mount --bind "$S/etc" /etc
mount -t tmpfs tmpfs /run
if [ -e /dev/log ] || [ -L /dev/log ]; then mount --bind /dev/null /dev/log; fi
# systemd-resolved keeping the resolver, for the cases that ask for it: its
# folder, its stub file as /etc/resolv.conf, and resolvectl (which this
# machine may lack) a recorder laid over /usr/bin.
if [ -e "$S/with-resolved" ]; then
  mkdir -p /run/systemd/resolve "$S/usr-bin" "$S/usr-bin-work"
  printf 'nameserver 127.0.0.53\noptions edns0 trust-ad\n' > /run/systemd/resolve/stub-resolv.conf
  ln -sfn ../run/systemd/resolve/stub-resolv.conf /etc/resolv.conf
  cp "$S/recorder" "$S/usr-bin/resolvectl"
  mount -t overlay overlay -o "lowerdir=/usr/bin,upperdir=$S/usr-bin,workdir=$S/usr-bin-work" /usr/bin
fi
for tool in /usr/bin/systemctl /usr/bin/systemd-run /usr/bin/resolvectl /usr/sbin/poweroff /usr/sbin/reboot /usr/sbin/shutdown /usr/sbin/halt; do
  if [ -e "$tool" ]; then mount --bind "$S/recorder" "$tool"; fi
done
for tool in /bin/systemctl /usr/bin/systemctl /usr/bin/systemd-run /usr/bin/resolvectl /sbin/poweroff /sbin/reboot; do
  if [ -e "$tool" ] && ! grep -q merel-test-recorder "$tool"; then
    echo "NAMESPACE NOT SAFE: $tool is not the recorder"; sleep 600; exit 97
  fi
done
if [ "$(cat /proc/sys/kernel/hostname)" != @HOST@ ] || ! grep -q @HOST@ /etc/hostname; then
  echo "NAMESPACE NOT SAFE: host name or /etc are the machine's"; sleep 600; exit 98
fi
if ip link show | grep -qv -e '^ ' -e ': lo:'; then
  echo "NAMESPACE NOT SAFE: the network namespace has links of its own"; sleep 600; exit 99
fi
# The network around the host.
unshare --net sh -c 'echo $$ > "$0/peer.pid"; exec sleep 100000' "$S" &
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
mount -t sysfs sysfs /sys
export LIBVIRT_DEFAULT_URI=test:///default
exec @MEREL@ --host linux
)SH";

// What a command prints.
std::string Output(const std::string& command) {
  std::string text;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof(buffer), pipe)) > 0)
      text.append(buffer, n);
    pclose(pipe);
  }
  return text;
}

// "[Section] Key" -> values of a networkd file, in order.
std::multimap<std::string, std::string> Fields(const std::string& text) {
  std::multimap<std::string, std::string> fields;
  std::istringstream lines(text);
  std::string line, section;
  while (std::getline(lines, line)) {
    if (line.empty() || line[0] == '#')
      continue;
    if (line[0] == '[') {
      section = line;
      continue;
    }
    const auto equals = line.find('=');
    fields.emplace(section + " " + line.substr(0, equals), line.substr(equals + 1));
  }
  return fields;
}

std::string Field(const std::multimap<std::string, std::string>& fields, const std::string& key) {
  auto it = fields.find(key);
  return it == fields.end() ? "" : it->second;
}

class LinuxNetworkTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!CanMakeNamespaces()) {
      GTEST_SKIP() << "cannot create mount, network and UTS namespaces here (needs root); the "
                      "Linux host's network is only ever tested inside them";
    }
    _scratch = MakeScratch("/tmp/merel-linux-net-XXXXXX", kSetup, kHostName);
  }
  void TearDown() override {
    // Every process of the two network namespaces (the console, the DHCP
    // client it started, the router's dnsmasq): the namespaces and their
    // veth pairs end with the last of them.
    std::vector<std::string> namespaces;
    if (_console)
      namespaces.push_back(NetNamespace(_console->Pid()));
    namespaces.push_back(NetNamespace(std::atoi(Slurp(_scratch + "/peer.pid").c_str())));
    if (_console && _console->Running()) {
      _console->Signal(SIGKILL);
      _console->WaitForExit();
    }
    _console.reset();
    const std::string own = NetNamespace(getpid());
    for (const auto& entry : fs::directory_iterator("/proc")) {
      const int pid = std::atoi(entry.path().filename().c_str());
      const std::string space = pid > 1 ? NetNamespace(pid) : "";
      if (!space.empty() && space != own &&
          std::find(namespaces.begin(), namespaces.end(), space) != namespaces.end())
        kill(pid, SIGKILL);
    }
    if (!_scratch.empty())
      fs::remove_all(_scratch);
  }

  static std::string NetNamespace(int pid) {
    if (pid <= 1)
      return "";
    std::error_code error;
    const fs::path target = fs::read_symlink("/proc/" + std::to_string(pid) + "/ns/net", error);
    return error ? "" : target.string();
  }

  Terminal& Start() {
    _console = std::make_unique<Terminal>();
    EXPECT_TRUE(_console->Start({"/usr/bin/unshare", "--mount", "--net", "--uts",
                                 "--propagation", "private", "/bin/sh", _scratch + "/setup.sh"}));
    return *_console;
  }

  // A command run in the console's namespaces.
  std::string InHost(const std::string& command) const {
    return Output("nsenter -t " + std::to_string(_console->Pid()) + " -n -m -u sh -c '" +
                  command + "' 2>&1");
  }
  std::string File(const std::string& path) const { return Slurp(_scratch + "/etc" + path); }

  // A simulated boot: the bridge goes, and with it its addresses, routes
  // and ports; it comes back from the console's networkd files alone, read
  // by the test's own small reader: the bridges of the .netdev files, the
  // ports their .network files name, then the addresses and gateways.
  void Boot() {
    InHost("ip link del br0");
    std::string bridges, ports, addresses;
    for (const auto& entry : fs::directory_iterator(_scratch + "/etc/systemd/network")) {
      const auto fields = Fields(Slurp(entry.path()));
      if (entry.path().extension() == ".netdev") {
        const std::string name = Field(fields, "[NetDev] Name");
        const std::string mac = Field(fields, "[NetDev] MACAddress");
        EXPECT_EQ(Field(fields, "[NetDev] Kind"), "bridge");
        bridges += "ip link add " + name + (mac.empty() ? "" : " address " + mac) +
                   " type bridge; ip link set " + name + " up; ";
        continue;
      }
      const std::string name = Field(fields, "[Match] Name");
      if (const std::string master = Field(fields, "[Network] Bridge"); !master.empty())
        ports += "ip link set " + name + " master " + master + "; ip link set " + name + " up; ";
      for (auto [at, end] = fields.equal_range("[Network] Address"); at != end; ++at)
        addresses += "ip addr add " + at->second + " dev " + name + "; ";
      for (auto [at, end] = fields.equal_range("[Network] Gateway"); at != end; ++at)
        addresses += "ip route add default via " + at->second + " dev " + name + "; ";
    }
    InHost(bridges + ports + addresses);
  }

  // Logs in as root from the welcome screen.
  bool LogIn(Terminal& console) {
    if (!WaitQuiet(console, "http://" + std::string(kHostName) + "/"))
      return false;
    console.SendKey(Key::kF2);
    if (!WaitQuiet(console, "Authentication Required"))
      return false;
    console.SendText("rootpw");
    console.SendKey(Key::kEnter);
    return WaitQuiet(console, "System Customization");
  }

  // Logs in as root and opens the network window.
  bool OpenNetwork(Terminal& console) {
    if (!LogIn(console) || !SelectEntry(console, kWindowTitle))
      return false;
    console.SendKey(Key::kEnter);
    return WaitForWindow(console);
  }

  std::string _scratch;
  std::unique_ptr<Terminal> _console;
};

TEST_F(LinuxNetworkTest, AdaptersAreTheVethLinksWithTheirLinkState) {
  Terminal& console = Start();
  ASSERT_TRUE(OpenNetwork(console)) << console.Text();
  // The management interface is the bridge, with the kernel's address.
  ASSERT_TRUE(SelectEntry(console, "IPv4 Configuration")) << console.Text();
  EXPECT_TRUE(Contains(RightText(console), "IPv4 Address: 10.99.0.2")) << console.Text();
  Choose(console, "Network Adapters", "nic2");
  const std::string text = console.Text();
  auto row = [&](const std::string& name) {
    const int y = RowOf(console, name);
    return y < 0 ? std::string() : CellText(console, y, 0, 80);
  };
  EXPECT_TRUE(Contains(row("nic0"), "[X]")) << text;
  EXPECT_TRUE(Contains(row("nic0"), "Connected")) << text;
  EXPECT_FALSE(Contains(row("nic1"), "[X]")) << text;
  EXPECT_TRUE(Contains(row("nic1"), "Connected")) << text;
  // Its peer is down: no carrier.
  EXPECT_TRUE(Contains(row("nic2"), "Disconnected")) << text;
  // The bridge is the switch, not an adapter; the peers are not the host's.
  EXPECT_FALSE(Contains(text, "] br0")) << text;
  EXPECT_FALSE(Contains(text, "peer")) << text;
  console.SendKey(Key::kEscape);
  ASSERT_TRUE(WaitQuiet(console, "VLAN (optional)")) << console.Text();

  // The management VLAN is the bridge's VLAN filtering, where the kernel
  // has it; where not, the entry says so and nothing changes.
  if (InHost("test -e /sys/class/net/br0/bridge/vlan_filtering && echo yes") != "yes\n") {
    // Brief form: the link-local address may still be finishing its
    // duplicate check ("tentative"), which is not a change.
    const std::string before = InHost("ip -br addr; ip route");
    Choose(console, "VLAN (optional)", "kernel does not support VLANs on the management");
    EXPECT_TRUE(Contains(console.Text(), "Nothing was changed.")) << console.Text();
    console.SendKey(Key::kEnter);
    ASSERT_TRUE(WaitForWindow(console)) << console.Text();
    console.SendKey(Key::kEscape);  // nothing to apply: no question
    ASSERT_TRUE(WaitForMenu(console)) << console.Text();
    EXPECT_EQ(InHost("ip -br addr; ip route"), before);
    EXPECT_FALSE(fs::exists(_scratch + "/etc/systemd/network"));
    return;
  }
  Choose(console, "VLAN (optional)", "VLAN ID (1-4094");
  TypeText(console, "20");
  Accept(console);
  ApplyChanges(console);
  EXPECT_EQ(InHost("cat /sys/class/net/br0/bridge/vlan_filtering"), "1\n");
  const std::string self = InHost("bridge vlan show dev br0");
  EXPECT_TRUE(Contains(self, "20 PVID Egress Untagged")) << self;
  EXPECT_TRUE(Contains(InHost("bridge vlan show dev nic0"), "20")) << InHost("bridge vlan show");
  EXPECT_FALSE(Contains(InHost("bridge vlan show dev nic0"), "20 PVID"))
      << InHost("bridge vlan show");
  const auto netdev = Fields(File("/systemd/network/10-merel-br0.netdev"));
  EXPECT_EQ(Field(netdev, "[Bridge] VLANFiltering"), "yes");
  const auto bridge = Fields(File("/systemd/network/10-merel-br0.network"));
  EXPECT_EQ(Field(bridge, "[BridgeVLAN] PVID"), "20");
  EXPECT_EQ(Field(bridge, "[BridgeVLAN] EgressUntagged"), "20");
  EXPECT_EQ(Field(Fields(File("/systemd/network/10-merel-nic0.network")), "[BridgeVLAN] VLAN"),
            "20");
}

TEST_F(LinuxNetworkTest, StaticAddressGatewayNamesAndUplinksReachTheKernelAndTheFiles) {
  Terminal& console = Start();
  ASSERT_TRUE(OpenNetwork(console)) << console.Text();

  Choose(console, "Network Adapters", "nic2");
  // nic1 joins nic0 on the bridge.
  ASSERT_GE(RowOf(console, "nic1"), 0);
  Type(console, {Key::kDown, Key::kSpace});
  Accept(console);

  Choose(console, "IPv4 Configuration", "Set static IPv4 address");
  Type(console, {Key::kDown, Key::kDown, Key::kSpace, Key::kDown});
  TypeText(console, "10.99.0.7");
  Type(console, {Key::kDown});
  TypeText(console, "255.255.255.0");
  Type(console, {Key::kDown});
  TypeText(console, "10.99.0.1");
  Accept(console);

  Choose(console, "DNS Configuration", "Use the following DNS server addresses");
  TypeText(console, "10.99.0.53");
  Type(console, {Key::kDown, Key::kDown});
  TypeText(console, "new-host.lab.test");
  Accept(console);
  Choose(console, "Custom DNS Suffixes", "Suffixes:");
  TypeText(console, "a.test b.test");
  Accept(console);
  ApplyChanges(console);

  const std::string addresses = InHost("ip -4 -o addr show dev br0");
  EXPECT_TRUE(Contains(addresses, "inet 10.99.0.7/24")) << addresses;
  EXPECT_FALSE(Contains(addresses, "10.99.0.2/")) << addresses;
  EXPECT_TRUE(Contains(InHost("ip -4 route show default"), "default via 10.99.0.1 dev br0"))
      << InHost("ip route");
  const std::string ports = InHost("ip -o link show master br0");
  EXPECT_TRUE(Contains(ports, "nic0")) << ports;
  EXPECT_TRUE(Contains(ports, "nic1")) << ports;
  EXPECT_EQ(InHost("hostname"), "new-host\n");
  EXPECT_EQ(File("/hostname"), "new-host\n");
  EXPECT_TRUE(Contains(File("/hosts"), "127.0.1.1\tnew-host.lab.test\tnew-host\n"))
      << File("/hosts");
  EXPECT_TRUE(Contains(File("/hosts"), "127.0.0.1\tlocalhost\n")) << File("/hosts");
  const std::string resolver = File("/resolv.conf");
  EXPECT_TRUE(Contains(resolver, "nameserver 10.99.0.53\n")) << resolver;
  EXPECT_TRUE(Contains(resolver, "search lab.test a.test b.test\n")) << resolver;

  // What the next boot brings up, field by field.
  const auto bridge = Fields(File("/systemd/network/10-merel-br0.network"));
  EXPECT_EQ(Field(bridge, "[Match] Name"), "br0");
  EXPECT_EQ(Field(bridge, "[Network] DHCP"), "no");
  EXPECT_EQ(Field(bridge, "[Network] Address"), "10.99.0.7/24");
  EXPECT_EQ(Field(bridge, "[Network] Gateway"), "10.99.0.1");
  const auto netdev = Fields(File("/systemd/network/10-merel-br0.netdev"));
  EXPECT_EQ(Field(netdev, "[NetDev] Name"), "br0");
  EXPECT_EQ(Field(netdev, "[NetDev] Kind"), "bridge");
  for (const char* uplink : {"nic0", "nic1"}) {
    const auto port =
        Fields(File(std::string("/systemd/network/10-merel-") + uplink + ".network"));
    EXPECT_EQ(Field(port, "[Match] Name"), uplink);
    EXPECT_EQ(Field(port, "[Network] Bridge"), "br0");
  }
  EXPECT_FALSE(fs::exists(_scratch + "/etc/systemd/network/10-merel-nic2.network"));

  const std::string mac = InHost("cat /sys/class/net/br0/address");
  Boot();
  EXPECT_EQ(InHost("cat /sys/class/net/br0/address"), mac);
  EXPECT_TRUE(Contains(InHost("ip -o link show master br0"), "nic1"));
  EXPECT_TRUE(Contains(InHost("ip -4 -o addr show dev br0"), "inet 10.99.0.7/24"));
  EXPECT_TRUE(Contains(InHost("ping -c 1 -W 5 10.99.0.1"), "1 received"))
      << InHost("ping -c 1 -W 5 10.99.0.1");

  // Taking nic1 off again leaves the bridge and its file.
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitForWindow(console)) << console.Text();
  Choose(console, "Network Adapters", "nic2");
  Type(console, {Key::kDown, Key::kSpace});
  Accept(console);
  ApplyChanges(console);
  EXPECT_FALSE(Contains(InHost("ip -o link show master br0"), "nic1"));
  EXPECT_FALSE(fs::exists(_scratch + "/etc/systemd/network/10-merel-nic1.network"));
}

TEST_F(LinuxNetworkTest, AGatewayTheKernelRefusesIsShownAndTheNamesStillChange) {
  Terminal& console = Start();
  // The kernel has no route to a gateway outside every subnet of the host.
  ASSERT_TRUE(WaitQuiet(console, "http://" + std::string(kHostName) + "/")) << console.Text();
  InHost("ip addr flush dev br0; ip addr add 10.99.0.2/32 dev br0");
  ASSERT_TRUE(OpenNetwork(console)) << console.Text();
  Choose(console, "DNS Configuration", "Use the following DNS server addresses");
  Type(console, {Key::kDown, Key::kDown});
  TypeText(console, "after-failure");
  Accept(console);
  Choose(console, "IPv4 Configuration", "Set static IPv4 address");
  Type(console, {Key::kDown, Key::kDown, Key::kSpace, Key::kDown, Key::kDown, Key::kDown});
  TypeText(console, "10.99.0.254");
  Accept(console);
  ASSERT_TRUE(Contains(RightText(console), "10.99.0.254")) << console.Text();
  console.SendKey(Key::kEscape);
  ASSERT_TRUE(WaitQuiet(console, "Apply changes and restart management network?"))
      << console.Text();
  console.SendText("y");
  ASSERT_TRUE(WaitQuiet(console, "Setting default gateway failed: "))
      << console.Text() << InHost("ip addr; ip route");
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitForMenu(console)) << console.Text();
  EXPECT_EQ(InHost("hostname"), "after-failure\n");
  EXPECT_EQ(File("/hostname"), "after-failure\n");
  EXPECT_FALSE(Contains(InHost("ip route show default"), "10.99.0.254"));
}

TEST_F(LinuxNetworkTest, DhcpLeaseFromTheRouterThenRestartAndTest) {
  Terminal& console = Start();
  ASSERT_TRUE(OpenNetwork(console)) << console.Text();
  Choose(console, "IPv4 Configuration", "Set static IPv4 address");
  Type(console, {Key::kDown, Key::kSpace});
  Accept(console);
  ApplyChanges(console);

  // The lease is on the bridge and on the welcome screen.
  const std::string addresses = InHost("ip -4 -o addr show dev br0");
  const auto at = addresses.find("inet 10.99.0.1");
  ASSERT_NE(at, std::string::npos) << addresses << Slurp(_scratch + "/dnsmasq.log");
  const std::string lease = addresses.substr(at + 5, addresses.find('/', at) - at - 5);
  EXPECT_FALSE(Contains(addresses, "10.99.0.2/")) << addresses;
  EXPECT_TRUE(Contains(Slurp(_scratch + "/leases"), " " + lease + " "));
  EXPECT_EQ(Field(Fields(File("/systemd/network/10-merel-br0.network")), "[Network] DHCP"), "ipv4");
  console.SendKey(Key::kEscape);
  ASSERT_TRUE(WaitQuiet(console, "http://" + lease + "/")) << console.Text();

  // A restart renews the lease with the router.
  auto acks = [&] {
    const std::string log = Slurp(_scratch + "/dnsmasq.log");
    int count = 0;
    for (size_t i = log.find("DHCPACK"); i != std::string::npos; i = log.find("DHCPACK", i + 1))
      ++count;
    return count;
  };
  const int before = acks();
  console.SendKey(Key::kF2);
  ASSERT_TRUE(WaitQuiet(console, "Authentication Required")) << console.Text();
  console.SendText("rootpw");
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, "System Customization")) << console.Text();
  ASSERT_TRUE(SelectEntry(console, "Restart Management Network")) << console.Text();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, "Restart management network now?")) << console.Text();
  console.Send("\x1b[23~");  // F11
  ASSERT_TRUE(WaitQuiet(console, "<Enter> OK")) << console.Text();
  EXPECT_TRUE(console.WaitFor([&] { return acks() > before; })) << Slurp(_scratch + "/dnsmasq.log");
  EXPECT_TRUE(console.WaitFor([&] {
    return Contains(InHost("ip -4 -o addr show dev br0"), "inet " + lease + "/");
  })) << InHost("ip addr; ip route; ps ax");
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitForMenu(console)) << console.Text();

  // The network test: the router answers, an address nobody holds does
  // not, and the test name resolves through the router's DNS.
  ASSERT_TRUE(SelectEntry(console, "Test Management Network")) << console.Text();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, "Ping Address #0:")) << console.Text();
  console.SendText("10.99.0.1");
  console.SendKeys({Key::kDown});
  console.SendText("10.99.0.77");
  console.SendKeys({Key::kDown, Key::kDown, Key::kEnd});
  console.WaitUntilQuiet();
  for (int i = 0; i < 40; ++i)
    console.Send("\x7f");
  console.SendText("merel-test.lab");
  console.WaitUntilQuiet();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(console.WaitFor([&] {
    const std::string text = console.Text();
    return Contains(text, "<Enter> OK") && !Contains(text, "<Esc> Cancel");
  })) << console.Text();
  console.WaitUntilQuiet();
  EXPECT_TRUE(RowWith(console, "Pinging address #1 (10.99.0.1).").ends_with("OK."))
      << console.Text() << InHost("ip addr; ip route; cat /etc/resolv.conf; ps ax");
  EXPECT_TRUE(RowWith(console, "Pinging address #2 (10.99.0.77).").ends_with("Failed."))
      << console.Text();
  EXPECT_TRUE(RowWith(console, "Resolving hostname (merel-test.lab).").ends_with("OK."))
      << console.Text();
}

// SLAAC from the router's advertisements is what the welcome screen shows;
// static IPv6 then replaces it in the kernel and in the files.
TEST_F(LinuxNetworkTest, SlaacAddressIsShownThenStaticIpv6ReplacesIt) {
  std::ofstream(_scratch + "/with-ra");
  Terminal& console = Start();
  ASSERT_TRUE(WaitQuiet(console, "http://" + std::string(kHostName) + "/")) << console.Text();
  std::string slaac;
  ASSERT_TRUE(console.WaitFor([&] {
    const std::string text = InHost("ip -6 -o addr show dev br0 scope global");
    const auto at = text.find("inet6 2001:db8:99:");
    slaac = at == std::string::npos ? "" : text.substr(at + 6, text.find('/', at) - at - 6);
    return !slaac.empty() && !Contains(text, "tentative");
  })) << InHost("ip -6 addr") << Slurp(_scratch + "/dnsmasq.log");
  console.SendKey(Key::kEscape);  // the welcome screen reads the host again
  ASSERT_TRUE(WaitQuiet(console, "http://[" + slaac + "]/")) << console.Text();

  ASSERT_TRUE(OpenNetwork(console)) << console.Text();
  ASSERT_TRUE(SelectEntry(console, "IPv6 Configuration")) << console.Text();
  EXPECT_TRUE(Contains(RightText(console), slaac)) << console.Text();
  // Static: the advertised address stays in the first field but is not the
  // console's to keep; the second field and the gateway are typed.
  Choose(console, "IPv6 Configuration", "Set static IPv6");
  Type(console, {Key::kDown, Key::kDown, Key::kDown, Key::kSpace, Key::kDown, Key::kDown});
  TypeText(console, "2001:db8:99::7/64");
  Type(console, {Key::kDown, Key::kDown, Key::kEnd});
  for (int i = 0; i < 40; ++i)
    console.Send("\x7f");
  TypeText(console, "2001:db8:99::1");
  Accept(console);
  ApplyChanges(console);

  const std::string addresses = InHost("ip -6 -o addr show dev br0 scope global");
  EXPECT_TRUE(Contains(addresses, "inet6 2001:db8:99::7/64")) << addresses;
  EXPECT_FALSE(Contains(addresses, slaac + "/")) << addresses;
  EXPECT_TRUE(Contains(InHost("ip -6 route show default"), "default via 2001:db8:99::1 dev br0"))
      << InHost("ip -6 route");
  EXPECT_EQ(InHost("cat /proc/sys/net/ipv6/conf/br0/accept_ra"), "0\n");
  const auto bridge = Fields(File("/systemd/network/10-merel-br0.network"));
  EXPECT_EQ(Field(bridge, "[Network] IPv6AcceptRA"), "no");
  std::vector<std::string> written;
  for (auto [at, end] = bridge.equal_range("[Network] Address"); at != end; ++at)
    written.push_back(at->second);
  EXPECT_EQ(written, (std::vector<std::string>{"10.99.0.2/24", "2001:db8:99::7/64"}));
  EXPECT_EQ(bridge.count("[Network] Gateway"), 2u);
  EXPECT_EQ(std::prev(bridge.upper_bound("[Network] Gateway"))->second, "2001:db8:99::1");
}

// IPv6 off: the kernel at once (every interface), the next boot through the
// console's sysctl file, and the host restarts as the console asks.
TEST_F(LinuxNetworkTest, Ipv6OffReachesTheKernelAndTheNextBoot) {
  Terminal& console = Start();
  ASSERT_TRUE(OpenNetwork(console)) << console.Text();
  Choose(console, "IPv6 Configuration", "Disable IPv6");
  Type(console, {Key::kUp, Key::kUp, Key::kUp, Key::kSpace});
  Accept(console);
  Press(console, Key::kEscape, "Apply changes and reboot host?");
  console.SendText("Y");
  ASSERT_TRUE(console.WaitFor([&] { return Contains(Slurp(_scratch + "/calls"), "reboot"); }))
      << console.Text();
  EXPECT_EQ(InHost("cat /proc/sys/net/ipv6/conf/all/disable_ipv6 /proc/sys/net/ipv6/conf/br0/"
                   "disable_ipv6"),
            "1\n1\n");
  EXPECT_FALSE(Contains(InHost("ip -6 addr show dev br0"), "inet6"));
  EXPECT_TRUE(Contains(File("/sysctl.d/10-merel-ipv6.conf"),
                       "net.ipv6.conf.all.disable_ipv6 = 1\n"));
  const auto bridge = Fields(File("/systemd/network/10-merel-br0.network"));
  EXPECT_EQ(Field(bridge, "[Network] LinkLocalAddressing"), "no");
}

// Interfaces another program configures are only shown: the window says
// whose they are, no dialog opens, and a restart changes nothing either.
TEST_F(LinuxNetworkTest, InterfacesOfIfupdownAreShownReadOnly) {
  Terminal& console = Start();
  ASSERT_TRUE(WaitQuiet(console, "http://" + std::string(kHostName) + "/")) << console.Text();
  fs::create_directories(_scratch + "/etc/network");
  std::ofstream(_scratch + "/etc/network/interfaces") << "auto nic0\niface nic0 inet manual\n";
  const std::string before = InHost("ip -4 -o addr; ip route; ip -o link");
  const char* const message = "This host's network is managed by ifupdown; the settings are";
  ASSERT_TRUE(LogIn(console) && SelectEntry(console, kWindowTitle)) << console.Text();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, message)) << console.Text();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitForWindow(console)) << console.Text();
  ASSERT_TRUE(SelectEntry(console, "IPv4 Configuration")) << console.Text();
  EXPECT_TRUE(Contains(RightText(console), "IPv4 Address: 10.99.0.2")) << console.Text();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, message)) << console.Text();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitForWindow(console)) << console.Text();
  console.SendKey(Key::kEscape);  // nothing to apply: no question
  ASSERT_TRUE(WaitForMenu(console)) << console.Text();

  // Restart and every restore are refused before they ask anything.
  for (const char* entry : {"Restart Management Network", "Network Restore Options"}) {
    ASSERT_TRUE(WaitForMenu(console) && SelectEntry(console, entry)) << console.Text();
    console.SendKey(Key::kEnter);
    if (std::string(entry) == "Network Restore Options") {
      ASSERT_TRUE(WaitQuiet(console, "Restore DVS")) << console.Text();
      console.SendKey(Key::kEnter);
    }
    ASSERT_TRUE(WaitQuiet(console, message)) << console.Text();
    console.SendKey(Key::kEnter);
  }
  EXPECT_EQ(InHost("ip -4 -o addr; ip route; ip -o link"), before);
  EXPECT_FALSE(fs::exists(_scratch + "/etc/systemd/network"));
}

// Where systemd-resolved keeps the resolver, the servers and suffixes go to
// it for the management interface and into the interface's file for the
// next boot; its resolv.conf stays its own.
TEST_F(LinuxNetworkTest, DnsGoesToResolvedWhereItRuns) {
  std::ofstream(_scratch + "/with-resolved");
  Terminal& console = Start();
  ASSERT_TRUE(OpenNetwork(console)) << console.Text();
  const std::string resolver = InHost("readlink /etc/resolv.conf; cat /etc/resolv.conf");
  Choose(console, "DNS Configuration", "Use the following DNS server addresses");
  TypeText(console, "10.99.0.53");
  Type(console, {Key::kDown});
  TypeText(console, "10.99.0.54");
  Accept(console);
  Choose(console, "Custom DNS Suffixes", "Suffixes:");
  TypeText(console, "a.test b.test");
  Accept(console);
  ApplyChanges(console);

  // Each setting reaches resolved as it is made: the last calls hold all.
  auto lastCalls = [&] {
    std::map<std::string, std::string> last;
    std::istringstream lines(Slurp(_scratch + "/calls"));
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind("resolvectl ", 0) == 0)
        last[line.substr(0, line.find(' ', 11))] = line;
    }
    return last;
  };
  auto last = lastCalls();
  EXPECT_EQ(last["resolvectl dns"], "resolvectl dns br0 10.99.0.53 10.99.0.54");
  EXPECT_EQ(last["resolvectl domain"], "resolvectl domain br0 a.test b.test");
  const auto bridge = Fields(File("/systemd/network/10-merel-br0.network"));
  std::vector<std::string> servers;
  for (auto [at, end] = bridge.equal_range("[Network] DNS"); at != end; ++at)
    servers.push_back(at->second);
  EXPECT_EQ(servers, (std::vector<std::string>{"10.99.0.53", "10.99.0.54"}));
  EXPECT_EQ(Field(bridge, "[Network] Domains"), "a.test b.test");
  EXPECT_EQ(InHost("readlink /etc/resolv.conf; cat /etc/resolv.conf"), resolver);
  EXPECT_TRUE(Contains(resolver, "127.0.0.53")) << resolver;

  // Read back from the file: the window shows what was set.
  ASSERT_TRUE(SelectEntry(console, kWindowTitle)) << console.Text();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitForWindow(console)) << console.Text();
  ASSERT_TRUE(SelectEntry(console, "DNS Configuration")) << console.Text();
  EXPECT_TRUE(Contains(RightText(console), "10.99.0.54")) << console.Text();
  ASSERT_TRUE(SelectEntry(console, "Custom DNS Suffixes")) << console.Text();
  EXPECT_TRUE(Contains(RightText(console), "a.test")) << console.Text();

  // The router's server from a lease goes there too, never through the
  // link (the DHCP client's own hook writes the file it finds).
  Choose(console, "IPv4 Configuration", "Set static IPv4 address");
  Type(console, {Key::kDown, Key::kSpace});
  Accept(console);
  Choose(console, "DNS Configuration", "Use the following DNS server addresses");
  Type(console, {Key::kUp, Key::kUp, Key::kSpace});
  Accept(console);
  ApplyChanges(console);
  last = lastCalls();
  EXPECT_EQ(last["resolvectl dns"], "resolvectl dns br0 10.99.0.1");
  EXPECT_EQ(last["resolvectl domain"], "resolvectl domain br0 a.test b.test");
  EXPECT_EQ(InHost("readlink /etc/resolv.conf; cat /etc/resolv.conf"), resolver);
}

// The factory layout: one bridge on the first adapter with a link, DHCP on
// it, the names reset.
TEST_F(LinuxNetworkTest, RestoreLeavesOneBridgeOnTheFirstAdapterWithDhcp) {
  Terminal& console = Start();
  ASSERT_TRUE(WaitQuiet(console, "http://" + std::string(kHostName) + "/")) << console.Text();
  InHost("ip link set nic1 master br0");
  console.SendKey(Key::kF2);
  ASSERT_TRUE(WaitQuiet(console, "Authentication Required")) << console.Text();
  console.SendText("rootpw");
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, "System Customization")) << console.Text();
  ASSERT_TRUE(SelectEntry(console, "Network Restore Options")) << console.Text();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, "Restore DVS")) << console.Text();
  ASSERT_TRUE(SelectEntry(console, "Restore Network Settings")) << console.Text();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, "<Esc> Cancel")) << console.Text();
  console.Send("\x1b[23~");  // F11
  // The test driver's domain runs: it is powered off first.
  ASSERT_TRUE(console.WaitFor([&] {
    return Contains(console.Text(), "Warning: VMs running") ||
           Contains(console.Text(), "Auto-configuring network. ");
  })) << console.Text();
  if (Contains(console.Text(), "Warning: VMs running"))
    console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, "Auto-configuring network. Done.")) << console.Text();

  const std::string ports = InHost("ip -o link show master br0");
  EXPECT_TRUE(Contains(ports, "nic0")) << ports;
  EXPECT_FALSE(Contains(ports, "nic1")) << ports;
  EXPECT_TRUE(console.WaitFor([&] {
    return Contains(InHost("ip -4 -o addr show dev br0"), "inet 10.99.0.1");
  })) << InHost("ip addr") << Slurp(_scratch + "/dnsmasq.log");
  EXPECT_FALSE(Contains(InHost("ip -4 -o addr show dev br0"), "10.99.0.2/"));
  EXPECT_EQ(InHost("hostname"), "localhost\n");
  EXPECT_EQ(Field(Fields(File("/systemd/network/10-merel-br0.network")), "[Network] DHCP"), "ipv4");
  EXPECT_FALSE(fs::exists(_scratch + "/etc/systemd/network/10-merel-nic1.network"));
}

}  // namespace
