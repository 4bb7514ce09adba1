// The harness: the program under test in a pseudo-terminal (forkpty, its
// output fed to libvterm) and a throw-away simulated host root per test.
#include "Harness.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vterm.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "../../common/CommandOutput.h"

namespace MerelTest {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kEscDelayMs = 25;

// One sequence per key. The console defines every one of these on each
// terminal type it supports (the key table test checks that), so one set
// serves all.
const char* const kKeyBytes[] = {"\x1bOQ",  "\x1bOR",  "\x1bOS",   "\x1b[A",  "\x1b[B",
                                 "\x1b[1~", "\x1b[4~", "\x1b[5~",  "\x1b[6~", "\r",
                                 "\x1b",    " ",       "\x1b[23~", "\x1b[24~"};

void AppendUtf8(std::string& out, uint32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

ConsoleColor ToConsoleColor(const VTermColor& color, bool foreground) {
  if (foreground ? VTERM_COLOR_IS_DEFAULT_FG(&color) : VTERM_COLOR_IS_DEFAULT_BG(&color)) {
    return ConsoleColor::kDefault;
  }
  if (!VTERM_COLOR_IS_INDEXED(&color)) {
    return ConsoleColor::kOther;
  }
  // By the slots the console redefines (2 and 6 stand for the greys).
  using enum ConsoleColor;
  static const ConsoleColor kBySlot[] = {kBlack, kRed,   kLightGrey, kYellow,
                                         kOther, kOther, kDarkGrey,  kWhite};
  return color.indexed.idx < 8 ? kBySlot[color.indexed.idx] : kOther;
}

struct winsize WindowSize(int cols, int rows) {
  return {static_cast<unsigned short>(rows), static_cast<unsigned short>(cols), 0, 0};
}

std::string ReadAll(const std::string& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

// "pid (comm) state ppid pgrp session ...": the command may hold blanks and
// parentheses, so the fields are counted after its last ')'. State 0 when
// the process is gone.
struct ProcStat {
  char state = 0;
  long parent = 0, group = 0, session = 0;
};

ProcStat ReadStat(const std::string& pid) {
  const std::string stat = ReadAll("/proc/" + pid + "/stat");
  const size_t close = stat.rfind(')');
  ProcStat result;
  if (close == std::string::npos ||
      !(std::istringstream(stat.substr(close + 1)) >> result.state >> result.parent >>
        result.group >> result.session)) {
    return {};
  }
  return result;
}

}  // namespace

milliseconds Scaled(milliseconds base) {
  const char* scale = getenv("MEREL_TEST_TIMEOUT_SCALE");
  const double factor = std::max(scale != nullptr ? atof(scale) : 1.0, 1.0);
  return milliseconds(static_cast<long long>(static_cast<double>(base.count()) * factor));
}

std::string ExitStatus::Describe() const {
  return exited ? "exited with status " + std::to_string(code)
                : "killed by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
}

Terminal::Terminal(TerminalOptions options) : _options(std::move(options)) {
  _vt = vterm_new(_options.rows, _options.cols);
  vterm_set_utf8(_vt, 1);
  _screen = vterm_obtain_screen(_vt);
  vterm_screen_enable_altscreen(_screen, 1);
  vterm_screen_reset(_screen, 1);
}

Terminal::~Terminal() {
  if (_pid > 0 && !_status) {
    kill(-_pid, SIGKILL);  // a session leader: take its helpers too
    kill(_pid, SIGKILL);
    Reap(true);
  }
  if (_master >= 0) {
    close(_master);
  }
  vterm_free(_vt);
}

bool Terminal::Start(const std::vector<std::string>& args) {
  // insert keeps what is there: the options' variables win over the
  // runner's, and those over the defaults.
  std::map<std::string, std::string> env = _options.env;
  if (!_options.term.empty()) {
    env.insert({"TERM", _options.term});
  }
  for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "TMPDIR"}) {
    if (const char* value = getenv(name)) {
      env.insert({name, value});
    }
  }
  env.insert({{"LANG", "C.UTF-8"},  // libvterm mis-shifts repeated characters otherwise
              {"ESCDELAY", std::to_string(kEscDelayMs)},
              {"PATH", "/usr/local/bin:/usr/bin:/bin"},
              {"HOME", getenv("HOME") != nullptr ? getenv("HOME") : "/tmp"},
              // Exits from the key wait leave screens allocated, on purpose.
              {"ASAN_OPTIONS", "detect_leaks=0"}});
  // Built before fork: only async-signal-safe calls between fork and exec.
  std::vector<std::string> strings(args);
  for (const auto& [name, value] : env) {
    strings.push_back(name + "=" + value);
  }
  std::vector<char*> argv, envp;
  for (size_t i = 0; i < strings.size(); ++i) {
    (i < args.size() ? argv : envp).push_back(strings[i].data());
  }
  argv.push_back(nullptr);
  envp.push_back(nullptr);

