// Items of dialogs. Each one renders to a single markup line; the input field
// also keeps its own cursor and view, and edits its value key by key.
#include "Item.h"

#include <curses.h>

#include <algorithm>
#include <cctype>
#include <cstring>

#include "TextArea.h"

namespace Merel {

namespace {
constexpr size_t kSecretCapacity = 8192;

bool IsContinuation(unsigned char c) {
  return (c & 0xc0) == 0x80;
}

// Characters in a UTF-8 text (continuation bytes are not counted).
int Chars(const std::string& text) {
  int n = 0;
  for (unsigned char c : text) {
    n += IsContinuation(c) ? 0 : 1;
  }
  return n;
}

// The byte at which character `chars` of a UTF-8 text begins.
size_t Offset(const std::string& text, int chars) {
  size_t at = 0;
  for (; at < text.size() && chars > 0; --chars) {
    ++at;
    while (at < text.size() && IsContinuation(static_cast<unsigned char>(text[at]))) {
      ++at;
    }
  }
  return at;
}

// Bytes a UTF-8 character that starts with `lead` has; 0 for no valid lead.
size_t SequenceLength(unsigned char lead) {
  if (lead >= 0xc2 && lead <= 0xdf) {
    return 2;
  }
  if (lead >= 0xe0 && lead <= 0xef) {
    return 3;
  }
  if (lead >= 0xf0 && lead <= 0xf4) {
    return 4;
  }
  return 0;
}
}  // namespace

LabelItem::LabelItem(std::string label, bool selectable) : _label(std::move(label)) {
  _selectable = selectable;
}

void LabelItem::Draw(TextArea& area) {
  area.SetText(Focusable(_label));
}

EntryItem::EntryItem(std::string label, bool selectable) : _label(std::move(label)) {
  _selectable = selectable;
}

void EntryItem::Draw(TextArea& area) {
  const std::string text =
      _selectable || _label.empty() ? _label : "{color:dark-grey}" + _label + "{/color}";
  if (!_focused) {
    area.SetText(text);
    return;
  }
  const int bar = std::max(1, area.GetWidth() - 2);
  area.SetText(Selected("{align:padding:" + std::to_string(bar) + "}" + text + "{/align}"));
}

CheckItem::CheckItem(std::string label, bool checked, int indent)
    : _checked(checked), _indent(indent), _label(std::move(label)) {}

void CheckItem::Draw(TextArea& area) {
  std::string line(_indent > 0 ? static_cast<size_t>(_indent) : 0, ' ');
  line += Box();
  line += Focusable(_label);
  area.SetText(line);
}

InputItem::InputItem(std::string label, std::string value, int fieldWidth)
    : _label(std::move(label)),
      _value(std::move(value)),
      _fieldWidth(fieldWidth),
      _cursor(Chars(_value)) {}

void InputItem::SetValue(const std::string& value) {
  if (_password) {
    Wipe();
  }
  _value = value;
  _cursor = Chars(_value);
  _scroll = 0;
  _pristine = true;
}

int InputItem::FieldWidth(int width) const {
  // A field can be no narrower than nothing; only a degenerate area gets here.
  return std::max(0, _fieldWidth == -1 ? width / 2 - 1 : _fieldWidth);
}

std::string InputItem::Render(int width) {
  const int fw = FieldWidth(width);
  const int length = Chars(_value);
  if (fw > length) {
    _scroll = 0;
  } else if (_cursor - _scroll > fw) {
    _scroll = _cursor - fw;
  }

  // Counted in characters: a password may hold UTF-8 letters (other fields
  // take ASCII only, as the text area counts a byte a column), and each
  // shows as one star.
  const size_t from = Offset(_value, _scroll);
  std::string visible = _value.substr(from, Offset(_value, _scroll + fw) - from);
  const int shown = Chars(visible);
  if (_password) {
    visible.assign(static_cast<size_t>(shown), '*');
  }
  const std::string blanks(static_cast<size_t>(fw - shown), ' ');

  // The label is padded but never cut: a long one pushes the brackets right.
  std::string line = _label;
  const int labelColumns = width - 5 - fw;
  if (static_cast<int>(line.size()) < labelColumns) {
    line.append(static_cast<size_t>(labelColumns) - line.size(), ' ');
  }
  line += " [ ";
  if (!_focused) {
    line += visible + blanks;
  } else if (_pristine) {
    // A value set by the program shows as selected: the next key replaces it.
    line += Selected(visible) + blanks;
  } else {
    line += "{bgcolor:black}{color:white}" + visible + "{/color}{/bgcolor}" + blanks;
  }
  line += " ]";
  return line;
}

void InputItem::Draw(TextArea& area) {
  const int width = area.GetWidth();
  area.SetText(Render(width));
  if (_focused) {
    area.SetCursor(_cursor - _scroll + width - FieldWidth(width) - 2, 0);
  }
}

void InputItem::SetPassword(bool password) {
  _password = password;
  if (password) {
    // Room for any password a person types: the buffer then never moves.
    MoveToBuffer(kSecretCapacity);
  }
}

void InputItem::MoveToBuffer(size_t capacity) {
  std::string buffer;
  buffer.reserve(capacity);
  buffer = _value;
  // The old buffer is freed with the swap: no copy of a secret stays in it.
  explicit_bzero(_value.data(), _value.capacity());
  _value.swap(buffer);
}

void InputItem::Wipe() {
  explicit_bzero(_value.data(), _value.capacity());
  _value.clear();
  explicit_bzero(_pending.data(), _pending.size());
  _pending.clear();
  _cursor = 0;
  _scroll = 0;
}

void InputItem::HandleKey(int key) {
  const int length = Chars(_value);
  // The bytes of one character, from its position to the next one's.
  auto erase = [this](int at) {
    const size_t from = Offset(_value, at);
    _value.erase(from, Offset(_value, at + 1) - from);
  };
  if (!(key >= 0x80 && key <= 0xff)) {
    // A UTF-8 character cut short by another key is dropped whole.
    explicit_bzero(_pending.data(), _pending.size());
    _pending.clear();
  }
  auto clear = [this]() {
    // Wiped even when it holds no secret: a field is a few bytes.
    Wipe();
    _pristine = false;
  };
  switch (key) {
    case KEY_HOME:
      _cursor = 0;
      _scroll = 0;
      _pristine = false;
      return;
    case KEY_END:
      _pristine = false;
      if (length > 0) {
        _cursor = length;
      }
      return;
    case KEY_LEFT:
      _pristine = false;
      if (_cursor >= 1) {
        if (_cursor == _scroll) {
          _scroll -= 1;
        }
        _cursor -= 1;
      }
      return;
    case KEY_RIGHT:
      _pristine = false;
      if (_cursor < length) {
        _cursor += 1;
      }
      return;
    case KEY_DC:
      if (_pristine) {
        clear();
      } else if (_cursor < length) {
        erase(_cursor);
      }
      return;
    case KEY_BACKSPACE:
    case 8:
      if (_pristine) {
        clear();
      } else if (_cursor > 0) {
        erase(_cursor - 1);
        _cursor -= 1;
        // Backspacing past the left edge of the view shows the whole value
        // again with the cursor at its end; long-standing behaviour.
        if (_cursor < _scroll) {
          _scroll = 0;
          _cursor = static_cast<int>(_value.size());
        }
      }
      return;
    default:
      if (_pristine) {
        clear();
      }
      std::string character;
      if (key >= 0 && key < 0x80 && isprint(key)) {
        character.assign(1, static_cast<char>(key));
      } else if (_password && key >= 0x80 && key <= 0xff) {
        // A password takes UTF-8 letters too: the terminal sends each as its
        // bytes one by one, and the field keeps them once the character is
        // complete. Bytes that make no character are dropped.
        const auto byte = static_cast<unsigned char>(key);
        if (_pending.empty() ? SequenceLength(byte) == 0 : !IsContinuation(byte)) {
          explicit_bzero(_pending.data(), _pending.size());
          _pending.clear();
          if (SequenceLength(byte) == 0) {
            return;
          }
        }
        _pending += static_cast<char>(byte);
        if (_pending.size() < SequenceLength(static_cast<unsigned char>(_pending[0]))) {
          return;
        }
        character.swap(_pending);
      }
      if (!character.empty()) {
        if (_password && _value.size() + character.size() > _value.capacity()) {
          // Growing in place would free the old buffer with the secret in it.
          MoveToBuffer(_value.capacity() * 2);
        }
        _value.insert(Offset(_value, _cursor), character);
        _cursor += 1;
        explicit_bzero(character.data(), character.size());
      }
      return;
  }
}

}  // namespace Merel
