// The full-screen two-pane layout of the menu screens: a yellow left pane
// with the list, a dark-grey right pane describing the selection, a rule
// under both titles and a black status line at the bottom; and the one key
// loop that runs a window's table of entries.
#include "RootWindow.h"

#include <syslog.h>

#include <memory>

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

namespace {

bool Holds(const std::function<bool()>& check) {
  return !check || check();
}

}  // namespace

void RootWindow::SetEntries(uint32_t title, std::vector<MenuEntry> entries) {
  _title = title;
  _entries = std::move(entries);
  std::vector<std::unique_ptr<Item>> items;
  for (size_t i = 0; i < _entries.size(); ++i) {
    items.push_back(std::make_unique<EntryItem>(""));
  }
  _menu->SetItems(std::move(items));
  RefreshEntries();
}

void RootWindow::RefreshEntries() {
  for (size_t i = 0; i < _entries.size() && i < _menu->Count(); ++i) {
    const MenuEntry& entry = _entries[i];
    auto* item = static_cast<EntryItem*>(_menu->At(i));
    const uint32_t label = entry.labelNow ? entry.labelNow() : entry.label;
    item->SetLabel(_strings->GetString(label));
    item->SetShown(Holds(entry.shown));
    item->SetSelectable(label != Strings::kEmpty && Holds(entry.enabled));
  }
  _menu->ItemsChanged();
}

int RootWindow::SelectedIndex() const {
  const int index = _menu->CurrentIndex();
  return index >= 0 && static_cast<size_t>(index) < _entries.size() ? index : -1;
}

const MenuEntry* RootWindow::Selected() const {
  const int index = SelectedIndex();
  return index >= 0 ? &_entries[static_cast<size_t>(index)] : nullptr;
}

void RootWindow::DrawContents() {
  _leftTitle->SetText(_strings->GetString(_title));
  _menu->DrawItems();
  ShowSelection();
}

void RootWindow::ShowSelection() {
  const MenuEntry* entry = Selected();
  std::string title;
  std::string text;
  if (entry != nullptr) {
    title = _strings->GetString(entry->title != Strings::kEmpty ? entry->title
                                : entry->labelNow               ? entry->labelNow()
                                                                : entry->label);
    text = entry->pane ? entry->pane() : _strings->GetString(entry->help);
  }
  _rightTitle->SetText(title);
  _rightText->SetText(text);
  UpdateFooter();
}

int RootWindow::RunEntries() {
  DrawContents();
  for (;;) {
    const int key = Frame::WaitForKey(this, true);
    switch (key) {
      case kKeyEscape:
        if (Leave()) {
          return 1;
        }
        ShowSelection();
        break;
      case KEY_UP:
        _menu->Prev();
        ShowSelection();
        break;
      case KEY_DOWN:
        _menu->Next();
        ShowSelection();
        break;
      case kKeyEnter:
        if (const MenuEntry* entry = Selected(); entry != nullptr && entry->open) {
          // A copy: the action may refresh the table it came from.
          const std::function<void()> open = entry->open;
          open();
          RefreshEntries();
          DrawContents();
        }
        break;
      default:
        HandleKey(key);
        break;
    }
  }
}

}  // namespace Merel
