// The pseudo-terminal side of the harness: starts the program under test
// with forkpty, feeds its output to libvterm and answers questions about the
// resulting screen.
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vterm.h>

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <thread>

#include "Harness.h"

extern char** environ;

namespace MerelTest {

using Clock = std::chrono::steady_clock;

milliseconds Scaled(milliseconds base) {
  const char* scale = getenv("MEREL_TEST_TIMEOUT_SCALE");
  double factor = scale != nullptr ? atof(scale) : 1.0;
  if (factor < 1.0) {
    factor = 1.0;
  }
  return milliseconds(static_cast<long long>(static_cast<double>(base.count()) * factor));
}

std::string ToString(const Rgb& rgb) {
  std::ostringstream out;
  out << "(" << int(rgb.r) << "," << int(rgb.g) << "," << int(rgb.b) << ")";
  return out.str();
}

const char* ToString(ConsoleColor color) {
  switch (color) {
    case ConsoleColor::kBlack:
      return "black";
    case ConsoleColor::kRed:
      return "red";
    case ConsoleColor::kLightGrey:
      return "light-grey";
    case ConsoleColor::kYellow:
      return "yellow";
    case ConsoleColor::kDarkGrey:
      return "dark-grey";
    case ConsoleColor::kWhite:
      return "white";
    case ConsoleColor::kDefault:
      return "default";
    case ConsoleColor::kOther:
      break;
  }
  return "other";
}

ConsoleColor CellColor::Console() const {
  if (isDefault) {
    return ConsoleColor::kDefault;
  }
  switch (index) {
    case 0:
      return ConsoleColor::kBlack;
    case 1:
      return ConsoleColor::kRed;
    case 2:
      return ConsoleColor::kLightGrey;
    case 3:
      return ConsoleColor::kYellow;
    case 6:
      return ConsoleColor::kDarkGrey;
    case 7:
      return ConsoleColor::kWhite;
    default:
      break;
  }
  static const struct {
    Rgb rgb;
    ConsoleColor color;
  } kByValue[] = {
      {{0, 0, 0}, ConsoleColor::kBlack},           {{255, 0, 0}, ConsoleColor::kRed},
      {{170, 170, 170}, ConsoleColor::kLightGrey}, {{255, 204, 0}, ConsoleColor::kYellow},
      {{85, 85, 85}, ConsoleColor::kDarkGrey},     {{255, 255, 255}, ConsoleColor::kWhite},
  };
  for (const auto& entry : kByValue) {
    if (entry.rgb == rgb) {
      return entry.color;
    }
  }
  return ConsoleColor::kOther;
}

std::string ExitStatus::Describe() const {
  std::ostringstream out;
  if (exited) {
    out << "exited with status " << code;
  } else {
    out << "killed by signal " << signal << " (" << strsignal(signal) << ")";
  }
  return out.str();
}

int CursesCode(Key key) {
  switch (key) {
    case Key::kF1:
    case Key::kF2:
    case Key::kF3:
    case Key::kF4:
    case Key::kF5:
    case Key::kF6:
    case Key::kF7:
    case Key::kF8:
    case Key::kF9:
    case Key::kF10:
    case Key::kF11:
    case Key::kF12:
      return 265 + (static_cast<int>(key) - static_cast<int>(Key::kF1));
    case Key::kUp:
      return 259;
    case Key::kDown:
      return 258;
    case Key::kLeft:
      return 260;
    case Key::kRight:
      return 261;
    case Key::kHome:
      return 262;
    case Key::kEnd:
      return 360;
    case Key::kInsert:
      return 331;
    case Key::kDelete:
      return 330;
    case Key::kPageUp:
      return 339;
    case Key::kPageDown:
      return 338;
    case Key::kEnter:
      return 10;
    case Key::kEscape:
      return 27;
    case Key::kTab:
      return 9;
    case Key::kBackspace:
      return 263;
    case Key::kSpace:
      return 32;
  }
  return -1;
}

namespace {

void AppendUtf8(std::string& out, uint32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

bool IsXterm(const std::string& term) {
  return term.rfind("xterm", 0) == 0;
}

// "rgb:RR/GG/BB" with one to four hex digits per component.
bool ParseRgbValue(const std::string& value, Rgb& rgb) {
  if (value.rfind("rgb:", 0) != 0) {
    return false;
  }
  uint8_t parts[3];
  size_t start = 4;
  for (int i = 0; i < 3; ++i) {
    size_t end = value.find('/', start);
    std::string digits = value.substr(start, end == std::string::npos ? end : end - start);
    if (digits.empty() || digits.size() > 4 ||
        digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
      return false;
    }
    unsigned long component = strtoul(digits.c_str(), nullptr, 16);
    unsigned long max = (1ul << (4 * digits.size())) - 1;
    parts[i] = static_cast<uint8_t>((component * 255 + max / 2) / max);
    if (i < 2 && end == std::string::npos) {
      return false;
    }
    start = end + 1;
  }
  rgb = {parts[0], parts[1], parts[2]};
  return true;
}

}  // namespace

Terminal::Terminal(TerminalOptions options) : _options(std::move(options)) {
  _vt = vterm_new(_options.rows, _options.cols);
  vterm_set_utf8(_vt, 1);
  vterm_output_set_callback(_vt, &Terminal::OnOutput, this);
  _screen = vterm_obtain_screen(_vt);
  vterm_screen_enable_altscreen(_screen, 1);
  vterm_screen_reset(_screen, 1);
  _lastOutput = Clock::now();
}

Terminal::~Terminal() {
  if (_pid > 0 && !_status) {
    // The program is a session and group leader: take its helpers too.
    kill(-_pid, SIGKILL);
    kill(_pid, SIGKILL);
    Reap(true);
  }
  if (_master >= 0) {
    close(_master);
  }
  vterm_free(_vt);
}

bool Terminal::Start(const std::string& program, const std::vector<std::string>& args) {
  std::map<std::string, std::string> env;
  env["TERM"] = _options.term;
  env["LANG"] = "C.UTF-8";  // libvterm mis-shifts repeated characters otherwise
  env["ESCDELAY"] = std::to_string(_options.escDelayMs);
  env["PATH"] = "/usr/local/bin:/usr/bin:/bin";
  const char* home = getenv("HOME");
  env["HOME"] = home != nullptr ? home : "/tmp";
  for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "TMPDIR"}) {
    if (const char* value = getenv(name)) {
      env[name] = value;
    }
  }
  if (env.count("ASAN_OPTIONS") == 0) {
    // Exits from the key wait end the process with its screens still
    // allocated, on purpose; that is not a leak worth failing a screen test.
    env["ASAN_OPTIONS"] = "detect_leaks=0";
  }
  for (const std::string& name : _options.unset) {
    env.erase(name);
  }
  for (const auto& [name, value] : _options.env) {
    env[name] = value;
  }

