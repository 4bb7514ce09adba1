#include "Window.h"

#include "Terminal.h"

namespace Merel {

bool Window::_cursor = false;
int Window::_xCursor = 0;
int Window::_yCursor = 0;

namespace {

// `move` only changes where stdscr's cursor is; refreshing the (otherwise
// untouched) stdscr is what puts the terminal's cursor there now rather than
// at the next key read.
void PlaceTerminalCursor(int x, int y) {
  move(y, x);
  refresh();
}

}  // namespace

Window::Window(int x, int y, int width, int height, int background, int foreground)
    : _window(newwin(height, width, y, x)),
      _x(x),
      _y(y),
      _width(width),
      _height(height),
      _background(background),
      _foreground(foreground) {}

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

void Window::RedrawLines() {
  wredrawln(_window, 0, _height);
  for (const std::unique_ptr<Window>& child : _children) {
    child->RedrawLines();
  }
}

void Window::Refresh() {
  // Overlapping frames share screen cells; mark every line changed so the
  // whole window is put back even where curses thinks nothing moved.
  wtouchln(_window, 0, _height, 1);
  wrefresh(_window);
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
  PlaceTerminalCursor(_xCursor, _yCursor);
}

void Window::ShowCursor(bool visible) {
  _cursor = visible;
  curs_set(visible ? 1 : 0);
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
    ShowCursor(_cursor);
    if (_cursor) {
      PlaceTerminalCursor(_xCursor, _yCursor);
    }
  }
  // Keys typed while the screen was changing were meant for what was shown
  // before; never hand them to the new screen.
  flushinp();
}

}  // namespace Merel