  struct winsize size = WindowSize(_options.cols, _options.rows);
  _pid = forkpty(&_master, nullptr, nullptr, &size);
  if (_pid < 0) {
    return false;
  }
  if (_pid == 0) {
    // A runner started in the background may ignore SIGINT/SIGQUIT, and
    // ignored dispositions survive exec: the console would never see them.
    for (int sig = 1; sig < NSIG; ++sig) {
      signal(sig, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    close_range(3, ~0u, 0);
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  fcntl(_master, F_SETFL, fcntl(_master, F_GETFL) | O_NONBLOCK);
  fcntl(_master, F_SETFD, FD_CLOEXEC);
  return true;
}

size_t Terminal::Pump(milliseconds wait) {
  if (_master < 0 || _eof) {
    std::this_thread::sleep_for(std::min(wait, milliseconds(10)));
    return 0;
  }
  struct pollfd p = {_master, POLLIN, 0};
  if (poll(&p, 1, static_cast<int>(wait.count())) <= 0) {
    return 0;
  }
  size_t total = 0;
  char buffer[8192];
  for (;;) {
    ssize_t n = read(_master, buffer, sizeof(buffer));
    if (n > 0) {
      _raw.append(buffer, static_cast<size_t>(n));
      Feed(buffer, static_cast<size_t>(n));
      total += static_cast<size_t>(n);
    } else if (n == 0 || (errno != EINTR && errno != EAGAIN)) {
      _eof = true;  // EIO: every holder of the slave side has gone
      break;
    } else if (errno == EAGAIN) {
      break;
    }
  }
  return total;
}

void Terminal::Reap(bool block) {
  int status = 0;
  if (_pid <= 0 || _status || waitpid(_pid, &status, block ? 0 : WNOHANG) != _pid) {
    return;
  }
  _status = ExitStatus{WIFEXITED(status), WIFEXITED(status) ? WEXITSTATUS(status) : -1,
                       WIFSIGNALED(status) ? WTERMSIG(status) : 0};
}

void Terminal::Send(std::string_view bytes) {
  while (!bytes.empty() && _master >= 0 && !_eof) {
    ssize_t n = write(_master, bytes.data(), bytes.size());
    if (n > 0) {
      bytes.remove_prefix(static_cast<size_t>(n));
    } else if (errno == EAGAIN) {
      Pump(milliseconds(10));  // the program may be blocked writing to us
    } else if (errno != EINTR) {
      break;
    }
  }
}

void Terminal::SendKey(Key key) {
  Send(kKeyBytes[static_cast<int>(key)]);
  if (key == Key::kEscape) {
    // Curses must have given up waiting for the rest of a sequence before
    // the next key comes.
    WaitFor([] { return false; }, milliseconds(std::max(4 * kEscDelayMs, 100)));
  }
}

void Terminal::SendKeys(std::initializer_list<Key> keys) {
  for (Key key : keys) {
    SendKey(key);
  }
}

bool Terminal::WaitFor(const std::function<bool()>& done, milliseconds timeout) {
  for (auto deadline = Clock::now() + timeout; !done();) {
    auto now = Clock::now();
    if (now >= deadline) {
      return false;
    }
    Pump(std::min(milliseconds(20), std::chrono::duration_cast<milliseconds>(deadline - now)));
  }
  return true;
}

bool Terminal::WaitForText(std::string_view text, milliseconds timeout) {
  return WaitFor([&] { return Text().find(text) != std::string::npos; }, timeout);
}

bool Terminal::WaitUntilQuiet(milliseconds quiet, milliseconds timeout) {
  const auto deadline = Clock::now() + timeout;
  // Silence alone is not enough: on a loaded machine the console may still
  // be working on the last key (or about to redraw and drop the type-ahead)
  // when nothing has come for a while. Quiet means silent and waiting for
  // the keyboard; a program asleep on something else (a child, a timer) is
  // taken as quiet after a longer silence.
  const milliseconds asleep = std::max(quiet, Scaled(milliseconds(1000)));
  for (auto quietSince = Clock::now();;) {
    auto silent = std::chrono::duration_cast<milliseconds>(Clock::now() - quietSince);
    if (silent >= quiet) {
      const Activity now = CurrentActivity();
      if (now == Activity::kAwaitingInput || (now == Activity::kAsleep && silent >= asleep)) {
        return true;
      }
    }
    if (Clock::now() >= deadline) {
      return false;
    }
    if (Pump(silent >= quiet ? milliseconds(5) : quiet - silent) > 0) {
      quietSince = Clock::now();
    }
  }
}

namespace {

// The syscall a process sleeps in, as /proc/PID/syscall gives it: its
// number and first three arguments (number -1 where the file cannot be
// read); nullopt while it runs.
struct Syscall {
  long number = -1;
  unsigned long args[3] = {};
};

std::optional<Syscall> SleepingIn(pid_t pid) {
  const std::string text = ReadAll("/proc/" + std::to_string(pid) + "/syscall");
  if (text.starts_with("running")) {
    return std::nullopt;
  }
  std::istringstream fields(text);
  Syscall call;
  if (!(fields >> call.number)) {
    return Syscall{};
  }
  for (unsigned long& arg : call.args) {
    fields >> std::hex >> arg;
  }
  return call;
}

bool IsDevice(pid_t pid, long fd, dev_t device) {
  struct stat st = {};
  return fd >= 0 &&
         stat(("/proc/" + std::to_string(pid) + "/fd/" + std::to_string(fd)).c_str(), &st) == 0 &&
         S_ISCHR(st.st_mode) && st.st_rdev == device;
}

// Whether `call` waits for input on the terminal `device`: a read of it, or
// a poll whose descriptors include it.
bool WaitsOn(pid_t pid, const Syscall& call, dev_t device) {
  if (call.number == SYS_read) {
    return IsDevice(pid, static_cast<long>(call.args[0]), device);
  }
  if (call.number != SYS_ppoll
#ifdef SYS_poll
      && call.number != SYS_poll
#endif
  ) {
    return false;
  }
  const size_t count = std::min<unsigned long>(call.args[1], 16);
  std::vector<struct pollfd> fds(count);
  const int mem = open(("/proc/" + std::to_string(pid) + "/mem").c_str(), O_RDONLY | O_CLOEXEC);
  const ssize_t bytes = mem < 0 ? -1
                                : pread(mem, fds.data(), count * sizeof(struct pollfd),
                                        static_cast<off_t>(call.args[0]));
  if (mem >= 0) {
    close(mem);
  }
  if (bytes != static_cast<ssize_t>(count * sizeof(struct pollfd))) {
    return false;
  }
  return std::any_of(fds.begin(), fds.end(),
                     [&](const struct pollfd& p) { return IsDevice(pid, p.fd, device); });
}

}  // namespace

Terminal::Activity Terminal::CurrentActivity() const {
  char slave[64];
  struct stat st = {};
  if (_master < 0 || _eof || ptsname_r(_master, slave, sizeof(slave)) != 0 ||
      stat(slave, &st) != 0) {
    return Activity::kAwaitingInput;  // nothing more can come
  }
  // Keys sent but not read yet.
  const int fd = open(slave, O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  int pending = 0;
  if (fd >= 0) {
    ioctl(fd, FIONREAD, &pending);
    close(fd);
  }
  if (pending > 0) {
    return Activity::kBusy;
  }
  bool waiting = false;
  for (const pid_t pid : SessionProcesses()) {
    const char state = ReadStat(std::to_string(pid)).state;
    const std::optional<Syscall> call = SleepingIn(pid);
    if (state == 'R' || state == 'D' || !call) {
      return Activity::kBusy;
    }
    waiting = waiting || WaitsOn(pid, *call, st.st_rdev);
  }
  return waiting ? Activity::kAwaitingInput : Activity::kAsleep;
}

std::optional<ExitStatus> Terminal::WaitForExit(milliseconds timeout) {
  if (!WaitFor([&] { return !Running(); }, timeout)) {
    return std::nullopt;
  }
  // The last output may still be in the line discipline: read until the
  // slave side is gone (or a helper that inherited it keeps quiet).
  const auto deadline = Clock::now() + Scaled(milliseconds(2000));
  for (auto quietSince = Clock::now();
       !_eof && Clock::now() < deadline && Clock::now() - quietSince < Scaled(milliseconds(200));) {
    if (Pump(milliseconds(20)) > 0) {
      quietSince = Clock::now();
    }
  }
  return _status;
}

bool Terminal::Running() {
  Reap(false);
  return _pid > 0 && !_status;
}

void Terminal::Signal(int signal) {
  if (Running()) {
    kill(_pid, signal);
  }
}

void Terminal::Resize(int cols, int rows) {
  _options.cols = cols;
  _options.rows = rows;
  vterm_set_size(_vt, rows, cols);
  const struct winsize size = WindowSize(cols, rows);
  ioctl(_master, TIOCSWINSZ, &size);
}

struct Terminal::Tracking {
  int rows = 0, cols = 0;
  std::vector<uint8_t> damaged;         // one flag per cell, row by row
  std::vector<VTermScreenCell> before;  // the cells at MarkScreen
  bool cursorVisible = true;
  bool altScreen = false;
  Clock::time_point lastOutput = Clock::now();
  bool dropPalette = false;
  std::string held;  // the start of a sequence split over two reads
  size_t skip = 0;   // palette digits still to drop

  static int Damage(VTermRect rect, void* user) {
    auto* self = static_cast<Tracking*>(user);
    for (int y = std::max(rect.start_row, 0); y < std::min(rect.end_row, self->rows); ++y) {
      for (int x = std::max(rect.start_col, 0); x < std::min(rect.end_col, self->cols); ++x) {
        self->damaged[static_cast<size_t>(y * self->cols + x)] = 1;
      }
    }
    return 1;
  }

  static int TermProp(VTermProp prop, VTermValue* value, void* user) {
    auto* self = static_cast<Tracking*>(user);
    if (prop == VTERM_PROP_CURSORVISIBLE) {
      self->cursorVisible = value->boolean != 0;
    } else if (prop == VTERM_PROP_ALTSCREEN) {
      self->altScreen = value->boolean != 0;
    }
    return 1;
  }

  static bool Same(const VTermScreenCell& a, const VTermScreenCell& b) {
    for (int i = 0; i < VTERM_MAX_CHARS_PER_CELL && (a.chars[i] != 0 || b.chars[i] != 0); ++i) {
      if (a.chars[i] != b.chars[i]) {
        return false;
      }
    }
    const VTermScreenCellAttrs &p = a.attrs, &q = b.attrs;
    return a.width == b.width && p.bold == q.bold && p.underline == q.underline &&
           p.italic == q.italic && p.blink == q.blink && p.reverse == q.reverse &&
           p.strike == q.strike && p.font == q.font && p.dwl == q.dwl && p.dhl == q.dhl &&
           vterm_color_is_equal(&a.fg, &b.fg) && vterm_color_is_equal(&a.bg, &b.bg);
  }
};

void Terminal::TrackScreen() {
  if (_tracking) {
    return;
  }
  _tracking = std::make_unique<Tracking>();
  // Without moverect a scroll damages the cells it moved.
  static VTermScreenCallbacks callbacks = {};
  callbacks.damage = Tracking::Damage;
  callbacks.settermprop = Tracking::TermProp;
  vterm_screen_set_callbacks(_screen, &callbacks, _tracking.get());
  vterm_screen_set_damage_merge(_screen, VTERM_DAMAGE_CELL);
  MarkScreen();
}

void Terminal::MarkScreen() {
  TrackScreen();
  Tracking& t = *_tracking;
  t.rows = _options.rows;
  t.cols = _options.cols;
  t.damaged.assign(static_cast<size_t>(t.rows * t.cols), 0);
  t.before.resize(t.damaged.size());
  for (size_t i = 0; i < t.before.size(); ++i) {
    const int at = static_cast<int>(i);
    vterm_screen_get_cell(_screen, VTermPos{at / t.cols, at % t.cols}, &t.before[i]);
  }
}

int Terminal::ChangedCells() const {
  if (!_tracking) {
    return 0;
  }
  const Tracking& t = *_tracking;
  int changed = 0;
  for (int y = 0; y < std::min(t.rows, _options.rows); ++y) {
    for (int x = 0; x < std::min(t.cols, _options.cols); ++x) {
      const size_t i = static_cast<size_t>(y * t.cols + x);
      VTermScreenCell now;
      if (t.damaged[i] != 0 && vterm_screen_get_cell(_screen, VTermPos{y, x}, &now) != 0 &&
          !Tracking::Same(now, t.before[i])) {
        ++changed;
      }
    }
  }
  return changed;
}

bool Terminal::CursorVisible() const {
  return !_tracking || _tracking->cursorVisible;
}

std::pair<int, int> Terminal::CursorPosition() const {
  VTermPos pos;
  vterm_state_get_cursorpos(vterm_obtain_state(_vt), &pos);
  return {pos.col, pos.row};
}

bool Terminal::AltScreen() const {
  return _tracking && _tracking->altScreen;
}

std::chrono::steady_clock::time_point Terminal::LastOutputTime() const {
  return _tracking ? _tracking->lastOutput : Clock::time_point();
}

void Terminal::DropLinuxPaletteSequences(bool on) {
  TrackScreen();
  _tracking->dropPalette = on;
}

void Terminal::Feed(const char* bytes, size_t length) {
  if (_tracking) {
    _tracking->lastOutput = Clock::now();
  }
  if (!_tracking || !_tracking->dropPalette) {
    vterm_input_write(_vt, bytes, length);
    return;
  }
  Tracking& t = *_tracking;
  std::string out;
  for (const char c : std::string_view(bytes, length)) {
    if (t.skip > 0) {
      --t.skip;
    } else if (t.held.size() == 2) {
      // ESC ] seen: P takes an index digit and six colour digits; R stands alone.
      t.skip = c == 'P' ? 7 : 0;
      if (c != 'P' && c != 'R') {
        out += t.held + c;
      }
      t.held.clear();
    } else if (c == (t.held.empty() ? '\x1b' : ']')) {
      t.held += c;
    } else {
      // No sequence after all: what was held goes out, and `c` may start one.
      out += t.held;
      t.held.clear();
      (c == '\x1b' ? t.held : out) += c;
    }
  }
  vterm_input_write(_vt, out.data(), out.size());
}

void Terminal::HangUp() {
  if (_master >= 0) {
    close(_master);
    _master = -1;
  }
  _eof = true;
}

std::optional<struct termios> Terminal::Modes() const {
  struct termios modes;
  if (_master < 0 || tcgetattr(_master, &modes) != 0) {
    return std::nullopt;
  }
  return modes;
}

std::vector<pid_t> Terminal::SessionProcesses(bool zombies) const {
  std::vector<pid_t> found;
  if (_pid <= 0) {
    return found;
  }
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/proc", error)) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") != std::string::npos) {
      continue;
    }
    const ProcStat stat = ReadStat(name);
    if (stat.state != 0 && stat.session == _pid && (stat.state == 'Z') == zombies) {
      found.push_back(static_cast<pid_t>(std::stol(name)));
    }
  }
  return found;
}

std::string Terminal::CellText(int x, int y) const {
  VTermScreenCell cell;
  std::string text;
  if (vterm_screen_get_cell(_screen, VTermPos{y, x}, &cell) == 0 ||
      cell.chars[0] == static_cast<uint32_t>(-1)) {
    return text;
  }
  for (int i = 0; i < VTERM_MAX_CHARS_PER_CELL && cell.chars[i] != 0; ++i) {
    AppendUtf8(text, cell.chars[i]);
  }
  return text.empty() ? " " : text;
}

std::string Terminal::Text() const {
  std::string text;
  for (int y = 0; y < _options.rows; ++y) {
    std::string row;
    for (int x = 0; x < _options.cols; ++x) {
      row += CellText(x, y);
    }
    row.erase(row.find_last_not_of(' ') + 1);
    text += (y > 0 ? "\n" : "") + row;
  }
  return text;
}

int Terminal::Find(int y, std::string_view text) const {
  std::string row;
  std::vector<int> columnAt;  // the column of each byte of `row`
  for (int x = 0; x < _options.cols; ++x) {
    const std::string cell = CellText(x, y);
    row += cell;
    columnAt.insert(columnAt.end(), cell.size(), x);
  }
  const size_t at = row.find(text);
  return at == std::string::npos ? -1 : columnAt[at];
}

Cell Terminal::CellAt(int x, int y) const {
  Cell result;
  result.text = CellText(x, y);
  VTermScreenCell cell;
  if (vterm_screen_get_cell(_screen, VTermPos{y, x}, &cell) != 0) {
    result.reverse = cell.attrs.reverse;
    result.bold = cell.attrs.bold;
    result.fg = ToConsoleColor(cell.fg, true);
    result.bg = ToConsoleColor(cell.bg, false);
  }
  return result;
}

SimHost::SimHost(const std::string& fixture) {
  std::string pattern = fs::temp_directory_path() / "merel-host-XXXXXX";  // TMPDIR or /tmp
  if (mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error(std::string("cannot make a temporary folder: ") + strerror(errno));
  }
  _root = pattern;
  std::string command = std::string(MEREL_SIM_BIN) + " init '" + _root + "'";
  if (!fixture.empty()) {
    command += std::string(" '") + MEREL_FIXTURES_DIR + "/" + fixture +
               (fixture.ends_with(".json") ? "'" : ".json'");
  }
  bool ok = false;
  const std::string output = MerelTestCommon::CommandOutput(command + " 2>&1", &ok);
  if (!ok) {
    std::error_code ignored;
    fs::remove_all(_root, ignored);
    throw std::runtime_error(command + ": " + output);
  }
  _ok = true;
}

SimHost::~SimHost() {
  std::error_code ignored;
  if (!_root.empty()) {
    fs::remove_all(_root, ignored);
  }
}

std::string SimHost::ReadFile(const std::string& hostPath) const {
  return ReadAll(Path(hostPath));
}

void SimHost::WriteFile(const std::string& hostPath, const std::string& content) const {
  std::error_code ignored;
  fs::create_directories(fs::path(Path(hostPath)).parent_path(), ignored);
  std::ofstream out(Path(hostPath), std::ios::binary | std::ios::trunc);
  out << content;
  EXPECT_TRUE(out.good()) << "cannot write " << Path(hostPath);
}

nlohmann::json SimHost::HostJson() const {
  return nlohmann::json::parse(ReadFile("/host.json"), nullptr, false);
}

bool SimHost::WaitForFileText(const std::string& hostPath,
                              std::string_view text,
                              milliseconds timeout) const {
  for (auto deadline = Clock::now() + timeout;
       ReadFile(hostPath).find(text) == std::string::npos;) {
    if (Clock::now() >= deadline) {
      return false;
    }
    std::this_thread::sleep_for(milliseconds(20));
  }
  return true;
}

std::unique_ptr<Terminal> SimHost::StartConsole(TerminalOptions options,
                                                const std::vector<std::string>& args) {
  auto terminal = std::make_unique<Terminal>(std::move(options));
  std::vector<std::string> argv = {MEREL_SIM_BIN, "run", _root};
  argv.insert(argv.end(), args.begin(), args.end());
  if (!terminal->Start(argv)) {
    ADD_FAILURE() << "forkpty failed: " << strerror(errno);
    return terminal;
  }
  // Something drawn, then quiet: safe to type.
  EXPECT_TRUE(terminal->WaitFor([&] { return !terminal->Raw().empty(); }) &&
              terminal->WaitUntilQuiet(Scaled(milliseconds(150))))
      << "the console drew nothing";
  return terminal;
}

void Fail(const std::string& what) {
  throw std::runtime_error(what);
}

void ExpectGoldenScreen(const Terminal& terminal, const std::string& name) {
  const std::string path = std::string(MEREL_GOLDEN_DIR) + "/" + name + ".txt";
  const std::string actual = terminal.Text() + "\n";
  const char* update = getenv("MEREL_UPDATE_GOLDEN");
  if (update != nullptr && std::string(update) == "1") {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << actual;
    return;
  }
  // gtest shows a line diff of the two.
  EXPECT_EQ(ReadAll(path), actual) << path << " (MEREL_UPDATE_GOLDEN=1 records it anew)";
}

}  // namespace MerelTest
