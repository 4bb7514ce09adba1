// The "Configure Management Network" window: the settings of the management
// network on the left, the selected one's value and help on the right. Its
// dialogs only edit the window's settings record; nothing reaches the host
// until the window is left and the user agrees.
#pragma once

#include <memory>
#include <string>

#include "NexCtl/NexNic.h"
#include "NetworkSettings.h"
#include "RootWindow.h"

namespace Merel {

class NetworkWindow : public RootWindow {
 public:
  explicit NetworkWindow(Frame* parent);
  ~NetworkWindow() override;
  // Reads the host, then runs until Esc leads out. 1 when the window was
  // shown, 0 when the host gave it nothing to show.
  int Loop() override;
  void UpdateFooter() override;

 private:
  // The settings the entries show and edit.
  enum Entry { kAdapters, kVlan, kIpv4, kIpv6, kDns, kSuffixes };

  // The right pane of `entry`: its values, then its help.
  std::string PaneText(Entry entry);
  void EditAdapters();
  void EditVlan();
  void EditIpv4();
  void EditIpv6();
  void EditDns();
  void EditSuffixes();
  // Esc: true when the window is to be left.
  bool Leave() override;
  // Writes the record, showing each failure and restarting when IPv6 was
  // switched on or off.
  void Apply();

  NetworkSettings _settings;
  std::unique_ptr<HostCtl::Network::NexNic> _nic;
  // The program that owns the host's network ("" when the console does);
  // the window then only shows it.
  std::string _owner;
};

}  // namespace Merel
