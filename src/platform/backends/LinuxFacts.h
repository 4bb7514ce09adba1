// What a Linux machine says about itself, read from its own files. Every
// reader takes the folder that stands for "/" so that the same code reads
// the machine ("/") and small prepared trees in tests. A file that is
// missing or unreadable leaves the member at its empty value; nothing here
// throws.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "HostState.h"

namespace Platform::Linux {

// "KEY=value" lines of os-release (quotes and escapes removed); ROOT/etc/
// os-release, else ROOT/usr/lib/os-release, as the format's readers do.
std::map<std::string, std::string> ReadOsRelease(const std::string& root);

// The kernel's host name (ROOT/proc/sys/kernel/hostname, which follows the
// UTS namespace), else the first word of ROOT/etc/hostname.
std::string ReadHostname(const std::string& root);

// Processor packages, cores, threads and model from ROOT/proc/cpuinfo.
CpuState ReadCpu(const std::string& root);

// MemTotal of ROOT/proc/meminfo in pages of `pageSize` bytes.
MemoryState ReadMemory(const std::string& root, uint64_t pageSize);

// Vendor, model, serial, UUID, asset tag and BIOS from ROOT/sys/class/dmi/id.
void ReadDmi(const std::string& root, HardwareState& hardware);

// Names of the PCI name database ("vvvv" -> vendor, "vvvv:dddd" -> device).
struct PciNames {
  std::map<std::string, std::string> vendors;
  std::map<std::string, std::string> devices;
};
PciNames ReadPciNames(const std::string& path);
// The first PCI name database of the usual places under ROOT; empty when the
// system has none.
std::string FindPciNames(const std::string& root);

// Every device of ROOT/sys/bus/pci/devices, sorted by address: names from
// `names` (the hexadecimal ids where it has none), the bound driver and the
// IOMMU group. A device bound to vfio-pci is passed through. A bridge is part
// of the bus, never a guest's: without a driver of its own it is "bridge".
std::vector<PciDeviceState> ReadPciDevices(const std::string& root, const PciNames& names);

// Whether the kernel isolates devices (ROOT/sys/kernel/iommu_groups holds a
// group): without an IOMMU no device can be handed to a guest.
bool HasIommu(const std::string& root);

// The PCI addresses of a DriverVM device list ("0000:01:00.0" a line; '#'
// starts a comment), in lower case; a line that is no address is skipped.
std::vector<std::string> ParseDeviceList(const std::string& text);
// The list's text for `addresses`, with a header saying what reads it.
std::string FormatDeviceList(const std::vector<std::string>& addresses);

// SCSI and NVMe host adapters of ROOT/sys/class/{scsi_host,nvme}: "hbaN" in
// the order of the kernel's names, the model and the driver.
std::vector<StorageAdapterState> ReadStorageAdapters(const std::string& root);

}  // namespace Platform::Linux

namespace Platform::Linux {

// One address of an interface ("eth0", "192.0.2.5", 24).
struct InterfaceAddress {
  std::string name;
  std::string address;
  int prefix = 0;
  bool ipv6 = false;
};

// The machine's addresses now (getifaddrs); loopback and link-local ones
// left out.
std::vector<InterfaceAddress> MachineAddresses();

// The interface of the IPv4 default route in ROOT/proc/net/route, and the
// gateway's address ("" and "0.0.0.0" when there is none).
std::string DefaultRoute(const std::string& root, std::string& gateway);

// The network as the console's model sees it: every interface of
// ROOT/sys/class/net but loopback is an adapter on one switch, and the
// interface of the default route (else the first with an IPv4 address, else
// the first) is the management interface, with its addresses, the gateway
// and the name servers of ROOT/etc/resolv.conf.
void ReadNetwork(const std::string& root,
                 const std::vector<InterfaceAddress>& addresses,
                 NetworkState& network);

}  // namespace Platform::Linux
