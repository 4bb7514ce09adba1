// The network value types the dialogs validate input with. Cases are data:
// each row is a text and what the host's own parser says about it.
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

struct TextCase {
  const char* text;
  bool valid;
};

TEST(HostCtlIpv4AddressTest, ValidatesDottedQuads) {
  const TextCase cases[] = {
      {"192.168.1.1", true}, {"0.0.0.0", true},   {"255.255.255.255", true}, {"10.0.0.300", false},
      {"256.1.1.1", false},  {"1.2.3", false},    {"1.2.3.4.5", false},      {"", false},
      {" 1.2.3.4", false},   {"1.2.3.4 ", false}, {"a.b.c.d", false},        {"1..2.3", false},
      {"::1", false},        {"1.2.3.-4", false}, {"0x1.2.3.4", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Ipv4Address::IsValidAddress(c.text), c.valid) << '"' << c.text << '"';
    if (!c.valid) {
      EXPECT_THROW(Ipv4Address{std::string(c.text)}, HostCtlException) << c.text;
    }
  }
}

TEST(HostCtlIpv4AddressTest, NetmaskMustBeContiguousOnesAndNotEmpty) {
  const TextCase cases[] = {
      {"255.255.255.0", true},    {"255.255.255.255", true}, {"128.0.0.0", true},
      {"255.255.252.0", true},    {"0.0.0.0", false},        {"255.0.255.0", false},
      {"255.255.255.1", false},   {"254.255.255.0", false},  {"0.255.255.255", false},
      {"255.255.255.256", false}, {"garbage", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Ipv4Address::IsValidNetmask(c.text), c.valid) << c.text;
  }
}

TEST(HostCtlIpv4AddressTest, PrefixLengthRoundTrips) {
  for (int length = 1; length <= 32; ++length) {
    Ipv4Address mask = Ipv4Address::FromPrefixLength(length);
    EXPECT_TRUE(mask.IsValidNetmask()) << length;
    EXPECT_EQ(mask.GetPrefixLength(), length);
  }
  EXPECT_EQ(Ipv4Address::FromPrefixLength(24).GetStringAddress(), "255.255.255.0");
}

TEST(HostCtlIpv4AddressTest, BinaryFormIsNetworkOrder) {
  Ipv4Address address("192.168.10.20");
  EXPECT_EQ(address.GetBinaryAddress(), (std::vector<uint8_t>{192, 168, 10, 20}));
  EXPECT_EQ(address.GetValue(), 0xC0A80A14u);
  EXPECT_EQ(Ipv4Address().GetStringAddress(), "0.0.0.0");
  EXPECT_TRUE(Ipv4Address().IsUnspecified());
}

TEST(HostCtlIpv6AddressTest, ValidatesWithOptionalZone) {
  const TextCase cases[] = {
      {"::", true},
      {"::1", true},
      {"fe80::1", true},
      {"fe80::1%vmk0", true},
      {"fe80::1%eth0.10", true},
      {"2001:db8::5", true},
      {"::ffff:192.0.2.1", true},
      {"2001:0db8:0000:0000:0000:0000:0000:0001", true},
      {"", false},
      {":", false},
      {"fe80::1%", false},
      {"fe80::1%a b", false},
      {"2001:db8::5::1", false},
      {"12345::", false},
      {"g::1", false},
      {"2001:db8::/64", false},
      {"1.2.3.4", false},
      {"1:2:3:4:5:6:7:8:9", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Ipv6Address::IsValidAddress(c.text), c.valid) << '"' << c.text << '"';
  }
  EXPECT_THROW(Ipv6Address{std::string("g::1")}, HostCtlException);
}

TEST(HostCtlIpv6AddressTest, LinkLocalIsFe80Slash10) {
  const TextCase cases[] = {
      {"fe80::1", true}, {"fe80::1%vmk0", true}, {"febf:ffff::1", true},
      {"fea0::", true},  {"fec0::1", false},     {"fe7f::1", false},
      {"::1", false},    {"2001:db8::1", false}, {"ff02::1", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Ipv6Address(std::string(c.text)).IsLinkLocal(), c.valid) << c.text;
  }
}

