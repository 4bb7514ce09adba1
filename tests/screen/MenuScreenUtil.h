// Shared steps of the menu, log viewer and support information tests: log in,
// read the two panes, move the selection, and adjust the host beforehand.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Harness.h"

namespace MerelMenuTest {

using namespace MerelTest;

// The two-pane layout on an 80 x 25 terminal.
constexpr int kStatusRow = 24;
constexpr int kMenuColumn = 2;  // the list's first column
constexpr int kMenuTop = 4;     // its first row
constexpr int kMenuWidth = 38;
constexpr int kRightColumn = 42;  // right title and text
constexpr int kRightWidth = 36;

inline std::string Trimmed(std::string text) {
  while (!text.empty() && text.back() == ' ') {
    text.pop_back();
  }
  return text;
}

// The text of cells x0..x0+width-1 of row y (cells, not bytes: the frame's
// line characters are several bytes each).
inline std::string CellText(const Terminal& console, int y, int x0, int width) {
  std::string text;
  for (int x = x0; x < x0 + width; ++x) {
    text += console.CellAt(x, y).text;
  }
  return Trimmed(text);
}

// The rows of the list, separators as "", up to the last entry.
inline std::vector<std::string> MenuRows(const Terminal& console) {
  std::vector<std::string> rows;
  for (int y = kMenuTop; y < kStatusRow - 3; ++y) {
    rows.push_back(CellText(console, y, kMenuColumn, kMenuWidth));
  }
  while (!rows.empty() && rows.back().empty()) {
    rows.pop_back();
  }
  return rows;
}

// The screen row of a menu entry, or -1.
inline int RowOf(const Terminal& console, const std::string& entry) {
  for (int y = kMenuTop; y < kStatusRow - 3; ++y) {
    if (CellText(console, y, kMenuColumn, kMenuWidth) == entry) {
      return y;
    }
  }
  return -1;
}

inline std::string RightTitle(const Terminal& console) {
  return CellText(console, 1, kRightColumn, kRightWidth);
}

// The right pane's text rows joined with "\n" (trailing blank rows dropped).
inline std::string RightText(const Terminal& console) {
  std::string text;
  std::string pending;
  for (int y = 4; y < kStatusRow - 3; ++y) {
    const std::string row = CellText(console, y, kRightColumn, kRightWidth);
    pending += (y == 4 ? "" : "\n") + row;
    if (!row.empty()) {
      text += pending;
      pending.clear();
    }
  }
  return text;
}

inline bool WaitForRightTitle(Terminal& console, const std::string& title) {
  return console.WaitFor([&] { return RightTitle(console) == title; }) && console.WaitUntilQuiet();
}

// The menu is in front (its title is shown and drawn in its active colours).
inline bool WaitForMenu(Terminal& console) {
  return console.WaitFor([&] {
    return CellText(console, 1, 3, 20) == "System Customization" &&
           console.Text().find("<Esc> Log Out") != std::string::npos;
  }) && console.WaitUntilQuiet();
}

// Logs in as root from the welcome screen and waits for the menu.
inline std::unique_ptr<Terminal> LogIn(SimHost& host, TerminalOptions options = {}) {
  std::unique_ptr<Terminal> console = host.StartConsole(options);
  console->SendKey(Key::kF2);
  if (!console->WaitForText("Authentication Required") || !console->WaitUntilQuiet()) {
    ADD_FAILURE() << "no login dialog:\n" << console->Text();
    return nullptr;
  }
  console->SendText("merel");
  console->SendKey(Key::kEnter);
  if (!WaitForMenu(*console)) {
    ADD_FAILURE() << "no menu after the login:\n" << console->Text();
    return nullptr;
  }
  return console;
}

// Moves the selection down, then up, until `entry` is selected.
inline bool SelectEntry(Terminal& console, const std::string& entry) {
  for (Key key : {Key::kDown, Key::kUp}) {
    for (int i = 0; i < 16; ++i) {
      if (RightTitle(console) == entry) {
        return true;
      }
      const std::string before = RightTitle(console);
      console.SendKey(key);
      console.WaitFor([&] { return RightTitle(console) != before; },
                      std::chrono::milliseconds(300));
      console.WaitUntilQuiet();
      if (RightTitle(console) == before) {
        break;  // the end of the list in this direction
      }
    }
  }
  return RightTitle(console) == entry;
}

// The demo host's menu (separators as "").
inline std::vector<std::string> DemoRows(bool keyboard) {
  std::vector<std::string> rows = {"Configure Password",
                                   "Configure Lockdown Mode",
                                   "",
                                   "Configure Management Network",
                                   "Restart Management Network",
                                   "Test Management Network",
                                   "Network Restore Options",
                                   ""};
  if (keyboard) {
    rows.push_back("Configure Keyboard");
  }
  for (const char* row : {"Troubleshooting Options", "", "View System Logs",
                          "View Support Information", "Reset System Configuration"}) {
    rows.push_back(row);
  }
  return rows;
}

// Rewrites the host's state before (or while) the console runs.
inline void ModifyHost(const SimHost& host, const std::function<void(nlohmann::json&)>& change) {
  nlohmann::json state = host.HostJson();
  ASSERT_TRUE(state.is_object()) << "host.json unreadable";
  change(state);
  host.WriteFile("/host.json", state.dump(2) + "\n");
}

inline void RemoveManagementInterface(const SimHost& host) {
  ModifyHost(host, [](nlohmann::json& state) {
    for (auto& nic : state["network"]["nics"]) {
      nic["management"] = false;
    }
  });
}

inline void SetIdleTimeout(const SimHost& host, int seconds) {
  ModifyHost(host, [&](nlohmann::json& state) {
    for (auto& option : state["advancedOptions"]) {
      if (option["name"] == "/UserVars/MerelTimeOut") {
        option["value"] = seconds;
      }
    }
  });
}

// Every entry usable: lockdown possible, not booted from the network (the
// option's mere presence marks a network boot). The management interface
// and the logs of the demo host are left as they are.
inline void EnableEverything(nlohmann::json& state) {
  state["lockdown"]["possible"] = true;
  nlohmann::json& options = state["advancedOptions"];
  for (size_t i = 0; i < options.size(); ++i) {
    if (options[i]["name"] == "/UserVars/PXEBootEnabled") {
      options.erase(i);
      break;
    }
  }
}

// A clock twenty times as fast for the console: the minute of idling before
// a time-out passes in about three seconds. `merel-sim run` sets LD_PRELOAD
// for pam_wrapper itself, so libfaketime is added by a small wrapper that it
// starts in place of the console (MEREL_BIN) and that starts the console.
inline TerminalOptions FastClock(const SimHost& host, TerminalOptions options = {}) {
  const std::string wrapper = "/merel-fast-clock";
  host.WriteFile(wrapper,
                 "#!/bin/sh\n"
                 "LD_PRELOAD=\"$LD_PRELOAD /usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1\" "
                 "FAKETIME='+0 x20' FAKETIME_DONT_RESET=1 exec " MEREL_BIN " \"$@\"\n");
  chmod(host.Path(wrapper).c_str(), 0755);
  options.env["MEREL_BIN"] = host.Path(wrapper);
  return options;
}

}  // namespace MerelMenuTest
