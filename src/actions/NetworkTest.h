// The management network test's work, apart from its progress display: each
// step (an echo request to an address, the resolve of the host name) is a
// child process whose end the caller waits for as it likes. The test's
// children are kept here, not by the dialog that shows them: a step the
// user gives up is reaped later, and whatever still runs ends with the
// console.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace Merel::NetworkTest {

// The management interface's name, through which the echo requests go;
// "" when the host names none or cannot say (logged).
std::string ManagementInterfaceName();

// Starts the echo requests to `address` (through `nic` unless empty); the
// child's pid, or -1 when it could not be started.
pid_t StartPing(const std::string& address, const std::string& nic);

// Starts the resolve of `hostname` (ResolveInChild in a child of its own);
// the child's pid, or -1.
pid_t StartResolve(const std::string& hostname);

// The child side of the resolve step: backs up the hosts file, drops
// `hostname` from it, resolves the name, puts the file back. The exit
// status: 0 when the name resolved.
int ResolveInChild(const std::string& hostname);

// Puts back a hosts file that a resolve step took the host's entry out of
// and that nobody restored (its backup is the original): at the start of a
// console that killed one could not, and at every end.
void RecoverHostsFile();

// The step child `pid`'s wait status once it has ended (1 when it cannot
// be waited for); nothing while it runs (given-up children that have ended
// meanwhile are reaped then).
std::optional<int> StepEnded(pid_t pid);

// Gives up the step child `pid` without killing or waiting for it: the next
// run reaps it, or the end of the console.
void Abandon(pid_t pid);

// Reaps given-up children of earlier runs that have ended since, and makes
// sure (once) that the test's children end with the console and the hosts
// file is put back then.
void BeginRun();

}  // namespace Merel::NetworkTest
