// A window that shows one markup string: colour and background tags,
// alignment and padding, host-information variables, word wrapping.
// Laying out is a pure function of (text, width, variables) so it can be
// checked without a terminal; drawing writes the laid-out text with curses.
#pragma once

#include <map>
#include <string>

#include "Window.h"

namespace Merel {

class TextArea : public Window {
 public:
  using Getter = std::string (*)();
  using VariableTable = std::map<std::string, Getter>;

  TextArea(Window* parent, int x, int y, int width, int height, int foreground);

  // Both go back to the first line.
  void SetText(const char* text);
  void SetText(const std::string& text);
  void AppendText(const char* text);
  void AppendText(const std::string& text);
  void Draw(bool active) override;
  const std::string& GetText() const { return _text; }
  // Off: the text is shown as it stands, braces included (text from files
  // that nobody wrote as markup). On by default.
  void SetMarkup(bool markup) { _markup = markup; }

  // Scrolling, for text longer than the area. The position is the laid-out
  // line shown on the area's first row.
  int GetScroll() const { return _scroll; }
  // Laid-out lines of the current text.
  int LineCount() const;
  // Moves the view by `lines` (negative: back towards the start), clamped
  // to the text; true when it moved.
  bool ScrollBy(int lines);
  // The keys that page through a text: Up and Down by a line, Page Up and
  // Page Down by the area's height less one line (kept for context), Home
  // and End to either end. True when `key` is one of them, whether or not
  // the view could move.
  bool ScrollByKey(int key);
  // The same for a text that may fit: false, and nothing done, when `key`
  // is not one of those keys or the text fits the area (laid out once).
  bool ScrollLongTextByKey(int key);

  // The layout pass: alignment, variables and wrapping; colour tags pass
  // through. Without markup only the wrapping is done.
  static std::string Layout(const std::string& text,
                            int width,
                            const VariableTable& variables,
                            bool markup = true);
  // Lines of a laid-out text (a final line break opens no line of its own).
  static int CountLines(const std::string& laidOut);
  // The scroll position nearest to `wanted` that keeps an area of `height`
  // rows within `lines` lines (the top when the text fits).
  static int ClampScroll(int wanted, int lines, int height);

  // The variables every text area knows. Installed once, by whoever can read
  // the host; the table is kept by reference and must outlive the areas.
  // Until then no variable is known and a variable tag vanishes.
  static void InstallVariables(const VariableTable& variables);
  static const VariableTable& Variables();
  // The installed getter's value for `name`; "" when there is none.
  static std::string VariableValue(const std::string& name);

  static const std::map<std::string, int>& ColorTable();

 private:
  std::string LayOutText() const;
  // ScrollBy over a layout already made.
  bool ScrollLaidOut(const std::string& laidOut, int lines);
  // How far a scrolling key moves the view; 0 for any other key.
  int ScrollStep(int key) const;
  void Render();
  // Draws the window rows [fromRow, toRow) of the laid-out text as seen
  // from the current scroll position.
  void DrawLaidOut(const std::string& laidOut, int fromRow, int toRow);

  std::string _text;
  int _scroll = 0;
  bool _markup = true;
};

}  // namespace Merel
