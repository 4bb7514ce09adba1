// Running host tools: one routine that starts a program with a clean
// environment, feeds it input, collects its output after it ends and enforces
// a time-out; and the wrappers for the management command tool.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Merel {

extern const char* const MEREL_USER;  // "merel"

// Returns the child's exit status (0..255), or -1 (not started, killed, or
// ended by a signal). `*outSize`/`*errSize`: capacity in, bytes stored out.
int RunCommand(const char* path, char* const argv[], char* out, size_t* outSize, char* err,
               size_t* errSize, const char* input, size_t inputLength, int timeoutSeconds);

// A service script of the host ("/etc/init.d/SSH") run with `action`
// ("status", "start", ...) by the host's shell; its exit status as above.
int RunServiceScript(const char* script, const char* action);

// A management command: "/bin/rovi-cmd" "-U" user command [args...].
struct RoviCommand {
  std::string user;
  std::string command;
  std::vector<std::string> args;
};
// Runs once, as `record.user` only; no time-out unless one is given.
// Changes the session user must be allowed to make (lockdown) go through
// this, so that the console's own account never stands in for the user.
int RunRoviOnce(const RoviCommand& record, char* out, size_t* outSize, char* err,
                size_t* errSize, const char* input, size_t inputLength, int timeoutSeconds = 0);
// Runs without a time-out; on 255 logs and runs again as MEREL_USER.
int RunRoviCommand(RoviCommand& record, char* out, size_t* outSize, char* err, size_t* errSize,
                   const char* input, size_t inputLength);
bool RoviQueryBool(const char* command);
int RoviRefresh(const std::string& user);
int InitObsvLibrary();
// Posts the event `eventId` with `text` when the event library opens (a
// failure to open is logged by InitObsvLibrary; the event is then lost).
void PostObsv(const char* eventId, const std::string& text);

// Logs "%s with errno(%d): %s" at error level with the current errno.
void LogErrno(const char* text);

}  // namespace Merel
