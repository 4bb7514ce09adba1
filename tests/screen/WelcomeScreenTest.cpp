// The welcome screen as a user meets it: what the two halves say for hosts
// of different kinds, its colours and footer, the black-and-white toggle, and
// how sessions started from it end (logs, audit, pending restart).
#include <signal.h>

#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace {

using namespace MerelTest;
using MerelMenuTest::CellText;
using MerelMenuTest::FastClock;
using MerelMenuTest::ModifyHost;
using MerelMenuTest::RemoveManagementInterface;
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
int CentredColumn(const std::string& text, int cols = kCols) {
  const int width = cols - 4;
  return 2 + (width - static_cast<int>(text.size())) / 2;
}

class WelcomeScreenTest : public ::testing::Test {
 protected:
  std::unique_ptr<Terminal> Start(const std::string& term = "xterm",
                                  int cols = kCols,
                                  int rows = kRows,
                                  TerminalOptions options = {}) {
    options.term = term;
    options.cols = cols;
    options.rows = rows;
    auto console = host.StartConsole(options);
    EXPECT_TRUE(WaitForWelcome(*console)) << console->Text();
    return console;
  }

  // The welcome screen is in front and settled.
  static bool WaitForWelcome(Terminal& console) {
    return console.WaitFor([&] {
      return console.Text().find("<F2> Customize System/View Logs") != std::string::npos &&
             console.Text().find("Authentication Required") == std::string::npos;
    }) && console.WaitUntilQuiet();
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

TEST_F(WelcomeScreenTest, UpperHalfShowsProductAndHardwareCentred) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  const int product = RowOf(*console, kDemoProduct);
  ASSERT_GE(product, 0) << console->Text();
  EXPECT_LT(product, kRows / 2);
  EXPECT_EQ(console->Find(product, kDemoProduct), CentredColumn(kDemoProduct));
  EXPECT_EQ(console->Find(product + 2, kDemoCpu), CentredColumn(kDemoCpu)) << console->Text();
  EXPECT_EQ(console->Find(product + 3, kDemoMemory), CentredColumn(kDemoMemory)) << console->Text();
}

TEST_F(WelcomeScreenTest, HardwareLineFollowsTheHost) {
  ASSERT_TRUE(host.Ok());
  ModifyHost(host, [](nlohmann::json& state) {
    state["hardware"]["cpu"]["packages"] = 1;
    state["hardware"]["cpu"]["description"] = "AMD EPYC 7302P 16-Core Processor";
    state["hardware"]["memory"]["totalPages"] = 2097152;  // 8 GiB
  });
  auto console = Start();
  EXPECT_GE(RowOf(*console, "1 x AMD EPYC 7302P 16-Core Processor"), 0) << console->Text();
  EXPECT_GE(RowOf(*console, "8 GiB Memory"), 0) << console->Text();
}

TEST_F(WelcomeScreenTest, LowerHalfListsHostNameAndAddresses) {
  ASSERT_TRUE(host.Ok());
  auto console = Start();
  const int heading = RowOf(*console, kHeading);
  ASSERT_GT(heading, kRows / 2) << console->Text();
  EXPECT_EQ(console->Find(heading, kHeading), 16);
  EXPECT_EQ(console->Find(heading + 1, "http://merel-demo.example.test/"), 16);
  EXPECT_EQ(console->Find(heading + 2, "http://192.168.10.20/ http://[2001:db8:10::20]/"), 16)
      << console->Text();
}

TEST_F(WelcomeScreenTest, DhcpAddressIsShown) {
  ASSERT_TRUE(host.Ok());
  ModifyHost(host, [](nlohmann::json& state) {
    auto& nic = state["network"]["nics"][0];
    nic["ipv4Mode"] = "dhcp";
    nic["ipv4Address"] = "0.0.0.0";
    nic["ipv4Netmask"] = "0.0.0.0";
    nic["leaseAddress"] = "192.168.10.123";
    nic["ipv6Addresses"] = nlohmann::json::array();
  });
  auto console = Start();
  EXPECT_GE(RowOf(*console, "http://192.168.10.123/"), 0) << console->Text();
  EXPECT_LT(RowOf(*console, "Warning: DHCP lookup failed."), 0);
}

TEST_F(WelcomeScreenTest, FailedDhcpWarns) {
  ASSERT_TRUE(host.Ok());
  ModifyHost(host, [](nlohmann::json& state) {
    state["network"]["dhcp"]["available"] = false;
    auto& nic = state["network"]["nics"][0];
    nic["ipv4Mode"] = "dhcp";
    nic["ipv4Address"] = "0.0.0.0";
    nic["ipv4Netmask"] = "0.0.0.0";
    nic["leaseAddress"] = "";
    nic["ipv6Addresses"] = nlohmann::json::array();
    nic["ipv6RouterAdvertised"] = false;
    nic["ipv6Dhcp"] = false;
  });
  auto console = Start();
  EXPECT_GE(RowOf(*console, "Warning: DHCP lookup failed."), 0) << console->Text();
  EXPECT_LT(RowOf(*console, "http://1"), 0) << console->Text();
}

TEST_F(WelcomeScreenTest, Ipv6OnlyHost) {
  ASSERT_TRUE(host.Ok());
  ModifyHost(host, [](nlohmann::json& state) {
    auto& nic = state["network"]["nics"][0];
    nic["ipv4Mode"] = "none";
    nic["ipv4Address"] = "0.0.0.0";
    nic["ipv4Netmask"] = "0.0.0.0";
    state["network"]["dns"]["hostname"] = "localhost";
    state["network"]["dns"]["domain"] = "";
  });
  auto console = Start();
  const int heading = RowOf(*console, kHeading);
  ASSERT_GE(heading, 0) << console->Text();
  EXPECT_EQ(console->Find(heading + 1, "http://[2001:db8:10::20]/"), 16) << console->Text();
  EXPECT_LT(RowOf(*console, "http://0.0.0.0/"), 0);
  EXPECT_LT(RowOf(*console, "localhost"), 0);
}

TEST_F(WelcomeScreenTest, NoManagementInterface) {
  ASSERT_TRUE(host.Ok());
  RemoveManagementInterface(host);
  auto console = Start();
  const int first = RowOf(*console, "No compatible network adapter found.");
  ASSERT_GE(first, 0) << console->Text();
  EXPECT_EQ(console->Find(first, "No compatible network adapter found."), 16);
  EXPECT_GE(RowOf(*console, "Guide (HCG) for a list of supported adapters."), first)
      << console->Text();
  EXPECT_LT(RowOf(*console, kHeading), 0);
  EXPECT_LT(RowOf(*console, "http://"), 0);
}

TEST_F(WelcomeScreenTest, CustomMessageReplacesTheScreenAndNamesVariables) {
  ASSERT_TRUE(host.Ok());
  ModifyHost(host, [](nlohmann::json& state) {
    state["welcomeMessage"] = "Lab host {hostname}\nReach it at {ip}";
  });
  TerminalOptions options;
  options.term = "xterm-256color";
  options.cols = kCols;
  options.rows = kRows;
  auto console = host.StartConsole(options);
  ASSERT_TRUE(console->WaitForText("Reach it at 192.168.10.20")) << console->Text();
  ASSERT_TRUE(console->WaitUntilQuiet());
  EXPECT_EQ(console->Find(2, "Lab host merel-demo.example.test"), 2) << console->Text();
  EXPECT_EQ(console->Find(3, "Reach it at 192.168.10.20"), 2);
  // Only the message: no halves, no footer, no product line.
  EXPECT_EQ(console->Text().find("<F2>"), std::string::npos);
  EXPECT_EQ(console->Text().find(kDemoProduct), std::string::npos);
  EXPECT_EQ(console->CellAt(2, 2).fg.Console(), ConsoleColor::kWhite);
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

TEST_F(WelcomeScreenTest, OddLineCountGivesTheLowerHalfTheExtraLine) {
  ASSERT_TRUE(host.Ok());
  for (int rows : {24, 25}) {
    SCOPED_TRACE(rows);
    SimHost fresh;
    ASSERT_TRUE(fresh.Ok());
    TerminalOptions options;
    options.term = "xterm-256color";
    options.rows = rows;
    auto console = fresh.StartConsole(options);
    ASSERT_TRUE(WaitForWelcome(*console));
    // The upper half is rows / 2 lines either way; the lower takes the rest.
    EXPECT_EQ(console->CellAt(0, rows / 2 - 1).bg.Console(), ConsoleColor::kDarkGrey);
    EXPECT_EQ(console->CellAt(0, rows / 2).bg.Console(), ConsoleColor::kYellow);
    EXPECT_EQ(console->CellAt(0, rows - 1).bg.Console(), ConsoleColor::kYellow);
    EXPECT_EQ(console->Find(rows - 2, "<F2>"), 2) << console->Text();
  }
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
  auto console = Start("xterm", kCols, kRows, options);
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
