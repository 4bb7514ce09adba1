// The checks behind the network dialogs' messages: values that do not parse,
// values that are well formed but mean nothing on a network, and the host
// library's setters refusing the same values when a caller passes them
// directly; and the value types the checks are made with.
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>

#include "DNSConfigurationDialog.h"
#include "HostCtl/HostCtlException.h"
#include "HostCtl/IpAddress.h"
#include "HostCtl/IpConfig.h"
#include "HostCtl/Ipv6Network.h"
#include "HostCtl/MacAddress.h"
#include "NexCtl/NexNic.h"
#include "HostState.h"
#include "IPConfigurationDialog.h"
#include "IPv6ConfigurationDialog.h"
#include "NexCtl/DnsConfigImpl.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/PortGroupImpl.h"
#include "NexCtl/RoutingInfoImpl.h"
#include "SimHostTestSupport.h"
#include "SuffixesDialog.h"
#include "VlanDialog.h"

namespace Merel {
namespace {

using HostCtl::Lib::HostCtlException;
using HostCtl::Network::IpAddress;
using HostCtl::Network::IpConfig;
using HostCtl::Network::Ipv4Address;
using HostCtl::Network::Ipv6Address;
using HostCtl::Network::Ipv6Network;
using HostCtl::Network::MacAddress;

using V = const std::string&;

// A field of a network dialog, checked with the other fields valid, and what
// the dialog says when it refuses a value: the field that gets the focus,
// the title, and the request after the reason.
struct Field {
  std::optional<FieldError> (*check)(V value);
  int focus;
  const char *title, *request;
};

const Field kIpv4Address{
    [](V v) { return IPConfigurationDialog::Check(v, "255.255.255.0", "192.0.2.1"); }, 3,
    "Invalid IP address", "Please reenter a valid IPv4 address (x.x.x.x)."};
const Field kIpv4Netmask{
    [](V v) { return IPConfigurationDialog::Check("10.0.0.5", v, "10.0.0.1"); }, 4,
    "Invalid subnet", "Please reenter a valid subnet (x.x.x.x)."};
const Field kIpv4Gateway{
    [](V v) { return IPConfigurationDialog::Check("10.0.0.5", "255.255.255.0", v); }, 5,
    "Invalid gateway address", "Please reenter a valid gateway address (x.x.x.x)."};
const char kDnsRequest[] = "Please reenter a valid DNS server address (IP or IPv6).";
const Field kPrimaryDns{[](V v) { return DNSConfigurationDialog::Check(v, ""); }, 2,
                        "Invalid DNS server address", kDnsRequest};
const Field kAlternateDns{[](V v) { return DNSConfigurationDialog::Check("", v); }, 3,
                          "Invalid DNS server address", kDnsRequest};
const Field kHostname{[](V v) { return DNSConfigurationDialog::Check("", "", v); }, 4,
                      "Invalid hostname", "Please reenter a valid hostname."};
const Field kSuffixes{[](V v) { return SuffixesDialog::Check(v); }, 0, "Invalid DNS suffix",
                      "Please reenter the suffixes, separated by spaces or commas."};
std::optional<FieldError> FirstIpv6(V value) {
  const std::string addresses[3] = {value, "", ""};
  return IPv6ConfigurationDialog::Check(addresses, "");
}
const Field kIpv6Address{FirstIpv6, 4, "Invalid IP address",
                         "Please reenter a valid IPv6 network address (x:x:x/x)."};
// Link-local addresses have a message of their own.
const Field kIpv6Scope{FirstIpv6, 4, "Invalid scope",
                       "Cannot add a link-local address as static address."};
const std::string kNoAddresses[3] = {"", "", ""};
const Field kIpv6Gateway{[](V v) { return IPv6ConfigurationDialog::Check(kNoAddresses, v); }, 7,
                         "Invalid gateway address",
                         "Please reenter a valid IPv6 gateway address (x:x:x)."};
const Field kVlan{[](V v) { return VlanDialog::Check(v); }, 0, "Invalid VLAN ID",
                  "Please reenter a valid VLAN ID (1-4095)."};

const std::string kEmptyPart = "A name cannot have an empty part before, after or between dots.";
const std::string kHyphen = "A part of a name cannot begin or end with \"-\".";
const std::string kLongPart = "Each part of a name between dots can have at most 63 characters.";
const std::string kDigits = "The last part of a name cannot be all digits.";

// A value that does not parse: the message is the request alone.
const std::string kMalformed = "malformed";

// Each value with the reason the dialog gives for refusing it; an empty
// reason means the value is accepted. (Each dialog's refusal is typed at the
// real console by the network screen tests; so are zero, 4095, 4096 and the
// empty VLAN field. A kind of address one field refuses is not repeated for
// another field that uses the same rule, nor a value that does not parse
// where the next test has one.)
TEST(NetworkValueRulesTest, EachDialogSaysWhyAValueMeansNothing) {
  const std::string label63(63, 'a');
  const std::string name253 = label63 + "." + label63 + "." + label63 + "." + std::string(61, 'b');
  const struct {
    const Field& field;
    std::string value, reason;
  } cases[] = {
      // IPv4 address on 10.0.0.0/24 (or the value's own /24), and a mask.
      {kIpv4Address, "10.0.0.5", ""}, {kIpv4Netmask, "255.0.255.0", kMalformed},
      {kIpv4Address, "127.0.0.1", "127.0.0.1 is a loopback address."},
      {kIpv4Address, "255.255.255.255", "255.255.255.255 is the broadcast address."},
      {kIpv4Address, "224.0.0.1", "224.0.0.1 is a multicast address."},
      {kIpv4Address, "10.0.0.0", "10.0.0.0 is the network address of its subnet."},
      {kIpv4Address, "10.0.0.255", "10.0.0.255 is the broadcast address of its subnet."},
      // IPv4 gateway of 10.0.0.5/24.
      {kIpv4Gateway, "", kMalformed}, {kIpv4Gateway, "10.0.0.1", ""},
      {kIpv4Gateway, "10.0.1.0", ""},  // outside the subnet, even its edge: allowed
      {kIpv4Gateway, "0.0.0.0", "0.0.0.0 is not a host address."},
      {kIpv4Gateway, "10.0.0.5", "10.0.0.5 is this host's own address."},
      {kIpv4Gateway, "10.0.0.255", "10.0.0.255 is the broadcast address of its subnet."},
      // DNS servers of either family.
      {kPrimaryDns, "127.0.0.1", ""},  // a resolver on the host itself
      {kPrimaryDns, "::ffff:10.0.0.1", ""}, {kAlternateDns, "2001:db8::53", ""},
      {kAlternateDns, "fe80::1", ""}, {kAlternateDns, "1.2.3", kMalformed},
      // Would read as no server and drop the primary one.
      {kPrimaryDns, "0.0.0.0", "0.0.0.0 is not a host address."},
      {kAlternateDns, "::", ":: is not a host address."},
      {kPrimaryDns, "255.255.255.255", "255.255.255.255 is the broadcast address."},
      {kPrimaryDns, "239.1.1.1", "239.1.1.1 is a multicast address."},
      {kAlternateDns, "ff02::1", "ff02::1 is a multicast address."},
      {kAlternateDns, "::ffff:224.0.0.1", "::ffff:224.0.0.1 does not lead to a name server."},
      // Host names.
      {kHostname, "", ""}, {kHostname, "host-01.lab.test", ""}, {kHostname, name253, ""},
      {kHostname, "a..b", kEmptyPart}, {kHostname, "host.", kEmptyPart},
      {kHostname, label63 + "a.test", kLongPart}, {kHostname, "0.0.0.0", kDigits},
      {kHostname, "-host", kHyphen}, {kHostname, "host.lab-.test", kHyphen},
      {kHostname, name253 + "b", "A name can have at most 253 characters."},
      // Suffixes: every one is a name.
      {kSuffixes, "", ""}, {kSuffixes, "a.test, b.test,,c.test", ""},
      {kSuffixes, "a.test a..b", "\"a..b\": " + kEmptyPart},
      {kSuffixes, std::string(64, 'x') + ".test",
       "\"" + std::string(37, 'x') + "...\": " + kLongPart},
      // IPv6 addresses: global and unique-local unicast only.
      {kIpv6Address, "2001:db8::5/64", ""}, {kIpv6Scope, "febf::1/64", kMalformed},
      {kIpv6Address, "fd00:1::5/64", ""}, {kIpv6Address, "fd00::1/64", ""},
      {kIpv6Address, "::1/128", "::1 is the loopback address."},
      {kIpv6Address, "::/64", ":: is not a host address."},
      {kIpv6Address, "::ffff:10.0.0.1/96", "::ffff:10.0.0.1 is an IPv4-mapped address."},
      {kIpv6Address, "fec0::1/64", "fec0::1 is not a global or unique-local unicast address."},
      // IPv6 gateways: link-local or global; the kinds of address that are
      // none are the addresses' rule above.
      {kIpv6Gateway, "", ""}, {kIpv6Gateway, "fe80::1%nex0", ""},
      {kIpv6Gateway, "g::1", kMalformed}, {kIpv6Gateway, "2001:db8::1", ""},
      {kIpv6Gateway, "ff02::2", "ff02::2 is a multicast address."},
      {kIpv6Gateway, "fec0::1",
       "fec0::1 is not a link-local, global or unique-local unicast address."},
      {kVlan, "1", ""}, {kVlan, "4094", ""}, {kVlan, "007", ""},
      {kVlan, "00", kMalformed}, {kVlan, "99999", kMalformed},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value.substr(0, 80));
    const std::optional<FieldError> error = c.field.check(c.value);
    if (c.reason.empty()) {
      EXPECT_FALSE(error.has_value()) << error->Title() << ": " << error->Text();
      continue;
    }
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(std::tuple(error->field, error->Title(), error->Text()),
              std::tuple(c.field.focus, c.field.title,
                         c.reason == kMalformed ? c.field.request
                                                : c.reason + " " + c.field.request));
  }
}

// With several bad fields, the first in screen order gets the message.
TEST(NetworkValueRulesTest, SeveralBadFieldsNameTheFirstInScreenOrder) {
  const std::string v6[][3] = {{"", "g/64", ""},
                               {"2001:db8::5/64", "fe80::1/64", "zzz"},
                               {"", "", "2001:db8::5/129"},
                               {"zzz", "", ""},
                               {"2001:db8::5/64", "", "2001:db8::6/128"}};
  const struct {
    std::optional<FieldError> error;
    const Field* field;  // null: accepted
    int focus;
  } cases[] = {
      {IPConfigurationDialog::Check("10.0.0.300", "1.2.3", ""), &kIpv4Address, 3},
      {DNSConfigurationDialog::Check("10.0.0.300", "bad"), &kPrimaryDns, 2},
      {IPv6ConfigurationDialog::Check(v6[0], ""), &kIpv6Address, 5},
      {IPv6ConfigurationDialog::Check(v6[1], ""), &kIpv6Scope, 5},
      {IPv6ConfigurationDialog::Check(v6[2], ""), &kIpv6Address, 6},
      {IPv6ConfigurationDialog::Check(v6[3], "g::1"), &kIpv6Address, 4},
      {IPv6ConfigurationDialog::Check(v6[4], "2001:db8::1"), nullptr, 0},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    const auto& c = cases[i];
    ASSERT_EQ(c.error.has_value(), c.field != nullptr) << i;
    if (c.field != nullptr) {
      EXPECT_EQ(std::tuple(c.error->field, c.error->Title(), c.error->Text()),
                std::tuple(c.focus, c.field->title, c.field->request)) << i;
    }
  }
  EXPECT_EQ(DNSConfigurationDialog::ServerOf(""), nullptr);
  EXPECT_TRUE(DNSConfigurationDialog::ServerOf("fe80::1")->IsIpv6() &&
              DNSConfigurationDialog::ServerOf("10.0.0.1")->IsIpv4());
}

// A caller that bypasses the dialogs cannot store such values either: each
// setter (one value each; the rules are the table's above) throws and the
// host keeps what it had.
TEST(NetworkValueRulesTest, HostSettersRefuseTheSameValues) {
  SimHostTest::SimRoot root;  // the demo host: static 192.168.10.20/24, IPv6 on
  namespace Net = NexCtl::Network;
  const auto dns = [] { return Net::DnsConfigImpl("defaultNetStack"); };
  const auto routing = [] { return Net::RoutingInfoImpl("defaultNetStack"); };
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
      {"invalid netmask",
       withInterface([](IpConfig& c) { c.SetIpv4Netmask(Ipv4Address("255.0.255.0")); })},
      {"loopback address", withInterface([](IpConfig& c) {
         c.SetIpv4Address(Ipv4Address("127.0.0.1"));
         c.SetIpv4Netmask(Ipv4Address("255.0.0.0"));
       })},
      {"IPv6 multicast",
       withInterface([](IpConfig& c) { c.AddIpv6Network(Ipv6Network("ff02::1/64")); })},
      {"own address as gateway",
       [&] { routing().SetNexelDefaultGateway(Ipv4Address("192.168.10.20")); }},
      {"loopback IPv6 gateway", [&] { routing().SetIpv6NexelDefaultGateway(Ipv6Address("::1")); }},
      {"multicast name server", [&] { dns().AddNameServer(Ipv4Address("224.0.0.251")); }},
      {"VLAN beyond 4095", [] { Net::PortGroupImpl().SetVlanId("Management Network", 4096); }},
      {"numeric host name", [&] { dns().SetHostname("1234"); }},
      {"empty label", [&] { dns().SetFqdn("a..b"); }},
      {"long label", [&] { dns().AddSearchDomain(std::string(64, 'a') + ".test"); }},
      {"pasted suffixes", [&] { dns().SetSearchDomainsString(std::string(10240, 'a')); }},
  };
  const std::string before = Platform::ToJson(Platform::Current().Load());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_THROW(c.call(), HostCtlException);
    EXPECT_EQ(Platform::ToJson(Platform::Current().Load()), before);
  }
  // The ways to take a value away stay open.
  routing().SetNexelDefaultGateway(Ipv4Address("0.0.0.0"));
  routing().SetIpv6NexelDefaultGateway(Ipv6Address("::"));
  EXPECT_EQ(Platform::Current().Load().network.routing.ipv4Gateway, "0.0.0.0");
}

