// The welcome screen: what its halves say for hosts of different kinds, its
// colours, the black-and-white toggle, a custom message, a restart request.
#include <signal.h>

#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;

const char kHeading[] = "To manage this host go to:";

// Where `text` starts when centred in the upper half (2 columns in, 76 wide).
int CentredColumn(const std::string& text) {
  return 2 + (76 - static_cast<int>(text.size())) / 2;
}

// The welcome screen in colour, in front and settled.
std::unique_ptr<Terminal> Start(SimHost& host, int rows = 25) {
  auto console = host.StartConsole({.term = "xterm-256color", .rows = rows});
  Expect(*console, "<F2> Customize System/View Logs");
  return console;
}

// One host description and what its welcome screen must say.
struct HostCase {
  const char* name = "";
  const char* fixture = "";                                  // "": the demo host
  void (*change)(nlohmann::json&) = [](nlohmann::json&) {};  // applied to the fixture first
  int rows = 25;  // with an odd count the lower half takes the extra line
  // Consecutive rows ("" for any) at column 16 of the lower half. The upper
  // half is laid out alike for every host; the golden welcome screen keeps it.
  std::vector<std::string> lower = {};
  std::vector<std::string> absent = {};  // nowhere on the screen
};

class WelcomeHostTest : public testing::TestWithParam<HostCase> {};

TEST_P(WelcomeHostTest, ShowsTheHost) {
  const HostCase& c = GetParam();
  SimHost host(c.fixture);
  ModifyHost(host, c.change);
  auto console = Start(host, c.rows);
  // The upper half is dark grey, rows / 2 lines either way; the lower yellow.
  EXPECT_EQ(std::pair(console->CellAt(0, c.rows / 2 - 1).bg, console->CellAt(0, c.rows / 2).bg),
            std::pair(ConsoleColor::kDarkGrey, ConsoleColor::kYellow));
  const int first = RowOf(*console, c.lower.front());
  ASSERT_GE(first, c.rows / 2) << console->Text();
  for (size_t i = 0; i < c.lower.size(); ++i) {
    if (!c.lower[i].empty()) {
      EXPECT_EQ(console->Find(first + static_cast<int>(i), c.lower[i]), 16) << c.lower[i];
    }
  }
  for (const std::string& text : c.absent) {
    EXPECT_LT(RowOf(*console, text), 0) << text << "\n" << console->Text();
  }
}

const HostCase kHosts[] = {
    {.name = "StaticIpv4", .fixture = "static-ipv4",
     .lower = {kHeading, "http://static-host.lab.test/", "http://10.20.30.40/"},
     .absent = {"http://[", "Warning: DHCP lookup failed."}},
    {.name = "DhcpLease", .fixture = "dhcp", .rows = 24,
     .lower = {kHeading, "http://dhcp-host.dhcp.test/", "http://172.16.5.50/"},
     .absent = {"Warning: DHCP lookup failed."}},
    // The lease the host got at set-up is lost and the server is gone.
    {.name = "DhcpFailed", .fixture = "dhcp",
     .change = [](nlohmann::json& state) {
       state["network"]["dhcp"]["available"] = false;
       state["network"]["nics"][0]["leaseAddress"] = "";
     },
     .lower = {kHeading, "http://dhcp-host.dhcp.test/", "", "Warning: DHCP lookup failed."},
     .absent = {"http://1", "http://["}},
    // Too long for one line, the IPv6 URLs wrap one a line; the first is
    // the address the router advertised (made from the MAC).
    {.name = "Ipv6", .fixture = "ipv6", .rows = 24,
     .lower = {kHeading, "http://v6-host.v6.test/", "http://192.0.2.10/",
               "http://[2001:db8:1:0:21b:21ff:feaa:0]/", "http://[2001:db8:1::10]/",
               "http://[2001:db8:1::11]/"}},
    // Neither an IPv4 address nor a name: the IPv6 URLs alone.
    {.name = "Ipv6Only", .fixture = "ipv6",
     .change = [](nlohmann::json& state) {
       state["network"]["nics"][0]["ipv4Mode"] = "none";
       state["network"]["dns"]["hostname"] = "localhost";
       state["network"]["dns"]["domain"] = "";
     },
     .lower = {kHeading, "http://[2001:db8:1:0:21b:21ff:feaa:0]/",
               "http://[2001:db8:1::10]/", "http://[2001:db8:1::11]/"},
     .absent = {"localhost", "http://0.0.0.0/", "http://192.0.2.10/"}},
    {.name = "NoManagementInterface", .fixture = "no-mgmt", .rows = 24,
     .lower = {"No compatible network adapter found. Please",
               "consult the product's Hardware Compatibility",
               "Guide (HCG) for a list of supported adapters."},
     .absent = {kHeading, "http://"}},
};
INSTANTIATE_TEST_SUITE_P(Fixtures, WelcomeHostTest, testing::ValuesIn(kHosts), ByName);

