// The support information comes from a file the host's vendor tooling writes;
// it is shown as it stands, so its text area takes it as plain text rather
// than markup (which would swallow every "{").
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
    : Dialog(parent,
             {std::max(COLS - 10, 30), std::max(LINES - 4, kTitleHeight + 6), kTitleHeight}) {
  if (_contentWindow == nullptr) {
    return;
  }
  _view = &_contentWindow->AddChild<TextArea>(0, 0, _contentWindow->GetWidth(),
                                              _contentWindow->GetHeight(), kBlack);
  _view->SetMarkup(false);
  std::string text;
  if (!ReadSupportFile(text)) {
    text = std::string("No support information is available: ") + kSupportFile + " cannot be read.";
  } else if (text.find_first_not_of(" \t\r\n") == std::string::npos) {
    text = "The support information of this host is empty.";
  }
  // Cut to the width here (tabs, control bytes, characters kept whole), so
  // the area's own wrapping finds nothing left to do.
  const std::vector<std::string> lines = WrapText(text, _view->GetWidth());
  for (size_t i = 0; i < lines.size(); ++i) {
    _support += (i == 0 ? "" : "\n") + lines[i];
  }
}

void SupportInformationDialog::ShowPosition() {
  if (_view == nullptr) {
    return;
  }
  const int total = _view->LineCount();
  const int rows = _view->GetHeight();
  if (total <= rows) {
    SetText("");
    return;
  }
  const int first = _view->GetScroll() + 1;
  const int last = std::min(total, _view->GetScroll() + rows);
  SetText("Lines " + std::to_string(first) + "-" + std::to_string(last) + " of " +
          std::to_string(total));
}

int SupportInformationDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kMenuSupportInformation));
  if (_view != nullptr) {
    _view->SetText(_support);
  }
  SetFooter(std::string(kKeys) + kOkFooter);
  ShowPosition();
  const bool ok = WaitForKeyOrEscape(kKeyEnter, true, [this](int key) {
    if (_view != nullptr && _view->ScrollByKey(key)) {
      ShowPosition();
    }
  });
  return ok ? 1 : 0;
}

}  // namespace Merel
