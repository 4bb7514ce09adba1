// The markup text area. Every text on screen passes through here twice: the
// layout pass resolves alignment, fixed-width fields and host variables and
// wraps the text to the area's width; the draw pass turns the colour tags into
// curses attributes while writing the laid-out lines.
//
// The layout arithmetic below is intentionally not "tidy": positions are not
// shifted when alignment blanks are inserted before them, and a padding field
// advances the position by its whole width even when fewer blanks fit. The
// strings of every screen were written against exactly this behaviour, so it
// must not be corrected here.
#include "TextArea.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>

#include "Terminal.h"

namespace Merel {

namespace {

enum class AlignMode { kNone, kRight, kCenter, kPadding };

// Splits a tag's text at its first ':' (no ':' -> the whole text is the name).
void SplitTag(const std::string& tag, std::string& name, std::string& value) {
  const size_t colon = tag.find(':');
  if (colon == std::string::npos) {
    name = tag;
    value.clear();
  } else {
    name = tag.substr(0, colon);
    value = tag.substr(colon + 1);
  }
}

// The running state of the layout pass. Positions are 64-bit because a
// padding field may add up to INT_MAX to them; they never index `out`
// directly without a bounds check, since they drift from the real offsets
// once blanks are inserted.
struct LayoutState {
  explicit LayoutState(int width) : width(width), rem(width) {}

  const long long width;
  std::string out;
  long long rem;
  long long pos = 0;
  long long lastSpace = -1;  // -1: none
  long long wordLen = 0;
  long long lineStart = 0;
  AlignMode mode = AlignMode::kNone;
  long long pad = 0;

  // Inserting at a drifted position would throw; the text is then padded at
  // the end instead, which is where that position was meant to be.
  void InsertBlanks(long long at, long long count) {
    if (count <= 0) {
      return;
    }
    const size_t where = at < 0 ? 0 : std::min(static_cast<size_t>(at), out.size());
    out.insert(where, static_cast<size_t>(count), ' ');
  }

  void HandleTag(const std::string& tag, const TextArea::VariableTable& variables) {
    std::string name;
    std::string value;
    SplitTag(tag, name, value);
    if (name == "align") {
      // Aligned runs do not nest: an align tag inside one is ignored outright.
      if (mode != AlignMode::kNone) {
        return;
      }
      if (value == "right") {
        mode = AlignMode::kRight;
      } else if (value == "center") {
        mode = AlignMode::kCenter;
      } else if (value.compare(0, 8, "padding:") == 0) {
        const long parsed = strtol(value.c_str() + 8, nullptr, 10);
        pad = parsed > INT_MAX ? INT_MAX : parsed < INT_MIN ? INT_MIN : parsed;
        mode = AlignMode::kPadding;
      }
      lineStart = pos;
      return;
    }
    if (name == "/align") {
      switch (mode) {
        case AlignMode::kRight:
          InsertBlanks(lineStart, rem);
          pos += rem;
          rem = 0;
          break;
        case AlignMode::kCenter:
          rem = rem / 2;
          InsertBlanks(lineStart, rem);
          pos += rem;
          rem = 0;
          break;
        case AlignMode::kPadding:
          if (pad > 0) {
            const long long blanks = std::min(pad, rem);
            if (blanks > 0) {
              out.append(static_cast<size_t>(blanks), ' ');
            }
            pos += pad;
            rem = pad < rem ? rem - pad : 0;
          }
          break;
        case AlignMode::kNone:
          break;
      }
      mode = AlignMode::kNone;
      return;
    }
    const auto variable = variables.find(tag);
    if (variable != variables.end()) {
      // Values are hard-wrapped at the width; their blanks are no break points.
      const std::string text = variable->second ? variable->second() : std::string();
      for (const char c : text) {
        if (mode == AlignMode::kPadding && pad == 0) {
          break;
        }
        if (rem == 0) {
          out += '\n';
          rem = width;
          pos += 1;
          lastSpace = -1;
          wordLen = 0;
          lineStart = pos + 1;
        }
        out += c;
        pos += 1;
        rem -= 1;
        pad -= 1;
      }
      return;
    }
    // Colour tags and anything unknown go to the draw pass untouched; they
    // take no room on the line.
    out += '{';
    out += tag;
    out += '}';
    pos += static_cast<long long>(tag.size()) + 2;
  }

