// Shared steps of the network window's screen tests: open the window and its
// dialogs, type into them, and leave with the changes applied.
#pragma once

#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace MerelNetworkTest {

using namespace MerelMenuTest;

inline const char* const kWindowTitle = "Configure Management Network";

inline bool WaitForWindow(Terminal& console) {
  return console.WaitFor([&] {
    return CellText(console, 1, 3, 28) == kWindowTitle &&
           console.Text().find("<Esc> Exit") != std::string::npos;
  }) && console.WaitUntilQuiet();
}

// Logs in and opens the window from the menu.
inline std::unique_ptr<Terminal> OpenWindow(SimHost& host, bool expectWindow = true) {
  auto console = LogIn(host);
  if (!console || !SelectEntry(*console, kWindowTitle)) {
    ADD_FAILURE() << "menu entry not reached";
    return nullptr;
  }
  console->SendKey(Key::kEnter);
  if (expectWindow && !WaitForWindow(*console)) {
    ADD_FAILURE() << "no network window:\n" << console->Text();
    return nullptr;
  }
  return console;
}

// Enter on `entry` and wait for its dialog.
inline void OpenDialog(Terminal& console, const std::string& entry, const std::string& shown) {
  ASSERT_TRUE(SelectEntry(console, entry)) << console.Text();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, shown)) << console.Text();
}

// Enter on the dialog, back in the window.
inline void Accept(Terminal& console) {
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitForWindow(console)) << console.Text();
}

// Esc and Y: applied, and back in the menu.
inline void ApplyChanges(Terminal& console,
                         const char* question = "Apply changes and restart management network?") {
  console.SendKey(Key::kEscape);
  ASSERT_TRUE(WaitQuiet(console, question)) << console.Text();
  console.SendText("y");
  ASSERT_TRUE(WaitForMenu(console)) << console.Text();
}

inline void ExpectLines(const SimHost& host, const std::vector<std::string>& lines) {
  const std::string log = host.Syslog();
  for (const std::string& line : lines) {
    EXPECT_NE(log.find(line), std::string::npos) << line << " not in\n" << log;
  }
}

inline const nlohmann::json& Nex0(const nlohmann::json& state) {
  return state["network"]["nics"][0];
}

}  // namespace MerelNetworkTest
