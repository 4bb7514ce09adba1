// Colours and the escape-sequence key table, set up once after curses starts.
#pragma once

#include <curses.h>

namespace Merel {

// Plain key codes the screens act on (curses passes them through as bytes).
constexpr int kKeyTab = 9;
constexpr int kKeyEnter = 10;
constexpr int kKeyEscape = 27;

// Palette numbers used everywhere (slots 2 and 6 are redefined).
enum Color { kBlack = 0, kRed = 1, kLightGrey = 2, kYellow = 3, kDarkGrey = 6, kWhite = 7 };

// How long curses waits after an Esc for the rest of a key's sequence,
// unless ESCDELAY says otherwise.
constexpr int kEscapeDelayMs = 100;

struct KeyDefinition {
  const char* sequence;
  int key;
};
extern const KeyDefinition kKeyTable[68];

void InitColors();
void InitKeys();
// Attribute for text of `foreground` on `background` (background first).
int ColorAttr(int background, int foreground);
// What ColorAttr gives in black-and-white mode, for a terminal with or
// without faint text: standout on dark backgrounds, reverse for a selection
// (white background), dim (or, without dim, plain against bold) for dark
// grey text on light backgrounds.
int BlackAndWhiteAttr(int background, int foreground, bool hasDim);

// A curses attribute has room for only 8 bits of colour pair, but pair numbers
// go well past 255 on terminals with more than 16 colours (xterm-256color).
// These apply a ColorAttr value through the extended-pair calls so the right
// colours come out on every terminal. Pass the value exactly as ColorAttr
// returned it (do not OR other attributes into it).
void SplitColorAttr(int colorAttr, attr_t& attributes, int& pair);
// wbkgd with a ColorAttr value: every cell of the window takes the new
// colours (text and lines included; text areas redraw their own colours).
void SetBackground(WINDOW* window, int colorAttr);
// wattr_set with a ColorAttr value: what is written next uses these colours.
void SetAttributes(WINDOW* window, int colorAttr);

// An exception that nobody catches still ends the process abnormally, but
// only after curses has given the terminal back (modes, cursor, screen).
// Installed once curses has started.
void RestoreTerminalOnTerminate();

// Black-and-white rendering (bwColor): on where InitColors finds a terminal
// whose colours cannot be redefined; F4 on the welcome screen toggles it.
// It belongs to the one curses screen, like the colour pairs, and changes
// what every ColorAttr gives.
bool BwColor();
void SetBwColor(bool on);

}  // namespace Merel
