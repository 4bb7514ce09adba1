#include "NexCtl/SysinfoUtil.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "FacadeSupport.h"

namespace NexCtl::Util {

namespace {

template <size_t N>
void Copy(char (&field)[N], const std::string& value) {
  std::snprintf(field, N, "%s", value.c_str());
}

}  // namespace

int SysinfoUtil::SysinfoGet(SysinfoId id, void* buffer, size_t size) {
  if (id != kSysinfoSystemVersion) {
    return ENOENT;
  }
  if (!buffer || size < sizeof(SysinfoSystemVersion)) {
    return EINVAL;
  }
  Platform::HostState state;
  try {
    state = Platform::LoadHost("SysinfoUtil.SysinfoGet");
  } catch (const HostCtl::Lib::HostCtlException&) {
    return EIO;
  }
  SysinfoSystemVersion record;
  std::memset(&record, 0, sizeof(record));
  Copy(record.productName, state.product.name);
  Copy(record.productVersion, state.product.version);
  Copy(record.kernelVersion, state.product.kernelVersion);
  Copy(record.buildNumber, state.product.build);
  Copy(record.compilationOption, state.product.compilationOption);
  std::memcpy(buffer, &record, sizeof(record));
  return 0;
}

}  // namespace NexCtl::Util
