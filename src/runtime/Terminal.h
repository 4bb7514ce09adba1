// Colours and the escape-sequence key table, set up once after curses starts.
#pragma once

#include <termios.h>

namespace Merel {

// Palette numbers used everywhere (slots 2 and 6 are redefined).
enum Color { kBlack = 0, kRed = 1, kLightGrey = 2, kYellow = 3, kDarkGrey = 6, kWhite = 7 };

struct KeyDefinition {
  const char* sequence;
  int key;
};
extern const KeyDefinition kKeyTable[68];

void InitColors();
void InitKeys();
// Attribute for text of `foreground` on `background` (background first).
int ColorAttr(int background, int foreground);

}  // namespace Merel

// Process-wide flags, plain globals by convention.
extern bool bwColor;
extern bool usingKeyboard;
extern struct termios orig_termios;