  // Everything the child needs is built before fork: only async-signal-safe
  // calls happen between fork and exec.
  std::vector<std::string> envStrings;
  for (const auto& [name, value] : env) {
    envStrings.push_back(name + "=" + value);
  }
  std::vector<char*> envp;
  for (std::string& entry : envStrings) {
    envp.push_back(entry.data());
  }
  envp.push_back(nullptr);
  std::vector<std::string> argStrings = args.empty() ? std::vector<std::string>{program} : args;
  std::vector<char*> argv;
  for (std::string& arg : argStrings) {
    argv.push_back(arg.data());
  }
  argv.push_back(nullptr);

  struct winsize size = {};
  size.ws_row = static_cast<unsigned short>(_options.rows);
  size.ws_col = static_cast<unsigned short>(_options.cols);
  int master = -1;
  pid_t pid = forkpty(&master, nullptr, nullptr, &size);
  if (pid < 0) {
    return false;
  }
  if (pid == 0) {
    // A test runner started in the background may ignore SIGINT/SIGQUIT, and
    // ignored dispositions survive exec: the console would never see them.
    for (int sig = 1; sig < NSIG; ++sig) {
      signal(sig, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    close_range(3, ~0u, 0);
    execve(program.c_str(), argv.data(), envp.data());
    _exit(127);
  }
  _pid = pid;
  _master = master;
  fcntl(_master, F_SETFL, fcntl(_master, F_GETFL) | O_NONBLOCK);
  fcntl(_master, F_SETFD, FD_CLOEXEC);
  return true;
}

void Terminal::OnOutput(const char* bytes, size_t length, void* user) {
  // Answers of the emulated terminal (device attributes, cursor reports).
  auto* self = static_cast<Terminal*>(user);
  if (self->_master >= 0 && !self->_eof) {
    while (length > 0) {
      ssize_t n = write(self->_master, bytes, length);
      if (n <= 0) {
        break;
      }
      bytes += n;
      length -= static_cast<size_t>(n);
    }
  }
}

void Terminal::Feed(const char* data, size_t length) {
  _raw.append(data, length);
  vterm_input_write(_vt, data, length);
  _lastOutput = Clock::now();
  ScanPalette();
}

size_t Terminal::Pump(milliseconds wait) {
  if (_master < 0 || _eof) {
    if (wait.count() > 0) {
      std::this_thread::sleep_for(std::min(wait, milliseconds(10)));
    }
    return 0;
  }
  struct pollfd p = {_master, POLLIN, 0};
  int ready = poll(&p, 1, static_cast<int>(wait.count()));
  if (ready <= 0) {
    return 0;
  }
  size_t total = 0;
  char buffer[8192];
  for (;;) {
    ssize_t n = read(_master, buffer, sizeof(buffer));
    if (n > 0) {
      Feed(buffer, static_cast<size_t>(n));
      total += static_cast<size_t>(n);
      continue;
    }
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) {
      // EIO: every holder of the slave side has gone.
      _eof = true;
    }
    break;
  }
  return total;
}

void Terminal::ScanPalette() {
  for (;;) {
    size_t p = _raw.find("\x1b]", _paletteScan);
    if (p == std::string::npos) {
      // Keep a trailing ESC: its "]" may come with the next read.
      _paletteScan = _raw.empty() ? 0 : _raw.size() - 1;
      return;
    }
    if (p + 2 >= _raw.size()) {
      _paletteScan = p;
      return;
    }
    char kind = _raw[p + 2];
    if (kind == 'R') {  // Linux console: reset the palette
      _palette.clear();
      _paletteScan = p + 3;
      continue;
    }
    if (kind == 'P') {  // Linux console: ESC ] P n rr gg bb
      if (p + 10 > _raw.size()) {
        _paletteScan = p;
        return;
      }
      std::string digits = _raw.substr(p + 3, 7);
      if (digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos) {
        int slot = static_cast<int>(strtol(digits.substr(0, 1).c_str(), nullptr, 16));
        unsigned long value = strtoul(digits.substr(1).c_str(), nullptr, 16);
        _palette[slot] = {static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 8),
                          static_cast<uint8_t>(value)};
      }
      _paletteScan = p + 10;
      continue;
    }
    size_t bel = _raw.find('\x07', p + 2);
    size_t st = _raw.find("\x1b\\", p + 2);
    size_t end = std::min(bel, st);
    if (end == std::string::npos) {
      if (_raw.size() - p > 512) {  // never terminated; not ours to wait for
        _paletteScan = p + 2;
        continue;
      }
      _paletteScan = p;
      return;
    }
    std::string body = _raw.substr(p + 2, end - p - 2);
    _paletteScan = end + (end == bel ? 1 : 2);
    if (body == "104") {
      _palette.clear();
      continue;
    }
    if (body.rfind("4;", 0) != 0) {
      continue;
    }
    std::vector<std::string> fields;
    std::stringstream in(body.substr(2));
    for (std::string field; std::getline(in, field, ';');) {
      fields.push_back(field);
    }
    for (size_t i = 0; i + 1 < fields.size(); i += 2) {
      Rgb rgb;
      if (ParseRgbValue(fields[i + 1], rgb)) {
        _palette[atoi(fields[i].c_str())] = rgb;
      }
    }
  }
}

