// The host library as the console sees it, on simulated hosts: each facade
// reads the live state (nothing cached) and each change is visible to the
// next reader, including the host's tools.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "HostCtl/Host.h"
#include "HostCtl/HostCtlException.h"
#include "HostCtl/Misc.h"
#include "NexCtl/AdvancedOptionImpl.h"
#include "NexCtl/CpuInfoImpl.h"
#include "NexCtl/DnsConfigImpl.h"
#include "NexCtl/HostsFile.h"
#include "NexCtl/MemoryInfoImpl.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/NexCtlExec.h"
#include "NexCtl/PortGroupImpl.h"
#include "NexCtl/ResourceInfoImpl.h"
#include "NexCtl/RoutingInfoImpl.h"
#include "NexCtl/SmartCardInfoImpl.h"
#include "NexCtl/SysinfoUtil.h"
#include "NexCtl/SystemInfoImpl.h"
#include "NexCtl/VirtualSwitchInfoImpl.h"
#include "SimHostTestSupport.h"

namespace {

using HostCtl::Lib::HostCtlException;
using HostCtl::Network::ConnectionPoint;
using HostCtl::Network::IpConfig;
using HostCtl::Network::Ipv4Address;
using HostCtl::Network::Ipv6Address;
using HostCtl::Network::Ipv6Network;
using SimHostTest::SimRoot;

std::unique_ptr<HostCtl::Network::NexNic> Management() {
  NexCtl::Network::NetworkInfoImpl network;
  network.UpdateManagementInterface();
  return network.GetManagementInterface();
}

std::vector<std::string> Texts(const std::vector<Ipv6Network>& networks, bool withScope = false) {
  std::vector<std::string> texts;
  for (const auto& n : networks) {
    texts.push_back(n.GetStringAddress() +
                    (withScope ? " scope " + std::to_string(n.GetIpv6Scope()) : ""));
  }
  return texts;
}

TEST(PlatformFacadeTest, DemoManagementInterfaceAndItsTwoConfigurations) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  auto nic = Management();
  ASSERT_TRUE(nic);
  EXPECT_EQ(nic->GetName(), "vmk0");
  IpConfig settings, addresses;
  nic->GetIpConfigs(settings, addresses);
  EXPECT_FALSE(settings.GetUseDhcp());
  EXPECT_EQ(addresses.GetIpv4Address().GetStringAddress(), "192.168.10.20");
  EXPECT_EQ(addresses.GetIpv4Netmask().GetStringAddress(), "255.255.255.0");
  EXPECT_EQ(addresses.GetIpv4Gateway().GetStringAddress(), "192.168.10.1");
  EXPECT_EQ(Texts(settings.GetIpv6Network()), std::vector<std::string>{"2001:db8:10::20/64"});
  // The live list adds the link-local address the interface made itself.
  EXPECT_EQ(Texts(addresses.GetIpv6Network(), true),
            (std::vector<std::string>{"fe80::b696:91ff:fe3a:1020/64 scope 1",
                                      "2001:db8:10::20/64 scope 3"}));
  auto point = nic->GetConnectionPoint();
  ASSERT_EQ(point->GetType(), ConnectionPoint::kPortGroup);
  auto& pg = static_cast<HostCtl::Network::PortGroup&>(*point);
  EXPECT_EQ(pg.GetVirtualSwitchName(), "vSwitch0");
  EXPECT_EQ(pg.GetTeamingPolicy().GetUplinks(), (std::vector<std::string>{"pnic0", "pnic1"}));
  EXPECT_EQ(pg.GetTeamingPolicy().GetMaxActiveUplinks(), 1);

  NexCtl::Network::DnsConfigImpl dns("defaultNetStack");
  EXPECT_EQ(dns.GetHostname(), "merel-demo");
  EXPECT_EQ(dns.GetDomain(), "example.test");
  ASSERT_EQ(dns.GetNameServers().size(), 2u);
  EXPECT_EQ(dns.GetNameServers()[1].GetStringAddress(), "192.168.10.3");
  EXPECT_THROW(NexCtl::Network::DnsConfigImpl("otherStack").GetHostname(), HostCtlException);
}

