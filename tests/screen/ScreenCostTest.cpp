// What an action costs: how often the console reads the host's state file for it,
// and whether it clears the terminal (opening a screen sends only what differs).
#include <sys/inotify.h>
#include <unistd.h>

#include <climits>
#include <regex>

#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;

// Opens of ROOT/host.json, by the console and by the host tools it runs,
// counted from the moment the counter is made.
class StateFileOpens {
 public:
  explicit StateFileOpens(const SimHost& host) : _fd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    inotify_add_watch(_fd, host.Path("").c_str(), IN_OPEN);
  }
  ~StateFileOpens() { close(_fd); }
  StateFileOpens(const StateFileOpens&) = delete;
  StateFileOpens& operator=(const StateFileOpens&) = delete;
  bool Ok() const { return _fd >= 0; }

  // Opens since the last call.
  int Take() {
    int count = 0;
    alignas(inotify_event) char buffer[4096];
    for (ssize_t n; (n = read(_fd, buffer, sizeof buffer)) > 0;) {
      for (ssize_t at = 0; at < n;) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
        count += event->len > 0 && std::string(event->name) == "host.json" ? 1 : 0;
        at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
      }
    }
    return count;
  }

 private:
  const int _fd;
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
    Expect(*console, "<F2> Customize System");
    EXPECT_TRUE(HasClear(console->Raw())) << "the first frame";
    // The start-up: merel-sim run reads the host too before it starts the
    // console (to power it on).
    EXPECT_LE(opens.Take(), 3) << "start-up";

    // `act`, then between `least` and `most` opens, and no clear unless `mayClear`.
    const auto step = [&](const char* what, int least, int most, bool mayClear,
                          const std::function<bool()>& act) {
      opens.Take();
      const size_t before = console->Raw().size();
      ASSERT_TRUE(act()) << what << "\n" << console->Text();
      const int count = opens.Take();
      EXPECT_TRUE(count >= least && count <= most) << what << ": " << count;
      EXPECT_TRUE(mayClear || !HasClear(console->Raw().substr(before))) << what;
    };
    step("a key the welcome screen does not use", 0, 1, true, [&] {
      const size_t before = console->Raw().size();
      console->SendText("x");
      return console->WaitFor([&] { return console->Raw().size() > before; }) &&
             console->WaitUntilQuiet();
    });
    step("opening the login", 0, 1, true, [&] {
      console->SendKey(Key::kF2);
      const bool open = WaitQuiet(*console, "Authentication Required");
      console->SendText("merel");
      return open && console->WaitUntilQuiet();
    });
    step("logging in (the host's PAM module reads the host too)", 0, INT_MAX, false, [&] {
      console->SendKey(Key::kEnter);
      return WaitForMenu(*console);
    });
    step("a menu move", 0, 1, true, [&] {
      const std::string before = RightTitle(*console);
      console->SendKey(Key::kDown);
      return console->WaitFor([&] { return RightTitle(*console) != before; }) &&
             console->WaitUntilQuiet();
    });
    // Opening the network window, twice: each opening reads the host afresh.
    ASSERT_TRUE(SelectEntry(*console, "Configure Management Network"));
    for (int opening = 1; opening <= 2; ++opening) {
      step("opening the network window", 1, 2, false, [&] {
        console->SendKey(Key::kEnter);
        return WaitQuiet(*console, "<Esc> Exit");
      });
      // What the user sees is the whole window all the same.
      EXPECT_EQ(CellText(*console, 1, 3, 28), "Configure Management Network");
      PressToMenu(*console, Key::kEscape);
    }
  }
}

// Where the terminal cannot redefine its palette the console draws in black
// and white: dark backgrounds become standout text, light ones plain text.
// F4 (the colour toggle) must not switch colours on there: it changes
// nothing and sends no clear. Any other unused key still repaints the whole
// screen (the way to mend a garbled one).
TEST(ScreenCostTest, BlackAndWhiteWithoutPaletteAndOnlyTheRepaintKeyRepaints) {
  // No foreground or background colour (39/49, the default pair, are allowed).
  static const std::regex kColour(
      "\x1b\\[(?:[0-9;]*;)?(?:3[0-7]|4[0-7]|38;5;[0-9]+|48;5;[0-9]+)m");
  SimHost host;
  auto console = host.StartConsole({.term = "xterm"});
  Expect(*console, "<F2> Customize System");
  const std::string screen = console->Text();
  size_t before = console->Raw().size();
  console->SendKey(Key::kF4);
  console->SendKey(Key::kF4);
  // A key with a visible answer after them: whatever F4 sent came first.
  Press(*console, Key::kF2, "Authentication Required");
  EXPECT_FALSE(HasClear(console->Raw().substr(before)));
  ExpectLacks(console->Raw(), {"\x1b]4;"});  // no palette slot redefined
  EXPECT_FALSE(std::regex_search(console->Raw(), kColour));
  PressGone(*console, Key::kEscape, "Authentication Required");
  EXPECT_EQ(console->Text(), screen);
  const Cell top = console->CellAt(0, 0), bottom = console->CellAt(0, 24);
  EXPECT_EQ(std::tuple(top.reverse, bottom.reverse, bottom.bg),
            std::tuple(true, false, ConsoleColor::kDefault));

  before = console->Raw().size();
  console->SendText("x");
  ASSERT_TRUE(console->WaitFor([&] { return HasClear(console->Raw().substr(before)); }))
      << "no full repaint";
  ASSERT_TRUE(console->WaitUntilQuiet());
  EXPECT_EQ(console->Text(), screen);
}

}  // namespace
