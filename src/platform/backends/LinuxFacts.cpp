#include "backends/LinuxFacts.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <fstream>
#include <set>
#include <sstream>

#include "backends/LinuxNetwork.h"

namespace Platform::Linux {

namespace {

std::string Trim(const std::string& text) {
  size_t begin = 0;
  size_t end = text.size();
  while (begin < end && std::isspace(static_cast<unsigned char>(text[begin])))
    ++begin;
  while (end > begin && std::isspace(static_cast<unsigned char>(text[end - 1])))
    --end;
  return text.substr(begin, end - begin);
}

// The first line of a small kernel file, trimmed; "" when it is missing.
std::string ReadValue(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return Trim(line);
}

std::vector<std::string> ListDir(const std::string& path) {
  std::vector<std::string> names;
  if (DIR* dir = opendir(path.c_str())) {
    while (dirent* entry = readdir(dir)) {
      std::string name = entry->d_name;
      if (name != "." && name != "..")
        names.push_back(name);
    }
    closedir(dir);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// The last part of what a link points to ("../../../bus/pci/drivers/e1000e"
// -> "e1000e"); "" when `path` is not a link.
std::string LinkName(const std::string& path) {
  char target[PATH_MAX];
  ssize_t n = readlink(path.c_str(), target, sizeof(target) - 1);
  if (n <= 0)
    return "";
  std::string text(target, static_cast<size_t>(n));
  return text.substr(text.find_last_of('/') + 1);
}

// "0x8086" -> "8086"
std::string HexId(const std::string& text) {
  std::string id = text.rfind("0x", 0) == 0 ? text.substr(2) : text;
  std::transform(id.begin(), id.end(), id.begin(), [](char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  });
  return id;
}

// An os-release value: double or single quotes removed, backslash escapes
// of the quoted form resolved.
std::string Unquote(const std::string& raw) {
  std::string value = Trim(raw);
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    const char quote = value.front();
    std::string inner = value.substr(1, value.size() - 2);
    if (quote == '\'')
      return inner;
    std::string result;
    for (size_t i = 0; i < inner.size(); ++i) {
      if (inner[i] == '\\' && i + 1 < inner.size())
        ++i;
      result += inner[i];
    }
    return result;
  }
  return value;
}

}  // namespace

std::map<std::string, std::string> ReadOsRelease(const std::string& root) {
  std::ifstream file(root + "/etc/os-release");
  if (!file)
    file.open(root + "/usr/lib/os-release");
  std::map<std::string, std::string> values;
  std::string line;
  while (std::getline(file, line)) {
    line = Trim(line);
    if (line.empty() || line[0] == '#')
      continue;
    const auto equals = line.find('=');
    if (equals == std::string::npos || equals == 0)
      continue;
    values[line.substr(0, equals)] = Unquote(line.substr(equals + 1));
  }
  return values;
}

std::string ReadHostname(const std::string& root) {
  std::string name = ReadValue(root + "/proc/sys/kernel/hostname");
  if (name.empty()) {
    std::istringstream words(ReadValue(root + "/etc/hostname"));
    words >> name;
  }
  return name;
}

CpuState ReadCpu(const std::string& root) {
  std::ifstream file(root + "/proc/cpuinfo");
  std::string line;
  std::set<std::string> packages;
  uint32_t processors = 0;
  uint32_t cores = 0;
  uint32_t siblings = 0;
  std::string model;
  while (std::getline(file, line)) {
    const auto colon = line.find(':');
    if (colon == std::string::npos)
      continue;
    const std::string key = Trim(line.substr(0, colon));
    const std::string value = Trim(line.substr(colon + 1));
    if (key == "processor") {
      ++processors;
    } else if (key == "physical id") {
      packages.insert(value);
    } else if (key == "cpu cores" && cores == 0) {
      cores = static_cast<uint32_t>(std::strtoul(value.c_str(), nullptr, 10));
    } else if (key == "siblings" && siblings == 0) {
      siblings = static_cast<uint32_t>(std::strtoul(value.c_str(), nullptr, 10));
    } else if ((key == "model name" || key == "cpu model" || key == "Model") && model.empty()) {
      model = value;
    }
  }
  CpuState cpu;
  cpu.description = model;
  cpu.packages = packages.empty() ? 1 : static_cast<uint32_t>(packages.size());
  if (cores > 0) {
    cpu.coresPerPackage = cores;
    cpu.threadsPerCore = siblings >= cores ? siblings / cores : 1;
  } else {
    // No topology lines (other architectures, some virtual machines): every
    // processor the kernel lists is a core of its own.
    cpu.coresPerPackage = std::max<uint32_t>(1, processors / cpu.packages);
    cpu.threadsPerCore = 1;
  }
  return cpu;
}

MemoryState ReadMemory(const std::string& root, uint64_t pageSize) {
  MemoryState memory;
  memory.pageSize = pageSize;
  memory.totalPages = 0;
  std::ifstream file(root + "/proc/meminfo");
  std::string key;
  uint64_t kib = 0;
  std::string line;
  while (std::getline(file, line)) {
    std::istringstream words(line);
    if (words >> key >> kib && key == "MemTotal:") {
      memory.totalPages = pageSize ? kib * 1024 / pageSize : 0;
      break;
    }
  }
  return memory;
}

void ReadDmi(const std::string& root, HardwareState& hardware) {
  const std::string dir = root + "/sys/class/dmi/id/";
  hardware.vendor = ReadValue(dir + "sys_vendor");
  hardware.model = ReadValue(dir + "product_name");
  hardware.uuid = ReadValue(dir + "product_uuid");
  hardware.serviceTag = ReadValue(dir + "product_serial");
  hardware.assetTag = ReadValue(dir + "chassis_asset_tag");
  hardware.bios.vendor = ReadValue(dir + "bios_vendor");
  hardware.bios.version = ReadValue(dir + "bios_version");
  hardware.bios.releaseDate = ReadValue(dir + "bios_date");
  // "major.minor" (kernels from 5.10 on); older ones leave it at 0.0.
  const std::string release = ReadValue(dir + "bios_release");
  int major = 0;
  int minor = 0;
  if (std::sscanf(release.c_str(), "%d.%d", &major, &minor) == 2) {
    hardware.bios.major = major;
    hardware.bios.minor = minor;
  }
}

PciNames ReadPciNames(const std::string& path) {
  PciNames names;
  std::ifstream file(path);
  std::string line;
  std::string vendor;
  while (std::getline(file, line)) {
    if (line.empty() || line[0] == '#')
      continue;
    // The device classes come last and have nothing we need.
    if (line.rfind("C ", 0) == 0)
      break;
    if (line[0] != '\t') {
      vendor = HexId(line.substr(0, 4));
      if (line.size() > 6)
        names.vendors[vendor] = Trim(line.substr(4));
    } else if (line.size() > 6 && line[1] != '\t' && !vendor.empty()) {
      names.devices[vendor + ":" + HexId(line.substr(1, 4))] = Trim(line.substr(5));
    }
  }
  return names;
}

std::string FindPciNames(const std::string& root) {
  for (const char* path : {"/usr/share/misc/pci.ids", "/usr/share/hwdata/pci.ids",
                           "/usr/share/pci.ids"}) {
    if (access((root + path).c_str(), R_OK) == 0)
      return root + path;
  }
  return "";
}

std::vector<PciDeviceState> ReadPciDevices(const std::string& root, const PciNames& names) {
  std::vector<PciDeviceState> devices;
  const std::string dir = root + "/sys/bus/pci/devices/";
  for (const auto& address : ListDir(dir)) {
    const std::string vendor = HexId(ReadValue(dir + address + "/vendor"));
    const std::string device = HexId(ReadValue(dir + address + "/device"));
    PciDeviceState state;
    state.address = address;
    auto vendorName = names.vendors.find(vendor);
    state.vendorName =
        vendorName != names.vendors.end() ? vendorName->second : "Vendor " + vendor;
    auto deviceName = names.devices.find(vendor + ":" + device);
    state.deviceName =
        deviceName != names.devices.end() ? deviceName->second : "Device " + device;
    state.driver = LinkName(dir + address + "/driver");
    state.group = LinkName(dir + address + "/iommu_group");
    // vfio-pci is the stand-in driver of a device handed to a guest.
    state.passthrough = state.driver == "vfio-pci";
    if (state.passthrough)
      state.driver.clear();
    // Class 0x06xxxx: host, PCI and other bridges.
    if (state.driver.empty() && !state.passthrough &&
        ReadValue(dir + address + "/class").rfind("0x06", 0) == 0)
      state.driver = "bridge";
    devices.push_back(state);
  }
  return devices;
}

bool HasIommu(const std::string& root) {
  return !ListDir(root + "/sys/kernel/iommu_groups/").empty();
}

std::vector<std::string> ParseDeviceList(const std::string& text) {
  std::vector<std::string> addresses;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line.substr(0, line.find('#')));
    std::string address;
    if (!(words >> address))
      continue;
    for (auto& c : address)
      c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    // domain:bus:slot.function, "0000:01:00.0"
    static const std::string shape = "hhhh:hh:hh.f";
    bool ok = address.size() == shape.size();
    for (size_t i = 0; ok && i < shape.size(); ++i) {
      const char c = address[i];
      if (shape[i] == 'h')
        ok = std::isxdigit(static_cast<unsigned char>(c)) != 0;
      else if (shape[i] == 'f')
        ok = c >= '0' && c <= '7';
      else
        ok = c == shape[i];
    }
    if (ok && std::find(addresses.begin(), addresses.end(), address) == addresses.end())
      addresses.push_back(address);
  }
  return addresses;
}

