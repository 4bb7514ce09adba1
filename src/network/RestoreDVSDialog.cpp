#include "RestoreDVSDialog.h"

#include "Terminal.h"

namespace Merel {

RestoreDVSDialog::RestoreDVSDialog(Frame* parent) : Dialog(parent, 70, 12, 7) {}

int RestoreDVSDialog::Loop() {
  // Placeholder until the repair is built: Esc leaves, nothing changes.
  while (Frame::WaitForKey(this, true) != kKeyEscape) {
  }
  return 0;
}

}  // namespace Merel
