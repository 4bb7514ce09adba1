// "View Support Information": the host's support file in a dialog that
// scrolls, closed with Enter or Esc.
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace {

using namespace MerelTest;
using namespace MerelMenuTest;

std::string NumberedLines(int count) {
  std::string text;
  for (int i = 1; i <= count; ++i) {
    text += "Support line " + std::to_string(i) + " {not markup}\n";
  }
  return text;
}

std::unique_ptr<Terminal> OpenSupportInformation(SimHost& host) {
  auto console = LogIn(host);
  if (!console) {
    return nullptr;
  }
  if (!SelectEntry(*console, "View Support Information")) {
    ADD_FAILURE() << "no support entry:\n" << console->Text();
    return nullptr;
  }
  console->SendKey(Key::kEnter);
  if (!console->WaitForText("View Support Information") ||
      !console->WaitFor([&] { return console->Text().find("<Enter> OK") != std::string::npos; })) {
    ADD_FAILURE() << "no support dialog:\n" << console->Text();
    return nullptr;
  }
  console->WaitUntilQuiet();
  return console;
}

bool Shows(const Terminal& console, const std::string& text) {
  return console.Text().find(text) != std::string::npos;
}

TEST(SupportInformationScreenTest, ScrollsAndClosesWithEnter) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  host.WriteFile("/etc/ostrel/support", NumberedLines(40));
  auto console = OpenSupportInformation(host);
  ASSERT_TRUE(console);
  // The file is shown as it stands: braces are text, not markup.
  EXPECT_TRUE(Shows(*console, "Support line 1 {not markup}")) << console->Text();
  EXPECT_TRUE(Shows(*console, "Support line 12 {"));
  EXPECT_FALSE(Shows(*console, "Support line 13 {"));
  EXPECT_TRUE(Shows(*console, "Lines 1-12 of 40")) << console->Text();

  console->SendKey(Key::kDown);
  EXPECT_TRUE(console->WaitForText("Lines 2-13 of 40")) << console->Text();
  EXPECT_FALSE(Shows(*console, "Support line 1 {"));
  console->SendKey(Key::kPageDown);
  EXPECT_TRUE(console->WaitForText("Lines 13-24 of 40")) << console->Text();
  console->SendKey(Key::kEnd);
  EXPECT_TRUE(console->WaitForText("Lines 29-40 of 40")) << console->Text();
  console->SendKey(Key::kDown);  // nothing below the last line
  console->WaitUntilQuiet();
  EXPECT_TRUE(Shows(*console, "Lines 29-40 of 40"));
  console->SendKey(Key::kPageUp);
  EXPECT_TRUE(console->WaitForText("Lines 18-29 of 40")) << console->Text();
  console->SendKey(Key::kHome);
  EXPECT_TRUE(console->WaitForText("Lines 1-12 of 40")) << console->Text();

  console->SendKey(Key::kEnter);
  EXPECT_TRUE(WaitForMenu(*console)) << console->Text();
  EXPECT_FALSE(Shows(*console, "Support line"));
  EXPECT_EQ(RightTitle(*console), "View Support Information");
}

TEST(SupportInformationScreenTest, EscapeClosesAndMissingFileIsExplained) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  std::remove(host.Path("/etc/ostrel/support").c_str());
  auto console = OpenSupportInformation(host);
  ASSERT_TRUE(console);
  EXPECT_TRUE(Shows(*console, "No support information is available")) << console->Text();
  EXPECT_FALSE(Shows(*console, "Lines "));
  console->SendKey(Key::kEscape);
  EXPECT_TRUE(WaitForMenu(*console)) << console->Text();
  EXPECT_FALSE(Shows(*console, "No support information"));
}

}  // namespace