void Terminal::Reap(bool block) {
  if (_pid <= 0 || _status) {
    return;
  }
  int status = 0;
  pid_t r;
  do {
    r = waitpid(_pid, &status, block ? 0 : WNOHANG);
  } while (r < 0 && errno == EINTR);
  if (r != _pid) {
    return;
  }
  ExitStatus result;
  if (WIFEXITED(status)) {
    result.exited = true;
    result.code = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    result.signal = WTERMSIG(status);
  }
  _status = result;
}

void Terminal::Send(std::string_view bytes) {
  while (!bytes.empty() && _master >= 0 && !_eof) {
    ssize_t n = write(_master, bytes.data(), bytes.size());
    if (n > 0) {
      bytes.remove_prefix(static_cast<size_t>(n));
      continue;
    }
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      // The program is not reading; it may be blocked writing to us.
      Pump(milliseconds(10));
      continue;
    }
    break;
  }
}

std::string Terminal::KeyBytes(Key key) const {
  const bool xterm = IsXterm(_options.term);
  switch (key) {
    case Key::kF1:
      return xterm ? "\x1bOP" : "\x1b[11~";
    case Key::kF2:
      return xterm ? "\x1bOQ" : "\x1b[12~";
    case Key::kF3:
      return xterm ? "\x1bOR" : "\x1b[13~";
    case Key::kF4:
      return xterm ? "\x1bOS" : "\x1b[14~";
    case Key::kF5:
      return "\x1b[15~";
    case Key::kF6:
      return "\x1b[17~";
    case Key::kF7:
      return "\x1b[18~";
    case Key::kF8:
      return "\x1b[19~";
    case Key::kF9:
      return "\x1b[20~";
    case Key::kF10:
      return "\x1b[21~";
    case Key::kF11:
      return "\x1b[23~";
    case Key::kF12:
      return "\x1b[24~";
    // Curses enables the keypad (application) mode, in which an xterm sends
    // the SS3 forms of the cursor keys.
    case Key::kUp:
      return xterm ? "\x1bOA" : "\x1b[A";
    case Key::kDown:
      return xterm ? "\x1bOB" : "\x1b[B";
    case Key::kRight:
      return xterm ? "\x1bOC" : "\x1b[C";
    case Key::kLeft:
      return xterm ? "\x1bOD" : "\x1b[D";
    case Key::kHome:
      return xterm ? "\x1bOH" : "\x1b[1~";
    case Key::kEnd:
      return xterm ? "\x1bOF" : "\x1b[4~";
    case Key::kInsert:
      return "\x1b[2~";
    case Key::kDelete:
      return "\x1b[3~";
    case Key::kPageUp:
      return "\x1b[5~";
    case Key::kPageDown:
      return "\x1b[6~";
    case Key::kEnter:
      return "\r";
    case Key::kEscape:
      return "\x1b";
    case Key::kTab:
      return "\t";
    case Key::kBackspace:
      return "\x7f";
    case Key::kSpace:
      return " ";
  }
  return "";
}

