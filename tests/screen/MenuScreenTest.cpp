// The menu after a login: the entries a host gets, which are greyed and skipped,
// the idle logout, and the screens it hands over to (log pager, support information).
#include <set>

#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;

struct GreyCase {
  const char* name;
  const char* fixture;
  std::vector<std::string> grey;
  std::vector<std::string> hidden = {};
};

class GreyEntriesTest : public testing::TestWithParam<GreyCase> {};

// Greyed entries stay in their place and are drawn in dark grey; an entry is
// grey exactly when it cannot be chosen, and the selection steps over those
// (ItemListTest).
TEST_P(GreyEntriesTest, GreyAndSkipped) {
  const GreyCase& c = GetParam();
  SimHost host(c.fixture);
  auto console = LogIn(host, {.term = "xterm-256color"});  // colours are checked
  for (const std::string& entry : c.grey) {
    const int y = MenuRow(*console, entry);
    ASSERT_GE(y, 0) << entry << " missing:\n" << console->Text();
    EXPECT_EQ(console->CellAt(kMenuColumn, y).fg, ConsoleColor::kDarkGrey) << entry;
  }
  for (const std::string& entry : c.hidden) {
    EXPECT_EQ(MenuRow(*console, entry), -1) << entry << " shown:\n" << console->Text();
  }
}

const GreyCase kGreyCases[] = {
    {"NoManagementInterface", "no-mgmt",
     {"Configure Management Network", "Restart Management Network", "Test Management Network"}},
    {"NetworkBooted", "network-booted", {"Reset System Configuration"}},
    // The DriverVM entry follows the host's device assignment state. A host
    // description without a lockdown section cannot enter lockdown mode.
    {"DeviceAssignmentUnusable", "device-assignment-1", {"Configure DriverVM Devices"}},
    {"NoDeviceAssignmentOrLockdown", "static-ipv4", {"Configure Lockdown Mode"},
     {"Configure DriverVM Devices"}},
};
INSTANTIATE_TEST_SUITE_P(Hosts, GreyEntriesTest, testing::ValuesIn(kGreyCases), ByName);

// --- View System Logs: a digit hands the terminal to the pager ---

const char kPagerPrompt[] = "<Q> Quit </> RegExp Search <H> Help";

// A digit hands the terminal to the pager with that log; q gives the menu
// back as it was. The pager runs in its secure mode: no shell, no pipe, no
// editor, no other file; each refused command leaves it working. After it
// the console draws on the terminal's alternate screen again, so that what
// it leaves at its end does not stay on the shell's (leaving that screen at
// the end is the runtime tests' part).
TEST(LogViewerScreenTest, DigitOpensThatLogInTheSecurePagerAndQuitReturns) {
  // The host, part of the numbered list in the right pane, the digit and
  // what the pager shows then.
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"", "1 Syslog\n2 Nexel\n", "1", "Starting MEREL"},
      {"", "7 Ostrel Tarvik Observation log\n", "7", "obsvd marker line"},
      // Only present logs are numbered: "2" is the third log here.
      {"missing-logs", "1 Syslog\n2 Config\n3 Management", "2", "hostboot marker line"}};
  const std::vector<std::string> kRefused = {"!", "|", "v", ":e"}, kNone;
  for (const auto& [fixture, list, digit, shows] : cases) {
    SCOPED_TRACE(std::string("log ") + digit);
    SimHost host(fixture);
    host.WriteFile("/var/log/hostboot.log", "hostboot marker line\n");
    host.WriteFile("/var/log/obsvd.log", "obsvd marker line\n");
    auto console = LogIn(host);
    ASSERT_TRUE(SelectEntry(*console, "View System Logs")) << console->Text();
    console->TrackScreen();
    ExpectHas(RightText(*console), {list});
    const std::string menu = console->Text();
    console->SendText(digit);
    Expect(*console, kPagerPrompt);
    Expect(*console, shows);
    // One log is enough for the commands.
    for (const std::string& command : std::string(digit) == "7" ? kRefused : kNone) {
      Step(command, [&] {
        console->SendText(command);
        Expect(*console, "Command not available");
        PressGone(*console, Key::kEnter, "Command not available");  // any key clears the message
      });
    }
    EXPECT_TRUE(console->WaitForText(shows));
    console->SendText("q");
    ASSERT_TRUE(WaitForMenu(*console)) << console->Text();
    EXPECT_EQ(console->Text(), menu);
    EXPECT_TRUE(console->AltScreen());
  }
}

