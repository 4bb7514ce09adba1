// Records of the host as a whole: hardware, storage and system. Snapshots
// that the host library hands out; nothing here reads the host.
#pragma once

#include <string>
#include <vector>

namespace HostCtl {

namespace Hardware {

struct BiosData {
  std::string vendor;
  int major = 0;
  int minor = 0;
  std::string version;
  std::string releaseDate;
};

struct HardwareInfo {
  std::string vendor;
  std::string model;
  std::string uuid;
  BiosData bios;
  std::string bmcVersion;  // management controller firmware
  std::string assetTag;
  std::string serviceTag;  // empty when unknown
};

struct PciDevice {
  std::string address;  // "0000:18:00.0"
  std::string vendorName;
  std::string deviceName;
  bool passthrough = false;  // owned by the DriverVM in the running boot
  // Owned by the DriverVM from the next boot on (what was last saved).
  bool passthroughNextBoot = false;
  bool nativeDriver = false;  // the host drives it itself
  std::string group;          // devices that change owner together; "" alone
};

}  // namespace Hardware

namespace Storage {

struct StorageAdapter {
  std::string name;  // "hba0"
  std::string model;
  std::string driver;
};

struct StorageInfo {
  std::vector<StorageAdapter> adapters;
};

}  // namespace Storage

namespace System {

struct AdapterFirmware {
  std::string name;  // matches a StorageAdapter's name
  std::string version;
};

struct SystemInfo {
  std::string product;
  std::string version;
  std::string build;
  std::vector<AdapterFirmware> adapters;
};

}  // namespace System

}  // namespace HostCtl
