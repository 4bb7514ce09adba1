// The welcome screen's own formats: the rounded memory form of the upper
// half and the address text of the lower half.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "StringFactory.h"
#include "TextArea.h"
#include "WelcomeWindow.h"

namespace {

using Merel::WelcomeWindow;
using Access = WelcomeWindow::ManagementAccess;

constexpr uint64_t kMiB = uint64_t{1} << 20;
constexpr uint64_t kGiB = uint64_t{1} << 30;

const char kHeading[] = "To manage this host go to:";

std::string Compose(const Access& access, int width = 48, int height = 6) {
  return WelcomeWindow::ComposeAddressText(access, width, height, Merel::GetStringFactory("en_US"));
}

TEST(WelcomeMemory, RoundedToOneDecimalInTheStreamsDefaultForm) {
  const struct {
    uint64_t bytes;
    const char* text;
  } cases[] = {
      {8589934592ull, "8 GiB Memory"},
      {1073741823ull, "1024 MiB Memory"},  // just below 1 GiB: rounds up, unit stays
      {kGiB, "1 GiB Memory"},
      {1536 * kMiB, "1.5 GiB Memory"},
      {8368128ull * 4096, "31.9 GiB Memory"},
      {kGiB + 100 * kMiB, "1.1 GiB Memory"},  // 1.098 rounds up, unlike the getter
      {512 * kMiB, "512 MiB Memory"},
      {uint64_t{3} << 40, "3 TiB Memory"},
      {uint64_t{1} << 60, "1024 PiB Memory"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(WelcomeWindow::FormatMemory(c.bytes), c.text) << c.bytes;
  }
}

TEST(WelcomeAddressText, UrlsPerAddressFamily) {
  Access access;
  access.hasInterface = true;
  access.ipv4 = {"192.168.10.20"};
  EXPECT_EQ(Compose(access), std::string(kHeading) + "\nhttp://192.168.10.20/ ");

  access.ipv6 = {"2001:db8:10::20"};
  EXPECT_EQ(Compose(access),
            std::string(kHeading) + "\nhttp://192.168.10.20/ http://[2001:db8:10::20]/ ");

  // Without IPv4 the IPv6 list still starts on a line of its own.
  access.ipv4.clear();
  EXPECT_EQ(Compose(access), std::string(kHeading) + "\nhttp://[2001:db8:10::20]/ ");
}

TEST(WelcomeAddressText, HostNameComesFirstUnlessTheHostHasNone) {
  Access access;
  access.hasInterface = true;
  access.ipv4 = {"10.0.0.5"};
  access.hostname = "esx1.example.com";
  EXPECT_EQ(Compose(access),
            std::string(kHeading) + "\nhttp://esx1.example.com/ \nhttp://10.0.0.5/ ");
  access.hostname = "localhost";
  EXPECT_EQ(Compose(access), std::string(kHeading) + "\nhttp://10.0.0.5/ ");

  // A name too long for the area is cut with "..." instead of wrapping.
  access.hostname = std::string(60, 'h') + ".example.com";
  const std::string text = Compose(access, 30);
  EXPECT_NE(text.find("\nhttp://" + std::string(20, 'h') + "... "), std::string::npos) << text;
}

TEST(WelcomeAddressText, DhcpWarningOnlyWhenDhcpGaveNothing) {
  Access access;
  access.hasInterface = true;
  access.dhcpLookupFailed = true;
  EXPECT_EQ(Compose(access),
            std::string(kHeading) +
                "\n\nWarning: DHCP lookup failed. You may be unable to access this "
                "system until you customize its network configuration.");
}

TEST(WelcomeAddressText, NoAdapterUsesTheShortFormOnlyWhenTight) {
  Access access;  // no management interface
  const std::string full =
      "No compatible network adapter found. Please consult the product's Hardware "
      "Compatibility Guide (HCG) for a list of supported adapters.";
  EXPECT_EQ(Compose(access, 48, 6), full);
  EXPECT_EQ(Compose(access, 48, 2), "No compatible network adapter found.");
  // Addresses are never shown without an interface to carry them.
  access.ipv4 = {"10.0.0.5"};
  EXPECT_EQ(Compose(access, 48, 6), full);
}

}  // namespace