void Terminal::SendKey(Key key) {
  Send(KeyBytes(key));
  if (key == Key::kEscape) {
    // Longer than ESCDELAY, with room for a busy machine, so that curses has
    // given up waiting for the rest of a sequence before the next key comes.
    milliseconds pause = std::max(milliseconds(4 * _options.escDelayMs), milliseconds(100));
    auto until = Clock::now() + pause;
    while (Clock::now() < until) {
      Pump(std::chrono::duration_cast<milliseconds>(until - Clock::now()));
    }
  }
}

void Terminal::SendKeys(std::initializer_list<Key> keys) {
  for (Key key : keys) {
    SendKey(key);
  }
}

bool Terminal::WaitFor(const std::function<bool()>& done, milliseconds timeout) {
  auto deadline = Clock::now() + timeout;
  for (;;) {
    if (done()) {
      return true;
    }
    auto now = Clock::now();
    if (now >= deadline) {
      return false;
    }
    Pump(std::min(milliseconds(20), std::chrono::duration_cast<milliseconds>(deadline - now)));
  }
}

bool Terminal::WaitForText(std::string_view text, milliseconds timeout) {
  return WaitFor([&] { return Text().find(text) != std::string::npos; }, timeout);
}

bool Terminal::WaitForRaw(std::string_view bytes, milliseconds timeout) {
  return WaitFor([&] { return RawContains(bytes); }, timeout);
}

bool Terminal::WaitUntilQuiet(milliseconds quiet, milliseconds timeout) {
  auto deadline = Clock::now() + timeout;
  auto quietSince = Clock::now();
  for (;;) {
    auto now = Clock::now();
    auto silent = std::chrono::duration_cast<milliseconds>(now - quietSince);
    if (silent >= quiet) {
      return true;
    }
    if (now >= deadline) {
      return false;
    }
    if (Pump(quiet - silent) > 0) {
      quietSince = Clock::now();
    }
  }
}

bool Terminal::WaitForFirstDraw(milliseconds timeout) {
  auto start = Clock::now();
  if (!WaitFor([&] { return !_raw.empty(); }, timeout)) {
    return false;
  }
  auto left = timeout - std::chrono::duration_cast<milliseconds>(Clock::now() - start);
  return WaitUntilQuiet(Scaled(milliseconds(150)), std::max(left, milliseconds(1000)));
}

