// The keyboard layout chooser, reached from the first line of the login
// dialog (no login needed): Space chooses, Enter sets it on the host, Esc
// leaves the host alone.
#include <string>

#include <gtest/gtest.h>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace {

using namespace MerelTest;

bool WaitQuiet(Terminal& console, const std::string& text) {
  return console.WaitForText(text) && console.WaitUntilQuiet();
}

// F2, then Up twice to the keyboard line and Enter.
std::unique_ptr<Terminal> OpenChooser(SimHost& host) {
  TerminalOptions options;
  options.term = "xterm-256color";  // for the colours
  auto console = host.StartConsole(options);
  console->SendKey(Key::kF2);
  if (!WaitQuiet(*console, "Authentication Required")) {
    ADD_FAILURE() << "no login dialog:\n" << console->Text();
    return console;
  }
  console->SendKeys({Key::kUp, Key::kUp, Key::kEnter});
  if (!WaitQuiet(*console, "If you are having difficulty using your keyboard")) {
    ADD_FAILURE() << "no keyboard dialog:\n" << console->Text();
  }
  return console;
}

bool Closed(Terminal& console) {
  return console.WaitFor([&] {
    return console.Text().find("Toggle Selected") == std::string::npos;
  }) && console.WaitUntilQuiet();
}

std::string Layout(const SimHost& host) {
  return host.Show().value("keyboardLayout", "");
}

size_t Count(const std::string& text, const std::string& what) {
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
    ++n;
  }
  return n;
}

TEST(KeyboardScreenTest, ShowsTheLayoutsWithTheCurrentOneChosen) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenChooser(host);
  const std::string screen = console->Text();
  EXPECT_NE(screen.find("Configure Keyboard"), std::string::npos) << screen;
  EXPECT_NE(screen.find("(o) US Default"), std::string::npos) << screen;
  EXPECT_NE(screen.find("( ) Default"), std::string::npos) << screen;
  EXPECT_EQ(Count(screen, "(o) "), 1u) << screen;
  EXPECT_NE(screen.find("<Up/Down> Select  <Space> Toggle Selected"), std::string::npos) << screen;
  EXPECT_NE(screen.find("<Enter> OK  <Esc> Cancel"), std::string::npos) << screen;
}

TEST(KeyboardScreenTest, SpaceThenEnterSetsTheLayout) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenChooser(host);
  // From "US Default" one down is "United Kingdom"; moving alone chooses nothing.
  console->SendKey(Key::kDown);
  // The current line is marked by its colours (label at column 8, rows from 10).
  EXPECT_TRUE(console->WaitFor([&] {
    return console->CellAt(8, 12).bg.Console() == ConsoleColor::kWhite;
  })) << console->Text();
  EXPECT_EQ(console->CellAt(8, 11).bg.Console(), ConsoleColor::kYellow);
  EXPECT_NE(console->Text().find("(o) US Default"), std::string::npos) << console->Text();
  console->SendKey(Key::kSpace);
  ASSERT_TRUE(WaitQuiet(*console, "(o) United Kingdom")) << console->Text();
  EXPECT_NE(console->Text().find("( ) US Default"), std::string::npos) << console->Text();
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(Closed(*console)) << console->Text();
  EXPECT_EQ(Layout(host), "United Kingdom");
  EXPECT_TRUE(host.WaitForSyslog("user.info Keyboard Layout changed to United Kingdom"))
      << host.Syslog();
  // Back in the login, whose first line follows the change.
  EXPECT_TRUE(WaitQuiet(*console, "Configured Keyboard (United Kingdom)")) << console->Text();
}

TEST(KeyboardScreenTest, EscapeAfterSpaceChangesNothing) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenChooser(host);
  console->SendKeys({Key::kDown, Key::kDown, Key::kSpace});
  ASSERT_TRUE(WaitQuiet(*console, "(o) German")) << console->Text();
  console->SendKey(Key::kEscape);
  ASSERT_TRUE(Closed(*console)) << console->Text();
  EXPECT_EQ(Layout(host), "US Default");
  EXPECT_EQ(host.Syslog().find("Keyboard Layout changed"), std::string::npos) << host.Syslog();
  EXPECT_NE(console->Text().find("Configured Keyboard (US Default)"), std::string::npos);
}

TEST(KeyboardScreenTest, EnterWithoutSpaceSetsTheCurrentLayoutAgain) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenChooser(host);
  console->SendKeys({Key::kDown, Key::kDown});
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(Closed(*console)) << console->Text();
  EXPECT_TRUE(host.WaitForSyslog("Keyboard Layout changed to US Default")) << host.Syslog();
  EXPECT_EQ(Layout(host), "US Default");
}

TEST(KeyboardScreenTest, UnknownCurrentLayoutMarksNothingAndEnterTakesTheFirst) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  nlohmann::json state = host.HostJson();
  ASSERT_TRUE(state.is_object());
  state["keyboardLayout"] = "Klingon";
  host.WriteFile("/host.json", state.dump(2) + "\n");
  auto console = OpenChooser(host);
  EXPECT_EQ(Count(console->Text(), "(o) "), 0u) << console->Text();
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(Closed(*console));
  EXPECT_EQ(Layout(host), "Default");
  EXPECT_TRUE(host.WaitForSyslog("Keyboard Layout changed to Default")) << host.Syslog();
}

// The same dialog from the menu, inside a session.
TEST(KeyboardScreenTest, FromTheMenu) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = MerelMenuTest::LogIn(host);
  ASSERT_TRUE(console);
  ASSERT_TRUE(MerelMenuTest::SelectEntry(*console, "Configure Keyboard")) << console->Text();
  console->SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(*console, "Toggle Selected")) << console->Text();
  console->SendKeys({Key::kUp, Key::kSpace, Key::kEnter});
  ASSERT_TRUE(Closed(*console)) << console->Text();
  EXPECT_EQ(Layout(host), "Default");
  EXPECT_TRUE(host.WaitForSyslog("Keyboard Layout changed to Default")) << host.Syslog();
  EXPECT_TRUE(MerelMenuTest::WaitForMenu(*console)) << console->Text();
}

}  // namespace
