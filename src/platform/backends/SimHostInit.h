// Making a simulated host root from a host description (`merel-sim init`,
// and the console's own first start on the bundled demo host).
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace Platform {

struct AccountState;

// The bundled demo host description (sim/demo-host.json, compiled in).
const char* BundledDemoHost();

// $XDG_STATE_HOME/merel/host, else ~/.local/state/merel/host; empty when
// neither variable is set.
std::string DefaultStateRoot();

// The directory of the running executable (from /proc/self/exe).
std::string SelfDirectory();

// The project's program `name` ("merel-sim", "merel") beside the running
// executable, as in a build folder; installed, the console lives in sbin and
// merel-sim in bin, so the sibling folders are tried next. The plain
// neighbour's path when none exists.
std::string SiblingProgram(const std::string& name);

// The tools of a host root, as "bin/rovi-cmd", "etc/init.d/SSH", ...
const std::vector<std::string>& SimToolEntries();

// Creates the host root `root` from `description` (JSON text; `name` says
// where it came from, for messages). The tool entries run `simBinary`
// (absolute). Refuses to touch a root that already holds a host.json.
// On failure `error` is one line naming the file and the problem. `notes`
// (optional) receives remarks such as a key type ssh-keygen refused.
bool InitHostRoot(const std::string& root,
                  const std::string& description,
                  const std::string& name,
                  const std::string& simBinary,
                  std::string& error,
                  std::vector<std::string>* notes);

// Where the host's account module keeps one word per user ("expired").
inline constexpr char kAccountStates[] = "etc/account-states";

// The PAM view of `accounts`: pam_matrix's password file and the account
// module's words (an expiry written, any other word of the user removed).
bool WriteAccounts(const std::string& root,
                   const std::vector<AccountState>& accounts,
                   std::string& error);

// pam_wrapper makes its folder (/tmp/pam.X) while a program it is preloaded
// into loads: it looks for a free letter, then creates that folder, and goes
// on when another process made the same one in between. Two such programs
// starting at once share one folder, each with the other's PAM service (and
// so the other host root's password file), and the first to end removes it
// under the other. Whatever starts them on this machine takes this lock
// first; the descriptor to close when done, -1 when there is no lock. The
// folders of ended processes are cleared as it is taken, and those whose pid
// file has stayed empty for kPamFolderAbandonedAfter.
int LockPamWrapperStart();
inline constexpr std::chrono::seconds kPamFolderAbandonedAfter{2};

// For a process about to exec such a program: the lock goes to a detached
// process of its own, which lets go once pam_wrapper's folder holds this
// process's pid, when the process has ended, or after ten seconds.
void HoldPamWrapperLockUntilStarted(int lock);

// The AddressSanitizer runtime that must be preloaded before pam_wrapper in
// a sanitizer build; null otherwise.
const char* AsanRuntime();

}  // namespace Platform
