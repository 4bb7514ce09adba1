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
        HostCase{"staticipv4", "static-ipv4", "Network Adapters",
                 {"Manual", "IPv4 Address: 10.20.30.40", "Default Gateway: 10.20.30.1"},
                 {"Primary DNS Server:\n10.20.30.2", "Hostname\nstatic-host"}},
        HostCase{"dhcp", "dhcp", "Network Adapters",
                 {"Automatic", "IPv4 Address: 172.16.5.50", "Default Gateway: 172.16.5.1"},
                 {"Automatic", "Primary DNS Server:\n172.16.5.2"}},
        HostCase{"dvs", "dvs", "IPv4 Configuration", {"IPv4 Address: 10.6.6.6"}, {}}),
    ByName);

// A DHCP host set to a static address, then back to DHCP: the host follows,
// and the welcome screen shows the address leased anew.
TEST(NetworkScreenTest, StaticAndBackToDhcp) {
  SimHost host("dhcp");
  auto console = OpenWindow(host);

  Choose(*console, "IPv4 Configuration", "Set static IPv4 address");
  Type(*console, {Key::kDown, Key::kDown, Key::kSpace, Key::kDown});
  TypeText(*console, "172.16.5.77");
  ExpectGoldenScreen(*console, "network-ipv4");
  Accept(*console);
  ExpectHas(RightText(*console), {"IPv4 Address: 172.16.5.77"});
  ApplyChanges(*console);
  EXPECT_EQ(Fields(Nex0(host.HostJson()), {"ipv4Mode", "ipv4Address"}),
            List({"static", "172.16.5.77"}));
  ExpectLogged(host, {"Setting ipv4 configuration to 172.16.5.77 255.255.255.0 on nex0",
                      "Setting default gateway to 172.16.5.1", "Network settings changed."});

  Accept(*console);
  Choose(*console, "IPv4 Configuration", "Set static IPv4 address");
  Type(*console, {Key::kDown, Key::kSpace});
  Accept(*console);
  ApplyChanges(*console);
  EXPECT_EQ(Nex0(host.HostJson())["ipv4Mode"], "dhcp");
  ExpectLogged(host, {"Switching to DHCP on nex0"});

  Press(*console, Key::kEscape, "<F2> Customize System");
  const std::string lease = Nex0(host.HostJson()).value("leaseAddress", "");
  ASSERT_FALSE(lease.empty());
  EXPECT_NE(lease, "172.16.5.77");
  ExpectHas(console->Text(), {"http://" + lease + "/"});
}

