// The management network test while it runs: one step a line (pings, then
// the resolve of the host name), each a child process, with its verdict at
// the right margin. Esc abandons the run.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

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

  // Child side of the resolve step, exposed for the tests: backs up the
  // hosts file, drops `hostname` from it, resolves the name, puts the file
  // back. The exit status: 0 when the name resolved.
  static int ResolveInChild(const std::string& hostname);

  // Puts back a hosts file that a resolve step took the host's entry out
  // of and that nobody restored (its backup is the original): at the start
  // of a console that killed one could not, and at every end.
  static void RecoverHostsFile();

 private:
  bool PingStep(int index, HostCtl::Network::IpAddress& target);
  bool ResolveStep();
  // Waits for the step's child or for Esc: false when interrupted.
  bool WaitStep(pid_t pid);
  void Report(int status);
  // Reaps children of earlier, interrupted runs that have ended since.
  static void ReapAbandoned();

  HostCtl::Network::IpAddress* _targets[3];
  std::string _hostname;
  TextArea* _text = nullptr;
  std::string _nicName;
  pid_t childPid = -1;
  int testDone = 0;

  // At the console's end: its test children end with it, then the hosts
  // file is put back.
  static void EndChildren();

  static std::vector<pid_t> _abandoned;
  // The run under way, whose child ends with the console.
  static RunTestDialog* currentRunTest;
};

}  // namespace Merel