std::string FormatDeviceList(const std::vector<std::string>& addresses) {
  std::string text =
      "# PCI devices handed to the DriverVM (bound to vfio-pci) at boot;\n"
      "# written by the console, read by merel-driver-vm.service.\n";
  for (const auto& address : addresses)
    text += address + "\n";
  return text;
}

std::vector<StorageAdapterState> ReadStorageAdapters(const std::string& root) {
  std::vector<StorageAdapterState> adapters;
  const std::string scsi = root + "/sys/class/scsi_host/";
  for (const auto& host : ListDir(scsi)) {
    StorageAdapterState adapter;
    adapter.driver = ReadValue(scsi + host + "/proc_name");
    adapter.model = adapter.driver;
    adapters.push_back(adapter);
  }
  const std::string nvme = root + "/sys/class/nvme/";
  for (const auto& controller : ListDir(nvme)) {
    StorageAdapterState adapter;
    adapter.driver = "nvme";
    adapter.model = ReadValue(nvme + controller + "/model");
    adapter.firmwareVersion = ReadValue(nvme + controller + "/firmware_rev");
    adapters.push_back(adapter);
  }
  for (size_t i = 0; i < adapters.size(); ++i)
    adapters[i].name = "hba" + std::to_string(i);
  return adapters;
}

}  // namespace Platform::Linux

