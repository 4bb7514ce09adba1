// The end-to-end harness: the real console in a pseudo-terminal, its output
// interpreted by libvterm so a test can read the screen (text, colours) the
// way a user would see it, on a fresh simulated host.
#pragma once

#include <sys/types.h>
#include <termios.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

struct VTerm;
struct VTermScreen;

namespace MerelTest {

using std::chrono::milliseconds;

// Waits are generous: the suite runs on small shared machines and under the
// sanitizers. MEREL_TEST_TIMEOUT_SCALE multiplies every default.
milliseconds Scaled(milliseconds base);
inline milliseconds DefaultTimeout() {
  return Scaled(milliseconds(15000));
}

// The console's colours by the palette slots it uses; kDefault is the
// terminal's own default colour (what a black-and-white console draws in).
enum class ConsoleColor { kBlack, kRed, kLightGrey, kYellow, kDarkGrey, kWhite, kDefault, kOther };

struct Cell {
  std::string text;  // UTF-8; " " for an empty cell
  ConsoleColor fg = ConsoleColor::kOther, bg = ConsoleColor::kOther;
  bool reverse = false, bold = false;
};

struct ExitStatus {
  bool exited = false;  // ended through exit(); otherwise killed by `signal`
  int code = -1, signal = 0;
  bool CleanExit() const { return exited && code == 0; }
  std::string Describe() const;
};

enum class Key {
  kF2, kF3, kF4, kUp, kDown, kHome, kEnd, kPageUp, kPageDown, kEnter, kEscape, kSpace, kF11, kF12
};

struct TerminalOptions {
  std::string term = "xterm";  // empty: no TERM at all
  int cols = 80;
  int rows = 25;
  // Added to the base environment (TERM, LANG, ESCDELAY, PATH, HOME, the
  // sanitizer options). Nothing else of the runner's environment reaches the
  // program: an SSH_CLIENT there would change how the console treats the terminal.
  std::map<std::string, std::string> env = {};
};

// One program in a pseudo-terminal. Output is read only while the test waits
// (every Wait* call and Send pump it), which keeps runs deterministic.
// The console throws away keys typed while it draws: after a key that changes
// the screen, wait for its result before typing the next one.
class Terminal {
 public:
  explicit Terminal(TerminalOptions options = {});
  ~Terminal();  // kills and reaps a program still running
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  // forkpty + execve; an exec failure shows as exit 127.
  bool Start(const std::vector<std::string>& argv);
  pid_t Pid() const { return _pid; }
  const TerminalOptions& Options() const { return _options; }

  // Bytes go out in one write (a sequence must reach the program in one
  // read). A lone Esc is followed by a pause longer than ESCDELAY.
  void Send(std::string_view bytes);
  void SendText(std::string_view text) { Send(text); }
  void SendKey(Key key);
  void SendKeys(std::initializer_list<Key> keys);

  // Each returns false on time-out.
  bool WaitFor(const std::function<bool()>& done, milliseconds timeout = DefaultTimeout());
  bool WaitForText(std::string_view text, milliseconds timeout = DefaultTimeout());
  // Returns once nothing arrived for `quiet` and the program waits for a
  // key (or, after a longer silence, sleeps on something else).
  bool WaitUntilQuiet(milliseconds quiet = milliseconds(40),
                      milliseconds timeout = DefaultTimeout());
  // Reaps the program and drains what it wrote before ending.
  std::optional<ExitStatus> WaitForExit(milliseconds timeout = DefaultTimeout());
  bool Running();
  void Signal(int signal);
  void Resize(int cols, int rows);  // the kernel sends SIGWINCH
  // Closes the pty's master side, as a dropped serial line or SSH session
  // does: the kernel hangs the terminal up (SIGHUP to the session leader and
  // the foreground group). Nothing can be sent or read afterwards.
  void HangUp();
  // The terminal's modes as the program left them; readable through the
  // master also after the program has ended (until HangUp).
  std::optional<struct termios> Modes() const;
  // Live processes of the program's session: the program and whatever it
  // started on the terminal; with `zombies`, those ended and not reaped.
  std::vector<pid_t> SessionProcesses(bool zombies = false) const;