std::optional<ExitStatus> Terminal::WaitForExit(milliseconds timeout) {
  if (!WaitFor(
          [&] {
            Reap(false);
            return _status.has_value();
          },
          timeout)) {
    return std::nullopt;
  }
  // What the program wrote just before it ended may still be on its way
  // through the line discipline; read until the slave side is gone (or a
  // helper that inherited it keeps quiet).
  auto deadline = Clock::now() + Scaled(milliseconds(2000));
  auto quietSince = Clock::now();
  while (!_eof && Clock::now() < deadline &&
         Clock::now() - quietSince < Scaled(milliseconds(200))) {
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
  struct winsize size = {};
  size.ws_row = static_cast<unsigned short>(rows);
  size.ws_col = static_cast<unsigned short>(cols);
  if (_master >= 0) {
    ioctl(_master, TIOCSWINSZ, &size);
  }
}

namespace {

std::vector<std::string> RowCells(VTermScreen* screen, int y, int cols) {
  std::vector<std::string> cells;
  for (int x = 0; x < cols; ++x) {
    VTermScreenCell cell;
    std::string text;
    if (vterm_screen_get_cell(screen, VTermPos{y, x}, &cell)) {
      for (int i = 0; i < VTERM_MAX_CHARS_PER_CELL && cell.chars[i] != 0; ++i) {
        if (cell.chars[i] == static_cast<uint32_t>(-1)) {
          break;  // right half of a wide character
        }
        AppendUtf8(text, cell.chars[i]);
      }
      if (cell.width == 2 && x + 1 < cols) {
        cells.push_back(text.empty() ? " " : text);
        cells.push_back("");
        ++x;
        continue;
      }
    }
    cells.push_back(text.empty() ? " " : text);
  }
  return cells;
}

}  // namespace

std::string Terminal::Row(int y) const {
  std::string row;
  for (const std::string& cell : RowCells(_screen, y, _options.cols)) {
    row += cell;
  }
  return row;
}

std::string Terminal::Text() const {
  std::string text;
  for (int y = 0; y < _options.rows; ++y) {
    std::string row = Row(y);
    row.erase(row.find_last_not_of(' ') + 1);
    if (y > 0) {
      text += '\n';
    }
    text += row;
  }
  return text;
}

int Terminal::Find(int y, std::string_view text) const {
  std::vector<std::string> cells = RowCells(_screen, y, _options.cols);
  std::string row;
  std::vector<size_t> starts;
  for (const std::string& cell : cells) {
    starts.push_back(row.size());
    row += cell;
  }
  size_t at = row.find(text);
  if (at == std::string::npos) {
    return -1;
  }
  for (size_t x = starts.size(); x-- > 0;) {
    if (starts[x] <= at) {
      return static_cast<int>(x);
    }
  }
  return 0;
}

Cell Terminal::CellAt(int x, int y) const {
  Cell result;
  VTermScreenCell cell;
  if (!vterm_screen_get_cell(_screen, VTermPos{y, x}, &cell)) {
    return result;
  }
  for (int i = 0; i < VTERM_MAX_CHARS_PER_CELL && cell.chars[i] != 0 &&
                  cell.chars[i] != static_cast<uint32_t>(-1);
       ++i) {
    AppendUtf8(result.text, cell.chars[i]);
  }
  if (result.text.empty()) {
    result.text = " ";
  }
  result.bold = cell.attrs.bold;
  result.underline = cell.attrs.underline != 0;
  result.reverse = cell.attrs.reverse;
  result.blink = cell.attrs.blink;
  result.italic = cell.attrs.italic;

  auto convert = [&](VTermColor color, bool foreground) {
    CellColor out;
    out.isDefault =
        foreground ? VTERM_COLOR_IS_DEFAULT_FG(&color) : VTERM_COLOR_IS_DEFAULT_BG(&color);
    if (VTERM_COLOR_IS_INDEXED(&color)) {
      out.index = color.indexed.idx;
      // libvterm keeps its own palette and ignores redefinitions; the slots
      // the program redefined are taken from its output instead.
      auto redefined = _palette.find(out.index);
      if (redefined != _palette.end()) {
        out.rgb = redefined->second;
        return out;
      }
    }
    vterm_screen_convert_color_to_rgb(_screen, &color);
    out.rgb = {color.rgb.red, color.rgb.green, color.rgb.blue};
    return out;
  };
  result.fg = convert(cell.fg, true);
  result.bg = convert(cell.bg, false);
  return result;
}

}  // namespace MerelTest
