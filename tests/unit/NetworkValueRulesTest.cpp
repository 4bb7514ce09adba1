// Values that are well formed but mean nothing on a network: the message each
// network dialog shows about them, and the host library's setters refusing
// the same values when a caller passes them directly.
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>

#include "DNSConfigurationDialog.h"
#include "HostCtl/HostCtlException.h"
#include "HostCtl/IpConfig.h"
#include "HostCtl/NexNic.h"
#include "HostState.h"
#include "IPConfigurationDialog.h"
#include "IPv6ConfigurationDialog.h"
#include "NexCtl/DnsConfigImpl.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/RoutingInfoImpl.h"
#include "SimHostTestSupport.h"
#include "SuffixesDialog.h"

namespace Merel {
namespace {

using HostCtl::Network::IpConfig;
using HostCtl::Network::Ipv4Address;
using HostCtl::Network::Ipv6Address;
using HostCtl::Network::Ipv6Network;

enum class Field {
  kIpv4Address,  // with netmask 255.255.255.0 and gateway 192.0.2.1
  kIpv4Gateway,  // of 10.0.0.5/24
  kPrimaryDns,
  kAlternateDns,
  kHostname,
  kSuffixes,
  kIpv6Address,  // the first of the three
  kIpv6Gateway,
};

std::optional<FieldError> CheckField(Field field, const std::string& value) {
  switch (field) {
    case Field::kIpv4Address:
      return IPConfigurationDialog::Check(value, "255.255.255.0", "192.0.2.1");
    case Field::kIpv4Gateway:
      return IPConfigurationDialog::Check("10.0.0.5", "255.255.255.0", value);
    case Field::kPrimaryDns:
      return DNSConfigurationDialog::Check(value, "", "");
    case Field::kAlternateDns:
      return DNSConfigurationDialog::Check("", value, "");
    case Field::kHostname:
      return DNSConfigurationDialog::Check("", "", value);
    case Field::kSuffixes:
      return SuffixesDialog::Check(value);
    case Field::kIpv6Address: {
      const std::string addresses[3] = {value, "", ""};
      return IPv6ConfigurationDialog::Check(addresses, "");
    }
    case Field::kIpv6Gateway: {
      const std::string addresses[3] = {"", "", ""};
      return IPv6ConfigurationDialog::Check(addresses, value);
    }
  }
  return std::nullopt;
}

const std::string kIpv4Text = " Please reenter a valid IPv4 address (x.x.x.x).";
const std::string kGatewayText = " Please reenter a valid gateway address (x.x.x.x).";
const std::string kDnsText = " Please reenter a valid DNS server address (IP or IPv6).";
const std::string kNameText = " Please reenter a valid hostname.";
const std::string kSuffixText = " Please reenter the suffixes, separated by spaces or commas.";
const std::string kIpv6Text = " Please reenter a valid IPv6 network address (x:x:x/x).";
const std::string kIpv6GatewayText = " Please reenter a valid IPv6 gateway address (x:x:x).";

// Each value with the field (selection index) that gets the focus and the
// message shown; an empty title means the value is accepted.
TEST(NetworkValueRulesTest, EachDialogSaysWhyAValueMeansNothing) {
  const std::string label63(63, 'a');
  const std::string name253 = label63 + "." + label63 + "." + label63 + "." + std::string(61, 'b');
  const struct {
    Field field;
    std::string value;
    int focus;
    std::string title, text;
  } cases[] = {
      // IPv4 address on 10.0.0.0/24 (or the value's own /24).
      {Field::kIpv4Address, "10.0.0.5", -1, "", ""},
      {Field::kIpv4Address, "0.0.0.0", 3, "Invalid IP address",
       "0.0.0.0 is not a host address." + kIpv4Text},
      {Field::kIpv4Address, "255.255.255.255", 3, "Invalid IP address",
       "255.255.255.255 is the broadcast address." + kIpv4Text},
      {Field::kIpv4Address, "127.0.0.1", 3, "Invalid IP address",
       "127.0.0.1 is a loopback address." + kIpv4Text},
      {Field::kIpv4Address, "224.0.0.1", 3, "Invalid IP address",
       "224.0.0.1 is a multicast address." + kIpv4Text},
      {Field::kIpv4Address, "10.0.0.0", 3, "Invalid IP address",
       "10.0.0.0 is the network address of its subnet." + kIpv4Text},
      {Field::kIpv4Address, "10.0.0.255", 3, "Invalid IP address",
       "10.0.0.255 is the broadcast address of its subnet." + kIpv4Text},
      // IPv4 gateway of 10.0.0.5/24.
      {Field::kIpv4Gateway, "10.0.0.1", -1, "", ""},
      {Field::kIpv4Gateway, "192.168.9.1", -1, "", ""},  // outside the subnet: allowed
      {Field::kIpv4Gateway, "10.0.1.0", -1, "", ""},     // another subnet's edge: its business
      {Field::kIpv4Gateway, "0.0.0.0", 5, "Invalid gateway address",
       "0.0.0.0 is not a host address." + kGatewayText},
      {Field::kIpv4Gateway, "10.0.0.5", 5, "Invalid gateway address",
       "10.0.0.5 is this host's own address." + kGatewayText},
      {Field::kIpv4Gateway, "10.0.0.255", 5, "Invalid gateway address",
       "10.0.0.255 is the broadcast address of its subnet." + kGatewayText},
      {Field::kIpv4Gateway, "127.0.0.1", 5, "Invalid gateway address",
       "127.0.0.1 is a loopback address." + kGatewayText},
      // DNS servers of either family.
      {Field::kPrimaryDns, "10.0.0.53", -1, "", ""},
      {Field::kPrimaryDns, "127.0.0.1", -1, "", ""},  // a resolver on the host itself
      {Field::kAlternateDns, "fe80::1", -1, "", ""},
      {Field::kPrimaryDns, "0.0.0.0", 2, "Invalid DNS server address",
       "0.0.0.0 is not a host address." + kDnsText},
      {Field::kAlternateDns, "::", 3, "Invalid DNS server address",
       ":: is not a host address." + kDnsText},
      {Field::kPrimaryDns, "255.255.255.255", 2, "Invalid DNS server address",
       "255.255.255.255 is the broadcast address." + kDnsText},
      {Field::kPrimaryDns, "239.1.1.1", 2, "Invalid DNS server address",
       "239.1.1.1 is a multicast address." + kDnsText},
      {Field::kAlternateDns, "ff02::1", 3, "Invalid DNS server address",
       "ff02::1 is a multicast address." + kDnsText},
      {Field::kAlternateDns, "::ffff:224.0.0.1", 3, "Invalid DNS server address",
       "::ffff:224.0.0.1 does not lead to a name server." + kDnsText},
      // Host names.
      {Field::kHostname, "", -1, "", ""},
      {Field::kHostname, "esx-01.lab.test", -1, "", ""},
      {Field::kHostname, name253, -1, "", ""},
      {Field::kHostname, "a..b", 4, "Invalid hostname",
       "A name cannot have an empty part before, after or between dots." + kNameText},
      {Field::kHostname, "host.", 4, "Invalid hostname",
       "A name cannot have an empty part before, after or between dots." + kNameText},
      {Field::kHostname, label63 + "a.test", 4, "Invalid hostname",
       "Each part of a name between dots can have at most 63 characters." + kNameText},
      {Field::kHostname, "-host", 4, "Invalid hostname",
       "A part of a name cannot begin or end with \"-\"." + kNameText},
      {Field::kHostname, "host.lab-.test", 4, "Invalid hostname",
       "A part of a name cannot begin or end with \"-\"." + kNameText},
      {Field::kHostname, name253 + "b", 4, "Invalid hostname",
       "A name can have at most 253 characters." + kNameText},
      {Field::kHostname, "0.0.0.0", 4, "Invalid hostname",
       "The last part of a name cannot be all digits." + kNameText},
      // Suffixes: every one is a name; a paste too long for the field is
      // refused whole.
      {Field::kSuffixes, "", -1, "", ""},
      {Field::kSuffixes, "a.test, b.test,,c.test", -1, "", ""},
      {Field::kSuffixes, "a.test a..b", 0, "Invalid DNS suffix",
       "\"a..b\": A name cannot have an empty part before, after or between dots." + kSuffixText},
      {Field::kSuffixes, "-a.test", 0, "Invalid DNS suffix",
       "\"-a.test\": A part of a name cannot begin or end with \"-\"." + kSuffixText},
      {Field::kSuffixes, std::string(64, 'x') + ".test", 0, "Invalid DNS suffix",
       "\"" + std::string(37, 'x') +
           "...\": Each part of a name between dots can have at most 63 characters." +
           kSuffixText},
      {Field::kSuffixes, "10.1.1.1", 0, "Invalid DNS suffix",
       "\"10.1.1.1\": The last part of a name cannot be all digits." + kSuffixText},
      {Field::kSuffixes, std::string(1025, 'a'), 0, "Invalid DNS suffix",
       "The suffixes can have at most 1024 characters in all." + kSuffixText},
      // IPv6 addresses: global and unique-local unicast only.
      {Field::kIpv6Address, "2001:db8::5/64", -1, "", ""},
      {Field::kIpv6Address, "fd00:1::5/64", -1, "", ""},
      {Field::kIpv6Address, "::1/128", 4, "Invalid IP address",
       "::1 is the loopback address." + kIpv6Text},
      {Field::kIpv6Address, "::/64", 4, "Invalid IP address",
       ":: is not a host address." + kIpv6Text},
      {Field::kIpv6Address, "ff02::1/64", 4, "Invalid IP address",
       "ff02::1 is a multicast address." + kIpv6Text},
      {Field::kIpv6Address, "::ffff:10.0.0.1/96", 4, "Invalid IP address",
       "::ffff:10.0.0.1 is an IPv4-mapped address." + kIpv6Text},
      {Field::kIpv6Address, "fec0::1/64", 4, "Invalid IP address",
       "fec0::1 is not a global or unique-local unicast address." + kIpv6Text},
      // IPv6 gateways: link-local or global.
      {Field::kIpv6Gateway, "fe80::1%nex0", -1, "", ""},
      {Field::kIpv6Gateway, "2001:db8::1", -1, "", ""},
      {Field::kIpv6Gateway, "::", 7, "Invalid gateway address",
       ":: is not a host address." + kIpv6GatewayText},
      {Field::kIpv6Gateway, "::1", 7, "Invalid gateway address",
       "::1 is the loopback address." + kIpv6GatewayText},
      {Field::kIpv6Gateway, "ff02::2", 7, "Invalid gateway address",
       "ff02::2 is a multicast address." + kIpv6GatewayText},
      {Field::kIpv6Gateway, "::ffff:10.0.0.1", 7, "Invalid gateway address",
       "::ffff:10.0.0.1 is an IPv4-mapped address." + kIpv6GatewayText},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value.substr(0, 80));
    const std::optional<FieldError> error = CheckField(c.field, c.value);
    if (c.title.empty()) {
      EXPECT_FALSE(error.has_value()) << error->Title() << ": " << error->Text();
      continue;
    }
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->field, c.focus);
    EXPECT_EQ(error->Title(), c.title);
    EXPECT_EQ(error->Text(), c.text);
  }
}

