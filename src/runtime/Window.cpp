#include "Window.h"

#include "Terminal.h"

namespace Merel {

bool Window::_cursor = false;
int Window::_xCursor = 0;
int Window::_yCursor = 0;


Window::Window(int x, int y, int width, int height, int background, int foreground)
    : _window(newwin(height, width, y, x)),
      _x(x),
      _y(y),
      _width(width),
      _height(height),
      _background(background),
      _foreground(foreground) {
  // Curses marks a new window that covers the whole screen for clearing, so
  // opening a full-screen frame would send a clear and every cell again.
  // What it draws is only what differs from what the terminal shows; a
  // screen that really must start from a clear terminal asks for that
  // itself (clearok on curscr).
  if (_window != nullptr) {
    clearok(_window, FALSE);
  }
}

Window::Window(Window* parent, int x, int y, int width, int height, int background, int foreground)
    : _parent(parent),
      _x(parent->_x + x),
      _y(parent->_y + y),
      _width(width),
      _height(height),
      _background(background == -1 ? parent->_background : background),
      _foreground(foreground == -1 ? parent->_foreground : foreground) {
  _window = subwin(parent->_window, height, width, _y, _x);
}

Window::~Window() {
  // Subwindows must go before their parent's curses window; the youngest
  // first, as they were built on top of the older ones.
  while (!_children.empty()) {
    _children.pop_back();
  }
  if (_window != nullptr) {
    delwin(_window);
  }
}

void Window::RemoveChild(const Window* child) {
  for (auto it = _children.begin(); it != _children.end(); ++it) {
    if (it->get() == child) {
      // Out of the list first: the child's destructor may look at its
      // parent's children (through a redraw) while it goes.
      std::unique_ptr<Window> removed = std::move(*it);
      _children.erase(it);
      return;
    }
  }
}

void Window::Clear() {
  werase(_window);
}

void Window::Refresh() {
  // Overlapping frames share screen cells; mark every line changed so the
  // whole window is put back even where curses thinks nothing moved. This
  // only reaches curses' picture of the screen: the terminal gets the
  // difference once, at UpdateTerminal, so a cell drawn twice for one key, or
  // erased and written again with the same text, costs nothing on the line.
  wtouchln(_window, 0, _height, 1);
  wnoutrefresh(_window);
}

void Window::UpdateTerminal() {
  // curs_set sends nothing when the visibility does not change. The cursor
  // is hidden before the update, so it is not seen running over the screen,
  // and shown after it, in its place.
  if (!_cursor) {
    curs_set(0);
  }
  // stdscr is never drawn into: refreshing it adds no line to the update and
  // only says where the cursor ends, or, while it is hidden, that it may end
  // wherever the update leaves it (no bytes spent on moving it).
  leaveok(stdscr, _cursor ? FALSE : TRUE);
  if (_cursor) {
    wmove(stdscr, _yCursor, _xCursor);
  }
  wnoutrefresh(stdscr);
  doupdate();
  if (_cursor) {
    curs_set(1);
  }
}

void Window::PrintAt(int x, int y, const std::string& text) {
  if (wmove(_window, y, x) != ERR) {
    waddnstr(_window, text.c_str(), -1);
  }
}

void Window::SetColors(int background, int foreground) {
  _background = background != -1 ? background : (_parent ? _parent->_background : _background);
  _foreground = foreground != -1 ? foreground : (_parent ? _parent->_foreground : _foreground);
  if (_active) {
    SetBackground(_window, ColorAttr(_background, _foreground));
  }
  // Children get the arguments as given, so a -1 picks up this window's new
  // colour in each of them.
  for (const std::unique_ptr<Window>& child : _children) {
    child->SetColors(background, foreground);
  }
}

void Window::SetCursor(int x, int y) {
  _xCursor = _x + x;
  _yCursor = _y + y;
}

void Window::ShowCursor(bool visible) {
  _cursor = visible;
}

void Window::Draw(bool active) {
  _active = active;
  if (active) {
    SetBackground(_window, ColorAttr(_background, _foreground));
  } else {
    if (IsTopLevel() && _savedCursorVisible == -1) {
      // Whatever is drawn above this window (a dialog, or nothing while the
      // screen is dimmed) decides about the cursor until we are active again.
      _savedCursorVisible = _cursor ? 1 : 0;
      _savedCursorX = _xCursor;
      _savedCursorY = _yCursor;
      ShowCursor(false);
    }
    // Dark grey on black whatever the window's own colours: the greyed parent
    // behind a dialog and the dimmed idle screen are the same thing.
    SetBackground(_window, ColorAttr(kBlack, kDarkGrey));
  }
  for (const std::unique_ptr<Window>& child : _children) {
    child->Draw(active);
  }
  Refresh();
  if (active && IsTopLevel() && _savedCursorVisible != -1) {
    _cursor = _savedCursorVisible != 0;
    _xCursor = _savedCursorX;
    _yCursor = _savedCursorY;
    _savedCursorVisible = -1;
  }
  // Keys typed while the screen was changing were meant for what was shown
  // before; never hand them to the new screen.
  flushinp();
}

}  // namespace Merel
