// The Linux host's readers, its tool mapping and its backend, on small
// prepared trees that stand for "/" (nothing here reads or changes the
// machine itself, except libvirt's test driver, which lives in the process).
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <tuple>
#include <fstream>
#include <string>
#include <vector>

#include "../common/PciTree.h"
#include "HostCtl/HostCtlException.h"
#include "SimHostTestSupport.h"
#include "backends/LinuxBackend.h"
#include "backends/LinuxFacts.h"
#include "backends/LinuxTools.h"
#include "backends/LinuxVms.h"

namespace fs = std::filesystem;
using namespace Platform;

namespace {

// A scratch folder that stands for "/".
class Tree : public SimHostTest::TempDir {
 public:
  void Write(const std::string& path, const std::string& text) const {
    fs::create_directories(fs::path(Path() + path).parent_path());
    std::ofstream(Path() + path) << text;
  }
  void Link(const std::string& path, const std::string& target) const {
    fs::create_directories(fs::path(Path() + path).parent_path());
    fs::create_symlink(target, Path() + path);
  }
};

std::string Join(const std::vector<std::string>& words) {
  std::string text;
  for (const auto& word : words)
    text += (text.empty() ? "" : " ") + word;
  return text;
}

TEST(LinuxFacts, CpuCountsPackagesCoresAndThreads) {
  const struct {
    std::optional<std::string> cpuinfo;
    uint32_t packages, cores, threads;
    const char* model;
  } cases[] = {
      // Two packages of two cores with two threads each (one processor of
      // each package shown).
      {"processor\t: 0\nmodel name\t: Xeon Gold\nphysical id\t: 0\nsiblings\t: 4\ncpu cores\t: 2\n"
       "\nprocessor\t: 4\nphysical id\t: 1\nsiblings\t: 4\ncpu cores\t: 2\n",
       2, 2, 2, "Xeon Gold"},
      // No topology lines: every processor is a core of one package.
      {"processor\t: 0\nBogoMIPS\t: 50\n\nprocessor\t: 1\n\nprocessor\t: 2\n", 1, 3, 1, ""},
      {std::nullopt, 1, 1, 1, ""},
  };
  for (const auto& c : cases) {
    Tree tree;
    if (c.cpuinfo)
      tree.Write("/proc/cpuinfo", *c.cpuinfo);
    const CpuState cpu = Linux::ReadCpu(tree.Path());
    EXPECT_EQ(std::tuple(cpu.packages, cpu.coresPerPackage, cpu.threadsPerCore, cpu.description),
              std::tuple(c.packages, c.cores, c.threads, std::string(c.model)))
        << c.cpuinfo.value_or("(none)");
  }
}

// Values unquoted, in double quotes (with escapes) or in single quotes; the
// file in /usr/lib where /etc has none.
TEST(LinuxFacts, OsReleaseValuesAsTheFormatDefinesThem) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"/etc/os-release", "NAME='A \"B\"'", "A \"B\""},
      {"/etc/os-release", "NAME=\"say \\\"hi\\\"\"", "say \"hi\""},
      {"/usr/lib/os-release", "NAME=Fallback", "Fallback"},
  };
  for (const auto& [file, line, value] : cases) {
    Tree tree;
    tree.Write(file, std::string("# comment\n") + line + "\n");
    EXPECT_EQ(Linux::ReadOsRelease(tree.Path())["NAME"], value) << file << ": " << line;
  }
}

