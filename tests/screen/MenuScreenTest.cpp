// The System Customization menu after a login: which entries a host gets,
// which are greyed and skipped, the right pane, the modal screens it opens,
// and the ways a session ends.
#include <signal.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace {

using namespace MerelTest;
using namespace MerelMenuTest;

// The menu on the demo host from a console keyboard (TERM=xterm and no
// SSH_CLIENT): every entry, the keyboard entry included.
TEST(MenuScreenTest, DemoHostEntriesInOrder) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = LogIn(host);
  ASSERT_TRUE(console);
  EXPECT_EQ(MenuRows(*console), DemoRows(/*keyboard=*/true)) << console->Text();
  EXPECT_EQ(RightTitle(*console), "Configure Password");
  EXPECT_NE(console->Find(kStatusRow - 2, "<Up/Down> Select"), -1) << console->Text();
  EXPECT_NE(console->Find(kStatusRow - 2, "<Esc> Log Out"), -1) << console->Text();
  ExpectGoldenScreen(*console, "menu");
}

TEST(MenuScreenTest, RemoteTerminalHasNoKeyboardEntry) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  TerminalOptions options;
  options.env["SSH_CLIENT"] = "192.0.2.7 50022 22";
  auto console = LogIn(host, options);
  ASSERT_TRUE(console);
  const std::vector<std::string> rows = MenuRows(*console);
  EXPECT_EQ(rows, DemoRows(/*keyboard=*/false)) << console->Text();
  // The troubleshooting entry follows the second separator directly.
  for (size_t i = 0; i < rows.size(); ++i) {
    if (rows[i] == "Troubleshooting Options") {
      ASSERT_GE(i, 1u);
      EXPECT_EQ(rows[i - 1], "");
      EXPECT_EQ(rows[i - 2], "Network Restore Options");
    }
  }
}

TEST(MenuScreenTest, RightPaneFollowsTheSelection) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  ModifyHost(host, EnableEverything);
  TerminalOptions options;
  options.term = "xterm-256color";  // colours are checked
  auto console = LogIn(host, options);
  ASSERT_TRUE(console);
  ASSERT_TRUE(SelectEntry(*console, "Configure Lockdown Mode")) << console->Text();
  EXPECT_EQ(RightText(*console).rfind("When enabled, lockdown mode", 0), 0u) << console->Text();
  ASSERT_TRUE(SelectEntry(*console, "Test Management Network")) << console->Text();
  EXPECT_EQ(RightText(*console).rfind("To perform a brief network test", 0), 0u) << console->Text();
  EXPECT_EQ(console->Text().find("lockdown mode"), std::string::npos);
  // The current entry is drawn as a bar, black on white; the others in the
  // list's own white on yellow.
  const int y = RowOf(*console, "Test Management Network");
  ASSERT_GE(y, 0);
  EXPECT_EQ(console->CellAt(kMenuColumn, y).fg.Console(), ConsoleColor::kBlack);
  EXPECT_EQ(console->CellAt(kMenuColumn, y).bg.Console(), ConsoleColor::kWhite);
  EXPECT_EQ(console->CellAt(kMenuColumn + 30, y).bg.Console(), ConsoleColor::kWhite);
  const int other = RowOf(*console, "Network Restore Options");
  ASSERT_GE(other, 0);
  EXPECT_EQ(console->CellAt(kMenuColumn, other).fg.Console(), ConsoleColor::kWhite);
  EXPECT_EQ(console->CellAt(kMenuColumn, other).bg.Console(), ConsoleColor::kYellow);
}

TEST(MenuScreenTest, PageKeysJumpToTheLastAndFirstEntries) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  ModifyHost(host, EnableEverything);
  auto console = LogIn(host);
  ASSERT_TRUE(console);
  console->SendKey(Key::kPageDown);
  EXPECT_TRUE(WaitForRightTitle(*console, "Reset System Configuration")) << console->Text();
  console->SendKey(Key::kPageUp);
  EXPECT_TRUE(WaitForRightTitle(*console, "Configure Password")) << console->Text();
}