TEST(WelcomeScreenTest, CustomMessageReplacesTheScreenAndFillsInVariables) {
  SimHost host("welcome-message");
  auto console = host.StartConsole({.term = "xterm-256color"});
  Expect(*console, "Manage this host at https://10.1.1.10/");
  const std::string welcome = "Welcome to greeter.example.test";
  EXPECT_EQ(console->Find(2, welcome), CentredColumn(welcome)) << console->Text();
  EXPECT_EQ(console->CellAt(CentredColumn(welcome), 2).fg, ConsoleColor::kYellow);
  EXPECT_EQ(console->Find(4, "Manage this host at https://10.1.1.10/"), 2);
  EXPECT_EQ(console->CellAt(2, 4).fg, ConsoleColor::kWhite);
  EXPECT_EQ(console->Find(6, "Tarvik 8.0.2"), 2);
  EXPECT_EQ(console->CellAt(2, 6).fg, ConsoleColor::kLightGrey);
  // Only the message: no halves, no footer, no product line.
  ExpectLacks(console->Text(), {"<F2>", "(Nexel"});
  EXPECT_NE(console->CellAt(40, 20).bg, ConsoleColor::kYellow);
  console->SendKey(Key::kF2);  // the keys still work
  EXPECT_TRUE(console->WaitForText("Authentication Required")) << console->Text();
}

// A custom message longer than the screen scrolls with the keys of the
// scrolling views (each key is checked step by step on the support
// information), and still leaves F2 to the login.
TEST(WelcomeScreenTest, LongCustomMessageScrolls) {
  SimHost host;
  std::string message;
  for (int i = 1; i <= 60; ++i) {
    message += "Notice " + std::to_string(i) + ".\n";
  }
  ModifyHost(host, [&](nlohmann::json& state) { state["welcomeMessage"] = message; });
  auto console = host.StartConsole();
  // 25 rows: the message area has 21, from row 2; End shows the last 21.
  Expect(*console, "Notice 21.");
  Press(*console, Key::kEnd, "Notice 60.");
  EXPECT_EQ(std::pair(RowOf(*console, "Notice 40."), RowOf(*console, "Notice 39.")),
            std::pair(2, -1))
      << console->Text();
  console->SendKey(Key::kF2);
  EXPECT_TRUE(console->WaitForText("Authentication Required")) << console->Text();
}

// Where colours can be redefined the console gets its greys and golden
// yellow that way (black is left as the terminal has it). The product line
// is white on dark grey, the heading dark grey on yellow; the footer's keys
// are black, their captions dark grey. F4 toggles black and white there:
// dark grey becomes standout, yellow plain, the text stays.
TEST(WelcomeScreenTest, ColoursAndF4TogglesBlackAndWhiteWhereColoursCanBeRedefined) {
  using enum ConsoleColor;
  SimHost host;
  auto console = Start(host);
  ExpectGoldenScreen(*console, "welcome");
  // The palette slots set (OSC 4): the red, the greys, the yellow and white.
  ExpectHas(console->Raw(), {"\x1b]4;1;", "\x1b]4;2;", "\x1b]4;3;", "\x1b]4;6;", "\x1b]4;7;"});
  ExpectLacks(console->Raw(), {"\x1b]4;0;"});
  EXPECT_EQ(std::tuple(console->CellAt(20, 4).fg, console->CellAt(16, 16).fg,
                       console->CellAt(2, 23).fg, console->CellAt(7, 23).fg,
                       console->CellAt(0, 24).bg),
            std::tuple(kWhite, kDarkGrey, kBlack, kDarkGrey, kYellow));
  const std::string text = console->Text();
  const bool lowerReverse = console->CellAt(40, 20).reverse;
  for (const bool bw : {true, false}) {
    console->SendKey(Key::kF4);
    ASSERT_TRUE(console->WaitFor([&] { return console->CellAt(40, 2).reverse == bw; })) << bw;
    ASSERT_TRUE(console->WaitUntilQuiet());
    EXPECT_EQ(console->Text(), text);
    const Cell upper = console->CellAt(40, 2), lower = console->CellAt(40, 20);
    EXPECT_EQ(std::tuple(lower.reverse, upper.bg == kDarkGrey, lower.bg == kYellow),
              std::tuple(lowerReverse, !bw, !bw));
  }
}

// A restart requested while somebody is logged in must not cut the session
// short: the console goes on, and exits when the session ends.
TEST(WelcomeScreenTest, RestartRequestDuringASessionWaitsForTheLogout) {
  SimHost host;
  auto console = LogIn(host);
  console->Signal(SIGUSR2);
  console->SendKey(Key::kDown);  // the menu still answers after the request
  ASSERT_TRUE(console->WaitUntilQuiet());
  EXPECT_TRUE(console->Running());
  console->SendKey(Key::kEscape);
  ExpectExit(*console);
  ExpectHas(host.Syslog(), {"User root logged out"});
}

}  // namespace