TEST(LinuxFacts, PciDevicesWithNamesDriversAndGroups) {
  Tree tree;
  tree.Write("/usr/share/misc/pci.ids",
             "# the database\n8086  Intel Corporation\n\t10d3  82574L Gigabit Network "
             "Connection\n\t\t8086 a01f  subsystem line\n10de  NVIDIA Corporation\n");
  const std::string dir = "/sys/bus/pci/devices/";
  tree.Write(dir + "0000:00:19.0/vendor", "0x8086\n");
  tree.Write(dir + "0000:00:19.0/device", "0x10d3\n");
  tree.Link(dir + "0000:00:19.0/driver", "../../../bus/pci/drivers/e1000e");
  tree.Link(dir + "0000:00:19.0/iommu_group", "../../../kernel/iommu_groups/7");
  tree.Write(dir + "0000:01:00.0/vendor", "0x10de\n");
  tree.Write(dir + "0000:01:00.0/device", "0x1EB8\n");
  tree.Link(dir + "0000:01:00.0/driver", "../../../bus/pci/drivers/vfio-pci");
  tree.Write(dir + "0000:02:00.0/vendor", "0x1234\n");
  tree.Write(dir + "0000:02:00.0/device", "0x0001\n");

  const auto names = Linux::ReadPciNames(Linux::FindPciNames(tree.Path()));
  const auto devices = Linux::ReadPciDevices(tree.Path(), names);
  std::vector<std::tuple<std::string, std::string, std::string, std::string, std::string, bool>>
      rows;
  for (const auto& d : devices)
    rows.emplace_back(d.address, d.vendorName, d.deviceName, d.driver, d.group, d.passthrough);
  EXPECT_EQ(rows,
            (decltype(rows){{"0000:00:19.0", "Intel Corporation",
                             "82574L Gigabit Network Connection", "e1000e", "7", false},
                            // Known vendor, unknown device; ids in upper case still match.
                            {"0000:01:00.0", "NVIDIA Corporation", "Device 1eb8", "", "", true},
                            {"0000:02:00.0", "Vendor 1234", "Device 0001", "", "", false}}));
}

// Where the kernel cannot be asked (no netlink), the network is read from
// /sys, /proc/net/route and resolv.conf: the default route's interface
// manages, else the first with an address; loopback is no adapter.
TEST(LinuxFacts, WithoutNetlinkTheNetworkIsReadFromFiles) {
  Tree tree;
  for (const char* name : {"eno1", "eno2"}) {
    const std::string dir = std::string("/sys/class/net/") + name;
    tree.Write(dir + "/address", std::string("52:54:00:00:00:0") + name[3] + "\n");
    tree.Write(dir + "/operstate", "up\n");
  }
  tree.Write("/sys/class/net/eno2/speed", "1000\n");
  tree.Write("/sys/class/net/lo/address", "00:00:00:00:00:00\n");
  tree.Write("/proc/net/route", "Iface\tDestination\tGateway \tFlags\n"
                                "eno2\t0002A8C0\t00000000\t0001\n"
                                "eno2\t00000000\t0102A8C0\t0003\n");
  tree.Write("/etc/resolv.conf", "search example.test lab.test\nnameserver 192.168.2.53\n"
                                 "nameserver 2001:db8::53\n");
  const std::vector<Linux::InterfaceAddress> addresses = {{"eno1", "10.0.0.5", 8, false},
                                                          {"eno2", "192.168.2.10", 24, false},
                                                          {"eno2", "2001:db8::10", 64, true}};
  NetworkState network;
  Linux::ReadNetwork(tree.Path(), addresses, network);
  ASSERT_EQ(std::pair(network.pnics.size(), network.nics.size()), std::pair(2ul, 1ul));
  EXPECT_EQ(network.pnics[1].speedMbps, 1000);
  const NexNicState& nic = network.nics[0];
  EXPECT_EQ(std::tuple(nic.name, nic.management, nic.mac, nic.ipv4Address, nic.ipv4Netmask,
                       Join(nic.ipv6Addresses), network.routing.ipv4Gateway),
            std::tuple("eno2", true, "52:54:00:00:00:02", "192.168.2.10", "255.255.255.0",
                       "2001:db8::10/64", "192.168.2.1"));
  EXPECT_EQ(std::tuple(Join(network.dns.searchDomains), Join(network.dns.nameServers),
                       Join(network.dns.ipv6NameServers)),
            std::tuple("example.test lab.test", "192.168.2.53", "2001:db8::53"));

  fs::remove(tree.Path() + "/proc/net/route");
  NetworkState unrouted;
  Linux::ReadNetwork(tree.Path(), {{"eno2", "10.1.1.1", 16, false}}, unrouted);
  ASSERT_EQ(unrouted.nics.size(), 1u);
  EXPECT_EQ(std::tuple(unrouted.nics[0].name, unrouted.nics[0].ipv4Netmask,
                       unrouted.routing.ipv4Gateway),
            std::tuple("eno2", "255.255.0.0", "0.0.0.0"));
  NetworkState none;
  Linux::ReadNetwork(tree.Path() + "/nothing", {}, none);
  EXPECT_TRUE(none.nics.empty());
}

using K = Linux::Action::Kind;

