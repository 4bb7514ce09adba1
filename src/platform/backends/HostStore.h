// ROOT/host.json on disk: whole-file reads, and changes that are atomic with
// respect to crashes (DurableFile.h) and to other processes (an
// exclusive flock on ROOT/host.lock around the read-modify-write).
#pragma once

#include <functional>
#include <string>

#include "HostState.h"

namespace Platform {

class HostStore {
 public:
  explicit HostStore(std::string root);
  virtual ~HostStore() = default;

  // One line naming the file and the problem on failure. `stamp`, when
  // given, receives the stamp of the very file that was read.
  virtual bool Read(HostState& state, std::string& error, std::string* stamp = nullptr) const;
  // What tells one version of the file from the next: device, inode, size
  // and the times of change ("" when it cannot be seen). Every write
  // replaces the file by a new one, so a write by anybody changes it.
  std::string Stamp() const;
  // Writes a state without reading the old one (used to create a host).
  bool Write(const HostState& state, std::string& error);
  // Locked read-modify-write. Returns false (with `error`) when the state
  // cannot be read, the change leaves an invalid state, or the write fails;
  // exceptions of `change` propagate, and in every failing case the file on
  // disk is left as it was.
  bool Modify(const std::function<void(HostState&)>& change, std::string& error);

 private:
  bool WriteLocked(const HostState& state, std::string& error);

  std::string _root;
  std::string _statePath;
  std::string _lockPath;
};

}  // namespace Platform
