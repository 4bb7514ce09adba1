#include "backends/HostStore.h"

#include "DurableFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace Platform {

namespace {

class FileLock {
 public:
  explicit FileLock(const std::string& path) {
    _fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (_fd < 0) {
      _error = errno;
      return;
    }
    while (flock(_fd, LOCK_EX) != 0) {
      if (errno != EINTR) {
        _error = errno;
        close(_fd);
        _fd = -1;
        return;
      }
    }
  }
  ~FileLock() {
    if (_fd >= 0)
      close(_fd);  // releases the lock
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  bool Held() const { return _fd >= 0; }
  int Error() const { return _error; }

 private:
  int _fd = -1;
  int _error = 0;
};

}  // namespace

HostStore::HostStore(std::string root)
    : _root(std::move(root)), _statePath(_root + "/host.json"), _lockPath(_root + "/host.lock") {}

bool HostStore::Read(HostState& state, std::string& error) const {
  std::ifstream in(_statePath, std::ios::binary);
  if (!in) {
    error = _statePath + ": cannot read: " + std::strerror(errno);
    return false;
  }
  std::stringstream text;
  text << in.rdbuf();
  if (in.bad()) {
    error = _statePath + ": cannot read: " + std::strerror(errno);
    return false;
  }
  std::string problem;
  if (!FromJson(text.str(), state, problem)) {
    error = _statePath + ": invalid host state: " + problem;
    return false;
  }
  return true;
}

bool HostStore::WriteLocked(const HostState& state, std::string& error) {
  std::string problem;
  if (!Validate(state, problem)) {
    error = _statePath + ": refusing to write an invalid host state: " + problem;
    return false;
  }
  return WriteFileDurably(_statePath, ToJson(state), 0644, error);
}

bool HostStore::Write(const HostState& state, std::string& error) {
  FileLock lock(_lockPath);
  if (!lock.Held()) {
    error = _lockPath + ": cannot lock: " + std::strerror(lock.Error());
    return false;
  }
  return WriteLocked(state, error);
}

bool HostStore::Modify(const std::function<void(HostState&)>& change, std::string& error) {
  FileLock lock(_lockPath);
  if (!lock.Held()) {
    error = _lockPath + ": cannot lock: " + std::strerror(lock.Error());
    return false;
  }
  HostState state;
  if (!Read(state, error)) {
    return false;
  }
  change(state);
  return WriteLocked(state, error);
}

}  // namespace Platform
