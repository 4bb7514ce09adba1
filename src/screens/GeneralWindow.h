// The System Customization menu shown after a login.
#pragma once

#include <memory>
#include <vector>

#include "NexCtl/NexNic.h"
#include "RootWindow.h"

namespace Merel {

class GeneralWindow : public RootWindow {
 public:
  explicit GeneralWindow(Frame* parent);
  ~GeneralWindow() override;
  // Returns 1 on Escape: the caller ends the session.
  int Loop() override;
  // Rebuilds the menu (also on a smart-card event).
  void Update() override;
  void UpdateFooter() override;

  // The management interface found when the menu was last built.
  std::unique_ptr<HostCtl::Network::NexNic> _mgmtIntf;

 private:
  struct Impl;
  std::unique_ptr<Impl> _impl;

  // The menu's table, in menu order.
  std::vector<MenuEntry> Entries();
  void HandleKey(int key) override;
  bool LogsSelected() const;
  void OpenLockdown();
  void RestartManagementNetwork();
  // Page Up / Page Down: the first or last entry that can be chosen.
  void SelectFirst();
  void SelectLast();
};

}  // namespace Merel
