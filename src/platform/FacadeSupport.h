// Shared by the facade implementations (not for the console): read the host,
// change it atomically, and fail the way the host library does.
#pragma once

#include <functional>
#include <string>

#include "Backend.h"
#include "HostCtl/HostCtlException.h"
#include "HostState.h"
#include "Platform.h"

namespace Platform {

inline HostState LoadHost() {
  return Current().Load();
}

inline void ModifyHost(const std::function<void(HostState&)>& change) {
  Current().Modify(change);
}

[[noreturn]] inline void Fail(const std::string& what) {
  throw HostCtl::Lib::HostCtlException(what);
}

inline NexNicState& RequireNic(HostState& state, const std::string& name) {
  NexNicState* nic = FindNic(state, name);
  if (!nic)
    Fail("Nexel NIC '" + name + "' not found");
  return *nic;
}

inline void RequireNetStack(const std::string& netStack) {
  if (netStack != "defaultNetStack") {
    Fail("Network stack instance '" + netStack + "' not found");
  }
}

}  // namespace Platform
