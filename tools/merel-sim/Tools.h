// The host tools of a simulated host root, one function per tool name.
#pragma once

#include <string>
#include <vector>

namespace MerelSim {

// Runs host tool `name` on the host root `root` with `args` (without the
// tool name); returns its exit status. Unknown tools exit 127.
int RunTool(const std::string& root, const std::string& name, const std::vector<std::string>& args);

// The tools.log line for one invocation: words separated by spaces; a word
// that is empty or holds a space, quote, backslash or control character is
// in double quotes with those escaped (Platform::QuoteRecordValue).
std::string FormatInvocation(const std::string& name, const std::vector<std::string>& args);

}  // namespace MerelSim
