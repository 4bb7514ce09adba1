#include "backends/HostStore.h"

#include "DurableFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
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

namespace {

std::string StampOf(const struct stat& st) {
  return std::to_string(st.st_dev) + ":" + std::to_string(st.st_ino) + ":" +
         std::to_string(st.st_size) + ":" + std::to_string(st.st_mtim.tv_sec) + "." +
         std::to_string(st.st_mtim.tv_nsec) + ":" + std::to_string(st.st_ctim.tv_sec) + "." +
         std::to_string(st.st_ctim.tv_nsec);
}

}  // namespace

std::string HostStore::Stamp() const {
  struct stat st {};
  if (stat(_statePath.c_str(), &st) != 0) {
    return "";
  }
  return StampOf(st);
}

bool HostStore::Read(HostState& state, std::string& error, std::string* stamp) const {
  const int fd = open(_statePath.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    error = _statePath + ": cannot read: " + std::strerror(errno);
    return false;
  }
  // The stamp of the descriptor read from, not of the path: the file may be
  // replaced meanwhile, and then the stamp must not claim the new one.
  struct stat st {};
  std::string text;
  bool ok = fstat(fd, &st) == 0;
  if (ok) {
    text.reserve(static_cast<size_t>(st.st_size));
    char buffer[65536];
    for (;;) {
      const ssize_t n = read(fd, buffer, sizeof buffer);
      if (n > 0) {
        text.append(buffer, static_cast<size_t>(n));
      } else if (n == 0) {
        break;
      } else if (errno != EINTR) {
        ok = false;
        break;
      }
    }
  }
  const int savedErrno = errno;
  close(fd);
  if (!ok) {
    error = _statePath + ": cannot read: " + std::strerror(savedErrno);
    return false;
  }
  std::string problem;
  if (!FromJson(text, state, problem)) {
    error = _statePath + ": invalid host state: " + problem;
    return false;
  }
  if (stamp) {
    *stamp = StampOf(st);
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