// DNS servers, a host name with its domain, and suffixes typed with every
// separator: only the name settings are written.
TEST(NetworkScreenTest, DnsAndSuffixes) {
  SimHost host("static-ipv4");
  auto console = OpenWindow(host);

  Choose(*console, "DNS Configuration", "Use the following DNS server addresses");
  // Manual DNS: the dialog starts on the first server.
  TypeText(*console, "10.20.30.9");
  Type(*console, {Key::kDown, Key::kDown});
  TypeText(*console, "new-host.lab.test");
  ExpectGoldenScreen(*console, "network-dns");
  Accept(*console);

  Choose(*console, "Custom DNS Suffixes", "Suffixes:");
  TypeText(*console, "a.test, b.test,,c.test");
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
  ExpectHas(RightText(*console), {"pnic2"});

  Choose(*console, "VLAN (optional)", "VLAN ID (1-4094");
  TypeText(*console, "20");
  ExpectGoldenScreen(*console, "network-vlan");
  Accept(*console);

  // The demo host's address stays in the first field; the second one is added.
  // The dialog opens on its first choice; the DHCPv6 box is skipped.
  Choose(*console, "IPv6 Configuration", "Set static IPv6");
  Type(*console, {Key::kDown, Key::kDown, Key::kDown, Key::kDown});
  TypeText(*console, "2001:db8::5/64");
  ExpectGoldenScreen(*console, "network-ipv6");
  Accept(*console);
  ExpectHas(RightText(*console), {"2001:db8::5/64"});

  ApplyChanges(*console);
  const nlohmann::json state = host.HostJson();
  const nlohmann::json& group = state["network"]["vswitches"][0]["portGroups"][0];
  EXPECT_EQ(group["vlanId"], 20);
  ExpectHas(group["activeUplinks"].dump() + group.value("standbyUplinks", nlohmann::json()).dump(),
            {"\"pnic2\""});
  ExpectHas(Nex0(state).dump(), {"2001:db8::5"});
  ExpectLogged(host,
               {"Setting adapters to pnic0 pnic1 pnic2",
                "Changed vlan, restarting management interface", "Setting ipv6 configuration"});

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

// Nothing reaches the host unless the user says yes: an accepted dialog
// without a change asks nothing, Esc in the question goes back to the
// window, N drops the edits.
TEST(NetworkScreenTest, LeavingWithoutApplying) {
  SimHost host("static-ipv4");
  const nlohmann::json before = host.HostJson();
  auto console = OpenWindow(host);
  Choose(*console, "Custom DNS Suffixes", "Suffixes:");
  Accept(*console);
  PressToMenu(*console, Key::kEscape);

  Accept(*console);
  Choose(*console, "Custom DNS Suffixes", "Suffixes:");
  TypeText(*console, "other.test");
  Accept(*console);
  Press(*console, Key::kEscape, "Apply changes and restart management network?");
  Accept(*console, Key::kEscape);
  ExpectHas(RightText(*console), {"other.test"});
  Press(*console, Key::kEscape, "Apply changes and restart management network?");
  console->SendText("N");
  ASSERT_TRUE(WaitForMenu(*console)) << console->Text();
  EXPECT_EQ(host.HostJson()["network"], before["network"]);
  ExpectLacks(host.Syslog(), {"Network settings changed."});
}

struct FailCase {
  const char* call;
  const char* line;  // the error line, also the message's text
};

class ApplyFailureTest : public testing::TestWithParam<FailCase> {};

// A failing step is logged and shown; the pass goes on, so the suffixes (or,
// when the name settings failed, the agents' refresh) still reach the host.
TEST_P(ApplyFailureTest, LaterStepsStillRun) {
  const FailCase& c = GetParam();
  SimHost host("static-ipv4");
  auto console = OpenWindow(host);
  Choose(*console, "IPv4 Configuration", "Set static IPv4 address");
  Type(*console, {Key::kUp, Key::kUp, Key::kUp, Key::kDown, Key::kDown, Key::kDown});
  TypeText(*console, "10.20.30.41");
  Accept(*console);
  Choose(*console, "Custom DNS Suffixes", "Suffixes:");
  TypeText(*console, "x.test");
  Accept(*console);
  Choose(*console, "VLAN (optional)", "VLAN ID (1-4094");
  TypeText(*console, "20");
  Accept(*console);

  FailCall(host, c.call, "disk on fire", true);
  Press(*console, Key::kEscape, "Apply changes");
  console->SendText("y");
  const std::string line = std::string(c.line) + "disk on fire";
  Expect(*console, line);
  ExpectHas(console->Text(), {"Enable Management Network: Error"});
  PressToMenu(*console, Key::kEnter);

  ExpectLogged(host, {"user.err " + line, "Changed vlan, restarting management interface",
                      "Network settings changed."});
  ExpectHas(host.ReadFile("/var/log/tools.log"), {"internalsvc/refresh"});
  if (std::string(c.line) != "Setting DNS failed: ") {
    EXPECT_EQ(host.HostJson()["network"]["dns"]["searchDomains"],
              nlohmann::json({"lab.test", "x.test"}));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Steps,
    ApplyFailureTest,
    testing::Values(FailCase{"NexNic.GetIpConfigs", "Setting ip configuration failed: "},
                    FailCase{"SetNexIpv6Enabled", "Setting ipv6 configuration failed: "},
                    FailCase{"NexNic.SetIpConfig", "Setting ip/ipv6 configuration failed: "},
                    FailCase{"SetNexelDefaultGateway", "Setting default gateway failed: "},
                    FailCase{"NexNic.Restart", "Restarting management interface failed: "},
                    FailCase{"SetHostname", "Setting DNS failed: "},
                    FailCase{"SaveConfig", "Setting DNS failed: "}),
    [](const testing::TestParamInfo<FailCase>& info) {
      std::string name = info.param.call;
      name.erase(std::remove(name.begin(), name.end(), '.'), name.end());
      return name;
    });

}  // namespace