TEST(HostCtlIpv6AddressTest, StringAndScopedForms) {
  struct {
    const char* text;
    const char* plain;
    const char* scoped;
  } cases[] = {
      {"2001:0db8:0:0:0:0:0:1", "2001:db8::1", "2001:db8::1"},
      {"fe80::1%vmk0", "fe80::1", "fe80::1%vmk0"},
      {"FE80::A", "fe80::a", "fe80::a"},
      {"::", "::", ""},  // an empty gateway has an empty scoped form
  };
  for (const auto& c : cases) {
    Ipv6Address address{std::string(c.text)};
    EXPECT_EQ(address.GetStringAddress(), c.plain) << c.text;
    EXPECT_EQ(address.GetScopedStringAddress(), c.scoped) << c.text;
  }
  EXPECT_EQ(Ipv6Address().GetStringAddress(), "::");
  EXPECT_EQ(Ipv6Address().GetScopedStringAddress(), "");
}

TEST(HostCtlIpAddressTest, ComparesBinaryAddressesOfOneFamily) {
  EXPECT_EQ(Ipv6Address("2001:db8::1"), Ipv6Address("2001:0db8:0::0001"));
  EXPECT_NE(Ipv6Address("2001:db8::1"), Ipv6Address("2001:db8::2"));
  // The zone is not part of the address.
  const IpAddress& a = Ipv6Address("fe80::1%vmk0");
  const IpAddress& b = Ipv6Address("fe80::1%vmk1");
  EXPECT_TRUE(a == b);
  // Same bytes in another family are another address.
  const IpAddress& v4 = Ipv4Address("1.2.3.4");
  const IpAddress& mapped = Ipv6Address("::ffff:1.2.3.4");
  EXPECT_FALSE(v4 == mapped);
  const IpAddress& v4again = Ipv4Address("1.2.3.4");
  EXPECT_TRUE(v4 == v4again);
  EXPECT_EQ(Ipv4Address("10.0.0.1") < Ipv4Address("10.0.0.2"), true);
}

TEST(HostCtlIpAddressTest, ParseTriesIpv6First) {
  auto v6 = IpAddress::Parse("fe80::1");
  ASSERT_TRUE(v6);
  EXPECT_TRUE(v6->IsIpv6());
  auto v4 = IpAddress::Parse("10.0.0.1");
  ASSERT_TRUE(v4);
  EXPECT_TRUE(v4->IsIpv4());
  EXPECT_EQ(v4->Clone()->GetStringAddress(), "10.0.0.1");
  EXPECT_FALSE(IpAddress::Parse("10.0.0.300"));
  EXPECT_FALSE(IpAddress::Parse(""));
}

TEST(HostCtlIpv6NetworkTest, ValidatesAddressAndPrefix) {
  const TextCase cases[] = {
      {"2001:db8::5/64", true},
      {"::1/128", true},
      {"fe80::1/64", true},
      {"2001:db8::5/1", true},
      {"2001:db8::5", false},
      {"2001:db8::5/0", false},
      {"2001:db8::5/129", false},
      {"2001:db8::5/64a", false},
      {"fe80::1%vmk0/64", false},
      {"2001:db8::5/", false},
      {"x/64", false},
      {"/64", false},
      {"10.0.0.1/24", false},
      {"2001:db8::5/-1", false},
      {"2001:db8::5/0064", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Ipv6Network::IsValidAddressAndNetmask(c.text), c.valid) << c.text;
    if (!c.valid) {
      EXPECT_THROW(Ipv6Network{std::string(c.text)}, HostCtlException) << c.text;
    }
  }
}

TEST(HostCtlIpv6NetworkTest, KeepsPrefixTypeAndScope) {
  Ipv6Network global("2001:db8:0::5/64");
  EXPECT_EQ(global.GetStringAddress(), "2001:db8::5/64");
  EXPECT_EQ(global.GetPrefixLength(), 64);
  EXPECT_EQ(global.GetIpv6Scope(), HostCtl::Network::kIpv6ScopeGlobal);
  EXPECT_FALSE(global.IsLinkLocal());
  Ipv6Network local("fe80::1/64");
  EXPECT_TRUE(local.IsLinkLocal());
  EXPECT_EQ(local.GetIpv6Scope(), HostCtl::Network::kIpv6ScopeLinkLocal);
  // Equality is address and prefix; bookkeeping does not count.
  Ipv6Network other("2001:db8::5/64");
  other.SetIpv6AddressType(HostCtl::Network::kIpv6AddressDeprecated);
  EXPECT_EQ(global, other);
  EXPECT_NE(global, Ipv6Network("2001:db8::5/48"));
}