#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>

namespace Platform::Linux {

namespace {

int PrefixLength(const sockaddr* mask) {
  if (!mask)
    return 0;
  const unsigned char* bytes = nullptr;
  size_t size = 0;
  if (mask->sa_family == AF_INET) {
    bytes = reinterpret_cast<const unsigned char*>(
        &reinterpret_cast<const sockaddr_in*>(mask)->sin_addr);
    size = 4;
  } else {
    bytes = reinterpret_cast<const sockaddr_in6*>(mask)->sin6_addr.s6_addr;
    size = 16;
  }
  int bits = 0;
  for (size_t i = 0; i < size; ++i)
    bits += __builtin_popcount(bytes[i]);
  return bits;
}

}  // namespace

std::vector<InterfaceAddress> MachineAddresses() {
  std::vector<InterfaceAddress> result;
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0)
    return result;
  for (ifaddrs* entry = list; entry; entry = entry->ifa_next) {
    if (!entry->ifa_addr ||
        (entry->ifa_addr->sa_family != AF_INET && entry->ifa_addr->sa_family != AF_INET6))
      continue;
    const bool ipv6 = entry->ifa_addr->sa_family == AF_INET6;
    char text[NI_MAXHOST] = {};
    const socklen_t size = ipv6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    if (getnameinfo(entry->ifa_addr, size, text, sizeof(text), nullptr, 0, NI_NUMERICHOST) != 0)
      continue;
    std::string address = text;
    if (address.find('%') != std::string::npos || address.rfind("fe80", 0) == 0 ||
        address.rfind("127.", 0) == 0 || address == "::1")
      continue;
    result.push_back({entry->ifa_name, address, PrefixLength(entry->ifa_netmask), ipv6});
  }
  freeifaddrs(list);
  return result;
}

