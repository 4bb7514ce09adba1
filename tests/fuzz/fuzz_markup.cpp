// Feeds arbitrary markup through both passes. Byte 0 is the width, byte 1 the
// height of the area, byte 2 a scroll step; the rest is the text.
//
// Besides crashes and undefined behaviour it checks what the layout and the
// drawing promise for any text:
// - nothing is drawn outside the area;
// - without alignment, no visible character is lost, added or reordered by
//   wrapping: the non-blank characters of the text (tags aside, variables
//   replaced by their values) come out in order; and when no variable is
//   named either, no laid-out line is wider than the area. (Aligned runs
//   that wrap drift on purpose: positions are not shifted by the blanks put
//   before them, so a line break can land on a character of the run, or on
//   the brace of a tag after it; the screens align single lines, which the
//   next check covers. A variable's bytes do not count towards the word
//   they end up in, so a word wrapped after one can overhang the line.)
// - a right-aligned, centred or padded word sits where its width says;
// - what the area shows, before and after scrolling, is exactly the laid-out
//   lines from the scroll position on.
#include <curses.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Terminal.h"
#include "TextArea.h"

namespace {

using Merel::TextArea;

// Values the checks can follow: blanks inside, longer than any line, empty.
const TextArea::VariableTable kVariables = {
    {"ip", [] { return std::string(); }},
    {"hostname", [] { return std::string("  h o  "); }},
    {"servicetag", [] { return std::string(300, 'v') + " w \n x"; }},
};
// Values that look like markup; only crashes are looked for with these.
const TextArea::VariableTable kAwkwardVariables = {
    {"memory", [] { return std::string("{color:red}x{/color}{"); }},
    {"ip", [] { return std::string("}{"); }},
};

void Check(bool ok, const char* what) {
  if (!ok) {
    fprintf(stderr, "broken: %s\n", what);
    abort();
  }
}

bool Blank(char c) {
  return isspace(static_cast<unsigned char>(c)) != 0;
}

// The laid-out text as the draw pass shows it: tags dropped (an unclosed
// one swallows the rest), one string per line.
std::vector<std::string> VisibleLines(const std::string& laidOut) {
  std::vector<std::string> lines(1);
  bool inTag = false;
  for (const char c : laidOut) {
    if (inTag) {
      inTag = c != '}';
    } else if (c == '{') {
      inTag = true;
    } else if (c == '\n') {
      lines.emplace_back();
    } else {
      lines.back() += c;
    }
  }
  return lines;
}

std::string NonBlank(const std::vector<std::string>& lines) {
  std::string all;
  for (const std::string& line : lines) {
    for (const char c : line) {
      if (!Blank(c)) {
        all += c;
      }
    }
  }
  return all;
}

// The non-blank characters the text stands for, on a model of the markup of
// its own. `aligned`: some run is aligned or padded; `variables`: some
// variable is named.
std::string ExpectedCharacters(const std::string& text, bool& aligned, bool& variables) {
  std::string expected;
  bool inTag = false;
  std::string tag;
  auto add = [&](char c) {
    if (!Blank(c)) {
      expected += c;
    }
  };
  for (const char c : text) {
    if (!inTag) {
      if (c == '{') {
        inTag = true;
      } else {
        add(c);
      }
      continue;
    }
    if (c != '}') {
      tag += c;
      continue;
    }
    inTag = false;
    if (tag == "align:right" || tag == "align:center" || tag.rfind("align:padding:", 0) == 0) {
      aligned = true;
    } else if (const auto variable = kVariables.find(tag); variable != kVariables.end()) {
      variables = true;
      for (const char v : variable->second()) {
        add(v);
      }
    }
    tag.clear();
  }
  return expected;
}

void CheckLayout(const std::string& text, int width) {
  const std::vector<std::string> lines = VisibleLines(TextArea::Layout(text, width, kVariables));
  bool aligned = false;
  bool variables = false;
  const std::string expected = ExpectedCharacters(text, aligned, variables);
  if (width > 0 && !aligned && !variables) {
    for (const std::string& line : lines) {
      Check(line.size() <= static_cast<size_t>(width), "a line is wider than the area");
    }
  }
  if (aligned) {
    return;
  }
  Check(NonBlank(lines) == expected, "a character was lost, added or moved");
}

// One word of the text, aligned each way in an area of `width`.
void CheckAlignment(const std::string& text, int width, int field) {
  std::string word;
  for (const char c : text) {
    if (isalnum(static_cast<unsigned char>(c)) && word.size() < static_cast<size_t>(width)) {
      word += c;
    }
  }
  if (word.empty()) {
    return;
  }
  const size_t free = static_cast<size_t>(width) - word.size();
  Check(TextArea::Layout("{align:right}" + word + "{/align}", width, kVariables) ==
            std::string(free, ' ') + word,
        "right alignment");
  Check(TextArea::Layout("{align:center}" + word + "{/align}", width, kVariables) ==
            std::string(free / 2, ' ') + word,
        "centring");
  if (field < width) {
    const std::string cut = word.substr(0, static_cast<size_t>(field));
    Check(TextArea::Layout("{align:padding:" + std::to_string(field) + "}" + word + "{/align}|",
                           width, kVariables) ==
              cut + std::string(static_cast<size_t>(field) - cut.size(), ' ') + "|",
          "padding field");
  }
}

// One curses screen for the whole run; drawing needs no real terminal.
bool StartCurses() {
  setenv("COLUMNS", "300", 1);
  setenv("LINES", "100", 1);
  SCREEN* screen = newterm("xterm-256color", fopen("/dev/null", "w"), fopen("/dev/null", "r"));
  if (screen != nullptr) {
    set_term(screen);
    start_color();
  }
  return screen != nullptr;
}

// Curses draws control bytes and bytes above 127 as several cells; the
// comparison of rows with laid-out lines holds for the rest.
bool PrintableOnly(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    const unsigned char byte = static_cast<unsigned char>(c);
    return c == '\n' || (byte >= 0x20 && byte < 0x7f);
  });
}

