// Feeds arbitrary markup through both passes. Byte 0 is the width, byte 1 the
// height of the area; the rest is the text. Variables come from fake getters
// with awkward values (empty, blanks, braces, longer than any line).
// Besides crashes and undefined behaviour it checks what the layout promises
// for text without tags: no line is longer than the width, and no character
// other than white space is lost, added or reordered.
#include <curses.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Terminal.h"
#include "TextArea.h"

namespace {

const Merel::TextArea::VariableTable kVariables = {
    {"ip", [] { return std::string(); }},
    {"hostname", [] { return std::string("   "); }},
    {"memory", [] { return std::string("{color:red}x{/color}{"); }},
    {"servicetag", [] { return std::string(300, 'v') + " w \n x"; }},
};

std::string WithoutSpace(std::string text) {
  std::erase_if(text, [](char c) { return isspace(static_cast<unsigned char>(c)); });
  return text;
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) {
    return 0;
  }
  const int width = data[0];
  const int height = data[1] % 64;
  const std::string text(reinterpret_cast<const char*>(data + 2), size - 2);

  const std::string laidOut = Merel::TextArea::Layout(text, width, kVariables);
  if (text.find('{') == std::string::npos && width > 0) {
    for (size_t start = 0, end; start <= laidOut.size(); start = end + 1) {
      end = std::min(laidOut.find('\n', start), laidOut.size());
      if (end - start > static_cast<size_t>(width)) {
        abort();
      }
    }
    if (WithoutSpace(text) != WithoutSpace(laidOut)) {
      abort();
    }
  }

  static const bool haveCurses = StartCurses();
  if (haveCurses && width > 0 && height > 0) {
    Merel::Window parent(0, 0, width, height, Merel::kYellow, Merel::kWhite);
    auto* area = Merel::Window::Make<Merel::TextArea>(&parent, 0, 0, width, height, Merel::kWhite);
    area->SetVariables(kVariables);
    area->SetText(text);
    area->AppendText(text);
    area->Draw(false);
    area->Draw(true);
  }
  return 0;
}
