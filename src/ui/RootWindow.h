// The full-screen two-pane menu layout: item list on the left, the selected
// entry's title and help on the right, a status line at the bottom. A window
// of this kind is a table of entries run by one key loop.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Frame.h"
#include "ItemList.h"
#include "StringFactory.h"
#include "TextArea.h"

namespace Merel {

// One row of a two-pane window's table. Most entries need only their texts
// and what they open; the checks are asked again after every entry opened.
struct MenuEntry {
  uint32_t label = Strings::kEmpty;    // the list's text; kEmpty: a blank row
  uint32_t help = Strings::kEmpty;     // the right pane's text under the title
  std::function<bool()> shown = {};    // unset: always in the list
  std::function<bool()> enabled = {};  // unset: can always be chosen (a blank row never)
  std::function<void()> open = {};     // Enter; unset: nothing opens
  // For entries whose texts follow what the user or the host did:
  std::function<uint32_t()> labelNow = {};  // the list's text now, in place of `label`
  uint32_t title = Strings::kEmpty;         // the pane's title, when not the label
  std::function<std::string()> pane = {};   // the pane's text, in place of `help`
};

// Shows a `D` made with `args` above `parent`; returns its result.
template <class D, class... Args>
int RunDialog(Frame* parent, Args&&... args) {
  D dialog(parent, std::forward<Args>(args)...);
  return Frame::Run(&dialog);
}

// An entry's action that shows a `D` above `parent`.
template <class D>
std::function<void()> Opens(Frame* parent) {
  return [parent] { RunDialog<D>(parent); };
}

class RootWindow : public Frame {
 public:
  explicit RootWindow(Frame* parent);
  // Rebuilds the footer line for the current selection.
  virtual void UpdateFooter() = 0;

 protected:
  // Takes the window's title and its table; the first entry that can be
  // chosen is selected.
  void SetEntries(uint32_t title, std::vector<MenuEntry> entries);
  // Asks every entry again what it reads and whether it is shown and can be
  // chosen. The selection stays where it is while it can still be chosen,
  // else it goes to the first entry that can.
  void RefreshEntries();
  // The selected entry's place in the table; -1 for an empty table.
  int SelectedIndex() const;
  // The selected entry, or null.
  const MenuEntry* Selected() const;

  // The key loop: Up/Down move the selection and show its pane, Enter opens
  // the selected entry, Esc leaves (1) when Leave agrees; any other key goes
  // to HandleKey.
  int RunEntries();
  // Esc: true when the window is to be left.
  virtual bool Leave() { return true; }
  // A key the loop has no use for.
  virtual void HandleKey(int /*key*/) {}

  // The title, the list, the selected entry's pane and the footers.
  void DrawContents();
  // The selected entry's pane, then the footers (the list and the pane reach
  // down to the footer line and blank it when drawn: footers go last).
  void ShowSelection();

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

 private:
  uint32_t _title = Strings::kEmpty;
  std::vector<MenuEntry> _entries;
};

}  // namespace Merel
