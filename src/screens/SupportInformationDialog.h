// "View Support Information": the host's support information file shown as
// plain text in a dialog that scrolls.
#pragma once

#include <string>
#include <vector>

#include "Dialog.h"

namespace Merel {

class SupportInformationDialog : public Dialog {
 public:
  explicit SupportInformationDialog(Frame* parent);
  // Enter: 1; Escape: 0.
  int Loop() override;

  // Plain text cut into lines of at most `width` bytes: words move whole to
  // the next line where they can, longer ones are cut; tabs become blanks and
  // other control bytes are dropped.
  static std::vector<std::string> WrapText(const std::string& text, int width);

 private:
  void ShowPosition();

  TextArea* _view = nullptr;  // null when the dialog has no content window
  std::string _support;       // the file's text, cut into lines
};

}  // namespace Merel
