// What a shell command prints on its standard output (append "2>&1" for its
// errors too), for the tests, the harness and the benchmark alike.
#pragma once

#include <cstdio>
#include <string>

namespace MerelTestCommon {

// `ok`, when given, says whether the command ran and ended with status 0.
inline std::string CommandOutput(const std::string& command, bool* ok = nullptr) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  char buffer[4096];
  for (size_t n; pipe != nullptr && (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
    output.append(buffer, n);
  const int status = pipe != nullptr ? pclose(pipe) : -1;
  if (ok != nullptr)
    *ok = status == 0;
  return output;
}

}  // namespace MerelTestCommon
