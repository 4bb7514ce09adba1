// The welcome screen as a user meets it: what the two halves say for hosts
// of different kinds, its colours and footer, the black-and-white toggle, and
// how sessions started from it end (logs, audit, pending restart).
#include <signal.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace {

using namespace MerelTest;
using MerelMenuTest::FastClock;
using MerelMenuTest::ModifyHost;
using MerelMenuTest::SetIdleTimeout;
using MerelMenuTest::WaitForMenu;

constexpr int kCols = 80;
constexpr int kRows = 25;

const char kHeading[] = "To manage this host go to:";
const char kDemoProduct[] = "Tarvik 8.0.2 (Nexel 8.0.2 Build 22380479)";
const char kDemoCpu[] = "2 x Intel(R) Xeon(R) Gold 6230 CPU @ 2.10GHz";
const char kDemoMemory[] = "31.9 GiB Memory";

// The row holding `text`, or -1.
int RowOf(const Terminal& console, const std::string& text) {
  for (int y = 0; y < console.Options().rows; ++y) {
    if (console.Find(y, text) >= 0) {
      return y;
    }
  }
  return -1;
}

// The column at which `text` is centred on a line of the full width (the
// upper text sits 2 columns in and is COLS - 4 wide).
int CentredColumn(const std::string& text) {
  return 2 + (kCols - 4 - static_cast<int>(text.size())) / 2;
}

// The welcome screen is in front and settled.
bool WaitForWelcome(Terminal& console) {
  return console.WaitFor([&] {
    return console.Text().find("<F2> Customize System/View Logs") != std::string::npos &&
           console.Text().find("Authentication Required") == std::string::npos;
  }) && console.WaitUntilQuiet();
}

std::unique_ptr<Terminal> StartOn(SimHost& host,
                                  const std::string& term = "xterm",
                                  int rows = kRows,
                                  TerminalOptions options = {}) {
  options.term = term;
  options.cols = kCols;
  options.rows = rows;
  auto console = host.StartConsole(options);
  EXPECT_TRUE(WaitForWelcome(*console)) << console->Text();
  return console;
}

class WelcomeScreenTest : public ::testing::Test {
 protected:
  std::unique_ptr<Terminal> Start(const std::string& term = "xterm", TerminalOptions options = {}) {
    return StartOn(host, term, kRows, options);
  }

  // F2 or F12, the demo password, and (for F2) the menu.
  static bool LogIn(Terminal& console, Key key) {
    console.SendKey(key);
    if (!console.WaitForText("Authentication Required") || !console.WaitUntilQuiet()) {
      return false;
    }
    console.SendText("merel");
    console.SendKey(Key::kEnter);
    return key != Key::kF2 || WaitForMenu(console);
  }

  SimHost host;
};

TEST_F(WelcomeScreenTest, DemoHostGolden) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  ExpectGoldenScreen(*console, "welcome");
}

// One host description and what its welcome screen must say.
struct HostCase {
  const char* name = "";
  const char* fixture = "";                   // "": the demo host
  void (*change)(nlohmann::json&) = nullptr;  // applied to the fixture first
  // 24 or 25: with an odd count the lower half takes the extra line.
  int rows = kRows;
  // Consecutive rows ("" for any row), centred in the upper half and at
  // column 16 of the lower half.
  std::vector<std::string> upper = {};
  std::vector<std::string> lower = {};
  std::vector<std::string> absent = {};  // nowhere on the screen
};

void PrintTo(const HostCase& c, std::ostream* os) {
  *os << c.name;
}

class WelcomeHostTest : public ::testing::TestWithParam<HostCase> {
 protected:
  SimHost host{GetParam().fixture};
};

TEST_P(WelcomeHostTest, ShowsTheHost) {
  const HostCase& c = GetParam();
  ASSERT_TRUE(host.Ok());
  if (c.change != nullptr) {
    ModifyHost(host, c.change);
  }
  auto console = StartOn(host, "xterm-256color", c.rows);

  // The upper half is rows / 2 lines either way; the lower takes the rest.
  EXPECT_EQ(console->CellAt(0, c.rows / 2 - 1).bg.Console(), ConsoleColor::kDarkGrey);
  EXPECT_EQ(console->CellAt(0, c.rows / 2).bg.Console(), ConsoleColor::kYellow);
  EXPECT_EQ(console->CellAt(0, c.rows - 1).bg.Console(), ConsoleColor::kYellow);
  EXPECT_EQ(console->Find(c.rows - 2, "<F2>"), 2) << console->Text();

  auto expectRows = [&](const std::vector<std::string>& lines, bool upper) {
    if (lines.empty()) {
      return;
    }
    const int first = RowOf(*console, lines.front());
    ASSERT_TRUE(first >= 0 && (first < c.rows / 2) == upper) << lines.front() << "\n"
                                                             << console->Text();
    for (size_t i = 0; i < lines.size(); ++i) {
      if (!lines[i].empty()) {
        EXPECT_EQ(console->Find(first + static_cast<int>(i), lines[i]),
                  upper ? CentredColumn(lines[i]) : 16)
            << lines[i] << "\n"
            << console->Text();
      }
    }
  };
  expectRows(c.upper, true);
  expectRows(c.lower, false);
  for (const std::string& text : c.absent) {
    EXPECT_LT(RowOf(*console, text), 0) << text << "\n" << console->Text();
  }
}

