// What an action costs: how often the console reads the host for it, and
// what it sends the terminal. Opening a screen sends only what differs from
// what the terminal shows (no clear), a key that changes nothing sends no
// clear, and each action reads the host's state file once.
#include <sys/inotify.h>
#include <unistd.h>

#include <climits>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;

// Opens of ROOT/host.json, by the console and by the host tools it runs,
// counted from the moment the counter is made.
class StateFileOpens {
 public:
  explicit StateFileOpens(const SimHost& host) {
    _fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (_fd >= 0) {
      inotify_add_watch(_fd, host.Path("").c_str(), IN_OPEN);
    }
  }
  ~StateFileOpens() {
    if (_fd >= 0) {
      close(_fd);
    }
  }
  StateFileOpens(const StateFileOpens&) = delete;
  StateFileOpens& operator=(const StateFileOpens&) = delete;
  bool Ok() const { return _fd >= 0; }

  // Opens since the last call.
  int Take() {
    int count = 0;
    alignas(inotify_event) char buffer[4096];
    for (;;) {
      const ssize_t n = read(_fd, buffer, sizeof buffer);
      if (n <= 0) {
        return count;
      }
      for (ssize_t at = 0; at < n;) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
        if (event->len > 0 && std::string(event->name) == "host.json") {
          ++count;
        }
        at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
      }
    }
  }

 private:
  int _fd = -1;
};

bool HasClear(const std::string& output) {
  return output.find("\x1b[2J") != std::string::npos ||
         output.find("\x1b[H\x1b[J") != std::string::npos;
}

// On every kind of terminal, each step is one action (one key and what it
// opens) and reads the host once; full-screen windows open without clearing
// the terminal (only the very first frame starts from a clear screen).
TEST(ScreenCostTest, EachActionReadsTheHostOnceAndWindowsOpenWithoutAClear) {
  for (const char* term : {"xterm", "vt102", "xterm-256color"}) {
    SCOPED_TRACE(term);
    SimHost host;
    StateFileOpens opens(host);
    ASSERT_TRUE(opens.Ok());
    auto console = host.StartConsole({.term = term});
    ASSERT_TRUE(console->WaitForText("<F2> Customize System")) << console->Text();
    ASSERT_TRUE(console->WaitUntilQuiet());
    EXPECT_TRUE(HasClear(console->Raw())) << "the first frame";
    // The start-up: merel-sim run reads the host too before it starts the
    // console (to power it on).
    EXPECT_LE(opens.Take(), 3) << "start-up";

    const struct {
      const char* what;
      std::function<bool(Terminal&)> act;
      int opens;  // at most; INT_MAX: not counted
      bool mayClear;
    } steps[] = {
        {"a key the welcome screen does not use",
         [](Terminal& c) {
           const size_t before = c.Raw().size();
           c.SendText("x");
           return c.WaitFor([&] { return c.Raw().size() > before; }) && c.WaitUntilQuiet();
         },
         1, true},
        {"opening the login",
         [](Terminal& c) {
           c.SendKey(Key::kF2);
           if (!WaitQuiet(c, "Authentication Required")) {
             return false;
           }
           c.SendText("merel");
           return c.WaitUntilQuiet();
         },
         1, true},
        {"logging in (the host's PAM module reads the host too)",
         [](Terminal& c) {
           c.SendKey(Key::kEnter);
           return WaitForMenu(c);
         },
         INT_MAX, false},
        {"a menu move",
         [](Terminal& c) {
           const std::string before = RightTitle(c);
           c.SendKey(Key::kDown);
           return c.WaitFor([&] { return RightTitle(c) != before; }) && c.WaitUntilQuiet();
         },
         1, true},
    };
    for (const auto& step : steps) {
      opens.Take();
      const size_t before = console->Raw().size();
      ASSERT_TRUE(step.act(*console)) << step.what << "\n" << console->Text();
      const int count = opens.Take();
      if (step.opens != INT_MAX) {
        EXPECT_LE(count, step.opens) << step.what;
      }
      if (!step.mayClear) {
        EXPECT_FALSE(HasClear(console->Raw().substr(before))) << step.what;
      }
    }
    // Opening the network window, twice: each opening reads the host afresh.
    ASSERT_TRUE(SelectEntry(*console, "Configure Management Network"));
    for (int opening = 1; opening <= 2; ++opening) {
      opens.Take();
      const size_t before = console->Raw().size();
      console->SendKey(Key::kEnter);
      ASSERT_TRUE(console->WaitFor([&] {
        return console->Text().find("<Esc> Exit") != std::string::npos;
      }) && console->WaitUntilQuiet())
          << console->Text();
      const int count = opens.Take();
      EXPECT_GE(count, 1) << "opening " << opening;
      EXPECT_LE(count, 2) << "opening " << opening;
      EXPECT_FALSE(HasClear(console->Raw().substr(before))) << "the network window";
      // What the user sees is the whole window all the same.
      EXPECT_EQ(CellText(*console, 1, 3, 28), "Configure Management Network");
      PressToMenu(*console, Key::kEscape);
    }
  }
}

// F4 where colours cannot be redefined changes nothing and sends no clear;
// any other unused key still repaints the whole screen (the way to mend a
// garbled one).
TEST(ScreenCostTest, OnlyTheRepaintKeyRepaintsTheWelcomeScreen) {
  SimHost host;
  auto console = host.StartConsole({.term = "xterm"});
  ASSERT_TRUE(console->WaitForText("<F2> Customize System")) << console->Text();
  ASSERT_TRUE(console->WaitUntilQuiet());
  const std::string screen = console->Text();
  size_t before = console->Raw().size();
  console->SendKey(Key::kF4);
  console->SendKey(Key::kF4);
  // A key with a visible answer after them: whatever F4 sent came first.
  Press(*console, Key::kF2, "Authentication Required");
  EXPECT_FALSE(HasClear(console->Raw().substr(before)));
  PressGone(*console, Key::kEscape, "Authentication Required");
  ASSERT_TRUE(console->WaitUntilQuiet());
  EXPECT_EQ(console->Text(), screen);

  before = console->Raw().size();
  console->SendText("x");
  ASSERT_TRUE(console->WaitFor([&] { return HasClear(console->Raw().substr(before)); }))
      << "no full repaint";
  ASSERT_TRUE(console->WaitUntilQuiet());
  EXPECT_EQ(console->Text(), screen);
}

}  // namespace
