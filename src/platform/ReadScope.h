// One reading of the host shared by the host-library calls of one action.
//
// Every facade call asks the backend for the host's state; without a scope
// each call reads and parses it again. An action (the handling of one key,
// one redraw done by the key wait, one step of applying changes) opens a
// scope, and the backend then keeps the first reading and hands it to the
// later calls of the same action. Nothing survives the action: when the last
// scope closes, or the key wait starts waiting, the reading is forgotten, so
// the next action (the next opening of any screen) reads the host afresh.
//
// A backend also forgets it when it changes the host or runs one of the
// host's programs, and it keeps a reading only together with a stamp of
// what it read (for a file: device, inode, size and time of change), so a
// reading is never handed out after anybody else changed the host.
#pragma once

#include <memory>
#include <string>

#include "HostState.h"

namespace Platform {

class ReadScope {
 public:
  // Joins the action under way, or starts one.
  ReadScope();
  // Starts afresh: what the enclosing action read is forgotten now and again
  // when this scope closes (an apply step must see what the steps before it
  // did to the host).
  enum Fresh { kFresh };
  explicit ReadScope(Fresh);
  ~ReadScope();
  ReadScope(const ReadScope&) = delete;
  ReadScope& operator=(const ReadScope&) = delete;

  static bool Open();
  // For backends. The reading kept for `stamp`, or null (no scope open,
  // nothing kept yet, or the host changed since).
  static std::shared_ptr<const HostState> Kept(const std::string& stamp);
  // Keeps `state`, read as `stamp`, until the action ends; nothing when no
  // scope is open.
  static void Keep(std::shared_ptr<const HostState> state, const std::string& stamp);
  // The host changed, or may have: the next call reads again.
  static void Forget();

 private:
  bool _fresh = false;
};

}  // namespace Platform
