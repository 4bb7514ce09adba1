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

std::string PciInfoImpl::GetDeviceAssignmentNote() {
  return Platform::LoadHost("PciInfoImpl.GetDeviceAssignmentNote").hardware.deviceAssignmentNote;
}

std::vector<HostCtl::Hardware::PciDevice> PciInfoImpl::GetDevices() {
  std::vector<HostCtl::Hardware::PciDevice> devices;
  const auto host = Platform::LoadHost("PciInfoImpl.GetDevices");
  for (const auto& device : host.hardware.pciDevices) {
    const bool next = device.passthroughAfterReboot < 0 ? device.passthrough
                                                        : device.passthroughAfterReboot == 1;
    devices.push_back({device.address, device.vendorName, device.deviceName, device.passthrough,
                       next, Platform::Model::HasNativeDriver(host, device), device.group});
  }
  return devices;
}

void PciInfoImpl::SaveAssignment(const std::vector<HostCtl::Hardware::PciDevice>& devices) {
  Platform::ModifyHost("PciInfoImpl.SaveAssignment", [&](Platform::HostState& host) {
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
