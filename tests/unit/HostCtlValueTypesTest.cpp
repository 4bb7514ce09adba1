// The network value types the dialogs validate input with. Cases are data:
// each row is a text and whether the host's own parser takes it.
#include <gtest/gtest.h>

#include "HostCtl/HostCtlException.h"
#include "HostCtl/IpAddress.h"
#include "HostCtl/IpConfig.h"
#include "HostCtl/Ipv6Network.h"
#include "HostCtl/MacAddress.h"
#include "HostCtl/Misc.h"
#include "HostCtl/NicTeamingPolicy.h"

namespace {

using HostCtl::Lib::HostCtlException;
using HostCtl::Network::IpAddress;
using HostCtl::Network::Ipv4Address;
using HostCtl::Network::Ipv6Address;
using HostCtl::Network::Ipv6Network;
using HostCtl::Network::MacAddress;

// A text the validator refuses must not make a value either.
template <typename T>
void Make(const std::string& text) {
  T{text};
}

// Per kind of value: texts it must take, then texts it must refuse.
struct TextCases {
  bool (*accepts)(const std::string&);
  void (*make)(const std::string&);  // null: not a type of its own
  std::vector<std::string> valid;
  std::vector<std::string> invalid;
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
    {[](const std::string& t) { return Ipv6Address(t).IsLinkLocal(); }, nullptr,
     {"fe80::1", "fe80::1%nex0", "febf:ffff::1"}, {"fec0::1", "fe7f::1", "ff02::1", "::1"}},
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
    Ipv4Address mask = Ipv4Address::FromPrefixLength(length);
    EXPECT_TRUE(mask.IsValidNetmask()) << length;
    EXPECT_EQ(mask.GetPrefixLength(), length);
  }
  EXPECT_EQ(Ipv4Address::FromPrefixLength(24).GetStringAddress(), "255.255.255.0");
}

TEST(HostCtlValueTypesTest, CanonicalAndScopedForms) {
  const char* cases[][3] = {
      // text, plain and scoped forms
      {"2001:0db8:0:0:0:0:0:1", "2001:db8::1", "2001:db8::1"},
      {"fe80::1%nex0", "fe80::1", "fe80::1%nex0"},
      {"FE80::A", "fe80::a", "fe80::a"},
      {"::", "::", ""},  // an empty gateway has an empty scoped form
  };
  for (const auto& [text, plain, scoped] : cases) {
    EXPECT_EQ(Ipv6Address(text).GetStringAddress(), plain) << text;
    EXPECT_EQ(Ipv6Address(text).GetScopedStringAddress(), scoped) << text;
  }
  EXPECT_EQ(Ipv6Network("2001:db8:0::5/64").GetStringAddress(), "2001:db8::5/64");
  EXPECT_EQ(MacAddress("00-50-56-AA-BB-CC").GetStringAddress(), "00:50:56:aa:bb:cc");
}

TEST(HostCtlValueTypesTest, EqualityIgnoresZoneAndBookkeepingButNotFamily) {
  const IpAddress& a = Ipv6Address("fe80::1%nex0");
  const IpAddress& b = Ipv6Address("fe80::1%nex1");
  EXPECT_TRUE(a == b);
  const IpAddress& v4 = Ipv4Address("1.2.3.4");
  const IpAddress& mapped = Ipv6Address("::ffff:1.2.3.4");
  EXPECT_FALSE(v4 == mapped);
  Ipv6Network deprecated("2001:db8::5/64");
  deprecated.SetIpv6AddressType(HostCtl::Network::kIpv6AddressDeprecated);
  EXPECT_EQ(Ipv6Network("2001:db8::5/64"), deprecated);
  EXPECT_NE(Ipv6Network("2001:db8::5/64"), Ipv6Network("2001:db8::5/48"));
}

TEST(HostCtlValueTypesTest, IpConfigModesAreExclusiveAndNetworksUnique) {
  HostCtl::Network::IpConfig config;
  config.SetUseDhcp(false, true);
  EXPECT_TRUE(config.GetIpv4UseNone());
  config.SetUseDhcp(true, true);  // DHCP wins over "none"
  EXPECT_TRUE(config.GetUseDhcp() && !config.GetIpv4UseNone());
  config.SetIpv4UseNone();
  EXPECT_FALSE(config.GetUseDhcp());
  config.AddIpv6Network(Ipv6Network("2001:db8::5/64"));
  config.AddIpv6Network(Ipv6Network("2001:db8:0::5/64"));
  EXPECT_EQ(config.GetIpv6Network().size(), 1u);
}

TEST(HostCtlValueTypesTest, NewUplinksGoStandbyOnceActiveIsFull) {
  HostCtl::Network::NicTeamingPolicy policy({"pnic0"}, {}, 1);
  policy.AddUplink("pnic1");
  policy.AddUplink("pnic1");
  EXPECT_EQ(policy.GetActiveUplinks(), std::vector<std::string>{"pnic0"});
  EXPECT_EQ(policy.GetUplinks(), (std::vector<std::string>{"pnic0", "pnic1"}));
}

TEST(HostCtlValueTypesTest, StrPrintfIsNotLimitedToAFixedBuffer) {
  std::string longText(5000, 'x');
  EXPECT_EQ(HostCtl::Misc::StrPrintf("<%s>", longText.c_str()).size(), 5002u);
}

}  // namespace
