// Colours and keys: the console must look and answer the same on the host's
// own console ("linux"), on a terminal driven as a VT102 and in an xterm.

#include "Terminal.h"

#include <curses.h>

#include <cstdlib>
#include <exception>

namespace Merel {

namespace {

bool bwColor = false;

#define ESC "\033"

// Redefined palette slots, on the curses 0..1000 scale. Slots 2 and 6 are the
// terminal's green and cyan, which the console never shows as such; black is
// left as the terminal has it.
struct PaletteEntry {
  short slot, red, green, blue;
};
constexpr PaletteEntry kPalette[] = {
    {kYellow, 1000, 800, 0},  // a golden yellow
    {kDarkGrey, 334, 334, 334}, {kLightGrey, 667, 667, 667},
    {kWhite, 1000, 1000, 1000}, {kRed, 1000, 0, 0},
};

// The six colours the screens use; pairs are made for every combination, in
// this order for both background and foreground.
constexpr short kPairOrder[] = {kWhite, kBlack, kYellow, kLightGrey, kDarkGrey, kRed};

int PairNumber(int background, int foreground) {
  return foreground + COLORS * background + 1;
}

std::terminate_handler previousTerminate = nullptr;

// Whether the terminal can draw faint text; asked once, when colours are set
// up (F4 may switch to black and white later on the same terminal).
bool terminalHasDim = true;

[[noreturn]] void RestoreAndTerminate() {
  // abort() runs no exit handlers, so the endwin registered at start-up
  // would never run. The previous handler still reports and aborts.
  if (!isendwin()) {
    endwin();
  }
  if (previousTerminate != nullptr) {
    previousTerminate();
  }
  std::abort();
}

}  // namespace

// Extra sequences so that function and cursor keys arrive as the same key codes
// from every terminal the console is driven on. ESC plus one character gives
// every function key (and the editing keys) on terminals that send nothing
// useful for them; ESC "R" is how a resized serial terminal asks for a restart.
// clang-format off
const KeyDefinition kKeyTable[68] = {
    {ESC "R", KEY_RESIZE},
    {ESC "[11~", KEY_F(1)},
    {ESC "[12~", KEY_F(2)},
    {ESC "[13~", KEY_F(3)},
    {ESC "[14~", KEY_F(4)},
    {ESC "[15~", KEY_F(5)},
    {ESC "[17~", KEY_F(6)},
    {ESC "[18~", KEY_F(7)},
    {ESC "[19~", KEY_F(8)},
    {ESC "[20~", KEY_F(9)},
    {ESC "[21~", KEY_F(10)},
    {ESC "[23~", KEY_F(11)},
    {ESC "[24~", KEY_F(12)},
    {ESC "1", KEY_F(1)},
    {ESC "2", KEY_F(2)},
    {ESC "3", KEY_F(3)},
    {ESC "4", KEY_F(4)},
    {ESC "5", KEY_F(5)},
    {ESC "6", KEY_F(6)},
    {ESC "7", KEY_F(7)},
    {ESC "8", KEY_F(8)},
    {ESC "9", KEY_F(9)},
    {ESC "0", KEY_F(10)},
    {ESC "!", KEY_F(11)},
    {ESC "@", KEY_F(12)},
    {ESC "h", KEY_HOME},
    {ESC "k", KEY_END},
    {ESC "+", KEY_IC},
    {ESC "-", KEY_DC},
    {ESC "?", KEY_PPAGE},
    {ESC "/", KEY_NPAGE},
    {ESC "[M", KEY_F(1)},
    {ESC "[N", KEY_F(2)},
    {ESC "[O", KEY_F(3)},
    {ESC "[P", KEY_F(4)},
    {ESC "[Q", KEY_F(5)},
    {ESC "[R", KEY_F(6)},
    {ESC "[S", KEY_F(7)},
    {ESC "[T", KEY_F(8)},
    {ESC "[U", KEY_F(9)},
    {ESC "[V", KEY_F(10)},
    {ESC "[W", KEY_F(11)},
    {ESC "[X", KEY_F(12)},
    {ESC "OP", KEY_F(1)},
    {ESC "OQ", KEY_F(2)},
    {ESC "OR", KEY_F(3)},
    {ESC "OS", KEY_F(4)},
    {ESC "OT", KEY_F(5)},
    {ESC "OU", KEY_F(6)},
    {ESC "OV", KEY_F(7)},
    {ESC "OW", KEY_F(8)},
    {ESC "OX", KEY_F(9)},
    {ESC "OY", KEY_F(12)},  // F10 and F11 have no "O" form
    {ESC "OA", KEY_UP},
    {ESC "OB", KEY_DOWN},
    {ESC "OC", KEY_RIGHT},
    {ESC "OD", KEY_LEFT},
    {ESC "[A", KEY_UP},
    {ESC "[B", KEY_DOWN},
    {ESC "[C", KEY_RIGHT},
    {ESC "[D", KEY_LEFT},
    {ESC "[2~", KEY_IC},
    {ESC "[3~", KEY_DC},
    {ESC "[1~", KEY_HOME},
    {ESC "[4~", KEY_END},
    {ESC "[5~", KEY_PPAGE},
    {ESC "[6~", KEY_NPAGE},
    {"\x7f", KEY_BACKSPACE},  // DEL is Backspace, not Delete
};
// clang-format on

#undef ESC

void InitColors() {
  terminalHasDim = (termattrs() & A_DIM) != 0;
  use_default_colors();
  if (!can_change_color()) {
    // Without our palette the colour screens would be unreadable; draw them
    // as plain and standout text instead.
    bwColor = true;
    return;
  }
  for (const PaletteEntry& entry : kPalette) {
    init_color(entry.slot, entry.red, entry.green, entry.blue);
  }
  for (short background : kPairOrder) {
    for (short foreground : kPairOrder) {
      init_pair(static_cast<short>(PairNumber(background, foreground)), foreground, background);
    }
  }
}

void InitKeys() {
  for (const KeyDefinition& definition : kKeyTable) {
    define_key(definition.sequence, definition.key);
  }
  // After an Esc curses waits this long for the rest of a sequence before it
  // delivers the Esc alone. Its own default, a second, makes every Esc feel
  // stuck; a key's sequence arrives in one piece within a few milliseconds,
  // even on a 9600-baud line. An ESCDELAY in the environment (which curses
  // has already read) wins.
  if (getenv("ESCDELAY") == nullptr) {
    set_escdelay(kEscapeDelayMs);
  }
}

int ColorAttr(int background, int foreground) {
  if (bwColor) {
    return BlackAndWhiteAttr(background, foreground, terminalHasDim);
  }
  return PairNumber(background, foreground) << NCURSES_ATTR_SHIFT;
}

int BlackAndWhiteAttr(int background, int foreground, bool hasDim) {
  // Dark backgrounds become standout so that dialogs and bars still stand
  // apart from the body on a monochrome terminal.
  if (background == kDarkGrey || background == kBlack) {
    return static_cast<int>(A_STANDOUT);
  }
  // A white background is how a selection is drawn (the menu's bar, the
  // focused choice of a dialog): without it nobody could see where the
  // selection is.
  if (background == kWhite) {
    return static_cast<int>(A_REVERSE);
  }
  // On the light backgrounds dark grey is the faint text (greyed entries,
  // captions); where the terminal cannot dim, the bright text is bold
  // instead, so the two still differ.
  if (foreground == kDarkGrey) {
    return hasDim ? static_cast<int>(A_DIM) : 0;
  }
  if (foreground == kWhite && !hasDim) {
    return static_cast<int>(A_BOLD);
  }
  return 0;
}

void SplitColorAttr(int colorAttr, attr_t& attributes, int& pair) {
  if (bwColor) {
    attributes = static_cast<attr_t>(colorAttr);
    pair = 0;
  } else {
    attributes = A_NORMAL;
    pair = static_cast<int>(static_cast<unsigned int>(colorAttr) >> NCURSES_ATTR_SHIFT);
  }
}

void SetBackground(WINDOW* window, int colorAttr) {
  attr_t attributes;
  int pair;
  SplitColorAttr(colorAttr, attributes, pair);
  // Curses adds a window's background attributes to everything written in
  // it. Bold and dim belong to text (a text area sets them while it writes),
  // never to a whole window: a greyed line inside a bold pane would be bold.
  attributes &= ~(A_BOLD | A_DIM);
  cchar_t background;
  const wchar_t blank[] = {L' ', L'\0'};
  // The pair goes through the `opts` pointer: the short argument cannot hold it.
  setcchar(&background, blank, attributes, 0, &pair);
  wbkgrnd(window, &background);

  // wbkgd is meant to give every cell of the window the new rendition, but
  // with extended colours ncurses keeps a cell's own pair. A child's blanks
  // would then keep the colour its parent just painted over them, and a
  // greyed window would keep its coloured lines. Recolour every cell here;
  // only the line-drawing flag belongs to the character and stays. Text areas
  // put their own colours back when they are drawn.
  int cursorY, cursorX;
  getyx(window, cursorY, cursorX);
  const int height = getmaxy(window);
  const int width = getmaxx(window);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      cchar_t cell;
      if (mvwin_wch(window, y, x, &cell) == ERR) {
        continue;
      }
      wchar_t text[CCHARW_MAX + 1];
      attr_t cellAttributes = 0;
      short shortPair = 0;
      int cellPair = 0;
      getcchar(&cell, text, &cellAttributes, &shortPair, &cellPair);
      mvwchgat(window, y, x, 1, (cellAttributes & A_ALTCHARSET) | attributes, 0, &pair);
    }
  }
  wmove(window, cursorY, cursorX);
}

void RestoreTerminalOnTerminate() {
  std::terminate_handler previous = std::set_terminate(RestoreAndTerminate);
  if (previous != RestoreAndTerminate) {
    previousTerminate = previous;
  }
}

void SetAttributes(WINDOW* window, int colorAttr) {
  attr_t attributes;
  int pair;
  SplitColorAttr(colorAttr, attributes, pair);
  wattr_set(window, attributes, 0, &pair);
}

bool BwColor() {
  return bwColor;
}

void SetBwColor(bool on) {
  bwColor = on;
}

}  // namespace Merel
