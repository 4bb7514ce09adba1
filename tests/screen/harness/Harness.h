// The end-to-end harness: the real console in a pseudo-terminal, its output
// interpreted by libvterm so a test can read the screen (text, colours,
// attributes) the way a user would see it, on a fresh simulated host.
#pragma once

#include <sys/types.h>

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

// Waits in tests are generous: the suite runs on small shared machines and
// under the sanitizers. MEREL_TEST_TIMEOUT_SCALE multiplies every default.
milliseconds Scaled(milliseconds base);
inline milliseconds DefaultTimeout() {
  return Scaled(milliseconds(15000));
}

struct Rgb {
  uint8_t r = 0;
  uint8_t g = 0;
  uint8_t b = 0;
  bool operator==(const Rgb&) const = default;
};
std::string ToString(const Rgb& rgb);

// The console's six colours as it defines them (curses 0..1000 scale turned
// into 8-bit components the way the terminal description does it).
enum class ConsoleColor { kBlack, kRed, kLightGrey, kYellow, kDarkGrey, kWhite, kDefault, kOther };
const char* ToString(ConsoleColor color);

struct CellColor {
  bool isDefault = false;  // the terminal's default foreground/background
  int index = -1;          // palette slot, or -1 for a direct RGB colour
  Rgb rgb;                 // effective colour (palette redefinitions applied)
  // What the console meant: by palette slot (the console uses slots 0, 1, 2,
  // 3, 6, 7) or, for a direct colour, by its RGB value.
  ConsoleColor Console() const;
};

struct Cell {
  std::string text;  // UTF-8; " " for an empty cell
  CellColor fg;
  CellColor bg;
  bool bold = false;
  bool underline = false;
  bool reverse = false;
  bool blink = false;
  bool italic = false;
};

struct ExitStatus {
  bool exited = false;  // ended through exit(); otherwise killed by `signal`
  int code = -1;
  int signal = 0;
  bool CleanExit() const { return exited && code == 0; }
  std::string Describe() const;
};

enum class Key {
  kF1,
  kF2,
  kF3,
  kF4,
  kF5,
  kF6,
  kF7,
  kF8,
  kF9,
  kF10,
  kF11,
  kF12,
  kUp,
  kDown,
  kLeft,
  kRight,
  kHome,
  kEnd,
  kInsert,
  kDelete,
  kPageUp,
  kPageDown,
  kEnter,
  kEscape,
  kTab,
  kBackspace,
  kSpace,
};
// The curses key code the console should see for `key`.
int CursesCode(Key key);

struct TerminalOptions {
  std::string term = "xterm";
  int cols = 80;
  int rows = 25;
  int escDelayMs = 25;
  // Added to (or replacing) the base environment: TERM, LANG=C.UTF-8,
  // ESCDELAY, PATH, HOME and the sanitizer options. Nothing else of the test
  // runner's environment reaches the program (an SSH_CLIENT of the runner
  // would change how the console treats the terminal).
  std::map<std::string, std::string> env;
  std::vector<std::string> unset;  // base variables to leave out
};

// One program in a pseudo-terminal. Output is read only while the test waits
// (every Wait* call and Send pump it), which keeps runs deterministic.
class Terminal {
 public:
  explicit Terminal(TerminalOptions options = {});
  ~Terminal();  // kills and reaps a program still running
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  // forkpty + execve of `program` with `args` (argv[0] included). False when
  // the pseudo-terminal could not be made; an exec failure shows as exit 127.
  bool Start(const std::string& program, const std::vector<std::string>& args);
  pid_t Pid() const { return _pid; }
  const TerminalOptions& Options() const { return _options; }

  // Input. Send writes the bytes in one go (a multi-byte sequence must reach
  // the program in one read). A lone Esc is followed by a pause longer than
  // ESCDELAY, or it and the next key would read as one sequence.
  // The console throws away keys typed while a screen is being drawn: after
  // a key that changes the screen, wait for its result (WaitForText) or at
  // least WaitUntilQuiet before typing the next one. SendKeys does not wait.
  void Send(std::string_view bytes);
  void SendKey(Key key);
  void SendKeys(std::initializer_list<Key> keys);
  void SendText(std::string_view text) { Send(text); }
  // The bytes this terminal type sends for `key`.
  std::string KeyBytes(Key key) const;

