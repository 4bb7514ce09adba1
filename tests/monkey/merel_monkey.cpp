// merel-monkey: random input into the real console on the demo host, meant
// for the sanitizer build. Printable keys, control bytes, every sequence of
// the key table, sequences cut short, large pastes of random bytes, resizes
// and now and then a login to reach the menu and what it opens.
//
// It fails on a crash, a sanitizer report (the console's standard error goes
// to /dev/null, so the reports are sent to files), a hang, or a terminal left
// unrestored when the console ends. The console ends on purpose with status 0
// on Ctrl-C, Ctrl-\, a hangup and a resize; then the terminal is checked and a
// new one is started. The seed and the key count replay a run.
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Harness.h"

namespace {

using namespace MerelTest;
using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

// Every sequence the console defines, and the keys it acts on by byte.
// (A digit after \x1b is split off: it would extend the hex escape.)
const char* const kKeyTable[] = {
    "\x1bR",    "\x1b[11~", "\x1b[12~", "\x1b[13~", "\x1b[14~", "\x1b[15~", "\x1b[17~",
    "\x1b[18~", "\x1b[19~", "\x1b[20~", "\x1b[21~", "\x1b[23~", "\x1b[24~", "\x1b" "1",
    "\x1b" "2", "\x1b" "3", "\x1b" "4", "\x1b" "5", "\x1b" "6", "\x1b" "7", "\x1b" "8",
    "\x1b" "9", "\x1b" "0", "\x1b!",    "\x1b@",    "\x1bh",    "\x1bk",    "\x1b+",
    "\x1b-",    "\x1b?",    "\x1b/",    "\x1b[M",   "\x1b[N",   "\x1b[O",   "\x1b[P",
    "\x1b[Q",   "\x1b[R",   "\x1b[S",   "\x1b[T",   "\x1b[U",   "\x1b[V",   "\x1b[W",
    "\x1b[X",   "\x1bOP",   "\x1bOQ",   "\x1bOR",   "\x1bOS",   "\x1bOT",   "\x1bOU",
    "\x1bOV",   "\x1bOW",   "\x1bOX",   "\x1bOY",   "\x1bOA",   "\x1bOB",   "\x1bOC",
    "\x1bOD",   "\x1b[A",   "\x1b[B",   "\x1b[C",   "\x1b[D",   "\x1b[2~",  "\x1b[3~",
    "\x1b[1~",  "\x1b[4~",  "\x1b[5~",  "\x1b[6~",  "\x7f",
    // Keys the screens act on by their byte.
    "\r", "\n", "\t", " ", "\x1b"};
constexpr size_t kKeyTableSize = sizeof(kKeyTable) / sizeof(kKeyTable[0]);
static_assert(kKeyTableSize == 68 + 5, "the 68 sequences of the key table and 5 plain keys");

constexpr char kCtrlC = 0x03, kCtrlQ = 0x11, kCtrlS = 0x13, kCtrlZ = 0x1a, kCtrlBackslash = 0x1c;
const milliseconds kHangLimit(5000);
const milliseconds kQuickLook(1000);

struct Options {
  uint64_t seed = 0;
  long keys = 20000;
  std::string term = "xterm";
  bool verbose = false;
  bool keepGoing = false;  // report a failure, start a new console, go on
};

std::string Printable(const std::string& bytes) {
  std::string out;
  for (unsigned char c : bytes.substr(0, 24)) {
    char buffer[8];
    if (c >= 0x20 && c < 0x7f) {
      out += static_cast<char>(c);
    } else {
      snprintf(buffer, sizeof buffer, "\\x%02x", c);
      out += buffer;
    }
  }
  return bytes.size() > 24 ? out + "... (" + std::to_string(bytes.size()) + " bytes)" : out;
}

std::string ReadText(const std::string& path) {
  std::ifstream in(path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

class Monkey {
 public:
  explicit Monkey(const Options& options) : _options(options), _random(options.seed) {
    char pattern[] = "/tmp/merel-monkey-XXXXXX";
    _logDir = mkdtemp(pattern) != nullptr ? pattern : "/tmp";
  }
  ~Monkey() {
    std::error_code ignored;
    if (_failure.empty()) {
      fs::remove_all(_logDir, ignored);
    }
  }

  int Run();

 private:
  bool Start();
  bool Step(long index);
  bool Fail(const std::string& what);
  bool CheckExit(bool restart = true);
  bool HostWentDown() const;
  std::string Unrestored() const;
  bool CheckSanitizerLogs();
  bool Probe();
  bool AsleepWithInputRead() const;
  void Record(const std::string& action) {
    _recent.push_back(action);
    if (_recent.size() > 20) {
      _recent.pop_front();
    }
  }
  bool Send(const std::string& bytes, const std::string& what);
  size_t Pick(size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(_random); }
  bool Chance(double p) { return std::uniform_real_distribution<double>(0, 1)(_random) < p; }
  std::vector<pid_t> Children() const;

  Options _options;
  std::mt19937_64 _random;
  std::string _logDir;
  std::unique_ptr<SimHost> _host;
  std::unique_ptr<Terminal> _terminal;
  std::deque<std::string> _recent;
  std::string _failure;
  long _failures = 0;
  long _hostDowns = 0;
  long _starts = 0, _exits = 0, _probes = 0, _pastes = 0, _resizes = 0, _logins = 0;
};

bool Monkey::Fail(const std::string& what) {
  _failure = what;
  ++_failures;
  fprintf(stderr, "\nmerel-monkey: FAILED: %s\n", what.c_str());
  fprintf(stderr, "replay with: --seed %llu --keys %ld --term %s\n",
          static_cast<unsigned long long>(_options.seed), _options.keys, _options.term.c_str());
  fprintf(stderr, "last actions:\n");
  for (const std::string& action : _recent) {
    fprintf(stderr, "  %s\n", action.c_str());
  }
  if (_terminal) {
    fprintf(stderr, "screen:\n%s\n", _terminal->Text().c_str());
  }
  fprintf(stderr, "sanitizer logs (if any) kept in %s\n", _logDir.c_str());
  return _options.keepGoing;
}

bool Monkey::Start() {
  TerminalOptions options;
  options.term = _options.term;
  options.env["ASAN_OPTIONS"] = "detect_leaks=0:log_path=" + _logDir + "/asan";
  options.env["UBSAN_OPTIONS"] =
      "print_stacktrace=1:halt_on_error=1:log_path=" + _logDir + "/ubsan";
  _terminal = std::make_unique<Terminal>(options);
  _terminal->TrackScreen();
  ++_starts;
  // --now: a host that was restarted comes back at once.
  if (!_terminal->Start({MEREL_SIM_BIN, "run", "--now", _host->Path("")})) {
    return Fail("cannot start the console");
  }
  // As a user would: nothing typed before the first draw.
  if (!_terminal->WaitFor([&] { return !_terminal->Raw().empty(); }) ||
      !_terminal->WaitUntilQuiet(milliseconds(100))) {
    return _terminal->Running() ? Fail("the console drew nothing") : CheckExit();
  }
  return true;
}

// The console has ended (or is ending): how it ended, and what it left.
bool Monkey::CheckExit(bool restart) {
  const auto status = _terminal->WaitForExit(kHangLimit);
  if (!status) {
    return true;  // still running after all
  }
  ++_exits;
  // A memory fault reported on the way out outranks how the process ended.
  const long failures = _failures;
  if (!CheckSanitizerLogs()) {
    return false;
  }
  if (_failures > failures) {
    // reported; the exit status only repeats it
  } else if (!status->exited && status->signal == SIGKILL && HostWentDown()) {
    // Shut down, restarted or reset on the user's word: the host takes its
    // console down without asking, as a real one would, and hands the
    // terminal back first. That is a planned end; the terminal is checked
    // and the host powered on again.
    ++_hostDowns;
    if (std::string left = Unrestored(); !left.empty()) {
      if (!Fail("the host took the console down leaving " + left)) {
        return false;
      }
    } else {
      Record("(the host went down and took the console with it; terminal restored)");
    }
  } else if (!status->exited) {
    if (!Fail("the console was " + status->Describe())) {
      return false;
    }
  } else if (status->code != 0) {
    if (!Fail("the console " + status->Describe())) {
      return false;
    }
  } else if (std::string left = Unrestored(); !left.empty()) {
    if (!Fail("the console ended leaving " + left)) {
      return false;
    }
  } else {
    Record("(console ended with status 0; terminal restored)");
  }
  return !restart || Start();
}

// Whether the simulated host is off or restarting: it is then the host that
// ended the console.
bool Monkey::HostWentDown() const {
  const nlohmann::json host = _host->HostJson();
  return host.is_object() && host.value("powerState", std::string("on")) != "on";
}

// What of the terminal the console did not put back, "" when all of it.
std::string Monkey::Unrestored() const {
  std::string left;
  struct termios attributes = {};
  if (tcgetattr(_terminal->MasterFd(), &attributes) == 0) {
    if ((attributes.c_lflag & ECHO) == 0) {
      left += " echo off,";
    }
    if ((attributes.c_lflag & ICANON) == 0) {
      left += " line mode off,";
    }
  }
  if (!_terminal->CursorVisible()) {
    left += " the cursor hidden,";
  }
  if (_terminal->AltScreen()) {
    left += " the alternate screen,";
  }
  if (!left.empty()) {
    left = "the terminal with" + left.substr(0, left.size() - 1);
  }
  return left;
}

bool Monkey::CheckSanitizerLogs() {
  std::string reports;
  for (const auto& entry : fs::directory_iterator(_logDir)) {
    if (entry.path().filename().string().starts_with("reported")) {
      continue;
    }
    reports += "--- " + entry.path().string() + "\n" + ReadText(entry.path().string());
    std::error_code ignored;  // kept, but reported once
    fs::rename(entry.path(), _logDir + "/reported-" + entry.path().filename().string(), ignored);
  }
  if (!reports.empty()) {
    fprintf(stderr, "%s\n", reports.substr(0, 8000).c_str());
    return Fail("sanitizer report");
  }
  return true;
}

std::vector<pid_t> Monkey::Children() const {
  std::vector<pid_t> children;
  const std::string path = "/proc/" + std::to_string(_terminal->Pid()) + "/task/" +
                           std::to_string(_terminal->Pid()) + "/children";
  std::istringstream in(ReadText(path));
  for (pid_t pid; in >> pid;) {
    children.push_back(pid);
  }
  return children;
}

// Is the console still answering? A key that moves or redraws something
// (Down: the welcome screen redraws on any key, lists move) must bring output
// within the limit. Some screens have nothing to move: then the console must
// at least have taken every byte of input and be asleep waiting for more. A
// pager started from the log list is the pager's business: it is told to
// quit first.
bool Monkey::Probe() {
  ++_probes;
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (!_terminal->Running()) {
      return CheckExit();
    }
    const std::vector<pid_t> children = Children();
    if (!children.empty()) {
      for (pid_t child : children) {
        kill(child, SIGINT);  // a pager following a file waits for an interrupt
      }
      _terminal->Send("q");
    }
    const size_t before = _terminal->Raw().size();
    _terminal->Send("\x1b[B");
    // A screen with something to move answers at once; the first look is
    // short, so that one with nothing to move (the password field of the
    // login) costs a second, not the whole limit.
    if (_terminal->WaitFor(
            [&] { return _terminal->Raw().size() > before || !_terminal->Running(); },
            attempt == 0 ? kQuickLook : kHangLimit)) {
      return _terminal->Running() ? true : CheckExit();
    }
    if (AsleepWithInputRead()) {
      return true;
    }
  }
  const std::string wchan = ReadText("/proc/" + std::to_string(_terminal->Pid()) + "/wchan");
  if (!Fail("hang: no output for " +
            std::to_string((kQuickLook + kHangLimit).count() / 1000) +
            " s and input unread or the console busy, waiting in " + wchan)) {
    return false;
  }
  _terminal.reset();  // kills it
  return Start();
}

// No output: has it at least read its input, and is it asleep rather than
// stuck in a loop or blocked?
bool Monkey::AsleepWithInputRead() const {
  int pending = -1;
  const int slave = open(ptsname(_terminal->MasterFd()), O_RDWR | O_NOCTTY);
  if (slave >= 0) {
    ioctl(slave, FIONREAD, &pending);
    close(slave);
  }
  const std::string stat = ReadText("/proc/" + std::to_string(_terminal->Pid()) + "/stat");
  const size_t paren = stat.rfind(')');
  const char state = paren != std::string::npos && paren + 2 < stat.size() ? stat[paren + 2] : '?';
  return pending == 0 && state == 'S' && Children().empty();
}

bool Monkey::Send(const std::string& bytes, const std::string& what) {
  Record(what + ": " + Printable(bytes));
  if (_options.verbose) {
    fprintf(stderr, "%s: %s\n", what.c_str(), Printable(bytes).c_str());
  }
  _terminal->Send(bytes);
  // Read what it drew, so it never blocks writing to us; do not wait long.
  _terminal->WaitUntilQuiet(milliseconds(1), milliseconds(8));
  return true;
}

bool Monkey::Step(long index) {
  if (!_terminal->Running()) {
    if (!CheckExit()) {
      return false;
    }
  }
  const double roll = std::uniform_real_distribution<double>(0, 1)(_random);
  if (roll < 0.42) {
    Send(std::string(1, static_cast<char>(0x20 + Pick(0x5f))), "printable");
  } else if (roll < 0.78) {
    const std::string key = kKeyTable[Pick(kKeyTableSize)];
    Send(key, "key");
    if (key == "\x1b" && Chance(0.5)) {
      // Left alone long enough, it is the Escape key rather than a prefix.
      _terminal->WaitUntilQuiet(milliseconds(40), milliseconds(200));
    }
  } else if (roll < 0.88) {
    // A sequence cut short, then (often) a key right after it.
    const std::string key = kKeyTable[Pick(kKeyTableSize)];
    std::string bytes = key.substr(0, 1 + Pick(std::max<size_t>(key.size() - 1, 1)));
    if (Chance(0.5)) {
      bytes += kKeyTable[Pick(kKeyTableSize)];
    }
    Send(bytes, "truncated sequence");
  } else if (roll < 0.985) {
    // Control bytes that do not end the console on their own.
    char c = static_cast<char>(Pick(0x20));
    if (c == kCtrlC || c == kCtrlZ || c == kCtrlBackslash) {
      c = '\x01';
    }
    Send(std::string(1, c), "control byte");
    if (c == kCtrlS) {
      Send(std::string(1, kCtrlQ), "control byte (output on again)");
    }
  } else if (roll < 0.997) {
    // The way into the menu and everything it opens.
    ++_logins;
    Send("\x1bOQ", "login: F2");
    _terminal->WaitUntilQuiet(milliseconds(30), milliseconds(500));
    Send("merel\r", "login: password");
    _terminal->WaitUntilQuiet(milliseconds(50), milliseconds(2000));
  } else if (roll < 0.998) {
    // Suspend, interrupt and quit: the last two end the console on purpose.
    const char c = std::vector<char>{kCtrlZ, kCtrlZ, kCtrlC, kCtrlBackslash}[Pick(4)];
    Send(std::string(1, c), "signal key");
  } else if (roll < 0.9985) {
    // The line dropped (an SSH session gone): it must end like on any other
    // termination signal, status 0 and the terminal put back.
    Record("hangup (SIGHUP)");
    _terminal->Signal(SIGHUP);
    _terminal->WaitUntilQuiet(milliseconds(5), milliseconds(50));
  } else if (roll < 0.999) {
    ++_pastes;
    std::string paste(10 * 1024, '\0');
    for (char& c : paste) {
      c = static_cast<char>(Pick(256));
      if (c == kCtrlS) {
        c = kCtrlQ;  // a stopped output is not a hang
      } else if (c == kCtrlC || c == kCtrlZ || c == kCtrlBackslash) {
        // Each signal character makes the terminal throw away the output
        // nobody has read yet: one after the ^C that ended the console would
        // throw away the console's last output, the terminal put back, and
        // that is the terminal's doing. Signal keys come on their own.
        c = '\x01';
      }
    }
    Send(paste, "paste");
    if (!Probe()) {
      return false;
    }
  } else {
    ++_resizes;
    const int cols = 60 + static_cast<int>(Pick(60)), rows = 20 + static_cast<int>(Pick(20));
    Record("resize to " + std::to_string(cols) + "x" + std::to_string(rows));
    _terminal->Resize(cols, rows);
    _terminal->WaitUntilQuiet(milliseconds(5), milliseconds(50));
  }
  if (index % 200 == 199 && _terminal->Running() && !Probe()) {
    return false;
  }
  return true;
}

int Monkey::Run() {
  printf("merel-monkey: seed %llu, %ld keys, TERM=%s\n",
         static_cast<unsigned long long>(_options.seed), _options.keys, _options.term.c_str());
  fflush(stdout);
  _host = std::make_unique<SimHost>();
  if (!_host->Ok() || !Start()) {
    return 1;
  }
  const auto started = Clock::now();
  for (long i = 0; i < _options.keys; ++i) {
    if (!Step(i)) {
      return 1;
    }
    if (i % 5000 == 4999) {
      printf("  %ld keys, %ld starts, %.0f s\n", i + 1, _starts,
             std::chrono::duration<double>(Clock::now() - started).count());
      fflush(stdout);
    }
  }
  if (_terminal->Running() && !Probe()) {
    return 1;
  }
  // A last orderly end: its terminal is checked like every other.
  _terminal->Signal(SIGTERM);
  const bool ended = CheckExit(false) && CheckSanitizerLogs();
  printf("merel-monkey: %s: %ld keys, %ld consoles started, %ld ended, %ld probes, %ld pastes, "
         "%ld resizes, %ld logins, %ld host shut-downs, %ld failure(s), %.0f s\n",
         ended && _failures == 0 ? "passed" : "FAILED", _options.keys, _starts, _exits, _probes,
         _pastes, _resizes, _logins, _hostDowns, _failures,
         std::chrono::duration<double>(Clock::now() - started).count());
  return ended && _failures == 0 ? 0 : 1;
}

int Usage() {
  fprintf(stderr,
          "usage: merel-monkey [--seed N] [--keys N] [--term TERM] [--verbose] [--keep-going]\n"
          "  the seed defaults to one taken from the clock; it is printed first\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  options.seed = static_cast<uint64_t>(Clock::now().time_since_epoch().count()) % 1000000007ULL;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--seed" && i + 1 < argc) {
      options.seed = strtoull(argv[++i], nullptr, 10);
    } else if (arg == "--keys" && i + 1 < argc) {
      options.keys = strtol(argv[++i], nullptr, 10);
    } else if (arg == "--term" && i + 1 < argc) {
      options.term = argv[++i];
    } else if (arg == "--keep-going") {
      options.keepGoing = true;
    } else if (arg == "--verbose") {
      options.verbose = true;
    } else {
      return Usage();
    }
  }
  signal(SIGPIPE, SIG_IGN);
  return Monkey(options).Run();
}
