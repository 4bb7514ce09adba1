// A centred box with a title area (dark grey), a body (yellow) and a footer
// line; the stock layout of every dialog.
#pragma once

#include "Frame.h"
#include "TextArea.h"

namespace Merel {

class Dialog : public Frame {
 public:
  // The right-hand footer groups every dialog ends its footer with.
  static constexpr const char* kOkFooter =
      "{align:right}{color:black}<Enter>{/color} {color:dark-grey}OK{/color}{/align}";
  static constexpr const char* kOkCancelFooter =
      "{align:right}{color:black}<Enter>{/color} {color:dark-grey}OK{/color}  "
      "{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}";

  Dialog(Frame* parent, int width, int height, int titleHeight);
  void Draw(bool active) override;
  void SetTitle(const std::string& text);
  void SetText(const std::string& text);
  void SetFooter(const std::string& text);

 protected:
  Window* _titleWindow = nullptr;
  Window* _bodyWindow = nullptr;
  Window* _contentWindow = nullptr;  // null when the body is too low
  TextArea* _titleText = nullptr;
  TextArea* _descriptionText = nullptr;
  TextArea* _footerText = nullptr;
};

}  // namespace Merel
