// The full-screen two-pane layout of the menu screens: a yellow left pane
// with the list, a dark-grey right pane describing the selection, a rule
// under both titles and a black status line at the bottom.
#include "RootWindow.h"

#include <syslog.h>

#include "Platform.h"
#include "Terminal.h"

namespace Merel {

RootWindow::RootWindow(Frame* parent) : Frame(parent, 0, 0, COLS, LINES, kBlack, kWhite) {
  const int half = COLS / 2;
  _mainArea = &AddChild<Window>(0, 0, COLS, LINES - 1, kLightGrey, kWhite);
  _statusLine = &AddChild<Window>(0, LINES - 1, COLS, 1, kBlack, kLightGrey);
  _leftPane = &_mainArea->AddChild<Window>(0, 0, half, LINES - 1, kYellow, kWhite);
  _rightPane = &_mainArea->AddChild<Window>(half, 0, half, LINES - 1, kDarkGrey, kWhite);
  _menu = &_leftPane->AddChild<ItemList>(2, 4, half - 2, LINES - 6);
  _rightText = &_rightPane->AddChild<TextArea>(2, 4, half - 4, LINES - 6, kWhite);
  _leftTitle = &_leftPane->AddChild<TextArea>(3, 1, half - 6, 1, kWhite);
  _rightTitle = &_rightPane->AddChild<TextArea>(2, 1, half - 6, 1, kWhite);
  _leftFooter = &_leftPane->AddChild<TextArea>(2, LINES - 3, half - 3, 1, kWhite);
  _rightFooter = &_rightPane->AddChild<TextArea>(1, LINES - 3, half - 3, 1, kWhite);

  // The frame around both panes and the rule under the two titles.
  WINDOW* main = _mainArea->GetWindow();
  box(main, 0, 0);
  mvwhline(main, 2, 1, 0, _mainArea->GetWidth() - 2);

  Platform::Syslog(LOG_INFO, "COLS=%d, LINES=%d", COLS, LINES);
}

int RootWindow::RunEntries() {
  RefreshContents();
  for (;;) {
    switch (Frame::WaitForKey(this, true)) {
      case kKeyEscape:
        return 1;
      case KEY_UP:
        _menu->Prev();
        RefreshContents();
        break;
      case KEY_DOWN:
        _menu->Next();
        RefreshContents();
        break;
      case kKeyEnter:
        OpenSelected();
        break;
      default:
        break;
    }
  }
}

}  // namespace Merel