INSTANTIATE_TEST_SUITE_P(
    Fixtures,
    WelcomeHostTest,
    ::testing::Values(
        HostCase{.name = "Demo",
                 .upper = {kDemoProduct, "", kDemoCpu, kDemoMemory},
                 .lower = {kHeading, "http://merel-demo.example.test/",
                           "http://192.168.10.20/ http://[2001:db8:10::20]/"}},
        HostCase{.name = "StaticIpv4",
                 .fixture = "static-ipv4",
                 .upper = {"Tarvik 8.0.1 (Nexel 8.0.1 Build 21495797)", "",
                           "1 x AMD EPYC 7313P 16-Core Processor", "8 GiB Memory"},
                 .lower = {kHeading, "http://static-host.lab.test/", "http://10.20.30.40/"},
                 .absent = {"http://[", "Warning: DHCP lookup failed."}},
        HostCase{.name = "DhcpLease",
                 .fixture = "dhcp",
                 .rows = 24,
                 .lower = {kHeading, "http://dhcp-host.dhcp.test/", "http://172.16.5.50/"},
                 .absent = {"Warning: DHCP lookup failed."}},
        // The lease the host got at set-up is lost and the server is gone.
        HostCase{
            .name = "DhcpFailed",
            .fixture = "dhcp",
            .change =
                [](nlohmann::json& state) {
                  state["network"]["dhcp"]["available"] = false;
                  state["network"]["nics"][0]["leaseAddress"] = "";
                },
            .lower = {kHeading, "http://dhcp-host.dhcp.test/", "", "Warning: DHCP lookup failed."},
            .absent = {"http://1", "http://["}},
        // Too long for one line, the IPv6 URLs wrap one a line; the first is
        // the address the router advertised (made from the MAC).
        HostCase{.name = "Ipv6",
                 .fixture = "ipv6",
                 .rows = 24,
                 .lower = {kHeading, "http://v6-host.v6.test/", "http://192.0.2.10/",
                           "http://[2001:db8:1:0:21b:21ff:feaa:0]/", "http://[2001:db8:1::10]/",
                           "http://[2001:db8:1::11]/"}},
        // Neither an IPv4 address nor a name: the IPv6 URLs alone, on their
        // own line below the heading.
        HostCase{.name = "Ipv6Only",
                 .fixture = "ipv6",
                 .change =
                     [](nlohmann::json& state) {
                       state["network"]["nics"][0]["ipv4Mode"] = "none";
                       state["network"]["dns"]["hostname"] = "localhost";
                       state["network"]["dns"]["domain"] = "";
                     },
                 .lower = {kHeading, "http://[2001:db8:1:0:21b:21ff:feaa:0]/",
                           "http://[2001:db8:1::10]/", "http://[2001:db8:1::11]/"},
                 .absent = {"localhost", "http://0.0.0.0/", "http://192.0.2.10/"}},
        HostCase{.name = "NoManagementInterface",
                 .fixture = "no-mgmt",
                 .rows = 24,
                 .lower = {"No compatible network adapter found. Please",
                           "consult the product's Hardware Compatibility",
                           "Guide (HCG) for a list of supported adapters."},
                 .absent = {kHeading, "http://"}}),
    [](const ::testing::TestParamInfo<HostCase>& info) { return std::string(info.param.name); });

TEST(WelcomeMessageTest, CustomMessageReplacesTheScreenAndFillsInVariables) {
  SimHost host("welcome-message");
  ASSERT_TRUE(host.Ok());
  TerminalOptions options;
  options.term = "xterm-256color";
  auto console = host.StartConsole(options);
  ASSERT_TRUE(console->WaitForText("Manage this host at https://10.1.1.10/")) << console->Text();
  ASSERT_TRUE(console->WaitUntilQuiet());
  const std::string welcome = "Welcome to greeter.example.test";
  EXPECT_EQ(console->Find(2, welcome), CentredColumn(welcome)) << console->Text();
  EXPECT_EQ(console->CellAt(CentredColumn(welcome), 2).fg.Console(), ConsoleColor::kYellow);
  EXPECT_EQ(console->Find(4, "Manage this host at https://10.1.1.10/"), 2);
  EXPECT_EQ(console->CellAt(2, 4).fg.Console(), ConsoleColor::kWhite);
  EXPECT_EQ(console->Find(6, "Tarvik 8.0.2"), 2);
  EXPECT_EQ(console->CellAt(2, 6).fg.Console(), ConsoleColor::kLightGrey);
  // Only the message: no halves, no footer, no product line.
  EXPECT_EQ(console->Text().find("<F2>"), std::string::npos);
  EXPECT_EQ(console->Text().find("(Nexel"), std::string::npos);
  EXPECT_NE(console->CellAt(40, 20).bg.Console(), ConsoleColor::kYellow);

  // The keys still work.
  console->SendKey(Key::kF2);
  EXPECT_TRUE(console->WaitForText("Authentication Required")) << console->Text();
}

