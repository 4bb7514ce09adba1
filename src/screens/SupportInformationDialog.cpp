// The support information comes from a file the host's vendor tooling writes;
// it is shown as it stands, so it is drawn as plain text rather than through
// the markup text area (which would swallow every "{").
#include "SupportInformationDialog.h"

#include <curses.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr const char* kSupportFile = "/etc/ostrel/support";
constexpr int kTitleKey = 12;  // "View Support Information"
constexpr int kTitleHeight = 5;
constexpr int kTabWidth = 8;

const char* const kKeys = "{color:black}<Up/Down>{/color} {color:dark-grey}Scroll{/color}";

// Reads the host's support information; false when the file cannot be read.
bool ReadSupportFile(std::string& text) {
  std::ifstream in(Platform::HostPath(kSupportFile), std::ios::binary);
  if (!in) {
    return false;
  }
  std::ostringstream content;
  content << in.rdbuf();
  text = content.str();
  return !in.bad();
}

// Tabs expanded, carriage returns and other control bytes left out.
std::string CleanLine(const std::string& line) {
  std::string clean;
  for (const char c : line) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (c == '\t') {
      clean.append(kTabWidth - clean.size() % kTabWidth, ' ');
    } else if (byte >= 0x20 && byte != 0x7f) {
      clean += c;
    }
  }
  return clean;
}

// A cut inside a multi-byte character would leave half of it on each line.
size_t CharBoundary(const std::string& line, size_t at) {
  while (at > 0 && (static_cast<unsigned char>(line[at]) & 0xc0) == 0x80) {
    --at;
  }
  return at;
}

}  // namespace

// The scrolling body: a window that prints a slice of the lines.
class PlainTextView : public Window {
 public:
  PlainTextView(Window* parent, int x, int y, int width, int height)
      : Window(parent, x, y, width, height, kYellow, kBlack) {}

  void SetLines(std::vector<std::string> lines) {
    _lines = std::move(lines);
    _top = 0;
  }
  const std::vector<std::string>& Lines() const { return _lines; }
  int Top() const { return _top; }

  // Moves the view by `delta` lines, clamped; true when it moved.
  bool ScrollBy(int delta) {
    const int maxTop = std::max(0, static_cast<int>(_lines.size()) - _height);
    const int top = std::clamp(_top + delta, 0, maxTop);
    if (top == _top) {
      return false;
    }
    _top = top;
    Paint();
    return true;
  }

  void Draw(bool active) override {
    Window::Draw(active);
    Paint();
  }

 private:
  void Paint() {
    werase(_window);
    for (int row = 0; row < _height; ++row) {
      const size_t index = static_cast<size_t>(_top + row);
      if (index >= _lines.size()) {
        break;
      }
      PrintAt(0, row, _lines[index]);
    }
    Refresh();
  }

  std::vector<std::string> _lines;
  int _top = 0;
};

std::vector<std::string> SupportInformationDialog::WrapText(const std::string& text, int width) {
  std::vector<std::string> lines;
  const size_t w = static_cast<size_t>(std::max(1, width));
  std::istringstream in(text);
  std::string raw;
  while (std::getline(in, raw)) {
    std::string line = CleanLine(raw);
    while (line.size() > w) {
      // The blank that ends the last word fitting on the line becomes the
      // break; without one the word is cut at the width.
      size_t space = line.rfind(' ', w);
      if (space != std::string::npos && space > 0) {
        lines.push_back(line.substr(0, space));
        line.erase(0, space + 1);
      } else {
        size_t cut = CharBoundary(line, w);
        if (cut == 0) {
          cut = w;
        }
        lines.push_back(line.substr(0, cut));
        line.erase(0, cut);
      }
    }
    lines.push_back(line);
  }
  return lines;
}

SupportInformationDialog::SupportInformationDialog(Frame* parent)
    : Dialog(parent, std::max(COLS - 10, 30), std::max(LINES - 4, kTitleHeight + 6), kTitleHeight) {
  if (_contentWindow == nullptr) {
    return;
  }
  _view = Window::Make<PlainTextView>(_contentWindow, 0, 0, _contentWindow->GetWidth(),
                                      _contentWindow->GetHeight());
  std::string text;
  if (!ReadSupportFile(text)) {
    text = std::string("No support information is available: ") + kSupportFile + " cannot be read.";
  } else if (text.find_first_not_of(" \t\r\n") == std::string::npos) {
    text = "The support information of this host is empty.";
  }
  _view->SetLines(WrapText(text, _view->GetWidth()));
}

void SupportInformationDialog::ShowPosition() {
  if (_view == nullptr) {
    return;
  }
  const int total = static_cast<int>(_view->Lines().size());
  const int rows = _view->GetHeight();
  if (total <= rows) {
    SetText("");
    return;
  }
  const int first = _view->Top() + 1;
  const int last = std::min(total, _view->Top() + rows);
  SetText("Lines " + std::to_string(first) + "-" + std::to_string(last) + " of " +
          std::to_string(total));
}

int SupportInformationDialog::Loop() {
  SetTitle(_strings->GetString(kTitleKey));
  SetFooter(std::string(kKeys) + kOkFooter);
  ShowPosition();
  const int page = _view != nullptr ? std::max(1, _view->GetHeight() - 1) : 1;
  while (true) {
    const int key = Frame::WaitForKey(this, true);
    int delta = 0;
    switch (key) {
      case kKeyEnter:
        return 1;
      case kKeyEscape:
        return 0;
      case KEY_UP:
        delta = -1;
        break;
      case KEY_DOWN:
        delta = 1;
        break;
      case KEY_PPAGE:
        delta = -page;
        break;
      case KEY_NPAGE:
        delta = page;
        break;
      case KEY_HOME:
        delta = -1000000;
        break;
      case KEY_END:
        delta = 1000000;
        break;
      default:
        break;
    }
    if (delta != 0 && _view != nullptr && _view->ScrollBy(delta)) {
      ShowPosition();
    }
  }
}

}  // namespace Merel
