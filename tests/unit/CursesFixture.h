// Real curses in process, for tests of drawing and key input.
//
// CursesScreen starts ncurses with newterm on a fresh pseudo-terminal of the
// requested size and terminal type, set up the way the console sets up its
// terminal (cbreak, noecho, keypad, colours, key table). A test types bytes
// into the terminal with Type() and reads back what curses holds with CellAt()
// and RowText(). What curses writes to the terminal is drained in the
// background (and kept: Output()) so that drawing never blocks on a full pty.
//
// With `standardInput` the terminal also becomes descriptor 0 for the life of
// the screen, because the console's key wait polls descriptor 0 directly.
//
// One screen at a time; create it inside the test (or a fixture's SetUp) and
// let it go out of scope before the next one.
#pragma once

#include <curses.h>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

#include "Terminal.h"

namespace MerelTest {

struct CursesOptions {
  const char* term = "xterm-256color";  // colour redefinition possible; "xterm" is not
  int columns = 80;
  int lines = 25;
  bool standardInput = false;  // make the terminal descriptor 0 as well
  bool initColors = true;      // start_color + Merel::InitColors (sets bwColor as it finds)
  bool initKeys = true;        // Merel::InitKeys
  int escDelayMs = 100;
};

// One cell as curses holds it.
struct Cell {
  wchar_t ch = 0;
  attr_t attributes = 0;
  int pair = 0;
};

class CursesScreen {
 public:
  explicit CursesScreen(const CursesOptions& options = CursesOptions()) {
    struct winsize size = {};
    size.ws_row = static_cast<unsigned short>(options.lines);
    size.ws_col = static_cast<unsigned short>(options.columns);
    if (openpty(&_master, &_slave, nullptr, nullptr, &size) != 0) {
      return;
    }
    // The size must come from the pty, not from a LINES/COLUMNS left in the
    // test runner's environment.
    unsetenv("LINES");
    unsetenv("COLUMNS");
    _drain = std::thread([this] { Drain(); });
    if (options.standardInput) {
      _savedStdin = dup(STDIN_FILENO);
      dup2(_slave, STDIN_FILENO);
    }
    _out = fdopen(dup(_slave), "w");
    _in = fdopen(dup(_slave), "r");
    _screen = newterm(options.term, _out, _in);
    if (_screen == nullptr) {
      return;
    }
    set_term(_screen);
    set_escdelay(options.escDelayMs);
    cbreak();
    noecho();
    keypad(stdscr, TRUE);
    _savedBwColor = bwColor;
    bwColor = false;
    if (options.initColors) {
      start_color();
      Merel::InitColors();
    }
    if (options.initKeys) {
      Merel::InitKeys();
    }
    refresh();
  }

  ~CursesScreen() {
    if (_screen != nullptr) {
      endwin();
      delscreen(_screen);
      bwColor = _savedBwColor;
    }
    if (_out != nullptr) {
      fclose(_out);
    }
    if (_in != nullptr) {
      fclose(_in);
    }
    if (_savedStdin >= 0) {
      dup2(_savedStdin, STDIN_FILENO);
      close(_savedStdin);
    }
    if (_slave >= 0) {
      close(_slave);  // the drain thread now sees the terminal hang up
    }
    if (_drain.joinable()) {
      _drain.join();
    }
    if (_master >= 0) {
      close(_master);
    }
  }

  CursesScreen(const CursesScreen&) = delete;
  CursesScreen& operator=(const CursesScreen&) = delete;

  bool Ok() const { return _screen != nullptr; }

  // Bytes as if typed at the keyboard.
  void Type(const std::string& bytes) const {
    size_t done = 0;
    while (done < bytes.size()) {
      ssize_t n = write(_master, bytes.data() + done, bytes.size() - done);
      if (n <= 0) {
        return;
      }
      done += static_cast<size_t>(n);
    }
  }

  // Typed bytes reach the terminal side a moment after Type(); true once some
  // are readable there.
  bool WaitForInput(int timeoutMs = 2000) const {
    struct pollfd fd = {_slave, POLLIN, 0};
    return poll(&fd, 1, timeoutMs) == 1;
  }

  // Everything curses has written to the terminal so far.
  std::string Output() const {
    std::lock_guard<std::mutex> lock(_outputMutex);
    return _output;
  }

  int Slave() const { return _slave; }

  // The cell at (x, y) of `window`, relative to it; the window's cursor is left
  // where it was.
  static Cell CellAt(WINDOW* window, int x, int y) {
    int savedY, savedX;
    getyx(window, savedY, savedX);
    cchar_t raw;
    Cell cell;
    if (mvwin_wch(window, y, x, &raw) != ERR) {
      wchar_t text[CCHARW_MAX + 1] = {};
      short shortPair = 0;
      getcchar(&raw, text, &cell.attributes, &shortPair, &cell.pair);
      cell.ch = text[0];
      cell.attributes &= ~A_COLOR;
    }
    wmove(window, savedY, savedX);
    return cell;
  }

  // The window's background (what wbkgd set), as attributes and pair.
  static Cell Background(WINDOW* window) {
    cchar_t raw;
    Cell cell;
    if (wgetbkgrnd(window, &raw) != ERR) {
      wchar_t text[CCHARW_MAX + 1] = {};
      short shortPair = 0;
      getcchar(&raw, text, &cell.attributes, &shortPair, &cell.pair);
      cell.ch = text[0];
      cell.attributes &= ~A_COLOR;
    }
    return cell;
  }

  // Row `y` of `window` as narrow text (non-ASCII cells become '?').
  static std::string RowText(WINDOW* window, int y) {
    std::string text;
    for (int x = 0; x < getmaxx(window); ++x) {
      wchar_t ch = CellAt(window, x, y).ch;
      text += (ch > 0 && ch < 128) ? static_cast<char>(ch) : '?';
    }
    return text;
  }

  // The pair a ColorAttr value stands for, to compare with Cell::pair.
  static int PairOf(int colorAttr) {
    attr_t attributes;
    int pair;
    Merel::SplitColorAttr(colorAttr, attributes, pair);
    return pair;
  }

 private:
  void Drain() {
    char buffer[4096];
    for (;;) {
      ssize_t n = read(_master, buffer, sizeof buffer);
      if (n <= 0) {
        if (n < 0 && errno == EINTR) {
          continue;
        }
        return;  // EIO: every terminal-side descriptor is closed
      }
      std::lock_guard<std::mutex> lock(_outputMutex);
      _output.append(buffer, static_cast<size_t>(n));
    }
  }

  int _master = -1;
  int _slave = -1;
  int _savedStdin = -1;
  FILE* _out = nullptr;
  FILE* _in = nullptr;
  SCREEN* _screen = nullptr;
  bool _savedBwColor = false;
  std::thread _drain;
  mutable std::mutex _outputMutex;
  std::string _output;
};

}  // namespace MerelTest
