#include "AdapterInfoDialog.h"

#include "Terminal.h"

namespace Merel {

AdapterInfoDialog::AdapterInfoDialog(Frame* parent, const Adapter& adapter)
    : Dialog(parent, 70, 14, 6), _adapter(adapter) {}

std::string AdapterInfoDialog::Body(const Adapter&) {
  return "";
}

int AdapterInfoDialog::Loop() {
  SetFooter(kOkFooter);
  while (Frame::WaitForKey(this, true) != kKeyEnter) {
  }
  return 1;
}

}  // namespace Merel