  // Waiting. Each returns false on time-out.
  bool WaitFor(const std::function<bool()>& done, milliseconds timeout = DefaultTimeout());
  bool WaitForText(std::string_view text, milliseconds timeout = DefaultTimeout());
  bool WaitForRaw(std::string_view bytes, milliseconds timeout = DefaultTimeout());
  // Returns once nothing arrived for `quiet`.
  bool WaitUntilQuiet(milliseconds quiet = milliseconds(40),
                      milliseconds timeout = DefaultTimeout());
  // The program has drawn something and then gone quiet: safe to type.
  bool WaitForFirstDraw(milliseconds timeout = DefaultTimeout());
  // Reaps the program; drains what it wrote before ending.
  std::optional<ExitStatus> WaitForExit(milliseconds timeout = DefaultTimeout());
  bool Running();

  void Signal(int signal);
  // Changes the pseudo-terminal's size; the kernel sends SIGWINCH.
  void Resize(int cols, int rows);

  // The screen. Row is the full width; Text trims each row's trailing blanks
  // and joins the rows with "\n" (the form golden screens are kept in).
  std::string Row(int y) const;
  std::string Text() const;
  Cell CellAt(int x, int y) const;
  // Column of `text` in row `y`, or -1.
  int Find(int y, std::string_view text) const;

  // Everything the program wrote, byte for byte.
  const std::string& Raw() const { return _raw; }
  bool RawContains(std::string_view bytes) const { return _raw.find(bytes) != std::string::npos; }
  // Palette slots redefined through the output (OSC 4 on xterm types, OSC P
  // on the Linux console); cleared by a palette reset (OSC 104 / OSC R).
  const std::map<int, Rgb>& Palette() const { return _palette; }

 private:
  // Reads what is available within `wait`; returns the number of bytes.
  size_t Pump(milliseconds wait);
  void Feed(const char* data, size_t length);
  void ScanPalette();
  void Reap(bool block);
  static void OnOutput(const char* bytes, size_t length, void* user);

  TerminalOptions _options;
  pid_t _pid = -1;
  int _master = -1;
  bool _eof = false;
  std::optional<ExitStatus> _status;
  VTerm* _vt = nullptr;
  VTermScreen* _screen = nullptr;
  std::string _raw;
  size_t _paletteScan = 0;
  std::map<int, Rgb> _palette;
  std::chrono::steady_clock::time_point _lastOutput;
};

// A fresh simulated host root for one test, removed at the end (kept when
// MEREL_KEEP_ROOT=1, for looking at it after a failure).
class SimHost {
 public:
  // `fixture`: a host description in the fixtures folder (".json" may be
  // left out) or an absolute path; empty for the bundled demo host.
  explicit SimHost(const std::string& fixture = "");
  ~SimHost();
  SimHost(const SimHost&) = delete;
  SimHost& operator=(const SimHost&) = delete;

  bool Ok() const { return _ok; }
  const std::string& Root() const { return _root; }
  // A host path ("/var/run/merel.pid") inside the root.
  std::string Path(const std::string& hostPath) const;
  std::string ReadFile(const std::string& hostPath) const;  // "" when missing
  void WriteFile(const std::string& hostPath, const std::string& content) const;
  bool Exists(const std::string& hostPath) const;

  std::string Syslog() const { return ReadFile("/var/log/syslog.log"); }
  std::string ToolsLog() const { return ReadFile("/var/log/tools.log"); }
  std::string ObsvLog() const { return ReadFile("/var/log/obsvd.log"); }
  std::string AuditLog() const { return ReadFile("/var/log/audit.log"); }
  nlohmann::json HostJson() const;  // ROOT/host.json as stored
  nlohmann::json Show() const;      // `merel-sim show ROOT`

  // Waits until the host file contains `text` (logs are written by another
  // process, possibly a moment after the screen changed).
  bool WaitForFileText(const std::string& hostPath,
                       std::string_view text,
                       milliseconds timeout = DefaultTimeout()) const;
  bool WaitForSyslog(std::string_view text, milliseconds timeout = DefaultTimeout()) const {
    return WaitForFileText("/var/log/syslog.log", text, timeout);
  }

  // The console on this host (`merel-sim run ROOT args...`), started and
  // waited for until its first draw.
  std::unique_ptr<Terminal> StartConsole(TerminalOptions options = {},
                                         const std::vector<std::string>& args = {});

 private:
  std::string _root;
  bool _ok = false;
};

// Runs a program to completion, collecting standard output and error.
struct ProcessResult {
  int status = -1;  // exit code, or -1 when it did not exit normally
  std::string output;
};
ProcessResult RunProcess(const std::vector<std::string>& args);

// Compares the screen text with tests/golden/NAME.txt exactly; with
// MEREL_UPDATE_GOLDEN=1 rewrites the file instead.
void ExpectGoldenScreen(const Terminal& terminal, const std::string& name);

// Lines of a key trace file (MEREL_KEY_TRACE) as key codes.
std::vector<int> ReadKeyTrace(const std::string& path);

}  // namespace MerelTest