// Entries whose screens this build does not have do nothing: the menu
// stays as it is.
TEST(MenuScreenTest, EnterOnAnEntryWithoutItsScreenKeepsTheMenu) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  ModifyHost(host, EnableEverything);
  auto console = LogIn(host);
  ASSERT_TRUE(console);
  const std::string before = console->Text();
  console->SendKey(Key::kEnter);
  console->WaitUntilQuiet(std::chrono::milliseconds(300));
  EXPECT_EQ(console->Text(), before);
  console->SendKey(Key::kDown);
  EXPECT_TRUE(WaitForRightTitle(*console, "Configure Lockdown Mode"));
}

struct GreyCase {
  const char* name;
  std::function<void(nlohmann::json&)> change;  // to the demo host
  std::vector<std::string> grey;
};

class GreyEntriesTest : public testing::TestWithParam<GreyCase> {};

// Greyed entries stay in their place, are drawn in dark grey and cannot be
// chosen: the selection steps over them.
TEST_P(GreyEntriesTest, GreyAndSkipped) {
  const GreyCase& c = GetParam();
  SimHost host;
  ASSERT_TRUE(host.Ok());
  ModifyHost(host, [&](nlohmann::json& state) {
    EnableEverything(state);
    c.change(state);
  });
  TerminalOptions options;
  options.term = "xterm-256color";  // colours are checked
  auto console = LogIn(host, options);
  ASSERT_TRUE(console);
  const std::vector<std::string> rows = MenuRows(*console);
  for (const std::string& entry : c.grey) {
    const int y = RowOf(*console, entry);
    ASSERT_GE(y, 0) << entry << " missing:\n" << console->Text();
    EXPECT_EQ(console->CellAt(kMenuColumn, y).fg.Console(), ConsoleColor::kDarkGrey) << entry;
  }
  // Walk the whole menu down; no greyed entry ever becomes the selection.
  std::vector<std::string> visited = {RightTitle(*console)};
  for (size_t i = 0; i < rows.size(); ++i) {
    console->SendKey(Key::kDown);
    console->WaitUntilQuiet();
    if (RightTitle(*console) != visited.back()) {
      visited.push_back(RightTitle(*console));
    }
  }
  for (const std::string& entry : c.grey) {
    for (const std::string& title : visited) {
      EXPECT_NE(title, entry) << "the selection rested on a greyed entry";
    }
  }
  EXPECT_GE(visited.size(), 5u);
}

INSTANTIATE_TEST_SUITE_P(
    Hosts,
    GreyEntriesTest,
    testing::Values(GreyCase{"NoManagementInterface",
                             [](nlohmann::json& state) {
                               for (auto& nic : state["network"]["nics"]) {
                                 nic["management"] = false;
                               }
                             },
                             {"Configure Management Network", "Restart Management Network",
                              "Test Management Network"}},
                    GreyCase{"NetworkBooted",
                             [](nlohmann::json& state) {
                               state["advancedOptions"].push_back(
                                   {{"name", "/UserVars/PXEBootEnabled"},
                                    {"type", "int"},
                                    {"value", 1},
                                    {"min", 0},
                                    {"max", 1},
                                    {"defaultValue", 0}});
                             },
                             {"Reset System Configuration"}},
                    GreyCase{"LockdownNotPossible",
                             [](nlohmann::json& state) {
                               state["lockdown"]["enabled"] = false;
                               state["lockdown"]["possible"] = false;
                             },
                             {"Configure Lockdown Mode"}}),
    [](const testing::TestParamInfo<GreyCase>& info) { return std::string(info.param.name); });

