// Drives an input field with arbitrary key sequences, renders, value
// replacements and focus changes, and checks its invariants after each step:
// 0 <= scroll <= cursor <= length; after a render the cursor is inside the
// field's view and the line has exactly the promised shape.
#include <curses.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "Item.h"

namespace {

const int kSpecialKeys[] = {KEY_HOME, KEY_END, KEY_LEFT, KEY_RIGHT, KEY_DC,   KEY_BACKSPACE,
                            8,        27,      KEY_F(1), KEY_UP,    KEY_DOWN, 10,
                            9,        0,       127,      KEY_NPAGE, 410,      -1};

void Check(bool condition) {
  if (!condition) {
    abort();
  }
}

void CheckState(const Merel::InputItem& item) {
  const int length = static_cast<int>(item.GetValue().size());
  Check(0 <= item.GetScroll());
  Check(item.GetScroll() <= item.GetCursor());
  Check(item.GetCursor() <= length);
}

void CheckRender(Merel::InputItem& item, int width, int fieldWidth) {
  const std::string line = item.Render(width);
  CheckState(item);
  int fw = fieldWidth == -1 ? width / 2 - 1 : fieldWidth;
  if (fw < 0) {
    fw = 0;
  }
  Check(item.GetCursor() - item.GetScroll() <= fw);
  if (!item.IsFocused()) {
    const size_t labelColumns = std::max<long>(static_cast<long>(width) - 5 - fw,
                                               static_cast<long>(item.GetLabel().size()));
    Check(line.size() == labelColumns + 5 + static_cast<size_t>(fw));
    Check(line.compare(line.size() - 2, 2, " ]") == 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) {
    return 0;
  }
  // Byte 0: field width (-1 = half the area), byte 1: label length.
  const int fieldWidth = data[0] == 255 ? -1 : data[0] % 40;
  const std::string label(data[1] % 50, 'L');
  Merel::InputItem item(label, "initial", fieldWidth);
  CheckState(item);

  for (size_t i = 2; i < size; ++i) {
    const uint8_t byte = data[i];
    switch (byte >> 5) {
      case 0:  // editing and other special keys
        item.HandleKey(kSpecialKeys[byte % (sizeof(kSpecialKeys) / sizeof(kSpecialKeys[0]))]);
        break;
      case 1:
      case 2:
      case 3:  // printable and not: the byte itself, 32..127
        item.HandleKey(byte);
        break;
      case 4:  // render at a width of 0..31 or 40..71
        CheckRender(item, (byte & 31) + ((byte & 16) ? 40 : 0), fieldWidth);
        break;
      case 5:
        item.SetValue(std::string(byte & 31, 'x'));
        break;
      case 6:
        item.SetFocused((byte & 1) != 0);
        item.SetPassword((byte & 2) != 0);
        break;
      default:  // any key code at all, including high bytes
        item.HandleKey(static_cast<int>(byte) * 3);
        break;
    }
    CheckState(item);
  }
  return 0;
}
