#pragma once

#include <string>

namespace HostCtl::Misc {

// printf into a std::string.
std::string StrPrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace HostCtl::Misc
