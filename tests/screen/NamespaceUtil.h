// What the Linux-host tests share: each runs the console inside mount,
// network and UTS namespaces of its own, built by a shell script of the
// test's from a scratch folder, with the service and power commands replaced
// by a recorder that notes each call in the folder's "calls" file.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace MerelNamespaceTest {

inline std::string Replace(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

inline std::string Slurp(const std::string& path) {
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// Stands in for a service or power command: notes the call in @S@/calls,
// and fails while @S@/fail-<command> exists.
constexpr const char* kRecorder = R"SH(#!/bin/sh
# merel-test-recorder
echo "$(basename "$0") $*" >> @S@/calls
if [ -e "@S@/fail-$(basename "$0")" ]; then exit 1; fi
case "$1" in is-active|is-enabled) exit 3 ;; esac
exit 0
)SH";

inline bool CanMakeNamespaces() {
  return std::system("unshare --mount --net --uts true >/dev/null 2>&1") == 0;
}

// A new scratch folder (`pattern` as for mkdtemp) with the test's namespace
// script as setup.sh (@S@ the folder, @HOST@ the host name, @MEREL@ the
// console, @PAM@ the packaged PAM service) and the recorder.
inline std::string MakeScratch(std::string pattern, const char* setup, const std::string& hostName) {
  namespace fs = std::filesystem;
  const std::string scratch = mkdtemp(pattern.data());
  std::string script = Replace(setup, "@S@", scratch);
  script = Replace(script, "@HOST@", hostName);
  script = Replace(script, "@MEREL@", MEREL_BIN);
  script = Replace(script, "@PAM@", std::string(MEREL_SOURCE_DIR) + "/packaging/pam.d/merel");
  std::ofstream(scratch + "/setup.sh") << script;
  std::ofstream(scratch + "/recorder") << Replace(kRecorder, "@S@", scratch);
  fs::permissions(scratch + "/recorder", fs::perms::owner_all | fs::perms::group_read |
                                             fs::perms::group_exec | fs::perms::others_read |
                                             fs::perms::others_exec);
  return scratch;
}

}  // namespace MerelNamespaceTest