  void HandleByte(unsigned char c) {
    const bool space = isspace(c) != 0;
    if (space) {
      lastSpace = pos;
      wordLen = 0;
    }
    if (rem == 0) {
      if (lastSpace == pos || lastSpace < 0) {
        out += '\n';
        pos += 1;
        rem = width;
      } else {
        // Word wrap: the last blank becomes the line break and the word
        // after it moves to the next line.
        if (lastSpace < static_cast<long long>(out.size())) {
          out[static_cast<size_t>(lastSpace)] = '\n';
        }
        if (mode == AlignMode::kRight) {
          InsertBlanks(lineStart, wordLen);
        } else if (mode == AlignMode::kCenter) {
          InsertBlanks(lineStart, wordLen / 2);
        }
        rem = width + 1 - wordLen;
      }
      lineStart = pos + 1;
      wordLen = 0;
      lastSpace = -1;
      if (space) {
        return;
      }
    }
    if (!(mode == AlignMode::kPadding && pad == 0)) {
      out += static_cast<char>(c);
      pos += 1;
      rem -= 1;
      wordLen += 1;
      pad -= 1;
    }
    if (c == '\n') {
      rem = width;
      lastSpace = -1;
      wordLen = 0;
      lineStart = pos + 1;
    }
  }
};

// wattr_off of one ColorAttr value followed by wattr_on of another. Colour
// pairs can be wider than an attribute's colour field, so the pair goes
// through the extended-pair call; switching one off and the other on leaves
// the window on the second pair.
void SwapAttributes(WINDOW* window, int off, int on) {
  attr_t offAttributes;
  attr_t onAttributes;
  int offPair;
  int onPair;
  SplitColorAttr(off, offAttributes, offPair);
  SplitColorAttr(on, onAttributes, onPair);
  if (offPair == 0 && onPair == 0) {
    // Black and white: the rendition is all in the attributes, and `off`
    // need not be what is on now (a colour tag left open inside a
    // background run). Set exactly the new one, or a bold or reverse
    // would linger where it no longer belongs.
    SetAttributes(window, on);
    return;
  }
  wattr_off(window, offAttributes, nullptr);
  wattr_on(window, onAttributes, nullptr);
  wcolor_set(window, 0, &onPair);
}

}  // namespace

namespace {

// The process-wide variables (see InstallVariables); none until installed.
const TextArea::VariableTable* installedVariables = nullptr;

}  // namespace

TextArea::TextArea(Window* parent, int x, int y, int width, int height, int foreground)
    : Window(parent, x, y, width, height, -1, -1) {
  // A text area always sits on the background of the window that holds it.
  SetColors(parent->GetBackground(), foreground);
}

const std::map<std::string, int>& TextArea::ColorTable() {
  static const std::map<std::string, int> table = {
      {"white", kWhite},          {"black", kBlack},   {"dark-grey", kDarkGrey},
      {"light-grey", kLightGrey}, {"yellow", kYellow}, {"red", kRed},
  };
  return table;
}

void TextArea::InstallVariables(const VariableTable& variables) {
  installedVariables = &variables;
}

const TextArea::VariableTable& TextArea::Variables() {
  static const VariableTable none;
  return installedVariables != nullptr ? *installedVariables : none;
}

std::string TextArea::VariableValue(const std::string& name) {
  const VariableTable& variables = Variables();
  const auto variable = variables.find(name);
  return variable != variables.end() && variable->second != nullptr ? variable->second()
                                                                     : std::string();
}

std::string TextArea::Layout(const std::string& text,
                             int width,
                             const VariableTable& variables,
                             bool markup) {
  LayoutState state(width);
  bool inTag = false;
  std::string tag;
  for (const char ch : text) {
    if (inTag) {
      if (ch == '}') {
        state.HandleTag(tag, variables);
        inTag = false;
        tag.clear();
      } else {
        tag += ch;
      }
      continue;
    }
    if (ch == '{' && markup) {
      // There is no escape: a brace that is never closed swallows the rest.
      inTag = true;
      continue;
    }
    state.HandleByte(static_cast<unsigned char>(ch));
  }
  return std::move(state.out);
}

int TextArea::CountLines(const std::string& laidOut) {
  if (laidOut.empty()) {
    return 0;
  }
  const int breaks = static_cast<int>(std::count(laidOut.begin(), laidOut.end(), '\n'));
  return laidOut.back() == '\n' ? breaks : breaks + 1;
}

int TextArea::ClampScroll(int wanted, int lines, int height) {
  return std::clamp(wanted, 0, std::max(0, lines - height));
}

void TextArea::SetText(const char* text) {
  SetText(std::string(text != nullptr ? text : ""));
}

void TextArea::SetText(const std::string& text) {
  _text = text;
  _scroll = 0;
  Render();
}

void TextArea::AppendText(const char* text) {
  AppendText(std::string(text != nullptr ? text : ""));
}

void TextArea::AppendText(const std::string& text) {
  _text += text;
  _scroll = 0;
  Render();
}

void TextArea::Draw(bool active) {
  Window::Draw(active);
  Render();
}

std::string TextArea::LayOutText() const {
  return Layout(_text, _width, Variables(), _markup);
}

int TextArea::LineCount() const {
  return CountLines(LayOutText());
}

bool TextArea::ScrollBy(int lines) {
  return ScrollLaidOut(LayOutText(), lines);
}

bool TextArea::ScrollLaidOut(const std::string& laidOut, int lines) {
  // 64-bit sum: callers jump to the ends with huge steps.
  const long long wanted = static_cast<long long>(_scroll) + lines;
  const int scroll = ClampScroll(
      static_cast<int>(std::clamp<long long>(wanted, INT_MIN, INT_MAX)), CountLines(laidOut),
      _height);
  const int delta = scroll - _scroll;
  if (delta == 0) {
    return false;
  }
  _scroll = scroll;
  if (std::abs(delta) >= _height) {
    // Nothing on screen stays: a plain repaint.
    Clear();
    DrawLaidOut(laidOut, 0, _height);
    return true;
  }
  // Shift what stays with curses' own scrolling, which lets it use the
  // terminal's scrolling where it can (a slow serial line repaints only the
  // new lines), then draw just the lines that came into view. Scrolling is
  // switched off again at once: a write at the bottom-right corner must
  // never scroll the area by itself.
  scrollok(_window, TRUE);
  idlok(_window, TRUE);
  wscrl(_window, delta);
  scrollok(_window, FALSE);
  if (delta > 0) {
    DrawLaidOut(laidOut, _height - delta, _height);
  } else {
    DrawLaidOut(laidOut, 0, -delta);
  }
  return true;
}

int TextArea::ScrollStep(int key) const {
  const int page = std::max(1, _height - 1);
  switch (key) {
    case KEY_UP:
      return -1;
    case KEY_DOWN:
      return 1;
    case KEY_PPAGE:
      return -page;
    case KEY_NPAGE:
      return page;
    case KEY_HOME:
      return INT_MIN;
    case KEY_END:
      return INT_MAX;
    default:
      return 0;
  }
}

bool TextArea::ScrollByKey(int key) {
  const int step = ScrollStep(key);
  if (step == 0) {
    return false;
  }
  ScrollBy(step);
  return true;
}

bool TextArea::ScrollLongTextByKey(int key) {
  const int step = ScrollStep(key);
  if (step == 0) {
    return false;
  }
  const std::string laidOut = LayOutText();
  if (CountLines(laidOut) <= _height) {
    return false;
  }
  ScrollLaidOut(laidOut, step);
  return true;
}

void TextArea::Render() {
  Clear();
  DrawLaidOut(LayOutText(), 0, _height);
}

void TextArea::DrawLaidOut(const std::string& laidOut, int fromRow, int toRow) {
  const std::map<std::string, int>& colors = ColorTable();
  const int background = _background;
  const int foreground = _foreground;
  // The row of the area the current line goes to; lines above the view (and
  // above `fromRow`) are walked without printing so that the colours they
  // open or close still count.
  int row = -_scroll;
  int col = 0;
  std::string segment;
  int curBg = background;
  int curFg = foreground;
  bool fgOn = false;
  bool bgOn = false;
  bool inTag = false;
  std::string tag;

  // Whatever colour a previous text left open must not leak into this one;
  // inactive, everything is dark grey on black (no bold or faint text left
  // over from the last active drawing either).
  SetAttributes(_window,
                _active ? ColorAttr(background, foreground) : ColorAttr(kBlack, kDarkGrey));
  auto print = [&](const std::string& text, int count) {
    if (row >= fromRow && row < toRow && wmove(_window, row, col) == OK) {
      waddnstr(_window, text.c_str(), count);
    }
  };
  // At a tag the segment is printed whole and the column moves past it.
  auto flush = [&]() {
    print(segment, -1);
    col += static_cast<int>(segment.size());
    segment.clear();
  };

  for (const char c : laidOut) {
    if (inTag) {
      if (c != '}') {
        tag += c;
        continue;
      }
      inTag = false;
      std::string name;
      std::string value;
      SplitTag(tag, name, value);
      tag.clear();
      if (name == "/color" && fgOn) {
        flush();
        fgOn = false;
        if (_active) {
          SwapAttributes(_window, ColorAttr(background, curFg), ColorAttr(background, foreground));
        }
      } else if (name == "color") {
        flush();
        const auto color = colors.find(value);
        if (color != colors.end()) {
          curFg = color->second;
          if (_active) {
            SwapAttributes(_window, ColorAttr(curBg, foreground), ColorAttr(curBg, curFg));
          }
        }
        // An unknown name changes nothing but still counts as open, so the
        // matching close tag is consumed as usual.
        fgOn = true;
      } else if (name == "/bgcolor" && bgOn) {
        flush();
        bgOn = false;
        if (_active) {
          SwapAttributes(_window, ColorAttr(curBg, foreground), ColorAttr(background, foreground));
        }
      } else if (name == "bgcolor") {
        flush();
        const auto color = colors.find(value);
        if (color != colors.end()) {
          curBg = color->second;
          if (_active) {
            SwapAttributes(_window, ColorAttr(background, curFg), ColorAttr(curBg, curFg));
          }
        }
        bgOn = true;
      }
      // Anything else is invisible and does not interrupt the segment.
      continue;
    }
    if (c == '{' && _markup) {
      inTag = true;
      continue;
    }
    if (c == '\n') {
      print(segment, -1);
      segment.clear();
      row += 1;
      col = 0;
      if (row >= toRow) {
        break;
      }
      continue;
    }
    segment += c;
  }
  // Only the final segment is clipped to the width; the others are left to
  // curses.
  if (!segment.empty() && row < toRow && _width - col > 0) {
    print(segment, _width - col);
  }
  Refresh();
}

}  // namespace Merel
