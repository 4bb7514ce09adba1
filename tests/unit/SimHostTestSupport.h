// A fresh simulated host root per test, made by the real `merel-sim init`.
#pragma once

#include <stdlib.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "../common/CommandOutput.h"
#include "Platform.h"
#include "backends/SimBackend.h"

namespace SimHostTest {

inline std::string ReadFile(const std::string& path) {
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

class TempDir {
 public:
  TempDir() {
    char pattern[] = "/tmp/merel-unit-XXXXXX";
    _path = mkdtemp(pattern);
  }
  ~TempDir() { std::filesystem::remove_all(_path); }
  const std::string& Path() const { return _path; }

 private:
  std::string _path;
};

// The exit code in a wait status; -1 when the process was killed.
inline int ExitCode(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs merel-sim with `args`: 0 when it succeeded, else 1, with its standard
// error in `errors`.
inline int RunSim(const std::string& args, std::string* errors = nullptr) {
  bool ok = false;
  const std::string output = MerelTestCommon::CommandOutput(
      std::string("'") + MEREL_SIM_BIN + "' " + args + " 2>&1 >/dev/null", &ok);
  if (errors)
    *errors = output;
  return ok ? 0 : 1;
}

// A host root made from a fixture under tests/fixtures/hosts (or the demo
// host), installed as the platform's backend for the life of the object.
// A root that cannot be made throws.
class SimRoot {
 public:
  explicit SimRoot(const std::string& fixture = "") : _root(_dir.Path() + "/root") {
    std::string args = "init '" + _root + "'";
    if (!fixture.empty())
      args += std::string(" '") + MEREL_SOURCE_DIR + "/tests/fixtures/hosts/" + fixture + ".json'";
    std::string errors;
    // Thrown out of a test body, this fails just that test, with the reason.
    if (RunSim(args, &errors) != 0)
      throw std::runtime_error("merel-sim init " + fixture + ": " + errors);
    Platform::Install(std::make_unique<Platform::SimBackend>(_root));
  }
  ~SimRoot() { Platform::Install(nullptr); }
  const std::string& Path() const { return _root; }
  std::string File(const std::string& hostPath) const { return ReadFile(_root + hostPath); }

 private:
  TempDir _dir;
  std::string _root;
};

}  // namespace SimHostTest
