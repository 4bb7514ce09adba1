// The management network test while it runs: one step a line (pings, then
// the resolve of the host name), each a child process, with its verdict at
// the right margin. Esc abandons the run.
#pragma once

#include <sys/types.h>

#include <string>

#include "Dialog.h"
#include "HostCtl/IpAddress.h"
#include "TextArea.h"

namespace Merel {

class RunTestDialog : public Dialog {
 public:
  // The targets (each may be null) stay the caller's.
  RunTestDialog(Frame* parent,
                HostCtl::Network::IpAddress* target1,
                HostCtl::Network::IpAddress* target2,
                HostCtl::Network::IpAddress* target3,
                std::string hostname);
  // 1 when every step ran and the user pressed Enter, 0 when interrupted.
  int Loop() override;

 private:
  bool PingStep(int index, HostCtl::Network::IpAddress& target);
  bool ResolveStep();
  // Waits for the step's child or for Esc: false when interrupted.
  bool WaitStep(pid_t pid);
  void Report(int status);

  HostCtl::Network::IpAddress* _targets[3];
  std::string _hostname;
  TextArea* _text = nullptr;
  std::string _nicName;
};

}  // namespace Merel
