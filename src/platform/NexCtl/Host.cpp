#include "NexCtl/Host.h"

#include "FacadeSupport.h"

namespace Platform {

HostCtl::Hardware::HardwareInfo ReadHardwareInfo(const char* call) {
  Platform::HostState state = Platform::LoadHost(call);
  const auto& hw = state.hardware;
  HostCtl::Hardware::HardwareInfo info;
  info.vendor = hw.vendor;
  info.model = hw.model;
  info.uuid = hw.uuid;
  info.bios = {hw.bios.vendor, hw.bios.major, hw.bios.minor, hw.bios.version, hw.bios.releaseDate};
  info.bmcVersion = hw.bmcVersion;
  info.assetTag = hw.assetTag;
  info.serviceTag = hw.serviceTag;
  return info;
}

}  // namespace Platform

namespace HostCtl {

Hardware::HardwareInfo Host::GetHardwareInfo() const {
  return Platform::ReadHardwareInfo("Host.GetHardwareInfo");
}

Storage::StorageInfo Host::GetStorageInfo() const {
  Platform::HostState state = Platform::LoadHost("Host.GetStorageInfo");
  Storage::StorageInfo info;
  for (const auto& adapter : state.hardware.storageAdapters) {
    info.adapters.push_back({adapter.name, adapter.model, adapter.driver});
  }
  return info;
}

System::SystemInfo Host::GetSystemInfo() const {
  Platform::HostState state = Platform::LoadHost("Host.GetSystemInfo");
  System::SystemInfo info;
  info.product = state.product.name;
  info.version = state.product.version;
  info.build = state.product.build;
  for (const auto& adapter : state.hardware.storageAdapters) {
    info.adapters.push_back({adapter.name, adapter.firmwareVersion});
  }
  return info;
}

std::unique_ptr<Host> HostFactory::GetHost() {
  // Fails here, like the host library, when there is no host to talk to.
  Platform::LoadHost("HostFactory.GetHost");
  return std::make_unique<Host>();
}

}  // namespace HostCtl