  // Text trims each row's trailing blanks and joins rows with "\n" (the form
  // golden screens are kept in). Find gives the column of `text` in row y, or -1.
  std::string Text() const;
  Cell CellAt(int x, int y) const;
  int Find(int y, std::string_view text) const;
  const std::string& Raw() const { return _raw; }  // everything the program wrote

  // Measurement for the benchmark and the monkey test; nothing of it runs
  // until TrackScreen is called, so the screen tests see the plain emulator.
  // Follows libvterm's damage, the cursor's visibility and the alternate
  // screen from now on.
  void TrackScreen();
  // Remembers every cell as it is now and forgets the damage seen so far.
  void MarkScreen();
  // Cells damaged since MarkScreen whose text or attributes differ from what
  // they were then: a cell rewritten with what it already showed is not counted.
  int ChangedCells() const;
  bool CursorVisible() const;
  // Where the terminal's cursor is now, as (x, y); kept with or without
  // TrackScreen.
  std::pair<int, int> CursorPosition() const;
  bool AltScreen() const;
  // When the last byte of output arrived (the start, before any).
  std::chrono::steady_clock::time_point LastOutputTime() const;
  // The Linux console's palette sequences (ESC ] P nrrggbb, ESC ] R) have no
  // terminator, and libvterm swallows the text after them as part of an OSC
  // string. When on, they are kept out of the emulator (Raw() still has them).
  void DropLinuxPaletteSequences(bool on);
  int MasterFd() const { return _master; }

 private:
  enum class Activity { kBusy, kAsleep, kAwaitingInput };
  // What the program's session is doing now: kAwaitingInput when nothing
  // typed is pending, none of its processes runs, and one of them waits for
  // the terminal.
  Activity CurrentActivity() const;
  size_t Pump(milliseconds wait);  // reads what comes within `wait`
  void Reap(bool block);
  std::string CellText(int x, int y) const;  // "" for the right half of a wide character

  TerminalOptions _options;
  pid_t _pid = -1;
  int _master = -1;
  bool _eof = false;
  std::optional<ExitStatus> _status;
  VTerm* _vt = nullptr;
  VTermScreen* _screen = nullptr;
  std::string _raw;
  struct Tracking;
  std::unique_ptr<Tracking> _tracking;
  void Feed(const char* bytes, size_t length);
};

// A step a test cannot go on without failed: ends the test (gtest reports
// the exception with `what`).
[[noreturn]] void Fail(const std::string& what);

// A fresh simulated host root for one test, removed at the end.
class SimHost {
 public:
  // `fixture`: a host description in the fixtures folder (".json" may be
  // left out); empty for the bundled demo host. Throws when the root cannot
  // be made, so that nothing is ever written outside one.
  explicit SimHost(const std::string& fixture = "");
  ~SimHost();
  SimHost(const SimHost&) = delete;
  SimHost& operator=(const SimHost&) = delete;

  bool Ok() const { return _ok; }
  std::string Path(const std::string& hostPath) const { return _root + hostPath; }
  std::string ReadFile(const std::string& hostPath) const;  // "" when missing
  void WriteFile(const std::string& hostPath, const std::string& content) const;

  std::string Syslog() const { return ReadFile("/var/log/syslog.log"); }
  std::string ObsvLog() const { return ReadFile("/var/log/obsvd.log"); }
  nlohmann::json HostJson() const;  // ROOT/host.json as stored

  // Logs are written by another process, possibly a moment after the screen changed.
  bool WaitForFileText(const std::string& hostPath,
                       std::string_view text,
                       milliseconds timeout = DefaultTimeout()) const;
  bool WaitForSyslog(std::string_view text, milliseconds timeout = DefaultTimeout()) const {
    return WaitForFileText("/var/log/syslog.log", text, timeout);
  }

  // `merel-sim run ROOT args...`, waited for until its first draw has settled.
  std::unique_ptr<Terminal> StartConsole(TerminalOptions options = {},
                                         const std::vector<std::string>& args = {});

 private:
  std::string _root;
  bool _ok = false;
};

// Compares the screen text with tests/golden/NAME.txt; with
// MEREL_UPDATE_GOLDEN=1 rewrites the file instead.
void ExpectGoldenScreen(const Terminal& terminal, const std::string& name);

}  // namespace MerelTest
