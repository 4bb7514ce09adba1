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
#include "NexCtl/NexNic.h"
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

// What the dialog says about a refused value of the field: the field that
// gets the focus, the title, and the request after the reason.
struct Refusal {
  int focus;
  const char* title;
  const char* request;
};

const Refusal& RefusalOf(Field field) {
  static const Refusal kRefusals[] = {
      {3, "Invalid IP address", "Please reenter a valid IPv4 address (x.x.x.x)."},
      {5, "Invalid gateway address", "Please reenter a valid gateway address (x.x.x.x)."},
      {2, "Invalid DNS server address", "Please reenter a valid DNS server address (IP or IPv6)."},
      {3, "Invalid DNS server address", "Please reenter a valid DNS server address (IP or IPv6)."},
      {4, "Invalid hostname", "Please reenter a valid hostname."},
      {0, "Invalid DNS suffix", "Please reenter the suffixes, separated by spaces or commas."},
      {4, "Invalid IP address", "Please reenter a valid IPv6 network address (x:x:x/x)."},
      {7, "Invalid gateway address", "Please reenter a valid IPv6 gateway address (x:x:x)."},
  };
  return kRefusals[static_cast<int>(field)];
}

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

const std::string kEmptyPart = "A name cannot have an empty part before, after or between dots.";
const std::string kHyphen = "A part of a name cannot begin or end with \"-\".";
const std::string kLongPart = "Each part of a name between dots can have at most 63 characters.";
const std::string kDigits = "The last part of a name cannot be all digits.";

