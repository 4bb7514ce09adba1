// Spawn attributes for the host's tools: children start with no blocked
// signals and default dispositions. The console blocks its termination
// signals in every thread (they are taken by its signal thread), and a tool
// must not inherit that.
#pragma once

#include <signal.h>
#include <spawn.h>

namespace Platform {

class CleanSignals {
 public:
  CleanSignals() {
    posix_spawnattr_init(&_attr);
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&_attr, &none);
    posix_spawnattr_setsigdefault(&_attr, &all);
    posix_spawnattr_setflags(&_attr, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~CleanSignals() { posix_spawnattr_destroy(&_attr); }
  CleanSignals(const CleanSignals&) = delete;
  CleanSignals& operator=(const CleanSignals&) = delete;
  const posix_spawnattr_t* Get() const { return &_attr; }

 private:
  posix_spawnattr_t _attr;
};

}  // namespace Platform
