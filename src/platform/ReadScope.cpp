#include "ReadScope.h"

namespace Platform {

namespace {

// Main thread only, as every host call is.
int depth = 0;
std::shared_ptr<const HostState> kept;
std::string keptStamp;

}  // namespace

ReadScope::ReadScope() {
  ++depth;
}

ReadScope::ReadScope(Fresh) : _fresh(true) {
  Forget();
  ++depth;
}

ReadScope::~ReadScope() {
  if (--depth == 0 || _fresh) {
    Forget();
  }
}

bool ReadScope::Open() {
  return depth > 0;
}

std::shared_ptr<const HostState> ReadScope::Kept(const std::string& stamp) {
  if (depth == 0 || !kept || stamp.empty() || stamp != keptStamp) {
    return nullptr;
  }
  return kept;
}

void ReadScope::Keep(std::shared_ptr<const HostState> state, const std::string& stamp) {
  if (depth == 0 || stamp.empty()) {
    return;
  }
  kept = std::move(state);
  keptStamp = stamp;
}

void ReadScope::Forget() {
  kept.reset();
  keptStamp.clear();
}

}  // namespace Platform