TEST_F(WelcomeScreenTest, HalvesAreDarkGreyAndYellow) {
  ASSERT_TRUE(host.Ok());
  auto console = Start("xterm-256color");
  for (int y : {0, kRows / 2 - 1}) {
    EXPECT_EQ(console->CellAt(40, y).bg.Console(), ConsoleColor::kDarkGrey) << "row " << y;
  }
  for (int y : {kRows / 2, kRows - 1}) {
    EXPECT_EQ(console->CellAt(40, y).bg.Console(), ConsoleColor::kYellow) << "row " << y;
  }
  const int product = RowOf(*console, kDemoProduct);
  ASSERT_GE(product, 0);
  EXPECT_EQ(console->CellAt(CentredColumn(kDemoProduct), product).fg.Console(),
            ConsoleColor::kWhite);
  const int heading = RowOf(*console, kHeading);
  ASSERT_GE(heading, 0);
  EXPECT_EQ(console->CellAt(16, heading).fg.Console(), ConsoleColor::kDarkGrey);
}

TEST_F(WelcomeScreenTest, FooterKeysLeftAndRight) {
  ASSERT_TRUE(host.Ok());
  auto console = Start("xterm-256color");
  const int footer = kRows - 2;
  EXPECT_EQ(console->Find(footer, "<F2> Customize System/View Logs"), 2) << console->Text();
  const std::string right = "<F12> Shut Down/Restart";
  EXPECT_EQ(console->Find(footer, right), kCols - 2 - static_cast<int>(right.size()));
  // Keys in the footer's black, captions in dark grey.
  EXPECT_EQ(console->CellAt(2, footer).fg.Console(), ConsoleColor::kBlack);
  EXPECT_EQ(console->CellAt(7, footer).fg.Console(), ConsoleColor::kDarkGrey);
}

TEST_F(WelcomeScreenTest, F4TogglesBlackAndWhiteWhereColoursCanBeRedefined) {
  ASSERT_TRUE(host.Ok());
  auto console = Start("xterm-256color");
  const std::string text = console->Text();
  ASSERT_EQ(console->CellAt(40, 2).bg.Console(), ConsoleColor::kDarkGrey);

  console->SendKey(Key::kF4);
  ASSERT_TRUE(console->WaitFor([&] { return console->CellAt(40, 2).reverse; }))
      << "upper half not in standout";
  ASSERT_TRUE(console->WaitUntilQuiet());
  // Dark grey becomes standout, yellow becomes plain; the text stays.
  EXPECT_FALSE(console->CellAt(40, 20).reverse);
  EXPECT_NE(console->CellAt(40, 20).bg.Console(), ConsoleColor::kYellow);
  EXPECT_EQ(console->Text(), text);

  console->SendKey(Key::kF4);
  ASSERT_TRUE(console->WaitFor([&] { return !console->CellAt(40, 2).reverse; }));
  ASSERT_TRUE(console->WaitUntilQuiet());
  EXPECT_EQ(console->CellAt(40, 2).bg.Console(), ConsoleColor::kDarkGrey);
  EXPECT_EQ(console->CellAt(40, 20).bg.Console(), ConsoleColor::kYellow);
}

TEST_F(WelcomeScreenTest, F4WithoutColourRedefinitionOnlyRepaints) {
  ASSERT_TRUE(host.Ok());
  auto console = Start("xterm");
  const std::string text = console->Text();
  const bool upperReverse = console->CellAt(40, 2).reverse;
  const bool lowerReverse = console->CellAt(40, 20).reverse;
  const size_t before = console->Raw().size();

  console->SendKey(Key::kF4);
  // A repaint clears the terminal and draws everything again.
  ASSERT_TRUE(console->WaitFor([&] {
    return console->Raw().find("\x1b[2J", before) != std::string::npos;
  })) << "no repaint";
  ASSERT_TRUE(console->WaitUntilQuiet());
  EXPECT_EQ(console->Text(), text);
  EXPECT_EQ(console->CellAt(40, 2).reverse, upperReverse);
  EXPECT_EQ(console->CellAt(40, 20).reverse, lowerReverse);
}

