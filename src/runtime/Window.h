// A rectangle of the screen with colours, children and cursor bookkeeping.
// Every screen is a tree of these; a child is a curses subwindow of its
// parent and is owned by it.
#pragma once

#include <curses.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Merel {

class Window {
 public:
  // Top-level window (newwin). Colours are palette numbers (see Terminal.h).
  Window(int x, int y, int width, int height, int background, int foreground);
  // Child window (subwin) at (x, y) relative to `parent`; a colour of -1 takes
  // the parent's. Only AddChild calls this (through the derived class's own
  // constructor, whose first argument is the parent): a child that is not in
  // its parent's list would outlive the curses window it is cut from.
  Window(Window* parent, int x, int y, int width, int height, int background, int foreground);
  virtual ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  // Creates a child of kind T, constructed as T(this, args...), at the end of
  // this window's children. It lives until RemoveChild or until this window
  // dies, whichever comes first.
  template <class T, class... Args>
  T& AddChild(Args&&... args) {
    auto child = std::make_unique<T>(this, std::forward<Args>(args)...);
    T& added = *child;
    _children.push_back(std::move(child));
    return added;
  }
  // Destroys `child` (and its own children) now; nothing when it is not a
  // child of this window.
  void RemoveChild(const Window* child);

  virtual void Draw(bool active);

  // Puts the window into curses' picture of the screen; nothing reaches the
  // terminal before UpdateTerminal.
  void Refresh();
  // Sends the terminal what changed since the last update, ends with the
  // cursor where the last SetCursor put it (or hides it), in one go. The key
  // wait calls it before it waits; call it directly only to show something
  // before the next key wait (progress of a long operation).
  static void UpdateTerminal();
  // Blanks the window in its background (what the children showed goes too:
  // they share its cells).
  void Clear();
  void PrintAt(int x, int y, const std::string& text);
  void SetColors(int background, int foreground);
  // Where the terminal cursor goes, and whether it shows, at the next
  // UpdateTerminal: the last call before it wins, whatever is drawn after.
  void SetCursor(int x, int y);
  static void ShowCursor(bool visible);
  // Whether the cursor shows at the next UpdateTerminal.
  static bool CursorShown() { return _cursor; }

  WINDOW* GetWindow() const { return _window; }
  const std::vector<std::unique_ptr<Window>>& GetChildren() const { return _children; }
  int GetX() const { return _x; }
  int GetY() const { return _y; }
  int GetWidth() const { return _width; }
  int GetHeight() const { return _height; }
  int GetBackground() const { return _background; }
  int GetForeground() const { return _foreground; }
  bool IsActive() const { return _active; }
  bool IsTopLevel() const { return _parent == nullptr; }

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
  // Owned; destroyed before this window's curses window, which theirs are
  // cut from.
  std::vector<std::unique_ptr<Window>> _children;
  bool _active = true;

 private:
  // The one terminal cursor, which ever window put it last (SetCursor,
  // ShowCursor).
  static bool _cursor;
  static int _xCursor;
  static int _yCursor;
};

}  // namespace Merel
