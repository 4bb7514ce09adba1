// The log viewer does not display anything itself: it gives the terminal to
// the pager in its secure mode (no shell escapes, no other files, no editor)
// and takes the terminal back, curses state and all, when the pager ends.
#include "LogViewer.h"

#include <sys/stat.h>

#include <cstdlib>

#include "Frame.h"
#include "Platform.h"

extern char** environ;

namespace Merel {

namespace {

constexpr const char* kPager = "/bin/less";
constexpr const char* kPagerPrompt = "<Q> Quit </> RegExp Search <H> Help";

}  // namespace

LogViewer::LogViewer()
    : _logs{{
          {"Syslog", "/var/log/syslog.log", false},
          {"Nexel", "/var/log/nexel.log", false},
          {"Config", "/var/log/hostboot.log", false},
          {"Management Agent (mgmtd)", "/var/log/mgmtd.log", false},
          {"Fleetdesk Agent (fdxa)", "/var/log/fdxa.log", false},
          // "Availibility" is the label as operators know it; keep it.
          {"High Availibility Agent (hamd)", "/var/log/hamd.log", false},
          {"Ostrel Tarvik Observation log (obsvd)", "/var/log/obsvd.log", false},
      }} {}

void LogViewer::CheckAvailability() {
  for (LogFile& log : _logs) {
    struct stat info;
    log.available = stat(Platform::HostPath(log.path).c_str(), &info) == 0 && S_ISREG(info.st_mode);
  }
}

size_t LogViewer::AvailableCount() const {
  size_t count = 0;
  for (const LogFile& log : _logs) {
    count += log.available ? 1 : 0;
  }
  return count;
}

int LogViewer::Choose(int digit) const {
  // The numbers on screen skip the missing logs, so the digit is counted
  // over the available ones in table order, the same way ListText counts.
  int count = 0;
  for (size_t i = 0; i < _logs.size(); ++i) {
    if (_logs[i].available && ++count == digit) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

std::string LogViewer::ListText() const {
  std::string text;
  int number = 0;
  for (const LogFile& log : _logs) {
    if (!log.available) {
      continue;
    }
    if (number > 0) {
      text += "\n";
    }
    text += std::to_string(++number);
    text += " ";
    text += log.label;
  }
  return text;
}

void LogViewer::Show(size_t index, Frame* menu) const {
  if (index >= _logs.size()) {
    return;
  }
  const std::string logPath = Platform::HostPath(_logs[index].path);

  // The pager's secure mode (no shell escapes, editor or other files) is
  // set in the console's own environment, which the pager inherits.
  const char* former = getenv("LESSSECURE");
  const std::string formerValue = former != nullptr ? former : "";
  setenv("LESSSECURE", "1", 1);

  std::string arg0 = "less";
  std::string arg1 = "-cfP";
  std::string arg2 = kPagerPrompt;
  std::string arg3 = logPath;
  char* const argv[] = {arg0.data(), arg1.data(), arg2.data(), arg3.data(), nullptr};
  Frame::RunOnTerminal(menu, kPager, argv, environ);

  // An unset variable comes back as an empty one rather than being removed;
  // the pager treats both the same.
  setenv("LESSSECURE", formerValue.c_str(), 1);
}

}  // namespace Merel
