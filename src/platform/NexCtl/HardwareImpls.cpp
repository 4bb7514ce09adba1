// The hardware facades: small reads of the host's hardware record.
#include "FacadeSupport.h"
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
  for (const auto& device : Platform::LoadHost().hardware.pciDevices) {
    devices.push_back({device.address, device.vendorName, device.deviceName, device.passthrough});
  }
  return devices;
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
