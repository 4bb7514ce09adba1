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
      _cursor(static_cast<int>(_value.size())) {}

void InputItem::SetValue(const std::string& value) {
  if (_password) {
    Wipe();
  }
  _value = value;
  _cursor = static_cast<int>(_value.size());
  _scroll = 0;
  _pristine = true;
}

int InputItem::FieldWidth(int width) const {
  // A field can be no narrower than nothing; only a degenerate area gets here.
  return std::max(0, _fieldWidth == -1 ? width / 2 - 1 : _fieldWidth);
}

std::string InputItem::Render(int width) {
  const int fw = FieldWidth(width);
  const int length = static_cast<int>(_value.size());
  if (fw > length) {
    _scroll = 0;
  } else if (_cursor - _scroll > fw) {
    _scroll = _cursor - fw;
  }

  std::string visible = _value.substr(static_cast<size_t>(_scroll), static_cast<size_t>(fw));
  if (_password) {
    visible.assign(visible.size(), '*');
  }
  const std::string blanks(static_cast<size_t>(fw) - visible.size(), ' ');

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
  _cursor = 0;
  _scroll = 0;
}

void InputItem::HandleKey(int key) {
  const int length = static_cast<int>(_value.size());
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
        _value.erase(static_cast<size_t>(_cursor), 1);
      }
      return;
    case KEY_BACKSPACE:
    case 8:
      if (_pristine) {
        clear();
      } else if (_cursor > 0) {
        _value.erase(static_cast<size_t>(_cursor) - 1, 1);
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
      if (key >= 0 && key <= 255 && isprint(key)) {
        if (_password && _value.size() == _value.capacity()) {
          // Growing in place would free the old buffer with the secret in it.
          MoveToBuffer(_value.capacity() * 2);
        }
        _value.insert(static_cast<size_t>(_cursor), 1, static_cast<char>(key));
        _cursor += 1;
      }
      return;
  }
}

}  // namespace Merel
