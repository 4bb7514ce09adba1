#pragma once

#include <cstdint>

namespace NexCtl::Hardware {

class MemoryInfoImpl {
 public:
  uint64_t GetTotalPages();
  uint64_t GetPageSize();
};

}  // namespace NexCtl::Hardware
