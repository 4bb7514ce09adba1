// One-line items of dialogs: labels, check boxes, radio choices and input
// fields. Each renders itself to a markup line in a text area.
#pragma once

#include <string>

namespace Merel {

class TextArea;

class Item {
 public:
  virtual ~Item() = default;
  virtual void Draw(TextArea& area) = 0;
  void SetFocused(bool focused) { _focused = focused; }

  bool IsShown() const { return _shown; }
  bool IsFocused() const { return _focused; }
  bool IsSelectable() const { return _selectable; }
  void SetShown(bool shown) { _shown = shown; }
  void SetSelectable(bool selectable) { _selectable = selectable; }
  // Labels and choices draw the same focused or not; a dialog whose cursor is
  // hidden asks for the focused one to be shown selected instead.
  void SetHighlightFocus(bool highlight) { _highlightFocus = highlight; }

  // `text` shown selected: black on white, the look of a focused choice.
  static std::string Selected(const std::string& text) {
    return "{bgcolor:white}{color:black}" + text + "{/color}{/bgcolor}";
  }

 protected:
  // The text to draw for `text`: selected when focused and asked for.
  std::string Focusable(const std::string& text) const {
    return _focused && _highlightFocus ? Selected(text) : text;
  }

  bool _shown = true;
  bool _focused = false;
  bool _selectable = true;
  bool _highlightFocus = false;
};

class LabelItem : public Item {
 public:
  explicit LabelItem(std::string label, bool selectable = true);
  void Draw(TextArea& area) override;
  const std::string& GetLabel() const { return _label; }
  void SetLabel(std::string label) { _label = std::move(label); }

 private:
  std::string _label;
};

// An entry of a two-pane window's list: greyed while it cannot be chosen;
// the focused one is drawn as a bar across the list.
class EntryItem : public Item {
 public:
  explicit EntryItem(std::string label, bool selectable = true);
  void Draw(TextArea& area) override;
  void SetLabel(std::string label) { _label = std::move(label); }

 private:
  std::string _label;
};

class CheckItem : public Item {
 public:
  CheckItem(std::string label, bool checked, int indent = 0);
  void Draw(TextArea& area) override;
  bool IsChecked() const { return _checked; }
  void SetChecked(bool checked) { _checked = checked; }
  const std::string& GetLabel() const { return _label; }

 protected:
  virtual const char* Box() const { return _checked ? "[X] " : "[ ] "; }
  bool _checked;
  int _indent;
  std::string _label;
};

class RadioItem : public CheckItem {
 public:
  using CheckItem::CheckItem;

 protected:
  const char* Box() const override { return _checked ? "(o) " : "( ) "; }
};

class InputItem : public Item {
 public:
  // fieldWidth -1: half the text area's width minus 1.
  InputItem(std::string label, std::string value, int fieldWidth = -1);
  void Draw(TextArea& area) override;
  void HandleKey(int key);
  const std::string& GetValue() const { return _value; }
  void SetValue(const std::string& value);
  void SetPassword(bool password);
  // Overwrites every byte that held the value (a secret), then empties it.
  void Wipe();
  const std::string& GetLabel() const { return _label; }
  void SetLabel(std::string label) { _label = std::move(label); }
  int GetCursor() const { return _cursor; }
  int GetScroll() const { return _scroll; }
  bool IsPristine() const { return _pristine; }
  // The markup line for a text area `width` wide (also updates the scroll).
  std::string Render(int width);

 private:
  // Moves the value into a new buffer of `capacity` bytes, wiping the old.
  void MoveToBuffer(size_t capacity);

  // The field's width inside a text area `width` wide.
  int FieldWidth(int width) const;

  std::string _label;
  std::string _value;
  // The first bytes of a UTF-8 character still being typed (passwords only).
  std::string _pending;
  int _fieldWidth;
  bool _password = false;
  int _cursor = 0;
  int _scroll = 0;
  bool _pristine = true;
};

}  // namespace Merel