TEST(PlatformFacadeTest, DhcpTakesItsLeaseGatewayAndServersFromThePool) {
  SimRoot root("dhcp");
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  auto nic = Management();
  ASSERT_TRUE(nic);
  IpConfig live = nic->GetIpConfig();
  EXPECT_TRUE(live.GetUseDhcp());
  EXPECT_EQ(live.GetIpv4Address().GetStringAddress(), "172.16.5.50");
  EXPECT_EQ(NexCtl::Network::RoutingInfoImpl("defaultNetStack")
                .GetNexelDefaultGateway()
                .GetStringAddress(),
            "172.16.5.1");
  auto servers = NexCtl::Network::DnsConfigImpl("defaultNetStack").GetNameServers();
  ASSERT_EQ(servers.size(), 2u);
  EXPECT_EQ(servers[0].GetStringAddress(), "172.16.5.2");

  // Static and back: the lease goes with DHCP and a new one is taken.
  IpConfig change = live;
  change.SetUseDhcp(false);
  change.SetIpv4Address(Ipv4Address("172.16.5.9"));
  change.SetIpv4Netmask(Ipv4Address("255.255.255.0"));
  nic->SetIpConfig(change);
  EXPECT_EQ(nic->GetIpConfig().GetIpv4Address().GetStringAddress(), "172.16.5.9");
  EXPECT_TRUE(Platform::Current().Load().network.nics[0].leaseAddress.empty());
  change.SetUseDhcp(true);
  nic->SetIpConfig(change);
  EXPECT_EQ(nic->GetIpConfig().GetIpv4Address().GetStringAddress(), "172.16.5.50");
  change.SetUseDhcp(false);
  change.SetIpv4Netmask(Ipv4Address("255.0.255.0"));
  EXPECT_THROW(nic->SetIpConfig(change), HostCtlException);
}

TEST(PlatformFacadeTest, DisabledInterfaceHasNoAddressUntilEnabled) {
  SimRoot root("ipv6");
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  auto nic = Management();
  ASSERT_TRUE(nic);
  EXPECT_EQ(nic->GetIpConfig().GetIpv6Network().size(), 4u);  // link-local, RA, two static
  nic->Disable();
  EXPECT_FALSE(nic->IsEnabled());
  EXPECT_EQ(nic->GetIpConfig().GetIpv4Address().GetStringAddress(), "0.0.0.0");
  EXPECT_TRUE(nic->GetIpConfig().GetIpv6Network().empty());
  nic->Enable();
  EXPECT_EQ(nic->GetIpConfig().GetIpv4Address().GetStringAddress(), "192.0.2.10");
  EXPECT_EQ(nic->GetIpConfig().GetIpv6Network().size(), 4u);
  EXPECT_EQ(NexCtl::Network::RoutingInfoImpl("defaultNetStack")
                .GetIpv6NexelDefaultGateway()
                .GetStringAddress(),
            "2001:db8:1::1");
  EXPECT_EQ(NexCtl::Network::DnsConfigImpl("defaultNetStack").GetIpv6NameServers().size(), 2u);
}

TEST(PlatformFacadeTest, SettingIpv6AddressesKeepsOnlyStaticOnes) {
  SimRoot root("ipv6");
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  auto nic = Management();
  IpConfig config = nic->GetIpConfig();  // holds automatic addresses as well
  config.AddIpv6Network(Ipv6Network("2001:db8:1::12/64"));
  nic->SetIpConfig(config);
  EXPECT_EQ(
      Platform::Current().Load().network.nics[0].ipv6Addresses,
      (std::vector<std::string>{"2001:db8:1::10/64", "2001:db8:1::11/64", "2001:db8:1::12/64"}));
}

