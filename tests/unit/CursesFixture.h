// Real curses in process, for tests of drawing and key input: a fresh 80 x 25
// pseudo-terminal of the given type, set up the way the console sets up its
// terminal. What curses writes is drained in the background so that drawing
// never blocks on a full pty. With `standardInput` the terminal is also
// descriptor 0, because the console's key wait polls descriptor 0 directly.
// Without `drained` nothing reads the output, which must then stay within the
// pty's buffer: for a test that forks, because a child forked while the drain
// thread holds a lock of the sanitizer's allocator (as it does while it
// starts) hangs at its first allocation. One screen at a time.
#pragma once

#include <curses.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>

#include "Terminal.h"

namespace MerelTest {

// `n` blanks, the filler of rendered lines and rows.
inline std::string Blanks(int n) {
  return std::string(static_cast<size_t>(n), ' ');
}

struct Cell {
  wchar_t ch = 0;
  attr_t attributes = 0;  // without the colour bits
  int pair = 0;
};

class CursesScreen {
 public:
  explicit CursesScreen(const char* term = "xterm-256color", bool standardInput = false,
                        bool drained = true) {
    struct winsize size = {25, 80, 0, 0};
    if (openpty(&_master, &_slave, nullptr, nullptr, &size) != 0)
      return;
    // The size must come from the pty, not from the test runner's environment.
    unsetenv("LINES");
    unsetenv("COLUMNS");
    if (drained) {
      _drain = std::thread([this] {
        char buffer[4096];
        while (read(_master, buffer, sizeof buffer) > 0 || errno == EINTR) {
        }
      });
    }
    if (standardInput) {
      _savedStdin = dup(STDIN_FILENO);
      dup2(_slave, STDIN_FILENO);
    }
    _out = fdopen(dup(_slave), "w");
    _in = fdopen(dup(_slave), "r");
    _screen = newterm(term, _out, _in);
    if (_screen == nullptr)
      return;
    set_term(_screen);
    cbreak();
    noecho();
    keypad(stdscr, TRUE);
    _savedBwColor = Merel::BwColor();
    Merel::SetBwColor(false);
    start_color();
    Merel::InitColors();
    Merel::InitKeys();
    refresh();
  }

  ~CursesScreen() {
    if (_screen != nullptr) {
      endwin();
      delscreen(_screen);
      Merel::SetBwColor(_savedBwColor);
    }
    if (_master < 0)
      return;
    fclose(_out);
    fclose(_in);
    if (_savedStdin >= 0) {
      dup2(_savedStdin, STDIN_FILENO);
      close(_savedStdin);
    }
    close(_slave);  // the drain thread now sees the terminal hang up
    if (_drain.joinable())
      _drain.join();
    close(_master);
  }

  CursesScreen(const CursesScreen&) = delete;
  CursesScreen& operator=(const CursesScreen&) = delete;

  bool Ok() const { return _screen != nullptr; }
  int Slave() const { return _slave; }

  void Type(const std::string& bytes) const {
    [[maybe_unused]] ssize_t ignored = write(_master, bytes.data(), bytes.size());
  }
  // Typed bytes reach the terminal side a moment after Type().
  bool WaitForInput() const {
    struct pollfd fd = {_slave, POLLIN, 0};
    return poll(&fd, 1, 2000) == 1;
  }

  // The cell at (x, y) of `window`; the window's cursor stays where it was.
  static Cell CellAt(WINDOW* window, int x, int y) {
    int savedY, savedX;
    getyx(window, savedY, savedX);
    cchar_t raw = {};
    mvwin_wch(window, y, x, &raw);
    wmove(window, savedY, savedX);
    wchar_t text[CCHARW_MAX + 1] = {};
    short shortPair = 0;
    Cell cell;
    getcchar(&raw, text, &cell.attributes, &shortPair, &cell.pair);
    cell.ch = text[0];
    cell.attributes &= ~A_COLOR;
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
  // The pair a ColorAttr value stands for.
  static int PairOf(int colorAttr) {
    attr_t attributes;
    int pair;
    Merel::SplitColorAttr(colorAttr, attributes, pair);
    return pair;
  }

 private:
  int _master = -1, _slave = -1, _savedStdin = -1;
  FILE *_out = nullptr, *_in = nullptr;
  SCREEN* _screen = nullptr;
  bool _savedBwColor = false;
  std::thread _drain;
};

}  // namespace MerelTest
