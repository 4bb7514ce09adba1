// The management network record: which name servers are shown and the
// suffix text both ways (loading it from a host: the network screen tests).
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "NetworkSettings.h"

namespace {

using HostCtl::Network::Ipv4Address;
using HostCtl::Network::Ipv6Address;
using Merel::ChooseNameServers;

struct ServerCase {
  std::vector<const char*> ipv4;
  std::vector<const char*> ipv6;
  const char* primary;  // "" = none
  const char* alternate;
};

TEST(NetworkSettingsTest, NameServerChoice) {
  const ServerCase cases[] = {
      {{}, {}, "", ""},
      {{"10.0.0.1"}, {}, "10.0.0.1", ""},
      {{"10.0.0.1", "10.0.0.2"}, {}, "10.0.0.1", "10.0.0.2"},
      // One of each kind wins over a second IPv4 server.
      {{"10.0.0.1", "10.0.0.2"}, {"fe80::1"}, "10.0.0.1", "fe80::1"},
      {{"10.0.0.1"}, {"fe80::1", "fe80::2"}, "10.0.0.1", "fe80::1"},
      {{}, {"2001:db8::a", "2001:db8::b", "2001:db8::c"}, "2001:db8::a", "2001:db8::b"},
      {{}, {"2001:db8::a"}, "2001:db8::a", ""},
  };
  for (const ServerCase& c : cases) {
    std::vector<Ipv4Address> ipv4;
    std::vector<Ipv6Address> ipv6;
    for (const char* text : c.ipv4) {
      ipv4.emplace_back(text);
    }
    for (const char* text : c.ipv6) {
      ipv6.emplace_back(text);
    }
    const Merel::NameServerChoice choice = ChooseNameServers(ipv4, ipv6);
    const std::string label = std::string(c.primary) + " / " + c.alternate;
    EXPECT_EQ(choice.primary ? choice.primary->GetStringAddress() : "", c.primary) << label;
    EXPECT_EQ(choice.alternate ? choice.alternate->GetStringAddress() : "", c.alternate) << label;
  }
}

TEST(NetworkSettingsTest, SuffixText) {
  EXPECT_EQ(std::tuple(Merel::JoinSuffixes({}), Merel::JoinSuffixes({"a.com"}),
                       Merel::JoinSuffixes({"a.com", "b.com"})),
            std::tuple("", "a.com", "a.com, b.com"));

  const std::pair<const char*, std::vector<std::string>> splits[] = {
      {"", {}},
      {" ,, ", {}},
      {"a.com, b.com,,c.com", {"a.com", "b.com", "c.com"}},
      {"a.com\tb.com  c.com,", {"a.com", "b.com", "c.com"}},
  };
  for (const auto& [text, pieces] : splits) {
    EXPECT_EQ(Merel::SplitSuffixes(text), pieces) << '"' << text << '"';
  }
}

}  // namespace
