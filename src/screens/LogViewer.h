// The host's main log files as the menu offers them: a fixed table of seven
// logs, of which only those present on the host are numbered, and the pager
// that shows one of them in place of the console.
#pragma once

#include <array>
#include <cstddef>
#include <string>

namespace Merel {

class Frame;

struct LogFile {
  const char* label;
  const char* path;  // host path
  bool available;
};

class LogViewer {
 public:
  static constexpr size_t kLogCount = 7;

  // All logs start unavailable until CheckAvailability runs.
  LogViewer();

  // A log is available when its file exists on the host.
  void CheckAvailability();
  void SetAvailable(size_t index, bool available) { _logs[index].available = available; }
  const std::array<LogFile, kLogCount>& Logs() const { return _logs; }
  size_t AvailableCount() const;

  // The table index of the log the digit `digit` (0..9) names, counting the
  // available logs only, from 1; -1 when it names none (0, or past the last).
  int Choose(int digit) const;

  // The numbered list of the available logs, one per line ("1 Syslog").
  std::string ListText() const;

  // Hands the terminal to the pager for the log at `index` and takes it
  // back; `menu` is repainted afterwards. Nothing is reported when the
  // pager cannot be started.
  void Show(size_t index, Frame* menu) const;

 private:
  std::array<LogFile, kLogCount> _logs;
};

}  // namespace Merel