std::string Row(WINDOW* window, int y) {
  std::string row;
  for (int x = 0; x < getmaxx(window); ++x) {
    row += static_cast<char>(mvwinch(window, y, x) & A_CHARTEXT);
  }
  return row;
}

// The rows of `area` are the visible laid-out lines from its scroll
// position on, each filled with blanks to the width.
void CheckRows(const TextArea& area, const std::vector<std::string>& lines) {
  for (int y = 0; y < area.GetHeight(); ++y) {
    const size_t index = static_cast<size_t>(area.GetScroll() + y);
    std::string expected = index < lines.size() ? lines[index] : "";
    expected.resize(static_cast<size_t>(area.GetWidth()), ' ');
    Check(Row(area.GetWindow(), y) == expected, "a row differs from its laid-out line");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) {
    return 0;
  }
  const int width = data[0];
  const int height = data[1] % 64;
  const int step = static_cast<int8_t>(data[2]);
  const std::string text(reinterpret_cast<const char*>(data + 3), size - 3);

  TextArea::Layout(text, width, kAwkwardVariables);
  CheckLayout(text, width);
  if (width > 0) {
    CheckAlignment(text, width, data[1] % (width + 1));
  }

  static const bool haveCurses = StartCurses();
  if (!haveCurses || width == 0 || height == 0) {
    return 0;
  }
  TextArea::InstallVariables(kVariables);
  // A frame of one cell around the area shows anything drawn outside it.
  Merel::Window parent(0, 0, width + 2, height + 2, Merel::kYellow, Merel::kWhite);
  wbkgdset(parent.GetWindow(), '#');
  parent.Clear();
  TextArea& area = parent.AddChild<TextArea>(1, 1, width, height, Merel::kWhite);
  area.SetText(text);
  area.AppendText(text);
  area.Draw(false);
  area.Draw(true);
  const std::vector<std::string> lines =
      VisibleLines(TextArea::Layout(text + text, width, kVariables));
  // A line wider than the area is wrapped by curses, not by the layout.
  const bool comparable =
      PrintableOnly(text) && std::all_of(lines.begin(), lines.end(), [&](const std::string& l) {
        return l.size() <= static_cast<size_t>(width);
      });
  if (comparable) {
    CheckRows(area, lines);
  }
  // A step, back by half of it, then the step again: both directions, by
  // less and by more than a page.
  const int lastTop = std::max(
      0, TextArea::CountLines(TextArea::Layout(text + text, width, kVariables)) - height);
  for (const int by : {step, -step / 2, step}) {
    area.ScrollBy(by);
    Check(area.GetScroll() >= 0 && area.GetScroll() <= lastTop, "scrolled off the text");
    if (comparable) {
      CheckRows(area, lines);
    }
  }
  for (int y = 0; y < height + 2; ++y) {
    for (int x = 0; x < width + 2; ++x) {
      if (y == 0 || x == 0 || y == height + 1 || x == width + 1) {
        Check((mvwinch(parent.GetWindow(), y, x) & A_CHARTEXT) == '#', "drawn outside the area");
      }
    }
  }
  return 0;
}
