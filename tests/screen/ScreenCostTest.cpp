// What an action costs: how often the console reads the host for it, and
// what it sends the terminal. Opening a screen sends only what differs from
// what the terminal shows (no clear), a key that changes nothing sends no
// clear, and each action reads the host's state file once.
#include <sys/inotify.h>
#include <unistd.h>

#include <climits>
#include <functional>
#include <memory>
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

// Each step is one action (one key and what it opens); before each, the
// reads of the steps before it are taken away.
TEST(ScreenCostTest, EachActionReadsTheHostOnce) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  StateFileOpens opens(host);
  ASSERT_TRUE(opens.Ok());
  auto console = host.StartConsole();
  ASSERT_TRUE(console->WaitForText("<F2> Customize System")) << console->Text();
  ASSERT_TRUE(console->WaitUntilQuiet());
  // The start-up: merel-sim run reads the host too before it starts the
  // console (to power it on).
  EXPECT_LE(opens.Take(), 3) << "start-up";

  const struct {
    const char* what;
    std::function<bool(Terminal&)> act;
    int opens;
  } steps[] = {
      {"a key the welcome screen does not use",
       [](Terminal& c) {
         const size_t before = c.Raw().size();
         c.SendText("x");
         return c.WaitFor([&] { return c.Raw().size() > before; }) && c.WaitUntilQuiet();
       },
       1},
      {"opening the login",
       [](Terminal& c) {
         c.SendKey(Key::kF2);
         return WaitQuiet(c, "Authentication Required");
       },
       1},
      {"logging in (the host's PAM module reads the host too)",
       [](Terminal& c) {
         c.SendText("merel");
         c.WaitUntilQuiet();
         c.SendKey(Key::kEnter);
         return WaitForMenu(c);
       },
       INT_MAX},
      {"a menu move",
       [](Terminal& c) {
         const std::string before = RightTitle(c);
         c.SendKey(Key::kDown);
         return c.WaitFor([&] { return RightTitle(c) != before; }) && c.WaitUntilQuiet();
       },
       1},
  };
  for (const auto& step : steps) {
    opens.Take();
    ASSERT_TRUE(step.act(*console)) << step.what << "\n" << console->Text();
    const int count = opens.Take();
    if (step.opens != INT_MAX) {
      EXPECT_LE(count, step.opens) << step.what;
    }
  }
  // Opening the network window, twice: each opening reads the host afresh.
  ASSERT_TRUE(SelectEntry(*console, "Configure Management Network"));
  for (int opening = 1; opening <= 2; ++opening) {
    opens.Take();
    console->SendKey(Key::kEnter);
    ASSERT_TRUE(console->WaitFor([&] {
      return console->Text().find("<Esc> Exit") != std::string::npos;
    }) && console->WaitUntilQuiet())
        << console->Text();
    const int count = opens.Take();
    EXPECT_GE(count, 1) << "opening " << opening;
    EXPECT_LE(count, 2) << "opening " << opening;
    console->SendKey(Key::kEscape);
    ASSERT_TRUE(WaitForMenu(*console)) << console->Text();
  }
}

// Full-screen windows open without clearing the terminal, on every kind of
// terminal; only the very first frame starts from a clear screen.
TEST(ScreenCostTest, FullScreenWindowsOpenWithoutAClear) {
  for (const char* term : {"xterm", "vt102", "xterm-256color"}) {
    SimHost host;
    ASSERT_TRUE(host.Ok());
    auto console = host.StartConsole({.term = term});
    ASSERT_TRUE(console->WaitForText("<F2> Customize System")) << term;
    ASSERT_TRUE(console->WaitUntilQuiet());
    EXPECT_TRUE(HasClear(console->Raw())) << term << ": the first frame";
    console->SendKey(Key::kF2);
    ASSERT_TRUE(WaitQuiet(*console, "Authentication Required")) << term;
    console->SendText("merel");
    console->WaitUntilQuiet();
    size_t before = console->Raw().size();
    console->SendKey(Key::kEnter);
    ASSERT_TRUE(WaitForMenu(*console)) << term << "\n" << console->Text();
    EXPECT_FALSE(HasClear(console->Raw().substr(before))) << term << ": the menu";

    ASSERT_TRUE(SelectEntry(*console, "Configure Management Network")) << term;
    before = console->Raw().size();
    console->SendKey(Key::kEnter);
    ASSERT_TRUE(console->WaitFor([&] {
      return console->Text().find("<Esc> Exit") != std::string::npos;
    }) && console->WaitUntilQuiet())
        << term << "\n" << console->Text();
    EXPECT_FALSE(HasClear(console->Raw().substr(before))) << term << ": the network window";
    // What the user sees is the whole window all the same.
    EXPECT_EQ(CellText(*console, 1, 3, 28), "Configure Management Network") << term;
  }
}

// F4 where colours cannot be redefined changes nothing and sends no clear;
// any other unused key still repaints the whole screen (the way to mend a
// garbled one).
TEST(ScreenCostTest, OnlyTheRepaintKeyRepaintsTheWelcomeScreen) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = host.StartConsole({.term = "xterm"});
  ASSERT_TRUE(console->WaitForText("<F2> Customize System")) << console->Text();
  ASSERT_TRUE(console->WaitUntilQuiet());
  const std::string screen = console->Text();
  size_t before = console->Raw().size();
  console->SendKey(Key::kF4);
  console->SendKey(Key::kF4);
  // A key with a visible answer after them: whatever F4 sent came first.
  console->SendKey(Key::kF2);
  ASSERT_TRUE(WaitQuiet(*console, "Authentication Required")) << console->Text();
  EXPECT_FALSE(HasClear(console->Raw().substr(before)));
  console->SendKey(Key::kEscape);
  ASSERT_TRUE(WaitGone(*console, "Authentication Required")) << console->Text();
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
