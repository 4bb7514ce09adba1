// The time-outs of the troubleshooting window, apart from their dialogs:
// the shell time-outs, read and written with the host's own command-line
// tools so that the services see the same values, and the console's own
// idle time-out, a host advanced option. Values are whole minutes; the host
// keeps seconds. Each change is logged here.
#pragma once

#include <string>

namespace Merel {

enum class ShellTimeout {
  kAvailability,  // how long the local shell and SSH stay on once enabled
  kIdle,          // idle interactive shell sessions
};

// Whole minutes of a host tool's answer in seconds ("900\n" is 15); the
// answer's last byte is its newline. 0 for anything that is not a number.
int AdvcfgMinutes(std::string output);

// The host's shell time-out in minutes; 0 when it cannot be read.
int ShellTimeoutMinutes(ShellTimeout which);

// Writes the shell time-out (0 disables it). A running local shell or SSH
// is restarted after a new availability time-out: they read it when they
// start. The tools' own results are not examined.
void SetShellTimeout(ShellTimeout which, int minutes);

// The console's idle time-out in seconds; 0 when the host has none or it
// cannot be read (logged).
int ConsoleTimeoutSeconds();

// Writes the console's idle time-out; false (the old one stays in force)
// when the host has no such option or refused it.
bool SetConsoleTimeout(int minutes);

// The log line of a written time-out: "Disabled <what>" for 0, else
// "Modified <what> to N minutes".
void LogTimeoutChange(const char* what, int minutes);

}  // namespace Merel