TEST(PlatformFacadeTest, Ipv6SwitchTakesEffectAtReboot) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  NexCtl::Network::NetworkInfoImpl network;
  network.SetNexIpv6Enabled(false);
  EXPECT_TRUE(network.IsNexIpv6Enabled());
  EXPECT_FALSE(network.IsNexIpv6EnabledAfterReboot());
  Platform::System("reboot");
  EXPECT_FALSE(network.IsNexIpv6Enabled());
  EXPECT_TRUE(Management()->GetIpConfig().GetIpv6Network().empty());
}

TEST(PlatformFacadeTest, MissingOrDistributedManagementInterface) {
  SimRoot none("no-mgmt");
  ASSERT_EQ(none.InitStatus(), 0) << none.InitErrors();
  EXPECT_FALSE(Management());
  SimRoot dvs("dvs");
  ASSERT_EQ(dvs.InitStatus(), 0) << dvs.InitErrors();
  auto point = Management()->GetConnectionPoint();
  ASSERT_EQ(point->GetType(), ConnectionPoint::kDVPort);
  EXPECT_EQ(static_cast<HostCtl::Network::DVPort&>(*point).GetDVSwitchName(), "DSwitch-Prod");
  EXPECT_EQ(static_cast<HostCtl::Network::DVPort&>(*point).GetVlanId(), 20);
}

TEST(PlatformFacadeTest, DnsAndRoutingChangesAreWrittenThrough) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  NexCtl::Network::DnsConfigImpl dns("defaultNetStack");
  dns.SetFqdn("esx1.corp.test");
  EXPECT_EQ(dns.GetHostname(), "esx1");
  EXPECT_EQ(dns.GetDomain(), "corp.test");
  EXPECT_THROW(dns.SetHostname("a.b"), HostCtlException);
  EXPECT_THROW(dns.SetHostname(""), HostCtlException);
  dns.SetSearchDomainsString(dns.GetDomain());
  dns.AddSearchDomain("a.com");
  dns.AddSearchDomain("b.com");
  EXPECT_EQ(dns.GetSearchDomains(), (std::vector<std::string>{"corp.test", "a.com", "b.com"}));
  dns.RemoveNameServers();
  dns.AddNameServer(Ipv4Address("10.0.0.1"));
  dns.AddNameServer(Ipv6Address("fe80::1"));
  EXPECT_EQ(dns.GetNameServers().size(), 1u);
  EXPECT_EQ(dns.GetIpv6NameServers().at(0).GetStringAddress(), "fe80::1");
  dns.SaveConfig();
  EXPECT_EQ(
      root.File("/etc/resolv.conf"),
      "domain corp.test\nsearch corp.test a.com b.com\nnameserver 10.0.0.1\nnameserver fe80::1\n");
  NexCtl::Network::RoutingInfoImpl routing("defaultNetStack");
  routing.SetNexelDefaultGateway(Ipv4Address("192.168.10.254"));
  EXPECT_EQ(routing.GetNexelDefaultGateway().GetStringAddress(), "192.168.10.254");
}

TEST(PlatformFacadeTest, VlanAndUplinksOfThePortGroup) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  NexCtl::Network::PortGroupImpl groups;
  groups.SetVlanId("Management Network", 42);
  EXPECT_THROW(groups.SetVlanId("Management Network", 4096), HostCtlException);
  auto pg = groups.GetPortGroup("Management Network");
  EXPECT_EQ(pg->GetVlanId(), 42);
  auto policy = pg->GetTeamingPolicy();
  policy.RemoveUplink("pnic1");
  policy.AddUplink("pnic2");  // not yet on the switch: it joins it
  groups.SetTeamingPolicy("Management Network", policy);
  auto switches = NexCtl::Network::VirtualSwitchInfoImpl().GetVirtualSwitches();
  EXPECT_EQ(switches.at(0).uplinks, (std::vector<std::string>{"pnic0", "pnic1", "pnic2"}));
  EXPECT_EQ(groups.GetPortGroup("Management Network")->GetTeamingPolicy().GetUplinks(),
            (std::vector<std::string>{"pnic0", "pnic2"}));
  EXPECT_FALSE(NexCtl::Network::PortsetImpl().IsValidVirtualSwitch("vSwitch1"));
  NexCtl::Network::VirtualSwitchInfoImpl().AddVirtualSwitch("vSwitch1");
  EXPECT_TRUE(NexCtl::Network::PortsetImpl().IsValidVirtualSwitch("vSwitch1"));
  EXPECT_THROW(NexCtl::Network::VirtualSwitchInfoImpl().RemoveVirtualSwitch("vSwitch0"),
               HostCtlException);
}