TEST_F(WelcomeScreenTest, OtherKeysAndCardEventsShowTheHostAsItIsNow) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  auto setAddress = [&](const char* address) {
    ModifyHost(
        host, [&](nlohmann::json& state) { state["network"]["nics"][0]["ipv4Address"] = address; });
  };
  setAddress("192.168.10.21");
  console->SendKey(Key::kEnter);
  EXPECT_TRUE(console->WaitForText("http://192.168.10.21/")) << console->Text();
  ASSERT_TRUE(console->WaitUntilQuiet());

  setAddress("192.168.10.22");
  console->Signal(SIGUSR1);  // a smart-card event
  EXPECT_TRUE(console->WaitForText("http://192.168.10.22/")) << console->Text();
  EXPECT_TRUE(console->Running());
}

TEST_F(WelcomeScreenTest, RestartRequestWithNobodyLoggedInExits) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  console->Signal(SIGUSR2);
  std::optional<ExitStatus> status = console->WaitForExit();
  ASSERT_TRUE(status.has_value());
  EXPECT_TRUE(status->CleanExit()) << status->Describe();
}

TEST_F(WelcomeScreenTest, CancelledLoginLogsNoLogout) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  console->SendKey(Key::kF2);
  ASSERT_TRUE(console->WaitForText("Authentication Required"));
  ASSERT_TRUE(console->WaitUntilQuiet());
  console->SendKey(Key::kEscape);
  ASSERT_TRUE(WaitForWelcome(*console)) << console->Text();
  EXPECT_GE(RowOf(*console, kDemoProduct), 0);
  EXPECT_EQ(host.Syslog().find("logged out"), std::string::npos) << host.Syslog();
  EXPECT_EQ(host.AuditLog().find("login.disconnect"), std::string::npos);
}

TEST_F(WelcomeScreenTest, LeavingTheMenuEndsTheSession) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  ASSERT_TRUE(LogIn(*console, Key::kF2)) << console->Text();
  console->SendKey(Key::kEscape);
  ASSERT_TRUE(WaitForWelcome(*console)) << console->Text();
  EXPECT_TRUE(host.WaitForSyslog("user.info User root logged out")) << host.Syslog();
  EXPECT_TRUE(host.WaitForFileText("/var/log/audit.log",
                                   "login.disconnect user=root success=1 reason=Session closed"))
      << host.AuditLog();
  EXPECT_EQ(host.Syslog().find("due to time out"), std::string::npos);
  EXPECT_TRUE(console->Running());

  // Logged out for real: F2 asks for a password again.
  console->SendKey(Key::kF2);
  EXPECT_TRUE(console->WaitForText("Authentication Required"));
}

TEST_F(WelcomeScreenTest, F12LoginEndsItsSessionToo) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  ASSERT_TRUE(LogIn(*console, Key::kF12)) << console->Text();
  ASSERT_TRUE(host.WaitForSyslog("User root logged out")) << host.Syslog();
  ASSERT_TRUE(WaitForWelcome(*console)) << console->Text();
  EXPECT_TRUE(console->Running());
}

TEST_F(WelcomeScreenTest, RestartRequestedDuringASessionWaitsForItsEnd) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  ASSERT_TRUE(LogIn(*console, Key::kF2)) << console->Text();
  console->Signal(SIGUSR2);
  // The menu stays usable until the user leaves it.
  console->SendKey(Key::kDown);
  ASSERT_TRUE(console->WaitUntilQuiet());
  EXPECT_TRUE(console->Running());
  console->SendKey(Key::kEscape);
  std::optional<ExitStatus> status = console->WaitForExit();
  ASSERT_TRUE(status.has_value()) << console->Text();
  EXPECT_TRUE(status->CleanExit()) << status->Describe();
  EXPECT_NE(host.Syslog().find("User root logged out"), std::string::npos) << host.Syslog();
}

TEST_F(WelcomeScreenTest, IdleSessionTimesOutBackToTheWelcomeScreen) {
  ASSERT_TRUE(host.Ok());
  SetIdleTimeout(host, 60);
  TerminalOptions options = FastClock(host);
  auto console = Start("xterm", options);
  ASSERT_TRUE(LogIn(*console, Key::kF2)) << console->Text();
  ASSERT_TRUE(host.WaitForSyslog("user.info User root logged out due to time out"))
      << host.Syslog();
  EXPECT_TRUE(host.WaitForFileText("/var/log/audit.log",
                                   "login.disconnect user=root success=1 reason=Time out"))
      << host.AuditLog();
  ASSERT_TRUE(WaitForWelcome(*console)) << console->Text();
  EXPECT_GE(RowOf(*console, kDemoProduct), 0) << console->Text();
  EXPECT_EQ(host.Syslog().find("User root logged out\n"), std::string::npos);
}

}  // namespace