// What each of the console's tools and command lines becomes on the
// machine: a command run, an answer of the console's own (the shell
// time-outs), or a refusal. One row stands for each rule: a service starts and stops alike
// whatever its unit, and the agents alike for either verb. (SSH's start, stop
// and status, the power commands, the stop of the guests, the pager on the
// syslog and the journal (the machine's reading tools run alike), the
// network test's pings and the writing and reading back of the shell
// time-outs are read off the real console by the Linux screen tests;
// the refused programs are refused to Spawn and System below too. The
// reset's restart and the lockdown query are not asked for on this host: its
// entries only say why.)
TEST(LinuxTools, MapsTheConsolesToolsOntoTheMachine) {
  Linux::Config config;
  config.agents = {"libvirtd.service", "virtlogd.service"};
  const struct {
    std::vector<std::string> argv;  // argv[0] is the path; or one command line
    Linux::Action::Kind kind;
    std::string run;  // the command run, words joined
    bool commandLine = false;
  } cases[] = {
      {{"/bin/rovi-cmd", "-U", "root", "vimsvc/x"}, K::kRefuse, ""},
      {{"/bin/rovi-cmd", "hostsvc/start_ssh"}, K::kRefuse, ""},  // no user
      {{"/bin/sh", "/etc/init.d/TarvikShell", "stop"}, K::kRun,
       "/bin/systemctl stop getty@tty2.service"},
      {{"/bin/sh", "/etc/init.d/SSH", "reload;x"}, K::kRefuse, ""},
      {{"/bin/sh", "-c", "poweroff"}, K::kRefuse, ""}, {{"/sbin/nexping"}, K::kRefuse, ""},
      // The two shell time-outs, and only in seconds; no other option.
      {{"/sbin/tarvikcli", "system", "settings", "advanced", "set", "-o",
        "/UserVars/TarvikShellInteractiveTimeOut", "-i", "9;x"}, K::kRefuse, ""},
      {{"/sbin/tarvikcli", "system", "settings", "advanced", "set", "-o", "/UserVars/MerelTimeOut",
        "-i", "60"}, K::kRefuse, ""},
      {{"/sbin/tarvikcfg-advcfg", "-q", "-g", "/UserVars/MerelTimeOut"}, K::kRefuse, ""},
      {{"/bin/sh /sbin/services.sh stop"}, K::kRun,
       "/bin/systemctl stop libvirtd.service virtlogd.service", true},
      {{"poweroff; rm -rf /"}, K::kRefuse, "", true},
  };
  for (const auto& c : cases) {
    std::vector<std::string> argv = c.argv;
    argv[0] = argv[0].substr(argv[0].find_last_of('/') + 1);
    const Linux::Action action = c.commandLine ? Linux::MapCommand(c.argv[0], config)
                                               : Linux::MapProgram(c.argv[0], argv, config);
    EXPECT_EQ(std::tuple(action.kind, Join(action.argv), action.output),
              std::tuple(c.kind, c.run, ""))
        << Join(c.argv);
  }
}

TEST(LinuxTools, ConfigurationNamesUnitsAgentsAndTheShutdownWait) {
  Tree tree;
  tree.Write("/merel.conf",
             "# units\nssh-unit = sshd.service\nagents = a.service  b.service # two\n"
             "shell-unit =\nnonsense\n");
  const Linux::Config config = Linux::ReadConfig(tree.Path() + "/merel.conf");
  // An empty value keeps the default.
  EXPECT_EQ(std::tuple(config.sshUnit, Join(config.agents), config.shellUnit),
            std::tuple("sshd.service", "a.service b.service", "getty@tty2.service"));
  const std::string ssl = "/etc/ssl/certs/host.pem";
  for (const auto& [file, used] : {std::pair("relative.pem", "/etc/pki/libvirt/servercert.pem"),
                                   std::pair(ssl.c_str(), ssl.c_str())}) {
    tree.Write("/merel.conf", std::string("host-certificate = ") + file + "\n");
    EXPECT_EQ(Linux::ReadConfig(tree.Path() + "/merel.conf").hostCertificate, used);
  }
  // The guests' shutdown wait, in seconds up to an hour; else the default.
  for (const auto& [value, wait] : {std::pair("0", 0), {"3600", 3600}, {"3601", 120}, {"-5", 120},
                                    {"2m", 120}, {"99999999999", 120}, {"", 120}}) {
    tree.Write("/merel.conf", std::string("vm-shutdown-wait = ") + value + "\n");
    EXPECT_EQ(Linux::ReadConfig(tree.Path() + "/merel.conf").vmShutdownWait, wait) << value;
  }
}