// A text the validator refuses must not make a value either.
template <typename T>
void Make(const std::string& text) {
  T{text};
}

// Per kind of value: texts it must take, then texts it must refuse.
struct TextCases {
  bool (*accepts)(const std::string&);
  void (*make)(const std::string&);  // null: not a type of its own
  std::vector<std::string> valid, invalid;
};

const TextCases kTexts[] = {
    {&Ipv4Address::IsValidAddress, Make<Ipv4Address>, {"192.168.1.1", "0.0.0.0", "255.255.255.255"},
     {"10.0.0.300", "1.2.3", "1.2.3.4.5", "", " 1.2.3.4", "1.2.3.4 ", "1..2.3", "::1", "1.2.3.-4",
      "0x1.2.3.4"}},
    {&Ipv4Address::IsValidNetmask, nullptr,
     {"255.255.255.0", "255.255.255.255", "128.0.0.0", "255.255.252.0"},
     {"0.0.0.0", "255.0.255.0", "255.255.255.1", "0.255.255.255", "garbage"}},
    {&Ipv6Address::IsValidAddress, Make<Ipv6Address>,
     {"::", "fe80::1%nex0", "fe80::1%eth0.10", "::ffff:192.0.2.1",
      "2001:0db8:0000:0000:0000:0000:0000:0001"},
     {"", ":", "fe80::1%", "fe80::1%a b", "2001:db8::5::1", "12345::", "2001:db8::/64", "1.2.3.4",
      "1:2:3:4:5:6:7:8:9"}},
    {&Ipv6Network::IsValidAddressAndNetmask, Make<Ipv6Network>,
     {"2001:db8::5/64", "::1/128", "2001:db8::5/1"},
     {"2001:db8::5", "2001:db8::5/0", "2001:db8::5/129", "2001:db8::5/64a", "fe80::1%nex0/64",
      "2001:db8::5/", "/64", "10.0.0.1/24", "2001:db8::5/-1", "2001:db8::5/0064"}},
    {&MacAddress::IsValid, Make<MacAddress>, {"00:50:56:aa:bb:cc", "00-50-56-AA-BB-CC"},
     {"00:50:56:aa:bb", "00:50:56:aa:bb:cg", "00:50-56:aa:bb:cc", "0050.56aa.bbcc"}},
};

