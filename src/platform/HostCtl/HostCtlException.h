#pragma once

#include <stdexcept>
#include <string>

namespace HostCtl::Lib {

// Thrown by every failing host-library call; what() is the detail the
// console puts into its log lines.
class HostCtlException : public std::runtime_error {
 public:
  explicit HostCtlException(const std::string& what) : std::runtime_error(what) {}
};

}  // namespace HostCtl::Lib