// Where the log viewer's files are on the machine, by what it keeps: for
// the syslog a syslog file (or messages) before the journal, the disk's
// journal before the one in /run, and a journal only by the machine's id.
// (The other logs are looked up as the syslog's files are; that those this
// host does not keep are not offered, the Linux syslog screen test shows.)
TEST(LinuxTools, LogViewerFilesAreTheSystemsOwn) {
  const std::string id = "0123456789abcdef0123456789abcdef";
  const std::string syslog = "/var/log/syslog.log";
  const std::string journal = "/var/log/journal/@/system.journal";
  const std::string runJournal = "/run/log/journal/@/system.journal";
  const struct {
    std::vector<std::string> files;  // "@" is the machine's id
    const char* machineId;
    std::string asked, found;
  } cases[] = {
      {{"/var/log/messages"}, "@", syslog, "/var/log/messages"},
      {{"/var/log/syslog", "/var/log/messages", journal}, "@", syslog, "/var/log/syslog"},
      {{runJournal, journal}, "@", syslog, journal},
      {{runJournal}, "@", syslog, runJournal},
      {{"/var/log/journal/@/user-1000.journal"}, "@", syslog, ""},
      {{journal}, "../../etc", syslog, ""},
      {{}, "@", "/etc/ssh/ssh_host_rsa_key.pub", "/etc/ssh/ssh_host_rsa_key.pub"},
  };
  auto named = [&id](std::string path) {
    const size_t at = path.find('@');
    return at == std::string::npos ? path : path.replace(at, 1, id);
  };
  for (const auto& c : cases) {
    Tree tree;
    tree.Write("/etc/machine-id", named(c.machineId) + "\n");
    for (const auto& file : c.files)
      tree.Write(named(file), "x");
    EXPECT_EQ(Linux::LogFile(tree.Path(), c.asked), named(c.found))
        << c.asked << " " << Join(c.files);
  }
  Tree tree;
  LinuxBackend backend(tree.Path(), "1");
  EXPECT_EQ(backend.HostPath("/etc/ostrel/ssl/host.crt"),
            tree.Path() + "/etc/pki/libvirt/servercert.pem");
  EXPECT_FALSE(fs::exists(backend.HostPath("/var/log/obsvd.log")));
}

// The readers as the backend puts them together: the kernel's host name
// before the file's, the firmware's identity and BIOS release, the memory
// in pages (MemTotal, not the line before it), and storage adapters
// numbered across kinds.
TEST(LinuxBackend, LoadsTheMachinesIdentity) {
  Tree tree;
  tree.Write("/etc/hostname", "from-file\n");
  EXPECT_EQ(Linux::ReadHostname(tree.Path()), "from-file");
  tree.Write("/proc/sys/kernel/hostname", "kvm-host-3\n");
  tree.Write("/proc/sys/kernel/osrelease", "6.1.0-18-amd64\n");
  tree.Write("/etc/os-release", "NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\n");
  tree.Write("/proc/meminfo", "MemFree:  1024 kB\nMemTotal:       16384 kB\n");
  for (const auto& [file, text] : {std::pair("sys_vendor", "Acme Servers"),
                                   {"product_name", "R900"}, {"product_uuid", "4c4c4544-0042-3510"},
                                   {"product_serial", "SER123"}, {"bios_vendor", "Acme"},
                                   {"bios_version", "2.4.1"}, {"bios_release", "2.4"}})
    tree.Write(std::string("/sys/class/dmi/id/") + file, std::string(text) + "\n");
  tree.Write("/sys/class/scsi_host/host0/proc_name", "ahci\n");
  tree.Write("/sys/class/nvme/nvme0/model", "Fast SSD  \n");
  tree.Write("/sys/class/nvme/nvme0/firmware_rev", "1.0\n");
  LinuxBackend backend(tree.Path(), "1.2.3");
  const HostState state = backend.Load();
  EXPECT_EQ(std::tuple(state.network.dns.hostname, state.product.name, state.product.version,
                       state.product.build, state.product.kernelVersion),
            std::tuple("kvm-host-3", "Debian GNU/Linux", "12", "1.2.3", "6.1.0-18-amd64"));
  const HardwareState& hw = state.hardware;
  EXPECT_EQ(std::tuple(hw.vendor, hw.model, hw.uuid, hw.serviceTag, hw.bios.version, hw.bios.major,
                       hw.bios.minor, hw.memory.totalPages * hw.memory.pageSize),
            std::tuple("Acme Servers", "R900", "4c4c4544-0042-3510", "SER123", "2.4.1", 2, 4,
                       16384ul * 1024));
  const auto& adapters = hw.storageAdapters;
  ASSERT_EQ(adapters.size(), 2u);
  EXPECT_EQ(std::tuple(adapters[0].name, adapters[0].driver, adapters[1].name, adapters[1].model,
                       adapters[1].firmwareVersion),
            std::tuple("hba0", "ahci", "hba1", "Fast SSD", "1.0"));
}