TEST(HostCtlValueTypesTest, ValidatorsTakeExactlyTheValidTexts) {
  for (const auto& c : kTexts) {
    for (const auto& text : c.valid)
      EXPECT_TRUE(c.accepts(text)) << '"' << text << '"';
    for (const auto& text : c.invalid) {
      EXPECT_FALSE(c.accepts(text)) << '"' << text << '"';
      if (c.make) {
        EXPECT_THROW(c.make(text), HostCtlException) << '"' << text << '"';
      }
    }
  }
}

TEST(HostCtlValueTypesTest, PrefixLengthRoundTripsIncludingSlash32) {
  for (int length = 1; length <= 32; ++length) {
    const Ipv4Address mask = Ipv4Address::FromPrefixLength(length);
    EXPECT_EQ(std::pair(mask.IsValidNetmask(), mask.GetPrefixLength()), std::pair(true, length));
  }
  EXPECT_EQ(Ipv4Address::FromPrefixLength(24).GetStringAddress(), "255.255.255.0");
}

// A link-local gateway keeps its zone in the dialog's field. (The plain
// form is read off the network test's run, the empty gateway's empty field
// off the untouched IPv6 dialog, both at the real console.) Comparisons
// ignore the zone, the address's bookkeeping, but not its family.
TEST(HostCtlValueTypesTest, ZoneIsKeptButNotCompared) {
  EXPECT_EQ(Ipv6Address("fe80::1%nex0").GetScopedStringAddress(), "fe80::1%nex0");
  const auto same = [](const IpAddress& a, const IpAddress& b) { return a == b; };
  EXPECT_EQ(std::pair(same(Ipv6Address("fe80::1%nex0"), Ipv6Address("fe80::1%nex1")),
                      same(Ipv4Address("1.2.3.4"), Ipv6Address("::ffff:1.2.3.4"))),
            std::pair(true, false));
  Ipv6Network deprecated("2001:db8::5/64");
  deprecated.SetIpv6AddressType(HostCtl::Network::kIpv6AddressDeprecated);
  EXPECT_EQ(Ipv6Network("2001:db8::5/64"), deprecated);
  EXPECT_NE(Ipv6Network("2001:db8::5/64"), Ipv6Network("2001:db8::5/48"));
  // So the same network typed twice is one address.
  IpConfig config;
  config.AddIpv6Network(Ipv6Network("2001:db8::5/64"));
  config.AddIpv6Network(Ipv6Network("2001:db8:0::5/64"));
  EXPECT_EQ(config.GetIpv6Network().size(), 1u);
}

}  // namespace
}  // namespace Merel
