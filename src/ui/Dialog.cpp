// The stock dialog: a box centred on the screen, a dark-grey title area with
// the title and a description, and a yellow body whose last lines hold the
// footer. Dialogs with fields put them into the content window.
#include "Dialog.h"

#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

Dialog::Dialog(Frame* parent, DialogSize size)
    : Frame(parent,
            (COLS - size.width) / 2,
            (LINES - size.height) / 2,
            size.width,
            size.height,
            kBlack,
            kWhite) {
  const auto [width, height, titleHeight] = size;
  Clear();
  _titleWindow = &AddChild<Window>(0, 0, width, titleHeight, kDarkGrey, kWhite);
  _bodyWindow = &AddChild<Window>(0, titleHeight, width, height - titleHeight, kYellow, kWhite);
  box(_window, 0, 0);

  const int titleWidth = _titleWindow->GetWidth();
  _titleText =
      &_titleWindow->AddChild<TextArea>(3, 1, titleWidth - 6, 1, _titleWindow->GetForeground());
  _descriptionText = &_titleWindow->AddChild<TextArea>(3, 3, titleWidth - 6, titleHeight - 4,
                                                       _titleWindow->GetForeground());

  const int bodyWidth = _bodyWindow->GetWidth();
  const int bodyHeight = _bodyWindow->GetHeight();
  _footerText = &_bodyWindow->AddChild<TextArea>(2, bodyHeight - 2, bodyWidth - 4, 1,
                                                 _bodyWindow->GetForeground());
  // A low body has no room for content; users of the content window check.
  if (bodyHeight - 4 >= 1) {
    _contentWindow =
        &_bodyWindow->AddChild<Window>(2, 1, bodyWidth - 4, bodyHeight - 4, kYellow, kDarkGrey);
  }
}

void Dialog::Draw(bool active) {
  // The greyed parent must be on screen before the box is drawn over it.
  if (active && _parentFrame != nullptr) {
    _parentFrame->Refresh();
  }
  Window::Draw(active);
}

void Dialog::SetTitle(const std::string& text) {
  _titleText->SetText(text);
}

void Dialog::SetText(const std::string& text) {
  _descriptionText->SetText(text);
}

void Dialog::SetFooter(const std::string& text) {
  _footerText->SetText(text);
}

TextArea* Dialog::AddContentText() {
  if (_contentWindow == nullptr) {
    return nullptr;
  }
  return &_contentWindow->AddChild<TextArea>(0, 0, _contentWindow->GetWidth(),
                                             _contentWindow->GetHeight(),
                                             _contentWindow->GetForeground());
}

bool Dialog::WaitForKeyOrEscape(int yesKey,
                                bool useIdleLimit,
                                const std::function<void(int key)>& otherKey) {
  for (;;) {
    const int key = Frame::WaitForKey(this, useIdleLimit);
    if (key == kKeyEscape) {
      return false;
    }
    if (key == yesKey) {
      return true;
    }
    if (otherKey) {
      otherKey(key);
    }
  }
}

void Dialog::WaitForEnter(bool useIdleLimit) {
  while (Frame::WaitForKey(this, useIdleLimit) != kKeyEnter) {
  }
}

void Dialog::WaitForTheEnd() {
  for (;;) {
    Frame::WaitForKey(this, false);
  }
}

bool Dialog::Ask(const std::string& title,
                 const std::string& text,
                 const char* footer,
                 TextArea* body,
                 const std::string& question,
                 int yesKey) {
  SetTitle(title);
  SetText(text);
  SetFooter(footer);
  if (body != nullptr) {
    body->SetText(question);
  }
  return WaitForKeyOrEscape(yesKey);
}

}  // namespace Merel