// The management interface is looked up again when "Restart Management
// Network" is chosen; gone in the meantime, the menu says so.
TEST(MenuScreenTest, RestartNetworkWithoutInterfaceShowsError) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = LogIn(host);
  ASSERT_TRUE(console);
  ASSERT_TRUE(SelectEntry(*console, "Restart Management Network")) << console->Text();
  RemoveManagementInterface(host);
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(console->WaitForText("Restart Management Network: Error")) << console->Text();
  EXPECT_TRUE(console->WaitForText("Management network interface cannot be found."));
  console->WaitUntilQuiet();
  console->SendKey(Key::kEscape);  // only Enter closes a message
  console->WaitUntilQuiet(std::chrono::milliseconds(200));
  EXPECT_NE(console->Text().find("Restart Management Network: Error"), std::string::npos);
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(console->WaitFor([&] {
    return console->Text().find("Restart Management Network: Error") == std::string::npos;
  })) << console->Text();
  EXPECT_EQ(RightTitle(*console), "Restart Management Network");
}

TEST(MenuScreenTest, KeyboardEntryOpensTheLayoutChooser) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = LogIn(host);
  ASSERT_TRUE(console);
  ASSERT_TRUE(SelectEntry(*console, "Configure Keyboard")) << console->Text();
  EXPECT_TRUE(console->WaitForText("To select the layout type")) << console->Text();
  const std::string menu = console->Text();
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(console->WaitFor([&] { return console->Text() != menu; })) << console->Text();
  console->WaitUntilQuiet();
  console->SendKey(Key::kEscape);
  EXPECT_TRUE(WaitForMenu(*console)) << console->Text();
  EXPECT_EQ(RightTitle(*console), "Configure Keyboard");
}

// A smart-card event rebuilds the menu in place: the selection stays where
// it was and what is read from the host (here the logs) is read again.
TEST(MenuScreenTest, SmartCardEventRebuildsTheMenuKeepingTheSelection) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = LogIn(host);
  ASSERT_TRUE(console);
  ASSERT_TRUE(SelectEntry(*console, "View System Logs")) << console->Text();
  ASSERT_NE(RightText(*console).find("2 Nexel"), std::string::npos);
  ASSERT_EQ(std::remove(host.Path("/var/log/nexel.log").c_str()), 0);
  console->Signal(SIGUSR1);
  EXPECT_TRUE(console->WaitFor([&] {
    return RightText(*console).find("Nexel") == std::string::npos;
  })) << console->Text();
  console->WaitUntilQuiet();
  EXPECT_NE(RightText(*console).find("1 Syslog\n2 Config"), std::string::npos) << console->Text();
  EXPECT_EQ(RightTitle(*console), "View System Logs");
  EXPECT_EQ(MenuRows(*console), DemoRows(/*keyboard=*/true));
  EXPECT_TRUE(console->Running());
}

TEST(MenuScreenTest, EscapeLogsOut) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = LogIn(host);
  ASSERT_TRUE(console);
  console->SendKey(Key::kEscape);
  EXPECT_TRUE(console->WaitForText("Customize System/View Logs")) << console->Text();
  EXPECT_TRUE(host.WaitForSyslog("User root logged out")) << host.Syslog();
  EXPECT_EQ(host.Syslog().find("logged out due to time out"), std::string::npos);
  EXPECT_TRUE(host.WaitForFileText("/var/log/audit.log", "login.disconnect")) << host.AuditLog();
  EXPECT_NE(host.AuditLog().find("Session closed"), std::string::npos) << host.AuditLog();
}

// A session idle for longer than /UserVars/MerelTimeOut (which acts as at
// least 60 s) is logged out. The clock runs twenty times faster under
// libfaketime, so the minute passes in about three seconds.
TEST(MenuScreenTest, IdleSessionTimesOut) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  SetIdleTimeout(host, 5);
  auto console = LogIn(host, FastClock(host));
  ASSERT_TRUE(console);
  EXPECT_TRUE(host.WaitForSyslog("User root logged out due to time out",
                                 Scaled(std::chrono::milliseconds(20000))))
      << host.Syslog();
  EXPECT_TRUE(console->WaitForText("Customize System/View Logs")) << console->Text();
  EXPECT_TRUE(host.WaitForFileText("/var/log/audit.log", "Time out")) << host.AuditLog();
}

}  // namespace
