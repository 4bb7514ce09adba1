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
  // The key loop of a list whose entries each open something: Up/Down move
  // the selection and show its pane, Enter opens it, Esc leaves (1).
  int RunEntries();
  // The list, the selected entry's pane and the footers, drawn afresh.
  virtual void RefreshContents() {}
  // Enter on the selected entry; the window is redrawn afterwards.
  virtual void OpenSelected() {}

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