TEST(PlatformFacadeTest, FactoryNetworkRestoreGivesDhcpOnVmk0) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  NexCtl::Network::NetworkInfoImpl network;
  network.DisableNetDumper();
  network.ClearNetworkConfig();
  EXPECT_FALSE(Management());
  network.AutoConfigNetwork();
  auto nic = Management();
  ASSERT_TRUE(nic);
  EXPECT_EQ(nic->GetName(), "vmk0");
  EXPECT_TRUE(nic->GetIpConfig().GetUseDhcp());
  EXPECT_EQ(nic->GetIpConfig().GetIpv4Address().GetStringAddress(), "192.168.10.100");
  EXPECT_FALSE(network.IsNetDumperEnabled());
}

TEST(PlatformFacadeTest, AdvancedOptionsAreSharedWithTheHostTools) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  NexCtl::Adv::AdvancedOptionImpl options;
  auto option = options.FindOption("/UserVars/MerelTimeOut");
  auto* integer = dynamic_cast<HostCtl::Adv::AdvancedIntegerOption*>(option.get());
  ASSERT_NE(integer, nullptr);
  EXPECT_EQ(integer->GetValue(), 600);
  EXPECT_EQ(options.FindOption("/UserVars/NoSuchOption"), nullptr);
  EXPECT_THROW(options.SetIntegerOption("/UserVars/MerelTimeOut", 100000), HostCtlException);
  EXPECT_THROW(options.SetIntegerOption("/Annotations/WelcomeMessage", 1), HostCtlException);
  options.SetIntegerOption("/UserVars/MerelTimeOut", 120);
  // A tool started by the console sees the change, and the console the tool's.
  std::string errors;
  EXPECT_EQ(SimHostTest::RunSim("tool '" + root.Path() +
                                    "' tarvikcli system settings advanced set -o "
                                    "/UserVars/TarvikShellTimeOut -i 900",
                                &errors),
            0)
      << errors;
  auto shell = options.FindOption("/UserVars/TarvikShellTimeOut");
  EXPECT_EQ(dynamic_cast<HostCtl::Adv::AdvancedIntegerOption&>(*shell).GetValue(), 900);
  EXPECT_EQ(NexCtl::Util::NexCtl_Exec(
                "test \"$(/sbin/tarvikcfg-advcfg -q -g /UserVars/MerelTimeOut)\" = 120", false,
                true, false),
            0);
}

TEST(PlatformFacadeTest, ExecReturnsStatusAndKeepsOutputOffTheTerminal) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  testing::internal::CaptureStdout();
  int status = NexCtl::Util::NexCtl_Exec("echo loud; exit 3", false, true, false);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(status, 3);
  EXPECT_EQ(NexCtl::Util::NexCtl_Exec("/bin/sh /sbin/services.sh stop", false, true, false), 0);
  EXPECT_FALSE(Platform::FindService(
                   *std::make_unique<Platform::HostState>(Platform::Current().Load()), "mgmtd")
                   ->running);
}

