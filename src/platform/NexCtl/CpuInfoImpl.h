#pragma once

#include <cstdint>
#include <string>

namespace NexCtl::Hardware {

class CpuInfoImpl {
 public:
  uint32_t GetNumCpuPackages();
  uint32_t GetNumCpuCores();    // all packages
  uint32_t GetNumCpuThreads();  // all packages
  // "Intel(R) Xeon(R) Gold 6230 CPU @ 2.10GHz"
  std::string GetDescription();
};

}  // namespace NexCtl::Hardware
