// The hardware facades: small reads of the host's hardware record.
#include <algorithm>

#include "FacadeSupport.h"
#include "HostModel.h"
#include "NexCtl/CpuInfoImpl.h"
#include "NexCtl/HardwareInfoImpl.h"
#include "NexCtl/MemoryInfoImpl.h"
#include "NexCtl/PciInfoImpl.h"
#include "NexCtl/SmartCardInfoImpl.h"

namespace NexCtl::Hardware {

uint64_t MemoryInfoImpl::GetTotalPages() {
  return Platform::LoadHost().hardware.memory.totalPages;
}

uint64_t MemoryInfoImpl::GetPageSize() {
  return Platform::LoadHost().hardware.memory.pageSize;
}

uint32_t CpuInfoImpl::GetNumCpuPackages() {
  return Platform::LoadHost().hardware.cpu.packages;
}

uint32_t CpuInfoImpl::GetNumCpuCores() {
  auto cpu = Platform::LoadHost().hardware.cpu;
  return cpu.packages * cpu.coresPerPackage;
}

uint32_t CpuInfoImpl::GetNumCpuThreads() {
  auto cpu = Platform::LoadHost().hardware.cpu;
  return cpu.packages * cpu.coresPerPackage * cpu.threadsPerCore;
}

std::string CpuInfoImpl::GetDescription() {
  return Platform::LoadHost().hardware.cpu.description;
}

int PciInfoImpl::GetDeviceAssignmentState() {
  return Platform::LoadHost().hardware.deviceAssignmentState;
}

std::vector<HostCtl::Hardware::PciDevice> PciInfoImpl::GetDevices() {
  std::vector<HostCtl::Hardware::PciDevice> devices;
  const auto host = Platform::LoadHost();
  for (const auto& device : host.hardware.pciDevices) {
    const bool next = device.passthroughAfterReboot < 0 ? device.passthrough
                                                        : device.passthroughAfterReboot == 1;
    devices.push_back({device.address, device.vendorName, device.deviceName, device.passthrough,
                       next, Platform::Model::HasNativeDriver(host, device), device.group});
  }
  return devices;
}

void PciInfoImpl::SaveAssignment(const std::vector<HostCtl::Hardware::PciDevice>& devices) {
  Platform::ModifyHost([&](Platform::HostState& host) {
    if (host.hardware.deviceAssignmentState != 2)
      throw HostCtl::Lib::HostCtlException("device assignment cannot be configured now");
    for (const auto& wanted : devices) {
      auto& all = host.hardware.pciDevices;
      auto it = std::find_if(all.begin(), all.end(),
                             [&](const auto& device) { return device.address == wanted.address; });
      if (it == all.end())
        throw HostCtl::Lib::HostCtlException("no PCI device " + wanted.address);
      it->passthroughAfterReboot =
          wanted.passthroughNextBoot == it->passthrough ? -1 : wanted.passthroughNextBoot;
    }
  });
}

bool SmartCardInfoImpl::IsSupported() {
  return Platform::LoadHost().hardware.smartCard.supported;
}

bool SmartCardInfoImpl::IsCardPresent() {
  auto card = Platform::LoadHost().hardware.smartCard;
  return card.supported && card.present;
}

std::vector<std::string> SmartCardInfoImpl::LookupTokens() {
  auto card = Platform::LoadHost().hardware.smartCard;
  if (card.lookupFails) {
    Platform::Fail("Smart card token lookup failed");
  }
  if (!card.supported || !card.present) {
    return {};
  }
  return card.users;
}

std::string SmartCardInfoImpl::GetUserId() {
  auto tokens = LookupTokens();
  return tokens.empty() ? "" : tokens.front();
}

HostCtl::Hardware::HardwareInfo HardwareInfoImpl::GetHardwareInfo() {
  // Host holds nothing: going through HostFactory would only read the host twice.
  return HostCtl::Host().GetHardwareInfo();
}

std::string HardwareInfoImpl::GetVendor() {
  return Platform::LoadHost().hardware.vendor;
}

std::string HardwareInfoImpl::GetModel() {
  return Platform::LoadHost().hardware.model;
}

std::string HardwareInfoImpl::GetServiceTag() {
  return Platform::LoadHost().hardware.serviceTag;
}

std::string HardwareInfoImpl::GetAssetTag() {
  return Platform::LoadHost().hardware.assetTag;
}

}  // namespace NexCtl::Hardware
