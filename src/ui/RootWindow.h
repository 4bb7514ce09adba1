// The full-screen two-pane menu layout: item list on the left, the selected
// entry's title and help on the right, a status line at the bottom.
#pragma once

#include "Frame.h"
#include "ItemList.h"
#include "TextArea.h"

namespace Merel {

class RootWindow : public Frame {
 public:
  explicit RootWindow(Frame* parent);
  // Rebuilds the footer line for the current selection.
  virtual void UpdateFooter() = 0;

 protected:
  Window* _mainArea = nullptr;
  Window* _statusLine = nullptr;
  Window* _leftPane = nullptr;
  Window* _rightPane = nullptr;
  ItemList* _menu = nullptr;
  TextArea* _rightText = nullptr;
  TextArea* _leftTitle = nullptr;
  TextArea* _rightTitle = nullptr;
  TextArea* _leftFooter = nullptr;
  TextArea* _rightFooter = nullptr;
};

}  // namespace Merel
