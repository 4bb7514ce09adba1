// The troubleshooting options: the local shell and SSH on and off, their
// time-outs, the console's own idle time-out and the agents' restart.
#pragma once

#include <cstdint>

#include "RootWindow.h"

namespace Merel {

class EntryItem;

class TroubleShootingWindow : public RootWindow {
 public:
  explicit TroubleShootingWindow(Frame* parent);
  // 1 when the user leaves with Esc.
  int Loop() override;
  void UpdateFooter() override;

 private:
  void RefreshContents() override;
  void OpenSelected() override;
  // Switches the shell (kShell) or SSH (kSsh) on or off.
  void Toggle(int entry);
  // The time-out entry can be chosen only while both services are off: a
  // running service would keep its old time-outs.
  void UpdateTimeoutEntry();
  int FocusedIndex() const;
  void Open(int index);

  bool shellEnabled = false;
  bool sshEnabled = false;
  EntryItem* _entries[5] = {};
};

}  // namespace Merel
