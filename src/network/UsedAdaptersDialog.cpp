#include "UsedAdaptersDialog.h"

#include "Terminal.h"

namespace Merel {

UsedAdaptersDialog::UsedAdaptersDialog(Frame* parent, const std::vector<Adapter>& adapters,
                                       const std::string& switchName)
    : Dialog(parent, 70, 15, 6), _body(Body(adapters, switchName)) {}

std::string UsedAdaptersDialog::Body(const std::vector<Adapter>&, const std::string&) {
  return "";
}

int UsedAdaptersDialog::Loop() {
  SetFooter(kOkCancelFooter);
  while (true) {
    const int key = Frame::WaitForKey(this, true);
    if (key == kKeyEnter || key == kKeyEscape) {
      return key == kKeyEnter ? 1 : 0;
    }
  }
}

}  // namespace Merel