// A caller that bypasses the dialogs cannot store such values either: each
// setter (one value each; the rules are the table's above) throws and the
// host keeps what it had.
TEST(NetworkValueRulesTest, HostSettersRefuseTheSameValues) {
  SimHostTest::SimRoot root;  // the demo host: static 192.168.10.20/24, IPv6 on
  namespace Net = NexCtl::Network;
  const char kStack[] = "defaultNetStack";
  auto withAddress = [](const char* address, const char* netmask) {
    return [=] {
      Net::NetworkInfoImpl network;
      network.UpdateManagementInterface();
      auto nic = network.GetManagementInterface();
      IpConfig settings, live;
      nic->GetIpConfigs(settings, live);
      live.SetIpv4Address(Ipv4Address(address));
      live.SetIpv4Netmask(Ipv4Address(netmask));
      nic->SetIpConfig(live);
    };
  };
  auto withIpv6 = [](const char* network) {
    return [=] {
      Net::NetworkInfoImpl info;
      info.UpdateManagementInterface();
      auto nic = info.GetManagementInterface();
      IpConfig settings, live;
      nic->GetIpConfigs(settings, live);
      live.AddIpv6Network(Ipv6Network(network));
      nic->SetIpConfig(live);
    };
  };
  const struct {
    const char* name;
    std::function<void()> call;
  } cases[] = {
      {"loopback address", withAddress("127.0.0.1", "255.0.0.0")},
      {"IPv6 multicast", withIpv6("ff02::1/64")},
      {"own address as gateway",
       [&] { Net::RoutingInfoImpl(kStack).SetNexelDefaultGateway(Ipv4Address("192.168.10.20")); }},
      {"loopback IPv6 gateway",
       [&] { Net::RoutingInfoImpl(kStack).SetIpv6NexelDefaultGateway(Ipv6Address("::1")); }},
      {"multicast name server",
       [&] { Net::DnsConfigImpl(kStack).AddNameServer(Ipv4Address("224.0.0.251")); }},
      {"numeric host name", [&] { Net::DnsConfigImpl(kStack).SetHostname("1234"); }},
      {"empty label", [&] { Net::DnsConfigImpl(kStack).SetFqdn("a..b"); }},
      {"long label",
       [&] { Net::DnsConfigImpl(kStack).AddSearchDomain(std::string(64, 'a') + ".test"); }},
      {"pasted suffixes",
       [&] { Net::DnsConfigImpl(kStack).SetSearchDomainsString(std::string(10240, 'a')); }},
  };
  const std::string before = Platform::ToJson(Platform::Current().Load());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_THROW(c.call(), HostCtl::Lib::HostCtlException);
    EXPECT_EQ(Platform::ToJson(Platform::Current().Load()), before);
  }
  // The ways to take a value away stay open.
  Net::RoutingInfoImpl(kStack).SetNexelDefaultGateway(Ipv4Address("0.0.0.0"));
  Net::RoutingInfoImpl(kStack).SetIpv6NexelDefaultGateway(Ipv6Address("::"));
  EXPECT_EQ(Platform::Current().Load().network.routing.ipv4Gateway, "0.0.0.0");
}

}  // namespace
}  // namespace Merel
