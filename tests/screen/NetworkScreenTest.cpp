// The management network window: what it shows of each host, leaving it with
// and without changes, and applying the changes to the host step by step.

#include "NetworkScreenUtil.h"

namespace {

using namespace MerelNetworkTest;

struct HostCase {
  const char* name;
  const char* fixture;
  const char* firstEntry;  // selected when the window opens
  std::vector<std::string> ipv4;
  std::vector<std::string> dns;
};

class NetworkHostTest : public testing::TestWithParam<HostCase> {};

// The window reads the live host: each fixture's own values, with the switch
// entries greyed and skipped on a distributed switch.
TEST_P(NetworkHostTest, ShowsTheLiveSettings) {
  const HostCase& c = GetParam();
  SimHost host(c.fixture);
  auto console = OpenWindow(host);
  EXPECT_EQ(RightTitle(*console), c.firstEntry);
  if (*c.fixture == '\0') {
    ExpectGoldenScreen(*console, "network");
  }
  Type(*console, {Key::kUp});
  EXPECT_EQ(RightTitle(*console), c.firstEntry) << "Up from the first entry";
  for (const auto& [entry, texts] :
       {std::pair{"IPv4 Configuration", c.ipv4}, std::pair{"DNS Configuration", c.dns}}) {
    EXPECT_TRUE(SelectEntry(*console, entry)) << console->Text();
    ExpectHas(RightText(*console), texts);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Hosts,
    NetworkHostTest,
    testing::Values(
        HostCase{"demo", "", "Network Adapters",
                 {"Manual", "IPv4 Address: 192.168.10.20", "Subnet Mask: 255.255.255.0",
                  "Default Gateway: 192.168.10.1"},
                 {"Manual", "Primary DNS Server:\n192.168.10.2",
                  "Alternate DNS Server:\n192.168.10.3", "Hostname\nmerel-demo"}},
        HostCase{"dhcp", "dhcp", "Network Adapters",
                 {"Automatic", "IPv4 Address: 172.16.5.50", "Default Gateway: 172.16.5.1"},
                 {"Automatic", "Primary DNS Server:\n172.16.5.2"}},
        HostCase{"dvs", "dvs", "IPv4 Configuration", {"IPv4 Address: 10.6.6.6"}, {}}),
    ByName);

// A DHCP host set to a static address, to none, then back to DHCP: the host
// follows, and the welcome screen shows the address leased anew.
TEST(NetworkScreenTest, StaticAndBackToDhcp) {
  SimHost host("dhcp");
  auto console = OpenWindow(host);

  Choose(*console, "IPv4 Configuration", "Set static IPv4 address");
  Type(*console, {Key::kDown, Key::kDown, Key::kSpace, Key::kDown});
  // One past the longest address gets in, so a longer paste stays too long
  // to pass instead of being cut to one that happens to be valid.
  TypeText(*console, "192.168.100.10010");
  ExpectRefusal(*console, "Please reenter a valid IPv4 address", "Invalid IP address");
  TypeText(*console, std::string(16, '\x7f'));
  // Letters, a blank, a colon, a control character and a UTF-8 letter never
  // reach the field, and the blank does not change the choice.
  TypeText(*console, "172.16 abc.5:\x01\xc3\xa9.77");
  ExpectGoldenScreen(*console, "network-ipv4");
  Accept(*console);
  ExpectHas(RightText(*console), {"IPv4 Address: 172.16.5.77"});
  ApplyChanges(*console);
  EXPECT_EQ(Fields(Nex0(host.HostJson()), {"ipv4Mode", "ipv4Address"}),
            List({"static", "172.16.5.77"}));
  ExpectLogged(host, {"Setting ipv4 configuration to 172.16.5.77 255.255.255.0 on nex0",
                      "Setting default gateway to 172.16.5.1", "Network settings changed."});

  // Space on the first choice: no IPv4 address at all; on the second: DHCP.
  for (const auto& [keys, mode] : {std::pair{std::vector{Key::kSpace}, "none"},
                                   std::pair{std::vector{Key::kDown, Key::kSpace}, "dhcp"}}) {
    SCOPED_TRACE(mode);
    Accept(*console);
    Edit(*console, "IPv4 Configuration", "Set static IPv4 address", keys);
    ApplyChanges(*console);
    EXPECT_EQ(Nex0(host.HostJson())["ipv4Mode"], mode);
  }
  ExpectLogged(host, {"Switching to DHCP on nex0"});

  Press(*console, Key::kEscape, "<F2> Customize System");
  const std::string lease = Nex0(host.HostJson()).value("leaseAddress", "");
  ASSERT_FALSE(lease.empty());
  EXPECT_NE(lease, "172.16.5.77");
  ExpectHas(console->Text(), {"http://" + lease + "/"});
}

// Nothing reaches the host unless the user says yes: an accepted dialog
// without a change asks nothing, nor does a refused one dropped with Esc;
// Esc in the question goes back to the window, N drops the edits. Then DNS
// servers, a host name with its domain, and suffixes typed with every
// separator: only the name settings are written.
TEST(NetworkScreenTest, DnsAndSuffixes) {
  SimHost host("static-ipv4");
  const nlohmann::json before = host.HostJson();
  auto console = OpenWindow(host);
  Edit(*console, "Custom DNS Suffixes", "Suffixes:", {});
  // A paste longer than the field is refused whole, never stored cut (cut,
  // this one would be refused for its long name instead); Esc drops it.
  Choose(*console, "Custom DNS Suffixes", "Suffixes:");
  TypeText(*console, std::string(1100, 'x'));
  ExpectRefusal(*console, "The suffixes can have at most 1024 characters", "Invalid DNS suffix");
  Accept(*console, Key::kEscape);
  Edit(*console, "IPv6 Configuration", "Set static IPv6", {});
  PressToMenu(*console, Key::kEscape);

  Accept(*console);
  Edit(*console, "Custom DNS Suffixes", "Suffixes:", {}, "other.test");
  Press(*console, Key::kEscape, "Apply changes and restart management network?");
  Accept(*console, Key::kEscape);
  ExpectHas(RightText(*console), {"other.test"});
  Press(*console, Key::kEscape, "Apply changes and restart management network?");
  console->SendText("N");
  ASSERT_TRUE(WaitForMenu(*console)) << console->Text();
  EXPECT_EQ(host.HostJson()["network"], before["network"]);
  ExpectLacks(host.Syslog(), {"Network settings changed."});

  Accept(*console);
  Choose(*console, "DNS Configuration", "Use the following DNS server addresses");
  // Manual DNS: the dialog starts on the first server.
  TypeText(*console, "10.20.30.9");
  Type(*console, {Key::kDown, Key::kDown});
  TypeText(*console, "new_-host!.lab\x01\xc3\xa9.test");
  ExpectGoldenScreen(*console, "network-dns");
  // A bad server takes the focus back from the host name, for the correction.
  Type(*console, {Key::kUp, Key::kUp, Key::kEnd});
  TypeText(*console, "00");
  Type(*console, {Key::kDown, Key::kDown});
  ExpectRefusal(*console, "Invalid DNS server address");
  TypeText(*console, "\x7f\x7f");
  Accept(*console);

  Choose(*console, "Custom DNS Suffixes", "Suffixes:");
  TypeText(*console, "a.test, b_.test,,c.test");
  ExpectGoldenScreen(*console, "network-suffixes");
  Accept(*console);
  ExpectHas(RightText(*console), {"a.test, b.test,,c.test"});

  ApplyChanges(*console);
  EXPECT_EQ(Fields(host.HostJson()["network"]["dns"], {"hostname", "nameServers", "searchDomains"}),
            List({"new-host", {"10.20.30.9", "10.20.30.3"},
                  {"lab.test", "a.test", "b.test", "c.test"}}));
  ExpectLogged(host, {"Setting adapters to pnic0 pnic1", "Setting hostname to new-host.lab.test",
                      "Setting nameservers to 10.20.30.9 10.20.30.3",
                      "Setting suffixes to a.test, b.test,,c.test", "Network settings changed."});
  ExpectLacks(host.Syslog(), {"Setting ipv4 configuration"});
}

// Switching IPv6 off alone is a change; the host restarts once every other
// step has run.
TEST(NetworkScreenTest, Ipv6ToggleRestartsTheHost) {
  SimHost host;
  auto console = OpenWindow(host);
  Choose(*console, "IPv6 Configuration", "Disable IPv6");
  Type(*console, {Key::kUp, Key::kUp, Key::kUp, Key::kSpace});
  Accept(*console);
  ExpectHas(RightText(*console), {"IPv6 is disabled."});
  Press(*console, Key::kEscape, "Apply changes and reboot host?");
  console->SendText("Y");
  ASSERT_TRUE(console->WaitForExit()) << console->Text();
  const nlohmann::json state = host.HostJson();
  EXPECT_EQ(List({state["network"]["ipv6EnabledAfterReboot"], state["powerState"]}),
            List({false, "rebooting"}));
  ExpectLogged(host, {"Setting suffixes to example.test"});
}

// The dynamic choice takes router advertisements alone; its DHCPv6 box
// then trades them for DHCPv6.
TEST(NetworkScreenTest, DynamicIpv6Choices) {
  SimHost host;
  auto console = OpenWindow(host);
  const struct {
    std::vector<Key> keys;  // from the dialog's first choice
    bool dhcp, advertised;
  } steps[] = {{{Key::kDown, Key::kSpace}, false, true},
               {{Key::kDown, Key::kDown, Key::kSpace}, true, false}};
  for (const auto& step : steps) {
    SCOPED_TRACE(std::to_string(&step - steps));
    Edit(*console, "IPv6 Configuration", "Use DHCPv6", step.keys);
    ApplyChanges(*console);
    EXPECT_EQ(Fields(Nex0(host.HostJson()), {"ipv6Dhcp", "ipv6RouterAdvertised"}),
              List({step.dhcp, step.advertised}));
    Accept(*console);
  }
}

// The switch side and static IPv6 in one pass: a disconnected adapter added
// to the uplinks, a VLAN, a second static IPv6 address; then the interface
// taken away.
TEST(NetworkScreenTest, AdaptersVlanAndStaticIpv6) {
  SimHost host;
  auto console = OpenWindow(host);

  Choose(*console, "Network Adapters", "pnic2");
  Type(*console, {Key::kDown, Key::kDown, Key::kSpace});
  ExpectGoldenScreen(*console, "network-adapters");
  Accept(*console);

  Choose(*console, "VLAN (optional)", "VLAN ID (1-4094");
  TypeText(*console, "20");
  ExpectGoldenScreen(*console, "network-vlan");
  Accept(*console);

  // The demo host's address stays in the first field; the second one is added.
  // The dialog opens on its first choice; the DHCPv6 box is skipped.
  Choose(*console, "IPv6 Configuration", "Set static IPv6");
  Type(*console, {Key::kDown, Key::kDown, Key::kDown, Key::kDown});
  TypeText(*console, "ff02::1/64");
  ExpectRefusal(*console, "ff02::1 is a multicast address.");
  TypeText(*console, std::string(10, '\x7f'));
  TypeText(*console, "2001:db8::5/64\x01\xc3\xa9");
  ExpectGoldenScreen(*console, "network-ipv6");
  Accept(*console);
  // (What the window then shows and the host gets of adapters and VLAN IDs
  // is NetworkAdaptersTest's, of static IPv6 addresses ApplyFailureTest's.)
  ApplyChanges(*console);
  EXPECT_EQ(Nex0(host.HostJson())["ipv6Addresses"], List({"2001:db8:10::20/64", "2001:db8::5/64"}));

  // The menu greys the entry on a host without a management interface; when
  // the interface goes away under a running menu, the window itself says so
  // and does not open.
  ModifyHost(host,
             [](nlohmann::json& state) { state["network"]["nics"][0]["management"] = false; });
  Choose(*console, kWindowTitle, "Management network interface cannot be found.");
  ExpectHas(console->Text(), {"Enable Management Network: Error"});
  ExpectHas(host.Syslog(), {"Could not get a suitable management interface"});
  PressToMenu(*console, Key::kEnter);
}

const std::vector<std::string> kV6Addresses = {"2001:db8:30::10/64", "2001:db8:30::11/64",
                                               "2001:db8:31::12/48"};
const std::string kV6Gateway = "2001:db8:30::1";

struct FailCase {
  const char* call;
  const char* line;               // the error line, also the message's text
  bool ipv6Addresses = true;      // the static IPv6 addresses still reach the host
  std::string ipv6Gateway = kV6Gateway;  // the host's afterwards
};

class ApplyFailureTest : public testing::TestWithParam<FailCase> {};

// A failing step is logged and shown; the pass goes on, so the suffixes (or,
// when the name settings failed, the agents' refresh) still reach the host,
// and so do three static IPv6 addresses and a gateway on a host that had none.
TEST_P(ApplyFailureTest, LaterStepsStillRun) {
  const FailCase& c = GetParam();
  SimHost host("static-ipv4");
  auto console = OpenWindow(host);
  Choose(*console, "IPv6 Configuration", "Set static IPv6");
  Type(*console, {Key::kDown, Key::kDown, Key::kDown});
  for (const std::string& address : kV6Addresses) {
    TypeText(*console, address);
    Type(*console, {Key::kDown});
  }
  TypeText(*console, kV6Gateway);
  Accept(*console);
  ExpectHas(RightText(*console), {"IPv6 Addresses:\n" + kV6Addresses[0] + "\n" + kV6Addresses[1] +
                                  "\n" + kV6Addresses[2] + "\nDefault Gateway:\n2001:db8:30::1\n"});
  Edit(*console, "IPv4 Configuration", "Set static IPv4 address",
       {Key::kUp, Key::kUp, Key::kUp, Key::kDown, Key::kDown, Key::kDown}, "10.20.30.41");
  Edit(*console, "Custom DNS Suffixes", "Suffixes:", {}, "x.test");
  Edit(*console, "VLAN (optional)", "VLAN ID (1-4094", {}, "20");

  FailCall(host, c.call, "disk on fire", true);
  Press(*console, Key::kEscape, "Apply changes");
  console->SendText("y");
  const std::string line = std::string(c.line) + "disk on fire";
  Expect(*console, line);
  PressToMenu(*console, Key::kEnter);

  ExpectLogged(host, {"user.err " + line, "Changed vlan, restarting management interface",
                      "Setting ipv6 configuration", "Setting default ipv6 gateway to " + kV6Gateway,
                      "Network settings changed."});
  const nlohmann::json state = host.HostJson();
  EXPECT_EQ(List({Nex0(state)["ipv6Addresses"], state["network"]["routing"]["ipv6Gateway"]}),
            List({c.ipv6Addresses ? kV6Addresses : std::vector<std::string>{}, c.ipv6Gateway}));
  ExpectHas(host.ReadFile("/var/log/tools.log"), {"internalsvc/refresh"});
  if (std::string(c.line) != "Setting DNS failed: ") {
    EXPECT_EQ(state["network"]["dns"]["searchDomains"],
              nlohmann::json({"lab.test", "x.test"}));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Steps,
    ApplyFailureTest,
    testing::Values(FailCase{"NexNic.GetIpConfigs", "Setting ip configuration failed: "},
                    FailCase{"SetNexIpv6Enabled", "Setting ipv6 configuration failed: "},
                    FailCase{"NexNic.SetIpConfig", "Setting ip/ipv6 configuration failed: ",
                             false},
                    FailCase{"SetNexelDefaultGateway", "Setting default gateway failed: "},
                    FailCase{"SetIpv6NexelDefaultGateway", "Setting default ipv6 gateway failed: ",
                             true, "::"},
                    FailCase{"NexNic.Restart", "Restarting management interface failed: "},
                    FailCase{"SetHostname", "Setting DNS failed: "},
                    FailCase{"SaveConfig", "Setting DNS failed: "}),
    [](const testing::TestParamInfo<FailCase>& info) {
      std::string name = info.param.call;
      name.erase(std::remove(name.begin(), name.end(), '.'), name.end());
      return name;
    });

}  // namespace