std::string DefaultRoute(const std::string& root, std::string& gateway) {
  gateway = "0.0.0.0";
  std::ifstream file(root + "/proc/net/route");
  std::string line;
  std::getline(file, line);  // the heading
  while (std::getline(file, line)) {
    std::istringstream fields(line);
    std::string name, destination, via;
    if (!(fields >> name >> destination >> via) || destination != "00000000")
      continue;
    // The kernel prints the address as a number in the machine's byte
    // order: "0102A8C0" is 192.168.2.1 on a little-endian machine.
    const uint32_t value = static_cast<uint32_t>(std::strtoul(via.c_str(), nullptr, 16));
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(&value);
    gateway = std::to_string(bytes[0]) + "." + std::to_string(bytes[1]) + "." +
              std::to_string(bytes[2]) + "." + std::to_string(bytes[3]);
    return name;
  }
  return "";
}

void ReadNetwork(const std::string& root,
                 const std::vector<InterfaceAddress>& addresses,
                 NetworkState& network) {
  const std::string dir = root + "/sys/class/net/";
  std::vector<std::string> names;
  for (const auto& name : ListDir(dir)) {
    if (name != "lo" && access((dir + name + "/address").c_str(), F_OK) == 0)
      names.push_back(name);
  }
  network.pnics.clear();
  network.vswitches.clear();
  network.nics.clear();
  network.dvswitches.clear();
  if (names.empty())
    return;
  for (const auto& name : names) {
    PnicState pnic;
    pnic.name = name;
    pnic.mac = ReadValue(dir + name + "/address");
    pnic.driver = LinkName(dir + name + "/device/driver");
    const std::string state = ReadValue(dir + name + "/operstate");
    pnic.linkUp = state == "up" || state == "unknown";
    // "-1" (or nothing) while the link is down.
    const long speed = std::strtol(ReadValue(dir + name + "/speed").c_str(), nullptr, 10);
    pnic.speedMbps = speed > 0 ? static_cast<int>(speed) : 0;
    pnic.fullDuplex = ReadValue(dir + name + "/duplex") == "full";
    network.pnics.push_back(pnic);
  }
  std::string gateway;
  std::string management = DefaultRoute(root, gateway);
  if (std::find(names.begin(), names.end(), management) == names.end()) {
    management.clear();
    for (const auto& address : addresses) {
      if (!address.ipv6 && std::find(names.begin(), names.end(), address.name) != names.end()) {
        management = address.name;
        break;
      }
    }
    if (management.empty())
      management = names.front();
  }
  network.routing.ipv4Gateway = gateway;

  VSwitchState vswitch;
  vswitch.name = "vSwitch0";
  vswitch.uplinks = {management};
  PortGroupState group;
  group.name = "Management Network";
  group.activeUplinks = {management};
  vswitch.portGroups.push_back(group);
  network.vswitches.push_back(vswitch);

  NexNicState nic;
  nic.name = management;
  nic.mac = ReadValue(dir + management + "/address");
  nic.management = true;
  nic.portGroup = group.name;
  const long mtu = std::strtol(ReadValue(dir + management + "/mtu").c_str(), nullptr, 10);
  nic.mtu = mtu > 0 ? static_cast<int>(mtu) : 1500;
  nic.ipv4Mode = "static";
  for (const auto& address : addresses) {
    if (address.name != management)
      continue;
    if (address.ipv6) {
      nic.ipv6Addresses.push_back(address.address + "/" + std::to_string(address.prefix));
    } else if (nic.ipv4Address == "0.0.0.0") {
      nic.ipv4Address = address.address;
      nic.ipv4Netmask = NetmaskOf(address.prefix);
    }
  }
  network.nics.push_back(nic);

  std::ifstream resolv(root + "/etc/resolv.conf");
  std::ostringstream text;
  text << resolv.rdbuf();
  ParseResolver(text.str(), network.dns);
}

}  // namespace Platform::Linux