// Of all changes only the options are the backend's (the Linux host screen
// tests write and read them back); a value out of range in their file keeps
// the default.
TEST(LinuxBackend, OtherChangesAndRefusedProgramsAreRefusedAndBadOptionsKeepTheDefault) {
  Tree tree;
  LinuxBackend backend(tree.Path(), "1");
  char* const argv[] = {const_cast<char*>("poweroff"), nullptr};
  EXPECT_EQ(backend.Spawn("/sbin/poweroff", argv, nullptr, 0, 1, 2), -1);
  EXPECT_EQ(backend.System("/sbin/configReset.sh"), -1);
  EXPECT_THROW(backend.Modify([](HostState& s) {
    FindOption(s, "/UserVars/MerelTimeOut")->value = 120;
    s.network.dns.hostname = "renamed";
  }),
               HostCtl::Lib::HostCtlException);
  EXPECT_FALSE(fs::exists(tree.Path() + "/etc/merel/options"));
  tree.Write("/etc/merel/options",
             "/UserVars/MerelTimeOut = 99999999\n/UserVars/TarvikShellTimeOut = 3x\n");
  const HostState state = backend.Load();
  EXPECT_EQ(std::tuple(FindOption(state, "/UserVars/MerelTimeOut")->value,
                       FindOption(state, "/UserVars/TarvikShellTimeOut")->value),
            std::tuple(600, 0));
}

TEST(LinuxFacts, DeviceListKeepsOnlyPciAddresses) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"0000:01:00.0\n0000:01:00.1\n", {"0000:01:00.0", "0000:01:00.1"}},
      {"# header\n\n  0000:0A:1f.7  # the GPU's audio\n", {"0000:0a:1f.7"}},
      {"0000:01:00.0\n0000:01:00.0\n", {"0000:01:00.0"}},  // once is enough
      {"0000:01:00.8\n01:00.0\n0000:01:00.0;reboot\n../../x\n0000:g1:00.0\n", {}},
  };
  for (const auto& [text, addresses] : cases)
    EXPECT_EQ(Linux::ParseDeviceList(text), addresses) << text;
}

// Saving the list, enabling the boot step and the saved devices' next owner
// are read off the real console by the Linux DriverVM screen test. Here a
// device bound to vfio-pci but not in the saved list goes back to the host at
// the next boot.
TEST(LinuxBackend, DeviceOutsideTheSavedListGoesBackToTheHost) {
  Tree tree;
  MerelTestTrees::WritePciTree(tree.Path() + "/sys/bus/pci",
                               tree.Path() + "/sys/kernel/iommu_groups", true);
  LinuxBackend backend(tree.Path(), "1");
  backend.Modify([](HostState& s) {
    s.hardware.pciDevices[2].passthroughAfterReboot = 0;
    s.hardware.pciDevices[3].passthroughAfterReboot = 0;
  });
  tree.Link("/sys/bus/pci/devices/0000:01:00.0/driver", "../../drivers/vfio-pci");
  const HostState state = backend.Load();
  const PciDeviceState& device = state.hardware.pciDevices[2];
  EXPECT_EQ(std::pair(device.passthrough, device.passthroughAfterReboot), std::pair(true, 0));
}

TEST(LinuxVms, NoHypervisorIsAnErrorNotACrash) {
  std::string error;
  std::vector<Linux::VmStop> outcome;
  EXPECT_EQ(Linux::StopVirtualMachines("test:///nonexistent/file.xml", false, 5, outcome, error),
            -1);
  EXPECT_FALSE(error.empty());
}

}  // namespace