// --- View Support Information: the host's support file in a scrolling dialog ---

TEST(SupportInformationScreenTest, OpensScrollsAndClosesThenKeysInOneWriteAllTakeEffect) {
  SimHost host;
  std::string text;
  for (int i = 1; i <= 40; ++i) {
    text += "Support line " + std::to_string(i) + " {not markup}\n";
  }
  host.WriteFile("/etc/ostrel/support", text);
  auto console = LogIn(host);
  Choose(*console, "View Support Information", "Lines 1-12 of 40");
  // Each step shows the lines it names, and only those: what stayed in view
  // was moved on screen, what came into view was drawn. The file is shown as
  // it stands: braces are text, not markup.
  const std::pair<Key, int> steps[] = {
      {Key::kDown, 2}, {Key::kPageDown, 13}, {Key::kEnd, 29}, {Key::kDown, 29},
      {Key::kPageUp, 18}, {Key::kUp, 17}, {Key::kHome, 1}, {Key::kUp, 1}};
  const auto line = [](int n) { return "Support line " + std::to_string(n) + " {not markup}"; };
  for (const auto& [key, first] : steps) {
    console->SendKey(key);
    const int last = first + 11;
    Expect(*console, "Lines " + std::to_string(first) + "-" + std::to_string(last) + " of 40");
    ExpectHas(console->Text(), {line(first), line(last)});
    ExpectLacks(console->Text(), {line(first - 1), line(last + 1)});
  }
  PressToMenu(*console, Key::kEscape);
  ExpectLacks(console->Text(), {"Support line"});
  EXPECT_EQ(RightTitle(*console), "View Support Information");

  // Keys typed in one go, right after a screen opened, all take effect: two
  // steps down from the current layout, Space to choose it, Enter to set it.
  Choose(*console, "Configure Keyboard", "choose a layout");
  console->Send("\x1b[B\x1b[B \r");
  EXPECT_TRUE(WaitForMenu(*console)) << console->Text();
  ExpectLogged(host, {"user.info Keyboard Layout changed to German"});
  EXPECT_EQ(host.HostJson()["keyboardLayout"], "German");
}

// --- Terminals that cannot change colours: the selection and the greyed
// entries must still show ---

// The attributes a user without colours tells rows apart by: reverse and bold.
std::pair<bool, bool> LookAt(const Terminal& console, int x, int y) {
  const Cell cell = console.CellAt(x, y);
  return {cell.reverse, cell.bold};
}

// On a VT102 (no colours, no faint text) the selection and the greyed
// entries still stand apart, by reverse and bold.
TEST(BlackAndWhiteTest, SelectionAndGreyedEntriesStandApart) {
  SimHost host;
  ModifyHost(host, [](nlohmann::json& state) {
    state["lockdown"] = {{"enabled", false}, {"possible", false}};
  });
  auto console = LogIn(host, {.term = "vt102"});
  // The first entry is selected at the start.
  const int selected = MenuRow(*console, "Configure Password");
  const int other = MenuRow(*console, "Configure Management Network");
  const int greyed = MenuRow(*console, "Configure Lockdown Mode");
  ASSERT_TRUE(selected >= 0 && other >= 0 && greyed >= 0) << console->Text();
  const auto look = [&](int y) { return LookAt(*console, kMenuColumn, y); };
  // Three rows, three looks.
  EXPECT_EQ(std::set({look(selected), look(other), look(greyed)}).size(), 3u) << console->Text();

  // In a dialog the focused device line stands apart, and follows the cursor.
  Choose(*console, "Configure DriverVM Devices", "DriverVM Configuration");
  const int first = RowOf(*console, "[ ] 0000:3b:00.0");
  const int second = RowOf(*console, "[ ] 0000:3b:00.1");
  ASSERT_TRUE(first >= 0 && second >= 0) << console->Text();
  const int column = console->Find(first, "0000:3b:00.0");
  EXPECT_NE(LookAt(*console, column, first), LookAt(*console, column, second));
  const auto focused = LookAt(*console, column, first);
  Type(*console, {Key::kDown});
  EXPECT_EQ(LookAt(*console, column, second), focused) << console->Text();
  EXPECT_NE(LookAt(*console, column, first), focused);
}

}  // namespace
