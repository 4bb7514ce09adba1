// The host as a whole: every call reads the host's hardware, storage and
// system records afresh.
#pragma once

#include <memory>

#include "HostCtl/HostRecords.h"

namespace HostCtl {

class Host {
 public:
  // Each throws HostCtl::Lib::HostCtlException when the host cannot be read.
  Hardware::HardwareInfo GetHardwareInfo() const;
  Storage::StorageInfo GetStorageInfo() const;
  System::SystemInfo GetSystemInfo() const;
};

class HostFactory {
 public:
  static std::unique_ptr<Host> GetHost();
};

}  // namespace HostCtl
