// Drives an input field with arbitrary keys, renders, value replacements and
// focus changes. After every step 0 <= scroll <= cursor <= length; after a
// render the cursor is inside the field's view and an unfocused line has its
// promised shape: max(W - 5 - fw, label) columns of label, " [ ", field, " ]".
#include <curses.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "Item.h"

namespace {

const int kSpecialKeys[] = {KEY_HOME, KEY_END, KEY_LEFT, KEY_RIGHT, KEY_DC, KEY_BACKSPACE, 8,   27,
                            KEY_F(1), KEY_UP,  10,       127,       0,      KEY_NPAGE,     410, -1};

void Check(bool condition) {
  if (!condition) {
    abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) {
    return 0;
  }
  // Byte 0: field width (-1 = half the area), byte 1: label length.
  const int fieldWidth = data[0] == 255 ? -1 : data[0] % 40;
  Merel::InputItem item(std::string(data[1] % 50, 'L'), "initial", fieldWidth);
  for (size_t i = 2; i < size; ++i) {
    const uint8_t byte = data[i];
    switch (byte >> 5) {
      case 0:
        item.HandleKey(kSpecialKeys[byte % std::size(kSpecialKeys)]);
        break;
      case 1:
      case 2:
      case 3:  // the byte itself, printable or not
        item.HandleKey(byte);
        break;
      case 4: {  // render at a width of 0..15 or 56..71
        const int width = (byte & 31) + ((byte & 16) ? 40 : 0);
        const std::string line = item.Render(width);
        const int fw = std::max(fieldWidth == -1 ? width / 2 - 1 : fieldWidth, 0);
        Check(item.GetCursor() - item.GetScroll() <= fw);
        const size_t label = std::max<size_t>(std::max(width - 5 - fw, 0), item.GetLabel().size());
        Check(item.IsFocused() ||
              (line.size() == label + 5 + static_cast<size_t>(fw) && line.ends_with(" ]")));
        break;
      }
      case 5:
        item.SetValue(std::string(byte & 31, 'x'));
        break;
      case 6:
        item.SetFocused((byte & 1) != 0);
        item.SetPassword((byte & 2) != 0);
        break;
      default:  // any key code at all
        item.HandleKey(static_cast<int>(byte) * 3);
        break;
    }
    Check(0 <= item.GetScroll() && item.GetScroll() <= item.GetCursor() &&
          item.GetCursor() <= static_cast<int>(item.GetValue().size()));
  }
  return 0;
}
