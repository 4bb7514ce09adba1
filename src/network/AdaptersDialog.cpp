#include "AdaptersDialog.h"

#include "Terminal.h"

namespace Merel {

AdaptersDialog::AdaptersDialog(Frame* parent, const std::vector<std::string>& uplinks,
                               int maxActiveUplinks, const std::string& switchName)
    : Dialog(parent, 78, 20, 6),
      _switchName(switchName),
      _uplinks(uplinks),
      _maxActiveUplinks(maxActiveUplinks) {}

bool AdaptersDialog::ComesBefore(const std::string& a, const std::string& b) {
  return a < b;
}

std::string AdaptersDialog::Row(const Adapter& adapter) {
  return adapter.name;
}

std::string AdaptersDialog::Shorten(const std::string& text, size_t) {
  return text;
}

int AdaptersDialog::Loop() {
  SetFooter(kOkCancelFooter);
  while (true) {
    const int key = Frame::WaitForKey(this, true);
    if (key == kKeyEnter || key == kKeyEscape) {
      return key == kKeyEnter ? 1 : 0;
    }
  }
}

}  // namespace Merel
