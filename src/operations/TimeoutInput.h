// What the two time-out dialogs share: values are typed in whole minutes
// (0 disables, at most 1440) and kept by the host in seconds.
#pragma once

#include <string>

namespace Merel {

class Frame;

// The longest time-out in minutes: one day.
constexpr int kMaxTimeoutMinutes = 1440;

// A field's digits as minutes; any value beyond the limit comes out as
// kMaxTimeoutMinutes + 1 whatever its length, so nothing overflows.
int ParseTimeoutMinutes(const std::string& digits);

// Whole minutes of a host tool's answer in seconds ("900\n" is 15); the
// answer's last byte is its newline. 0 for anything that is not a number.
int AdvcfgMinutes(std::string output);

// Whether `key` is one a time-out field takes: digits and the editing keys.
bool IsTimeoutFieldKey(int key);

// "Invalid timeout value".
void ShowInvalidTimeout(Frame* parent);

}  // namespace Merel
