// Host-library calls made to fail on purpose. A simulated host keeps its
// faults in its state ("faults", set with `merel-sim fail`); every facade call
// of HostCtl/ and NexCtl/ asks here before it does anything, so that a test
// or a curious user can watch the console cope with a failing host.
#pragma once

#include <span>
#include <string_view>

#include "HostState.h"

namespace Platform {

// Every call that can be made to fail, as "Class.Method" (a free function by
// its bare name). The one list: `merel-sim fail` refuses any other name.
std::span<const std::string_view> FaultableCalls();

// Whether `name` names a call of that list, either as "Class.Method" or as a
// bare method name (which then covers every class that has the method).
bool IsFaultableCall(std::string_view name);

// The fault that applies to call `qualified` ("Class.Method"): one set for
// "Class.Method" wins over one set for the bare method name. Null when none.
const FaultState* FindFault(const HostState& state, std::string_view qualified);

}  // namespace Platform
