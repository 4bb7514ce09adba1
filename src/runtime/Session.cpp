#include "Session.h"

#include "Frame.h"
#include "Platform.h"

namespace Merel {

namespace {

constexpr unsigned int kDefaultIdleTimeout = 600;

}  // namespace

void Session::LoadIdleTimeout() {
  idleTimeout =
      static_cast<unsigned int>(Platform::IntegerOption(MEREL_TIMEOUT_VAR, kDefaultIdleTimeout));
}

void Session::SetLoggedIn(bool on) {
  loggedIn = on;
  if (on) {
    // A changed time-out takes effect at the next login.
    LoadIdleTimeout();
  }
}

}  // namespace Merel
