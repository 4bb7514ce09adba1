// The System Customization menu shown after a login.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "NexCtl/NexNic.h"
#include "RootWindow.h"

namespace Merel {

// What the host allows, as found when the menu is built.
struct MenuFlags {
  bool lockdownAvailable = false;
  bool managementInterfaceFound = false;
  bool networkBooted = false;
  int deviceAssignmentState = 0;  // 0 unsupported, 1 supported, 2 configurable
  bool usingKeyboard = false;
};

// One entry of the menu: its string-table key and whether it takes a line
// and can be chosen. Separators (key 3) are never enabled.
struct MenuRow {
  uint32_t key;
  bool shown;
  bool enabled;
};

class GeneralWindow : public RootWindow {
 public:
  explicit GeneralWindow(Frame* parent);
  ~GeneralWindow() override;
  // Returns 1 on Escape: the caller ends the session.
  int Loop() override;
  // Rebuilds the menu (also on a smart-card event).
  void Update() override;
  void UpdateFooter() override;

  // The fifteen entries in menu order for `flags`.
  static std::vector<MenuRow> BuildRows(const MenuFlags& flags);

  // The management interface found when the menu was last built.
  static std::unique_ptr<HostCtl::Network::NexNic> _mgmtIntf;

 private:
  struct Impl;
  std::unique_ptr<Impl> _impl;

  void BuildMenu();
  // Titles, help, footers and the list, for the current selection.
  void DrawContents();
  void ShowSelection();
  uint32_t SelectedKey() const;
  void Open(uint32_t key);
  void RestartManagementNetwork();
  // Page Up / Page Down: the first or last entry that can be chosen.
  void SelectFirst();
  void SelectLast();
};

}  // namespace Merel
