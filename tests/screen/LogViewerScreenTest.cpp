// The log viewer: the numbered list in the menu's right pane, a digit that
// hands the terminal to the pager in its secure mode, and the menu coming
// back intact when the pager quits.
#include <chrono>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace {

using namespace MerelTest;
using namespace MerelMenuTest;

const char kPrompt[] = "<Q> Quit </> RegExp Search <H> Help";

// Distinct first lines, so the screen tells which file the pager opened.
void MarkLogs(const SimHost& host) {
  host.WriteFile("/var/log/nexel.log", "nexel marker line\n");
  host.WriteFile("/var/log/hostboot.log", "hostboot marker line\n");
  host.WriteFile("/var/log/obsvd.log", "obsvd marker line\n");
}

std::unique_ptr<Terminal> OpenLogsEntry(SimHost& host) {
  auto console = LogIn(host);
  if (!console) {
    return nullptr;
  }
  if (!SelectEntry(*console, "View System Logs")) {
    ADD_FAILURE() << "no logs entry:\n" << console->Text();
    return nullptr;
  }
  return console;
}

void QuitPager(Terminal& console) {
  console.SendText("q");
  EXPECT_TRUE(WaitForMenu(console)) << console.Text();
  EXPECT_EQ(RightTitle(console), "View System Logs");
  EXPECT_EQ(console.Text().find(kPrompt), std::string::npos);
}

TEST(LogViewerScreenTest, RightPaneListsTheLogs) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenLogsEntry(host);
  ASSERT_TRUE(console);
  EXPECT_EQ(RightText(*console),
            "Press the corresponding key to view\n"
            "a log.\n"
            "Press <Q> to return to this screen.\n"
            "\n"
            "1 Syslog\n"
            "2 Nexel\n"
            "3 Config\n"
            "4 Management Agent (mgmtd)\n"
            "5 Fleetdesk Agent (fdxa)\n"
            "6 High Availibility Agent (hamd)\n"
            "7 Ostrel Tarvik Observation log\n"
            "(obsvd)");
  EXPECT_NE(console->Find(kStatusRow - 2, "<1-7> View Log"), -1) << console->Text();
}

struct OpenCase {
  const char* name;
  const char* digit;
  const char* shows;
};

class LogOpenTest : public testing::TestWithParam<OpenCase> {};

TEST_P(LogOpenTest, DigitOpensThatLogAndQuitReturns) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  MarkLogs(host);
  auto console = OpenLogsEntry(host);
  ASSERT_TRUE(console);
  const std::string menu = console->Text();
  console->SendText(GetParam().digit);
  ASSERT_TRUE(console->WaitForText(kPrompt)) << console->Text();
  EXPECT_TRUE(console->WaitForText(GetParam().shows)) << console->Text();
  console->WaitUntilQuiet();
  QuitPager(*console);
  EXPECT_EQ(console->Text(), menu);
}

INSTANTIATE_TEST_SUITE_P(Logs,
                         LogOpenTest,
                         testing::Values(OpenCase{"Syslog", "1", "Starting MEREL"},
                                         OpenCase{"Nexel", "2", "nexel marker line"},
                                         OpenCase{"Observation", "7", "obsvd marker line"}),
                         [](const testing::TestParamInfo<OpenCase>& info) {
                           return std::string(info.param.name);
                         });

// With the second log missing the numbers close up: "2" is the Config log.
TEST(LogViewerScreenTest, NumbersCountOnlyPresentLogs) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  MarkLogs(host);
  ASSERT_EQ(std::remove(host.Path("/var/log/nexel.log").c_str()), 0);
  auto console = OpenLogsEntry(host);
  ASSERT_TRUE(console);
  const std::string list = RightText(*console);
  EXPECT_NE(list.find("1 Syslog\n2 Config\n3 Management Agent"), std::string::npos) << list;
  EXPECT_EQ(list.find("Nexel"), std::string::npos) << list;
  EXPECT_NE(console->Find(kStatusRow - 2, "<1-6> View Log"), -1) << console->Text();
  console->SendText("2");
  ASSERT_TRUE(console->WaitForText(kPrompt)) << console->Text();
  EXPECT_TRUE(console->WaitForText("hostboot marker line")) << console->Text();
  console->WaitUntilQuiet();
  QuitPager(*console);
  // Past the last number, and 0, open nothing.
  for (const char* digit : {"0", "7", "9"}) {
    console->SendText(digit);
    console->WaitUntilQuiet(std::chrono::milliseconds(300));
    EXPECT_EQ(console->Text().find(kPrompt), std::string::npos) << digit;
  }
}

// Digits mean nothing on the other entries.
TEST(LogViewerScreenTest, DigitsOnlyWhileTheLogsEntryIsSelected) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = LogIn(host);
  ASSERT_TRUE(console);
  console->SendText("1");
  console->WaitUntilQuiet(std::chrono::milliseconds(300));
  EXPECT_EQ(console->Text().find(kPrompt), std::string::npos);
  EXPECT_EQ(RightTitle(*console), "Configure Password");
}

// The pager runs in its secure mode: no shell, no pipe, no editor, no
// other file. Each refused command leaves the pager (and then the menu)
// working.
TEST(LogViewerScreenTest, PagerRefusesShellPipeEditorAndOtherFiles) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  MarkLogs(host);
  auto console = OpenLogsEntry(host);
  ASSERT_TRUE(console);
  console->SendText("2");
  ASSERT_TRUE(console->WaitForText("nexel marker line")) << console->Text();
  console->WaitUntilQuiet();
  for (const char* command : {"!", "|", "v", ":e"}) {
    console->SendText(command);
    EXPECT_TRUE(console->WaitForText("Command not available")) << command << "\n"
                                                               << console->Text();
    console->WaitUntilQuiet();
    // Any key clears the message and returns to the prompt.
    console->SendKey(Key::kEnter);
    EXPECT_TRUE(console->WaitFor([&] {
      return console->Text().find("Command not available") == std::string::npos;
    })) << command
        << "\n"
        << console->Text();
    console->WaitUntilQuiet();
  }
  EXPECT_TRUE(console->WaitForText("nexel marker line"));
  QuitPager(*console);
}

}  // namespace
