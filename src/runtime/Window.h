// A rectangle of the screen with colours, children and cursor bookkeeping.
// Every screen is a tree of these; a child is a curses subwindow of its
// parent and is owned by it.
#pragma once

#include <curses.h>

#include <list>
#include <string>
#include <utility>

namespace Merel {

class Window {
 public:
  // Top-level window (newwin). Colours are palette numbers (see Terminal.h).
  Window(int x, int y, int width, int height, int background, int foreground);
  // Child window (subwin) at (x, y) relative to `parent`; a colour of -1 takes
  // the parent's. The child appends itself to the parent's children and is
  // owned by the parent from then on: create children on the heap only,
  // preferably through Make().
  Window(Window* parent, int x, int y, int width, int height, int background, int foreground);
  virtual ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  // Heap-allocates a child of `parent`; the parent owns and deletes it.
  template <class T, class... Args>
  static T* Make(Window* parent, Args&&... args) {
    return new T(parent, std::forward<Args>(args)...);
  }

  virtual void Draw(bool active);

  void Refresh();
  void PrintAt(int x, int y, const std::string& text);
  void SetColors(int background, int foreground);
  void SetCursor(int x, int y);
  static void ShowCursor(bool visible);

  WINDOW* GetWindow() const { return _window; }
  const std::list<Window*>& GetChildren() const { return _children; }
  int GetX() const { return _x; }
  int GetY() const { return _y; }
  int GetWidth() const { return _width; }
  int GetHeight() const { return _height; }
  int GetBackground() const { return _background; }
  int GetForeground() const { return _foreground; }
  bool IsActive() const { return _active; }
  bool IsTopLevel() const { return _parent == nullptr; }

  static bool _cursor;
  static int _xCursor;
  static int _yCursor;

 protected:
  // Saved while a top-level window is drawn inactive; -1 = nothing saved.
  int _savedCursorVisible = -1;
  int _savedCursorX = 0;
  int _savedCursorY = 0;
  Window* _parent = nullptr;
  WINDOW* _window = nullptr;
  int _x = 0;
  int _y = 0;
  int _width = 0;
  int _height = 0;
  int _background = 0;
  int _foreground = 7;
  std::list<Window*> _children;
  bool _active = true;
};

}  // namespace Merel
