// The hardware facades: small reads of the host's hardware record.
#include "FacadeSupport.h"
#include "NexCtl/CpuInfoImpl.h"
#include "NexCtl/HardwareInfoImpl.h"
#include "NexCtl/MemoryInfoImpl.h"
#include "NexCtl/PciInfoImpl.h"
#include "NexCtl/SmartCardInfoImpl.h"

namespace NexCtl::Hardware {

uint64_t MemoryInfoImpl::GetTotalPages() {
  return Platform::LoadHost("MemoryInfoImpl.GetTotalPages").hardware.memory.totalPages;
}

uint64_t MemoryInfoImpl::GetPageSize() {
  return Platform::LoadHost("MemoryInfoImpl.GetPageSize").hardware.memory.pageSize;
}

uint32_t CpuInfoImpl::GetNumCpuPackages() {
  return Platform::LoadHost("CpuInfoImpl.GetNumCpuPackages").hardware.cpu.packages;
}

uint32_t CpuInfoImpl::GetNumCpuCores() {
  auto cpu = Platform::LoadHost("CpuInfoImpl.GetNumCpuCores").hardware.cpu;
  return cpu.packages * cpu.coresPerPackage;
}

uint32_t CpuInfoImpl::GetNumCpuThreads() {
  auto cpu = Platform::LoadHost("CpuInfoImpl.GetNumCpuThreads").hardware.cpu;
  return cpu.packages * cpu.coresPerPackage * cpu.threadsPerCore;
}

std::string CpuInfoImpl::GetDescription() {
  return Platform::LoadHost("CpuInfoImpl.GetDescription").hardware.cpu.description;
}

int PciInfoImpl::GetDeviceAssignmentState() {
  return Platform::LoadHost("PciInfoImpl.GetDeviceAssignmentState").hardware.deviceAssignmentState;
}

std::vector<HostCtl::Hardware::PciDevice> PciInfoImpl::GetDevices() {
  std::vector<HostCtl::Hardware::PciDevice> devices;
  for (const auto& device : Platform::LoadHost("PciInfoImpl.GetDevices").hardware.pciDevices) {
    devices.push_back({device.address, device.vendorName, device.deviceName, device.passthrough});
  }
  return devices;
}

bool SmartCardInfoImpl::IsSupported() {
  return Platform::LoadHost("SmartCardInfoImpl.IsSupported").hardware.smartCard.supported;
}

bool SmartCardInfoImpl::IsCardPresent() {
  auto card = Platform::LoadHost("SmartCardInfoImpl.IsCardPresent").hardware.smartCard;
  return card.supported && card.present;
}

namespace {

std::vector<std::string> TokensOf(const Platform::SmartCardState& card) {
  if (card.lookupFails) {
    Platform::Fail("Smart card token lookup failed");
  }
  if (!card.supported || !card.present) {
    return {};
  }
  return card.users;
}

}  // namespace

std::vector<std::string> SmartCardInfoImpl::LookupTokens() {
  return TokensOf(Platform::LoadHost("SmartCardInfoImpl.LookupTokens").hardware.smartCard);
}

std::string SmartCardInfoImpl::GetUserId() {
  auto tokens = TokensOf(Platform::LoadHost("SmartCardInfoImpl.GetUserId").hardware.smartCard);
  return tokens.empty() ? "" : tokens.front();
}

HostCtl::Hardware::HardwareInfo HardwareInfoImpl::GetHardwareInfo() {
  // The same record as Host's, read once.
  return Platform::ReadHardwareInfo("HardwareInfoImpl.GetHardwareInfo");
}

std::string HardwareInfoImpl::GetVendor() {
  return Platform::LoadHost("HardwareInfoImpl.GetVendor").hardware.vendor;
}

std::string HardwareInfoImpl::GetModel() {
  return Platform::LoadHost("HardwareInfoImpl.GetModel").hardware.model;
}

std::string HardwareInfoImpl::GetServiceTag() {
  return Platform::LoadHost("HardwareInfoImpl.GetServiceTag").hardware.serviceTag;
}

std::string HardwareInfoImpl::GetAssetTag() {
  return Platform::LoadHost("HardwareInfoImpl.GetAssetTag").hardware.assetTag;
}

}  // namespace NexCtl::Hardware
