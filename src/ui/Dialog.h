// A centred box with a title area (dark grey), a body (yellow) and a footer
// line; the stock layout of every dialog.
#pragma once

#include <cstdint>
#include <functional>

#include "Frame.h"
#include "TextArea.h"

namespace Merel {

class ItemList;

// A dialog's outer size and how many of its rows the title part takes.
struct DialogSize {
  int width;
  int height;
  int titleHeight;
};

class Dialog : public Frame {
 public:
  // The right-hand footer groups every dialog ends its footer with.
  static constexpr const char* kOkFooter =
      "{align:right}{color:black}<Enter>{/color} {color:dark-grey}OK{/color}{/align}";
  static constexpr const char* kOkCancelFooter =
      "{align:right}{color:black}<Enter>{/color} {color:dark-grey}OK{/color}  "
      "{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}";
  // The footer of the confirmations that only F11 accepts.
  static constexpr const char* kF11OkCancelFooter =
      "{align:right}{color:black}<F11>{/color} {color:dark-grey}OK{/color}  "
      "{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}";
  // The footer of the dialogs whose choices are marked with Space.
  static constexpr const char* kMarkOkCancelFooter =
      "{color:black}<Up/Down>{/color} {color:dark-grey}Select{/color}  "
      "{color:black}<Space>{/color} {color:dark-grey}Mark Selected{/color}"
      "{align:right}{color:black}<Enter>{/color} {color:dark-grey}OK{/color}  "
      "{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}";

  Dialog(Frame* parent, DialogSize size);
  void Draw(bool active) override;
  void SetTitle(const std::string& text);
  void SetText(const std::string& text);
  void SetFooter(const std::string& text);

 protected:
  // A text filling the whole body, in the body's colour; null when the body
  // is too low to have one.
  TextArea* AddContentText();
  // The key loop of a yes-or-cancel question: true on `yesKey`, false on
  // Esc; every other key goes to `otherKey` (a mark, a scroll), or is
  // ignored without one. Drastic actions take KEY_F(11), so that an Enter
  // typed ahead cannot set them off.
  bool WaitForKeyOrEscape(int yesKey,
                          bool useIdleLimit = true,
                          const std::function<void(int key)>& otherKey = nullptr);
  // The key loop of a notice: returns on Enter, ignores every other key.
  void WaitForEnter(bool useIdleLimit = true);
  // The host is on its way down and will end this process: no key (nor
  // the idle limit) takes the user back into a menu meanwhile.
  [[noreturn]] void WaitForTheEnd();
  // Shows a question's title, description and footer, and `question` in the
  // body when the dialog made a text there with AddContentText (`body`);
  // then waits as WaitForKeyOrEscape does.
  bool Ask(const std::string& title,
           const std::string& text,
           const char* footer,
           TextArea* body,
           const std::string& question,
           int yesKey);

  Window* _titleWindow = nullptr;
  Window* _bodyWindow = nullptr;
  Window* _contentWindow = nullptr;  // null when the body is too low
  TextArea* _titleText = nullptr;
  TextArea* _descriptionText = nullptr;
  TextArea* _footerText = nullptr;
};

}  // namespace Merel
