// What the two time-out dialogs share: values are typed in whole minutes
// (0 disables, at most 1440) and kept by the host in seconds.
#pragma once

#include <optional>
#include <string>

#include "Timeouts.h"

namespace Merel {

class Frame;
struct FieldSpec;

// The longest time-out in minutes: one day.
constexpr int kMaxTimeoutMinutes = 1440;

// A field's digits as minutes; any value beyond the limit comes out as
// kMaxTimeoutMinutes + 1 whatever its length, so nothing overflows.
int ParseTimeoutMinutes(const std::string& digits);

// A time-out field showing `minutes`: it takes digits and the editing keys,
// with no limit of its own on the length (ChangedMinutes refuses a value
// beyond the limit).
FieldSpec TimeoutField(const std::string& label, int minutes);

// "Invalid timeout value".
void ShowInvalidTimeout(Frame* parent);

// The minutes typed as `text` when they are to be written: nothing for an
// empty field or for the time-out the host already has (`currentSeconds`);
// nothing either for a value beyond the limit, after telling the user (the
// dialog then closes with nothing changed).
std::optional<int> ChangedMinutes(Frame* parent, const std::string& text, int currentSeconds);

}  // namespace Merel