TEST(HostCtlIpConfigTest, Ipv4ModesAreExclusive) {
  HostCtl::Network::IpConfig config;
  config.SetUseDhcp(false, true);
  EXPECT_TRUE(config.GetIpv4UseNone());
  EXPECT_FALSE(config.GetUseDhcp());
  config.SetUseDhcp(true, true);  // DHCP wins over "none"
  EXPECT_TRUE(config.GetUseDhcp());
  EXPECT_FALSE(config.GetIpv4UseNone());
  config.SetIpv4UseNone();
  EXPECT_FALSE(config.GetUseDhcp());
  EXPECT_TRUE(config.GetIpv4UseNone());
  config.SetUseDhcp(false);
  EXPECT_FALSE(config.GetIpv4UseNone());
}

TEST(HostCtlIpConfigTest, Ipv6NetworksHaveNoDuplicatesAndCompareByValue) {
  HostCtl::Network::IpConfig a;
  a.AddIpv6Network(Ipv6Network("2001:db8::5/64"));
  a.AddIpv6Network(Ipv6Network("2001:db8:0::5/64"));
  a.AddIpv6Network(Ipv6Network("2001:db8::6/64"));
  EXPECT_EQ(a.GetIpv6Network().size(), 2u);
  HostCtl::Network::IpConfig b = a;
  EXPECT_EQ(a, b);
  b.SetIpv4Gateway(Ipv4Address("10.0.0.1"));
  EXPECT_NE(a, b);
  a.RemoveIpv6Network(Ipv6Network("2001:db8::5/64"));
  EXPECT_EQ(a.GetIpv6Network().size(), 1u);
}

TEST(HostCtlMacAddressTest, ParsesAndFormats) {
  const TextCase cases[] = {
      {"00:50:56:aa:bb:cc", true},  {"00-50-56-AA-BB-CC", true},  {"00:50:56:aa:bb", false},
      {"00:50:56:aa:bb:cg", false}, {"00:50-56:aa:bb:cc", false}, {"", false},
      {"0050.56aa.bbcc", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(MacAddress::IsValid(c.text), c.valid) << c.text;
  }
  EXPECT_EQ(MacAddress("00-50-56-AA-BB-CC").GetStringAddress(), "00:50:56:aa:bb:cc");
  EXPECT_TRUE(MacAddress().IsZero());
  EXPECT_THROW(MacAddress("nope"), HostCtlException);
}

TEST(HostCtlNicTeamingPolicyTest, NewUplinksGoStandbyOnceActiveIsFull) {
  HostCtl::Network::NicTeamingPolicy policy({"pnic0"}, {}, 1);
  policy.AddUplink("pnic1");
  policy.AddUplink("pnic1");
  EXPECT_EQ(policy.GetActiveUplinks(), std::vector<std::string>{"pnic0"});
  EXPECT_EQ(policy.GetUplinks(), (std::vector<std::string>{"pnic0", "pnic1"}));
  policy.RemoveUplink("pnic0");
  EXPECT_FALSE(policy.HasUplink("pnic0"));
  EXPECT_EQ(policy.GetUplinks(), std::vector<std::string>{"pnic1"});
}

TEST(HostCtlMiscTest, StrPrintfFormatsLongText) {
  EXPECT_EQ(HostCtl::Misc::StrPrintf("%s (%d.%d) %s", "Vendor", 2, 19, "2.19.1"),
            "Vendor (2.19) 2.19.1");
  std::string longText(5000, 'x');
  EXPECT_EQ(HostCtl::Misc::StrPrintf("<%s>", longText.c_str()).size(), 5002u);
}

}  // namespace
