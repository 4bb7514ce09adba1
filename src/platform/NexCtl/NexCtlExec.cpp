#include "NexCtl/NexCtlExec.h"

#include <sys/wait.h>

#include "FacadeSupport.h"

namespace NexCtl::Util {

int NexCtl_Exec(const std::string& commandLine, bool background, bool wait, bool logOutput) {
  Platform::FailIfInjected("NexCtl_Exec");
  // The console's terminal belongs to curses: the command's output goes to
  // the host's syslog file or nowhere, never to the screen.
  std::string command = "(" + commandLine + ") </dev/null " +
                        (logOutput ? ">>/var/log/syslog.log 2>&1" : ">/dev/null 2>&1");
  if (background || !wait) {
    command += " &";
  }
  int status = Platform::System(command.c_str());
  if (status == -1) {
    Platform::Fail("Unable to run '" + commandLine + "'");
  }
  if (background || !wait) {
    return 0;
  }
  if (WIFEXITED(status)) {
    return WEXITSTATUS(status);
  }
  return -1;
}

}  // namespace NexCtl::Util
