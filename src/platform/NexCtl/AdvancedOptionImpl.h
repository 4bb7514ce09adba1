#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "HostCtl/AdvancedOption.h"

namespace NexCtl::Adv {

// Facade over the backend's advanced options; holds no state between calls.
class AdvancedOptionImpl {
 public:
  // Null when the option does not exist; throws HostCtlException on failure.
  std::unique_ptr<HostCtl::Adv::AdvancedOption> FindOption(const std::string& name);
  // Throws HostCtlException when the option is missing, not an integer or
  // the value is out of its range.
  void SetIntegerOption(const std::string& name, int64_t value);
};

}  // namespace NexCtl::Adv
