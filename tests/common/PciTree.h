// A machine's PCI devices as the kernel shows them in sysfs, for the tests
// of device assignment: a GPU and its audio function in one IOMMU group
// without a driver of the host's, a network adapter with one, and a bridge.
// `pci` stands for /sys/bus/pci and `groups` for /sys/kernel/iommu_groups;
// without an IOMMU the groups folder stays empty.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

namespace MerelTestTrees {

inline void WritePciTree(const std::string& pci, const std::string& groups, bool iommu) {
  namespace fs = std::filesystem;
  const struct {
    const char *address, *pciClass, *driver, *group;
  } devices[] = {
      {"0000:00:00.0", "0x060000", "", "0"},
      {"0000:00:19.0", "0x020000", "e1000e", "1"},
      {"0000:01:00.0", "0x030000", "", "2"},
      {"0000:01:00.1", "0x040300", "", "2"},
  };
  fs::create_directories(groups);
  for (const auto& d : devices) {
    const std::string dir = pci + "/devices/" + d.address;
    fs::create_directories(dir);
    std::ofstream(dir + "/vendor") << "0x10de\n";
    std::ofstream(dir + "/device") << "0x1eb8\n";
    std::ofstream(dir + "/class") << d.pciClass << "\n";
    std::ofstream(dir + "/driver_override") << "(null)\n";
    if (*d.driver) {
      fs::create_directories(pci + "/drivers/" + d.driver);
      fs::create_directory_symlink(std::string("../../drivers/") + d.driver, dir + "/driver");
    }
    fs::create_directory_symlink(std::string("../../../../kernel/iommu_groups/") + d.group,
                                 dir + "/iommu_group");
    if (iommu) {
      fs::create_directories(groups + "/" + d.group + "/devices");
      std::ofstream(groups + "/" + d.group + "/type") << "DMA\n";
    }
  }
  std::ofstream(pci + "/drivers_probe");
}

}  // namespace MerelTestTrees
