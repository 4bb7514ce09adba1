#include "FacadeSupport.h"

#include <cassert>
#include <optional>

#include "Faults.h"

namespace Platform {

namespace {

// Takes the fault of `call` out of the freshest state when it is a
// once-fault; returns its text, or nothing when another process has used it
// up in the meantime.
std::optional<std::string> Consume(HostState& state, const char* call) {
  const FaultState* fault = FindFault(state, call);
  if (!fault)
    return std::nullopt;
  std::string text = fault->text;
  if (fault->once)
    state.faults.erase(state.faults.begin() + (fault - state.faults.data()));
  return text;
}

}  // namespace

void FailIfInjected(const char* call, const HostState& state) {
  assert(IsFaultableCall(call));
  const FaultState* fault = FindFault(state, call);
  if (!fault)
    return;
  if (!fault->once)
    Fail(fault->text);
  std::optional<std::string> text;
  Current().Modify([&](HostState& fresh) { text = Consume(fresh, call); });
  if (text)
    Fail(*text);
}

void FailIfInjected(const char* call) {
  FailIfInjected(call, Current().Load());
}

void ModifyHost(const char* call, const std::function<void(HostState&)>& change) {
  assert(IsFaultableCall(call));
  std::optional<std::string> text;
  Current().Modify([&](HostState& state) {
    if (const FaultState* fault = FindFault(state, call)) {
      // An always-fault changes nothing (the exception leaves the state as it
      // was); a once-fault is used up, and only that is written.
      if (!fault->once)
        Fail(fault->text);
      text = Consume(state, call);
      return;
    }
    change(state);
  });
  if (text)
    Fail(*text);
}

}  // namespace Platform
