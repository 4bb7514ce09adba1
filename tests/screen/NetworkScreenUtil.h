// Shared steps of the network window's screen tests: open the window and its
// dialogs, type into them, and leave with the changes applied.
#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace MerelNetworkTest {

using namespace MerelMenuTest;

inline const char* const kWindowTitle = "Configure Management Network";

inline bool WaitForWindow(Terminal& console) {
  return WaitForPane(console, kWindowTitle, "<Esc> Exit");
}

// Logs in and opens the window from the menu (or ends the test).
inline std::unique_ptr<Terminal> OpenWindow(SimHost& host) {
  auto console = OpenEntry(host, kWindowTitle, "<Esc> Exit");
  if (!WaitForWindow(*console)) {
    Fail("no network window:\n" + console->Text());
  }
  return console;
}

// Enter on the dialog (or `key`), back in the window.
inline void Accept(Terminal& console, Key key = Key::kEnter) {
  console.SendKey(key);
  if (!WaitForWindow(console)) {
    Fail("not back in the window:\n" + console.Text());
  }
}

// Opens the window's `entry` (up to `shown`), presses `keys`, types `text`
// and accepts the dialog.
inline void Edit(Terminal& console,
                 const std::string& entry,
                 const std::string& shown,
                 const std::vector<Key>& keys,
                 const std::string& text = "") {
  Choose(console, entry, shown);
  Type(console, keys);
  TypeText(console, text);
  Accept(console);
}

// Enter on a dialog that refuses what it holds: `message` shows (with
// `title`), and Enter takes it away again, back to the dialog.
inline void ExpectRefusal(Terminal& console,
                          const std::string& message,
                          const std::string& title = "") {
  Press(console, Key::kEnter, message);
  ExpectHas(console.Text(), {title});
  PressGone(console, Key::kEnter, message);
}

// Esc and Y: applied, and back in the menu.
inline void ApplyChanges(Terminal& console,
                         const char* question = "Apply changes and restart management network?") {
  Press(console, Key::kEscape, question);
  console.SendText("y");
  if (!WaitForMenu(console)) {
    Fail("not back in the menu:\n" + console.Text());
  }
}

// A run or a restore is over: its result offers Enter only (the dialog
// behind it offers Esc too).
inline bool WaitForResult(Terminal& console) {
  return console.WaitFor([&] {
    const std::string text = console.Text();
    return Contains(text, "<Enter> OK") && !Contains(text, "Cancel");
  }) && console.WaitUntilQuiet();
}

inline const nlohmann::json& Nex0(const nlohmann::json& state) {
  static const nlohmann::json none;
  const nlohmann::json* nic = Named(state["network"]["nics"], "nex0");
  return nic ? *nic : none;
}

}  // namespace MerelNetworkTest
