// A fresh simulated host root per test, made by the real `merel-sim init`.
#pragma once

#include <ftw.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "Platform.h"
#include "backends/SimBackend.h"

namespace SimHostTest {

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

inline std::string Fixture(const std::string& name) {
  return std::string(MEREL_SOURCE_DIR) + "/tests/fixtures/hosts/" + name + ".json";
}

// Runs merel-sim with `args`; returns its exit status and its standard
// error in `errors`.
inline int RunSim(const std::string& args, std::string* errors = nullptr) {
  char errorFile[] = "/tmp/merel-sim-err-XXXXXX";
  int fd = mkstemp(errorFile);
  close(fd);
  std::string command =
      std::string("'") + MEREL_SIM_BIN + "' " + args + " >/dev/null 2>" + errorFile;
  int status = std::system(command.c_str());
  if (errors)
    *errors = ReadFile(errorFile);
  unlink(errorFile);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class TempDir {
 public:
  TempDir() {
    char pattern[] = "/tmp/merel-unit-XXXXXX";
    _path = mkdtemp(pattern);
  }
  ~TempDir() {
    nftw(
        _path.c_str(),
        [](const char* path, const struct stat*, int, struct FTW*) { return ::remove(path); }, 16,
        FTW_DEPTH | FTW_PHYS);
  }
  const std::string& Path() const { return _path; }

 private:
  std::string _path;
};

// A host root made from a fixture (or the demo host), installed as the
// platform's backend for the life of the object.
class SimRoot {
 public:
  explicit SimRoot(const std::string& fixture = "") {
    _root = _dir.Path() + "/root";
    std::string args = "init '" + _root + "'";
    if (!fixture.empty())
      args += " '" + Fixture(fixture) + "'";
    _initStatus = RunSim(args, &_initErrors);
    Platform::Install(std::make_unique<Platform::SimBackend>(_root));
  }
  ~SimRoot() { Platform::Install(nullptr); }
  const std::string& Path() const { return _root; }
  int InitStatus() const { return _initStatus; }
  const std::string& InitErrors() const { return _initErrors; }
  std::string File(const std::string& hostPath) const { return ReadFile(_root + hostPath); }

 private:
  TempDir _dir;
  std::string _root;
  int _initStatus = -1;
  std::string _initErrors;
};

}  // namespace SimHostTest
