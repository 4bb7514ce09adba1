#pragma once

#include <string>

#include "HostCtl/HostRecords.h"

namespace NexCtl::Hardware {

class HardwareInfoImpl {
 public:
  HostCtl::Hardware::HardwareInfo GetHardwareInfo();
  std::string GetVendor();
  std::string GetModel();
  std::string GetServiceTag();  // empty when unknown
  std::string GetAssetTag();
};

}  // namespace NexCtl::Hardware