TEST(PlatformFacadeTest, SystemHardwareAndProductRecords) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  NexCtl::System::SystemInfoImpl system;
  auto version = system.GetSystemVersion();
  EXPECT_EQ(
      version.product + " " + version.version + " " + version.kernelVersion + " " + version.build,
      "Tarvik 8.0.2 8.0.2 22380479");
  EXPECT_EQ(system.GetKeyboardLayout(), "US Default");
  system.SetKeyboardLayout("German");
  EXPECT_EQ(system.GetKeyboardLayout(), "German");
  EXPECT_THROW(system.SetKeyboardLayout("Klingon"), HostCtlException);
  EXPECT_TRUE(system.GetWelcomeMessage().empty());
  ASSERT_TRUE(system.GetFirewallRulesetById("sshServer"));
  EXPECT_FALSE(system.GetFirewallRulesetById("nope"));
  system.GetFirewallRulesetById("sshServer")->Enable();
  EXPECT_TRUE(system.GetFirewallRulesetById("sshServer")->IsEnabled());

  NexCtl::Util::SysinfoSystemVersion record;
  ASSERT_EQ(NexCtl::Util::SysinfoUtil::SysinfoGet(record), 0);
  EXPECT_STREQ(record.productVersion, "8.0.2");
  EXPECT_STREQ(record.buildNumber, "22380479");

  EXPECT_EQ(NexCtl::Hardware::CpuInfoImpl().GetNumCpuPackages(), 2u);
  NexCtl::Hardware::MemoryInfoImpl memory;
  EXPECT_EQ(memory.GetTotalPages() * memory.GetPageSize(), 34275852288ull);
  auto host = HostCtl::HostFactory::GetHost();
  auto hardware = host->GetHardwareInfo();
  EXPECT_EQ(
      HostCtl::Misc::StrPrintf("%s (%d.%d) %s", hardware.bios.vendor.c_str(), hardware.bios.major,
                               hardware.bios.minor, hardware.bios.version.c_str()),
      "Kestrel Systems (2.19) 2.19.1");
  EXPECT_EQ(host->GetStorageInfo().adapters.at(0).name, "hba0");
  EXPECT_EQ(host->GetSystemInfo().adapters.at(0).version, "25.5.9.0001");
  EXPECT_TRUE(NexCtl::Resource::ResourceInfoImpl().HasRunningVirtualMachines());
  EXPECT_FALSE(NexCtl::Hardware::SmartCardInfoImpl().IsCardPresent());
}

TEST(PlatformFacadeTest, HostsFileRemovesOneNameAndKeepsTheRest) {
  SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  NexCtl::Network::HostsFile hosts;
  hosts.AddEntry("10.0.0.7", {"solo.example.test"});
  hosts.RemoveEntryByHostName("merel-demo.example.test");
  hosts.RemoveEntryByHostName("SOLO.example.test");
  EXPECT_EQ(root.File("/etc/hosts"),
            "127.0.0.1\tlocalhost.localdomain localhost\n::1\tlocalhost.localdomain localhost\n"
            "192.168.10.20\tmerel-demo\n");
}

TEST(PlatformFacadeTest, LockdownAndUserFallbackOfTheManagementTool) {
  SimRoot root("lockdown-possible");
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();
  auto run = [](const std::string& command) {
    int status = Platform::System(("/bin/rovi-cmd " + command + " >/dev/null 2>&1").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  };
  EXPECT_EQ(run("-U root rovisvc/auth/lockdown_mode_enter"), 0);
  EXPECT_TRUE(Platform::Current().Load().lockdown.enabled);
  EXPECT_EQ(run("-U mallory rovisvc/auth/lockdown_mode_exit"), 255);
  EXPECT_EQ(run("-U merel rovisvc/auth/lockdown_mode_exit"), 0);
  EXPECT_FALSE(Platform::Current().Load().lockdown.enabled);
  EXPECT_EQ(run("-U root hostsvc/start_ssh"), 0);
  EXPECT_EQ(Platform::System("/bin/sh /etc/init.d/SSH status >/dev/null"), 0);
  EXPECT_EQ(run("-U root no/such/command"), 1);
}

}  // namespace
