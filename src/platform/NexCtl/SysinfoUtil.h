// The kernel's system-information interface.
#pragma once

#include <cstddef>

namespace NexCtl::Util {

enum SysinfoId : int {
  kSysinfoSystemVersion = 1,
};

// The system-version record (fixed layout, 312 bytes, NUL-terminated texts).
struct SysinfoSystemVersion {
  char productName[64];
  char productVersion[64];
  char kernelVersion[64];
  char buildNumber[32];
  char compilationOption[32];
  char reserved[56];
};
static_assert(sizeof(SysinfoSystemVersion) == 312);

class SysinfoUtil {
 public:
  // Fills `buffer` (of `size` bytes) with the record `id`. 0 on success, an
  // errno value otherwise (ENOENT unknown id, EINVAL size, EIO host unreadable).
  static int SysinfoGet(SysinfoId id, void* buffer, size_t size);
  static int SysinfoGet(SysinfoSystemVersion& record) {
    return SysinfoGet(kSysinfoSystemVersion, &record, sizeof(record));
  }
};

}  // namespace NexCtl::Util