// Each value with the reason the dialog gives for refusing it; an empty
// reason means the value is accepted. (A value of each dialog is typed at
// the real console by NetworkBadValueTest, which is not repeated here.)
TEST(NetworkValueRulesTest, EachDialogSaysWhyAValueMeansNothing) {
  const std::string label63(63, 'a');
  const std::string name253 = label63 + "." + label63 + "." + label63 + "." + std::string(61, 'b');
  using enum Field;
  const struct {
    Field field;
    std::string value, reason;
  } cases[] = {
      // IPv4 address on 10.0.0.0/24 (or the value's own /24).
      {kIpv4Address, "10.0.0.5", ""},
      {kIpv4Address, "0.0.0.0", "0.0.0.0 is not a host address."},
      {kIpv4Address, "255.255.255.255", "255.255.255.255 is the broadcast address."},
      {kIpv4Address, "224.0.0.1", "224.0.0.1 is a multicast address."},
      {kIpv4Address, "10.0.0.0", "10.0.0.0 is the network address of its subnet."},
      {kIpv4Address, "10.0.0.255", "10.0.0.255 is the broadcast address of its subnet."},
      // IPv4 gateway of 10.0.0.5/24.
      {kIpv4Gateway, "10.0.0.1", ""},
      {kIpv4Gateway, "192.168.9.1", ""},  // outside the subnet: allowed
      {kIpv4Gateway, "10.0.1.0", ""},     // another subnet's edge: its business
      {kIpv4Gateway, "0.0.0.0", "0.0.0.0 is not a host address."},
      {kIpv4Gateway, "10.0.0.5", "10.0.0.5 is this host's own address."},
      {kIpv4Gateway, "10.0.0.255", "10.0.0.255 is the broadcast address of its subnet."},
      {kIpv4Gateway, "127.0.0.1", "127.0.0.1 is a loopback address."},
      // DNS servers of either family.
      {kPrimaryDns, "10.0.0.53", ""},
      {kPrimaryDns, "127.0.0.1", ""},  // a resolver on the host itself
      {kAlternateDns, "fe80::1", ""},
      {kAlternateDns, "::", ":: is not a host address."},
      {kPrimaryDns, "255.255.255.255", "255.255.255.255 is the broadcast address."},
      {kPrimaryDns, "239.1.1.1", "239.1.1.1 is a multicast address."},
      {kAlternateDns, "ff02::1", "ff02::1 is a multicast address."},
      {kAlternateDns, "::ffff:224.0.0.1", "::ffff:224.0.0.1 does not lead to a name server."},
      // Host names.
      {kHostname, "", ""}, {kHostname, "host-01.lab.test", ""}, {kHostname, name253, ""},
      {kHostname, "a..b", kEmptyPart}, {kHostname, "host.", kEmptyPart},
      {kHostname, label63 + "a.test", kLongPart},
      {kHostname, "-host", kHyphen}, {kHostname, "host.lab-.test", kHyphen},
      {kHostname, name253 + "b", "A name can have at most 253 characters."},
      {kHostname, "0.0.0.0", kDigits},
      // Suffixes: every one is a name.
      {kSuffixes, "", ""},
      {kSuffixes, "a.test, b.test,,c.test", ""},
      {kSuffixes, "a.test a..b", "\"a..b\": " + kEmptyPart},
      {kSuffixes, "-a.test", "\"-a.test\": " + kHyphen},
      {kSuffixes, std::string(64, 'x') + ".test",
       "\"" + std::string(37, 'x') + "...\": " + kLongPart},
      {kSuffixes, "10.1.1.1", "\"10.1.1.1\": " + kDigits},
      // IPv6 addresses: global and unique-local unicast only.
      {kIpv6Address, "2001:db8::5/64", ""},
      {kIpv6Address, "fd00:1::5/64", ""},
      {kIpv6Address, "::1/128", "::1 is the loopback address."},
      {kIpv6Address, "::/64", ":: is not a host address."},
      {kIpv6Address, "::ffff:10.0.0.1/96", "::ffff:10.0.0.1 is an IPv4-mapped address."},
      {kIpv6Address, "fec0::1/64", "fec0::1 is not a global or unique-local unicast address."},
      // IPv6 gateways: link-local or global.
      {kIpv6Gateway, "fe80::1%nex0", ""},
      {kIpv6Gateway, "2001:db8::1", ""},
      {kIpv6Gateway, "::1", "::1 is the loopback address."},
      {kIpv6Gateway, "ff02::2", "ff02::2 is a multicast address."},
      {kIpv6Gateway, "::ffff:10.0.0.1", "::ffff:10.0.0.1 is an IPv4-mapped address."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value.substr(0, 80));
    const std::optional<FieldError> error = CheckField(c.field, c.value);
    if (c.reason.empty()) {
      EXPECT_FALSE(error.has_value()) << error->Title() << ": " << error->Text();
      continue;
    }
    ASSERT_TRUE(error.has_value());
    const Refusal& refusal = RefusalOf(c.field);
    EXPECT_EQ(error->field, refusal.focus);
    EXPECT_EQ(error->Title(), refusal.title);
    EXPECT_EQ(error->Text(), c.reason + " " + refusal.request);
  }
}

// A caller that bypasses the dialogs cannot store such values either: each
// setter (one value each; the rules are the table's above) throws and the
// host keeps what it had.
TEST(NetworkValueRulesTest, HostSettersRefuseTheSameValues) {
  SimHostTest::SimRoot root;  // the demo host: static 192.168.10.20/24, IPv6 on
  namespace Net = NexCtl::Network;
  const char kStack[] = "defaultNetStack";
  // Changes the management interface's live configuration and stores it.
  auto withInterface = [](std::function<void(IpConfig&)> change) {
    return [=] {
      Net::NetworkInfoImpl network;
      network.UpdateManagementInterface();
      auto nic = network.GetManagementInterface();
      IpConfig settings, live;
      nic->GetIpConfigs(settings, live);
      change(live);
      nic->SetIpConfig(live);
    };
  };
  const struct {
    const char* name;
    std::function<void()> call;
  } cases[] = {
      {"loopback address", withInterface([](IpConfig& c) {
         c.SetIpv4Address(Ipv4Address("127.0.0.1"));
         c.SetIpv4Netmask(Ipv4Address("255.0.0.0"));
       })},
      {"IPv6 multicast",
       withInterface([](IpConfig& c) { c.AddIpv6Network(Ipv6Network("ff02::1/64")); })},
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
