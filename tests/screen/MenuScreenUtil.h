// Shared steps of the screen tests: read cells and the menu's panes, log in,
// move the selection, and adjust the host beforehand.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Harness.h"

namespace MerelMenuTest {

using namespace MerelTest;

// The two-pane layout on an 80 x 25 terminal.
constexpr int kStatusRow = 24, kMenuColumn = 2, kMenuTop = 4, kMenuWidth = 38;

// The text of cells x0..x0+width-1 of row y, trailing blanks dropped.
inline std::string CellText(const Terminal& console, int y, int x0, int width) {
  std::string text;
  for (int x = x0; x < x0 + width; ++x) {
    text += console.CellAt(x, y).text;
  }
  return text.erase(text.find_last_not_of(' ') + 1);
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

// The screen row of the menu's `entry`, or -1.
inline int MenuRow(const Terminal& console, const std::string& entry) {
  const std::vector<std::string> rows = MenuRows(console);
  const auto at = std::find(rows.begin(), rows.end(), entry);
  return at == rows.end() ? -1 : kMenuTop + static_cast<int>(at - rows.begin());
}

inline std::string RightTitle(const Terminal& console) {
  return CellText(console, 1, 42, 36);
}

// The right pane's rows joined with "\n".
inline std::string RightText(const Terminal& console) {
  std::string text;
  for (int y = 4; y < kStatusRow - 3; ++y) {
    text += CellText(console, y, 42, 36) + "\n";
  }
  return text;
}

// The first row holding `text`, or -1.
inline int RowOf(const Terminal& console, const std::string& text) {
  for (int y = 0; y < console.Options().rows; ++y) {
    if (console.Find(y, text) >= 0) {
      return y;
    }
  }
  return -1;
}

// The dialog's line that starts with `step`, up to the dialog's border and
// without trailing blanks; "" if none.
inline std::string RowWith(const Terminal& console, const std::string& step) {
  const int y = RowOf(console, step);
  if (y < 0) {
    return "";
  }
  const int x = console.Find(y, step);
  std::string row = CellText(console, y, x, console.Options().cols - x);
  row = row.substr(0, row.find("\u2502"));
  return row.erase(row.find_last_not_of(' ') + 1);
}

inline bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// The two-pane window `title` is in front: its status line offers `hint`, and
// none of `absent` (what a dialog left open would offer) shows.
inline bool WaitForPane(Terminal& console, const std::string& title, const std::string& hint,
                        const std::vector<std::string>& absent = {}) {
  return console.WaitFor([&] {
    const std::string text = console.Text();
    return CellText(console, 1, 3, static_cast<int>(title.size()) + 2) == title &&
           Contains(text, hint) &&
           std::none_of(absent.begin(), absent.end(), [&](auto& a) { return Contains(text, a); });
  }) && console.WaitUntilQuiet();
}

// The menu is in front (its title is shown and it has the keyboard).
inline bool WaitForMenu(Terminal& console) {
  return WaitForPane(console, "System Customization", "<Esc> Log Out");
}

// `key`, then the menu is in front again; otherwise the test ends.
inline void PressToMenu(Terminal& console, Key key) {
  console.SendKey(key);
  if (!WaitForMenu(console)) {
    Fail("not back in the menu:\n" + console.Text());
  }
}

inline bool WaitQuiet(Terminal& console, const std::string& text) {
  return console.WaitForText(text) && console.WaitUntilQuiet();
}

// Each of `parts` is in `text`; ExpectLacks: none of them is.
inline void ExpectHas(const std::string& text, const std::vector<std::string>& parts) {
  for (const std::string& part : parts) {
    EXPECT_TRUE(Contains(text, part)) << "no \"" << part << "\" in\n" << text;
  }
}
inline void ExpectLacks(const std::string& text, const std::vector<std::string>& parts) {
  for (const std::string& part : parts) {
    EXPECT_FALSE(Contains(text, part)) << "\"" << part << "\" in\n" << text;
  }
}

// `text` went away and the screen settled.
inline bool WaitGone(Terminal& console, const std::string& text) {
  return console.WaitFor([&] { return !Contains(console.Text(), text); }) &&
         console.WaitUntilQuiet();
}

// `text` shows and the screen settled; otherwise the test ends here.
inline void Expect(Terminal& console, const std::string& text) {
  if (!WaitQuiet(console, text)) {
    Fail("no \"" + text + "\" on the screen:\n" + console.Text());
  }
}

// `key`, then `text` shows and the screen settled; otherwise the test ends.
inline void Press(Terminal& console, Key key, const std::string& text) {
  console.SendKey(key);
  Expect(console, text);
}

// `key`, then `text` went away and the screen settled; otherwise the test ends.
inline void PressGone(Terminal& console, Key key, const std::string& text) {
  console.SendKey(key);
  if (!WaitGone(console, text)) {
    Fail("\"" + text + "\" stayed on the screen:\n" + console.Text());
  }
}

// The entry of a host.json list whose `field` is `name`, or null.
inline const nlohmann::json* Named(const nlohmann::json& list,
                                   const std::string& name,
                                   const char* field = "name") {
  for (const nlohmann::json& entry : list) {
    if (entry.value(field, "") == name) {
      return &entry;
    }
  }
  return nullptr;
}

// `object`'s values of `keys` (null where missing), to compare in one go with
// a List of the expected ones.
inline nlohmann::json Fields(const nlohmann::json& object,
                             std::initializer_list<const char*> keys) {
  nlohmann::json values = nlohmann::json::array();
  for (const char* key : keys) {
    values.push_back(object.is_object() && object.contains(key) ? object[key] : nlohmann::json());
  }
  return values;
}

// A JSON array of `items` (a braced pair of strings would become an object).
inline nlohmann::json List(std::initializer_list<nlohmann::json> items) {
  return nlohmann::json(std::vector<nlohmann::json>(items));
}

// F2 on the welcome screen, up to the login dialog.
inline std::unique_ptr<Terminal> OpenLogin(SimHost& host, TerminalOptions options = {}) {
  auto console = host.StartConsole(options);
  Press(*console, Key::kF2, "Authentication Required");
  return console;
}

// Sends `keys` one at a time, each after the screen settled.
inline void Type(Terminal& console, const std::vector<Key>& keys) {
  for (Key key : keys) {
    console.SendKey(key);
    console.WaitUntilQuiet();
  }
}

inline void TypeText(Terminal& console, const std::string& text) {
  console.SendText(text);
  console.WaitUntilQuiet();
}

// Types `keys` one at a time, each after the screen showed the last one: the
// console drops keys that arrive while it draws. A key the field ignores
// changes nothing and costs a short wait.
inline void TypeKeys(Terminal& console, const std::string& keys) {
  for (char key : keys) {
    const std::string before = console.Text();
    console.Send(std::string(1, key));
    console.WaitFor([&] { return console.Text() != before; }, milliseconds(300));
    console.WaitUntilQuiet();
  }
}

// In the login dialog: up to the name, `user` typed over the preset "root",
// and down to the password again.
inline void TypeLoginName(Terminal& console, const std::string& user) {
  Type(console, {Key::kUp});
  TypeText(console, user);
  Type(console, {Key::kDown});
}

// Logs in from the welcome screen (as root unless `user` is given) and waits
// for the menu; the test ends when it does not come.
inline std::unique_ptr<Terminal> LogIn(SimHost& host,
                                       TerminalOptions options = {},
                                       const std::string& user = "",
                                       const std::string& password = "merel") {
  std::unique_ptr<Terminal> console = OpenLogin(host, options);
  if (!user.empty()) {
    TypeLoginName(*console, user);
  }
  console->SendText(password);
  console->SendKey(Key::kEnter);
  if (!WaitForMenu(*console)) {
    Fail("no menu after the login:\n" + console->Text());
  }
  return console;
}

// From the menu: logs out, and logs in again as root; `refused` (unless
// empty) is turned down first, `password` opens the menu.
inline void LogInAgain(Terminal& console, const std::string& refused, const std::string& password) {
  Press(console, Key::kEscape, "<F2>");
  Press(console, Key::kF2, "Authentication Required");
  if (!refused.empty()) {
    TypeText(console, refused);
    Press(console, Key::kEnter, "Invalid login or password.");
    console.SendKey(Key::kEnter);
    console.WaitUntilQuiet(milliseconds(150));
  }
  TypeText(console, password);
  console.SendKey(Key::kEnter);
  EXPECT_TRUE(WaitForMenu(console)) << console.Text();
}

// Moves the selection down, then up, until `entry` is selected.
inline bool SelectEntry(Terminal& console, const std::string& entry) {
  for (Key key : {Key::kDown, Key::kUp}) {
    for (int i = 0; i < 16 && RightTitle(console) != entry; ++i) {
      const std::string before = RightTitle(console);
      console.SendKey(key);
      console.WaitFor([&] { return RightTitle(console) != before; }, milliseconds(300));
      console.WaitUntilQuiet();
      if (RightTitle(console) == before) {
        break;  // the end of the list in this direction
      }
    }
  }
  return RightTitle(console) == entry;
}

// Selects the menu's `entry`, opens it and waits for `expected`; otherwise
// the test ends.
inline void Choose(Terminal& console, const std::string& entry, const std::string& expected) {
  if (!SelectEntry(console, entry)) {
    Fail("no entry " + entry + ":\n" + console.Text());
  }
  Press(console, Key::kEnter, expected);
}

// Logs in (as root), opens the menu's `entry` and waits for `expected` (or ends the test).
inline std::unique_ptr<Terminal> OpenEntry(SimHost& host,
                                           const std::string& entry,
                                           const std::string& expected,
                                           TerminalOptions options = {},
                                           const std::string& password = "merel") {
  auto console = LogIn(host, options, "", password);
  Choose(*console, entry, expected);
  return console;
}

// One step of a walk, named in its failures, also in one that ends the test.
inline void Step(const std::string& name, const std::function<void()>& step) {
  SCOPED_TRACE(name);
  try {
    step();
  } catch (const std::exception& failure) {
    ADD_FAILURE() << failure.what();
    throw;
  }
}

// The program ended by itself with status 0, or (with `signal`) was killed by that signal.
inline void ExpectExit(Terminal& console, int signal = 0) {
  const std::optional<ExitStatus> status = console.WaitForExit();
  ASSERT_TRUE(status.has_value()) << "still running:\n" << console.Text();
  EXPECT_TRUE(signal == 0 ? status->CleanExit() : status->signal == signal) << status->Describe();
}

// Names a parametrised case by its `name` field.
inline constexpr auto ByName = [](const auto& info) { return std::string(info.param.name); };

// Each line turns up in the host's `log` (the syslog unless named).
inline void ExpectLogged(const SimHost& host,
                         const std::vector<std::string>& lines,
                         const std::string& log = "/var/log/syslog.log") {
  for (const std::string& line : lines) {
    EXPECT_TRUE(host.WaitForFileText(log, line)) << line << " not in\n" << host.ReadFile(log);
  }
}

// Makes calls of the host library named `call` fail with `text`: all of
// them, or only the next one.
inline void FailCall(const SimHost& host,
                     const std::string& call,
                     const std::string& text,
                     bool once = false) {
  const std::string command = std::string("'") + MEREL_SIM_BIN + "' fail '" + host.Path("") + "' " +
                              call + " '" + text + "'" + (once ? " --once" : "");
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

// Rewrites the host's state before (or while) the console runs.
inline void ModifyHost(const SimHost& host, const std::function<void(nlohmann::json&)>& change) {
  nlohmann::json state = host.HostJson();
  ASSERT_TRUE(state.is_object()) << "host.json unreadable";
  change(state);
  host.WriteFile("/host.json", state.dump(2) + "\n");
}

}  // namespace MerelMenuTest
