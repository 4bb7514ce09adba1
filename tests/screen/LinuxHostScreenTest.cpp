// The console on the Linux host backend (merel --host linux) in namespaces
// of its own (NamespaceUtil.h), with accounts of the test's, a /dev of the
// few devices the console needs whose log socket (/dev/log) and journal
// socket belong to the test, and libvirt's test driver on a node file of
// the test's own.
#include <gtest/gtest.h>
#include <libaudit.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "../common/PciTree.h"
#include "NamespaceUtil.h"

namespace {

using namespace MerelNamespaceTest;
using MerelTestTrees::WritePciTree;

// The test's own accounts, log sockets, /dev and management adapter.
constexpr NamespaceSteps kSteps = {"merel-ns-host", R"SH(
plain_hash=$(openssl passwd -6 -salt merelplain plainpw)
echo "plainuser:x:4242:4242::/nonexistent:/usr/sbin/nologin" >> "$S/etc/passwd"
echo "plainuser:$plain_hash:19000:0:99999:7:::" >> "$S/etc/shadow"
echo "plainuser:x:4242:" >> "$S/etc/group"
)SH", R"SH(
mount --bind "$S/varlog" /var/log
# The system logger and the journal are the test's own sockets.
mkdir -p /run/systemd/journal
: > /run/systemd/journal/socket
mount --bind "$S/journal" /run/systemd/journal/socket
mkdir -p "$S/dev/pts"
for node in null zero full random urandom tty ptmx; do
  : > "$S/dev/$node"
  mount --bind "/dev/$node" "$S/dev/$node"
done
mount --bind /dev/pts "$S/dev/pts"
ln -s /proc/self/fd "$S/dev/fd"
mount --rbind "$S/dev" /dev
if [ ! -S /dev/log ] || [ ! -S /run/systemd/journal/socket ]; then
  echo "NAMESPACE NOT SAFE: the log sockets are the machine's"; sleep 600; exit 96
fi
)SH", R"SH(
ip link add mgmt0 type veth peer name mgmt1
ip addr add 10.99.0.2/24 dev mgmt0
ip link set mgmt1 up
ip link set mgmt0 up
)SH"};

// Two running guests and one shut off, for libvirt's test driver.
const char kNode[] = R"XML(<node>
 <domain type='test'><name>guest-a</name><memory>524288</memory><os><type>hvm</type></os></domain>
 <domain type='test'><name>guest-b</name><memory>524288</memory><os><type>hvm</type></os></domain>
 <domain type='test' xmlns:test='http://libvirt.org/schemas/domain/test/1.0'>
  <name>guest-off</name><memory>524288</memory><os><type>hvm</type></os>
  <test:runstate>5</test:runstate></domain>
</node>
)XML";

// A datagram socket that stands for the system logger (or the journal) in
// the namespace: every record the console's process sends ends up here.
class LogSocket {
 public:
  explicit LogSocket(const std::string& path) {
    _fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof(address.sun_path), "%s", path.c_str());
    if (_fd >= 0 && bind(_fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
      close(_fd);
      _fd = -1;
    }
  }
  ~LogSocket() {
    if (_fd >= 0)
      close(_fd);
  }
  LogSocket(const LogSocket&) = delete;
  LogSocket& operator=(const LogSocket&) = delete;
  bool Ok() const { return _fd >= 0; }

  // Every record so far, one a line (a record's own new lines kept).
  const std::string& Records() {
    char buffer[65536];
    for (ssize_t n; (n = recv(_fd, buffer, sizeof(buffer), MSG_DONTWAIT)) > 0;)
      _records.append(buffer, static_cast<size_t>(n)) += '\n';
    return _records;
  }
  // Whether a record holds `text` (with `priority`, "<N>", at its start),
  // waiting up to ten seconds for one.
  bool WaitFor(const std::string& text, const std::string& priority = "") {
    for (int i = 0; i < 200; ++i) {
      std::istringstream lines(Records());
      for (std::string line; std::getline(lines, line);) {
        if (Contains(line, text) && line.starts_with(priority))
          return true;
      }
      usleep(50000);
    }
    return false;
  }

 private:
  int _fd = -1;
  std::string _records;
};

// The machine's audit subsystem would keep the console's login records.
bool MachineAuditsLogins() {
  const int fd = audit_open();
  if (fd < 0)
    return false;
  const bool on = audit_is_enabled(fd) > 0;
  audit_close(fd);
  return on;
}

class LinuxHostTest : public NamespaceTest {
 protected:
  LinuxHostTest() : NamespaceTest(kSteps) {}
  void SetUp() override {
    NamespaceTest::SetUp();
    if (IsSkipped())
      return;
    if (MachineAuditsLogins()) {
      GTEST_SKIP() << "the machine's audit subsystem is on: the console's login records would "
                      "be kept in its audit log";
    }
    fs::create_directories(_scratch + "/dev");
    fs::create_directories(_scratch + "/varlog");
    std::ofstream(_scratch + "/node.xml") << kNode;
    _syslog = std::make_unique<LogSocket>(_scratch + "/dev/log");
    _journal = std::make_unique<LogSocket>(_scratch + "/journal");
    ASSERT_TRUE(_syslog->Ok() && _journal->Ok()) << "cannot make the test's log sockets";
  }

  void ShutDown(bool force, Key key, const char* stopped, const char* power, const char* event);

  std::unique_ptr<LogSocket> _syslog;
  std::unique_ptr<LogSocket> _journal;
};

// The welcome screen, then two refusals, then root: each attempt is recorded, and only root's opens
// a session, which the session stack closes at the logout. Without an audit
// subsystem that keeps them, the login records go to the auth facility at
// notice level (<37>); PAM's session modules write to authpriv.
TEST_F(LinuxHostTest, WelcomeThenRealPamAgainstThePrivateShadowFile) {
  constexpr const char* kAuthNotice = "<37>";
  constexpr const char* kInvalid = "Invalid login or password.";
  const struct {
    const char* user;
    const char* password;
    bool admitted;
  } attempts[] = {
      {"plainuser", "plainpw", false},  // a local account outside the administrators' group
      {"root", "nope", false},
      {"root", "rootpw", true},
  };
  Terminal& console = Start();
  // The welcome screen shows the namespace's host name and address.
  ExpectWelcome(console);
  ExpectHas(console.Text(), {"http://10.99.0.2/", "GiB Memory"});
  ExpectLacks(console.Text(), {"Tarvik"});
  Press(console, Key::kF2, "Authentication Required");
  for (const auto& attempt : attempts) {
    // The name typed afresh: after a refusal the dialog keeps it as it was.
    Type(console, {Key::kUp, Key::kEnd});
    TypeText(console, std::string(20, '\x7f') + attempt.user);
    Type(console, {Key::kDown});
    console.SendText(attempt.password);
    Press(console, Key::kEnter, attempt.admitted ? "System Customization" : kInvalid);
    const std::string record =
        std::string("login.connect user=") + attempt.user +
        (attempt.admitted ? " success=1" : " success=0 reason=\"Invalid Login\"");
    EXPECT_TRUE(_syslog->WaitFor(record, kAuthNotice)) << _syslog->Records();
    EXPECT_EQ(Contains(_syslog->Records(), "session opened for user root"), attempt.admitted)
        << _syslog->Records();
    if (!attempt.admitted)
      PressGone(console, Key::kEnter, kInvalid);
  }
  console.SendKey(Key::kEscape);
  EXPECT_TRUE(_syslog->WaitFor("session closed for user root")) << _syslog->Records();
  EXPECT_TRUE(_syslog->WaitFor("login.disconnect user=root success=1", kAuthNotice))
      << _syslog->Records();
}

// From the shutdown dialog (F12), the check item "Forcefully terminate
// running VMs" set with `force`, then `key`: each running guest `stopped`,
// the one shut off left alone, then the `power` call and the `event`. (A
// forced shut-down and a graceful restart meet each way of stopping the
// guests and each power call.)
void LinuxHostTest::ShutDown(bool force, Key key, const char* stopped, const char* power,
                             const char* event) {
  Terminal& console = StartLoggedIn("", Key::kF12, "Forcefully terminate");
  if (force)
    console.SendText(" ");
  console.SendKey(key);
  ASSERT_TRUE(console.WaitFor([&] { return Contains(Calls(), power); }))
      << Calls() << console.Text();
  for (const char* guest : {"guest-a", "guest-b"}) {
    EXPECT_TRUE(_syslog->WaitFor(std::string("Virtual machine ") + guest + stopped))
        << _syslog->Records();
  }
  ExpectLacks(_syslog->Records(), {"guest-off"});
  EXPECT_TRUE(_journal->WaitFor(std::string("MEREL_EVENT_ID=") + event)) << _journal->Records();
  ExpectLacks(Calls(), {Contains(power, "reboot") ? "poweroff" : "reboot"});
}

TEST_F(LinuxHostTest, ForcedShutDownPowersTheGuestsOff) {
  ShutDown(true, Key::kF2, " powered off", "systemctl poweroff\n", "obsv.user.merel.shutdown.host");
}

TEST_F(LinuxHostTest, GracefulRestartShutsTheGuestsDown) {
  ShutDown(false, Key::kF11, " shut down", "systemctl reboot\n", "obsv.user.merel.reboot.host");
}

const char kPciMounts[] = R"SH(
mount --bind "$S/pci" /sys/bus/pci
mount --bind "$S/iommu_groups" /sys/kernel/iommu_groups
if [ ! -e /sys/bus/pci/drivers_probe ] || [ -n "$(ls /sys/bus/pci/drivers | grep -v e1000e)" ]; then
  echo "NAMESPACE NOT SAFE: /sys/bus/pci is the machine's"; sleep 600; exit 95
fi
)SH";

// Without an IOMMU no device can go, and the dialog says why; once there is
// one, the devices without a driver of the host's go to the DriverVM at the
// next boot, a group together, as the dialog shows when opened again.
TEST_F(LinuxHostTest, DevicesWithoutADriverGoToTheDriverVmAtTheNextBoot) {
  WritePciTree(_scratch + "/pci", _scratch + "/iommu_groups", false);
  Terminal& console = StartLoggedIn(kPciMounts);
  Choose(console, "Configure DriverVM Devices", "DriverVM Configuration");
  ExpectHas(console.Text(), {"No IOMMU is enabled on this host", "No device can be handed"});
  ExpectLacks(console.Text(), {"0000:01:00.0"});
  PressGone(console, Key::kEnter, "DriverVM Configuration");
  EXPECT_FALSE(fs::exists(_scratch + "/etc/merel/driver-vm-devices"));

  fs::create_directories(_scratch + "/iommu_groups/2");
  Choose(console, "Configure DriverVM Devices", "0000:01:00.1");
  // Neither the adapter with its driver nor the bridge is offered.
  ExpectLacks(console.Text(), {"0000:00:19.0", "0000:00:00.0"});
  Press(console, Key::kSpace, "These devices change owner together");
  Press(console, Key::kEnter, "Host -> DriverVM");
  Press(console, Key::kEnter, "The device assignment has been saved");
  ExpectHas(Slurp(_scratch + "/etc/merel/driver-vm-devices"), {"\n0000:01:00.0\n0000:01:00.1\n"});
  ExpectHas(Calls(), {"systemctl enable --quiet merel-driver-vm.service\n"});
  // Read back from the saved list: the devices change owner at the next boot.
  PressToMenu(console, Key::kEnter);
  Choose(console, "Configure DriverVM Devices", "0000:01:00.1");
  EXPECT_TRUE(Contains(RowWith(console, "0000:01:00.0"), "Host -> DriverVM")) << console.Text();
}

// The boot-time step of the package, on the same tree: each listed device
// that exists is given to vfio-pci; a line that is no address and a device
// that is gone are reported, the rest still handed over.
TEST_F(LinuxHostTest, BootTimeStepHandsTheListedDevicesToVfio) {
  WritePciTree(_scratch + "/pci", _scratch + "/iommu_groups", true);
  std::ofstream(_scratch + "/list")
      << "# saved\n0000:01:00.0\n0000:01:00.1 # audio\n0000:09:00.0\nrm -rf /\n";
  fs::create_directories(_scratch + "/bin");
  WriteRecorder(_scratch + "/bin/modprobe");
  std::ofstream(_scratch + "/run.sh")
      << "#!/bin/sh\nS=" << _scratch << "\nmount -t sysfs sysfs /sys\n" << kPciMounts
      << "if [ -e /usr/sbin/modprobe ]; then mount --bind $S/bin/modprobe /usr/sbin/modprobe; fi\n"
         "PATH=$S/bin:/usr/sbin:/usr/bin:/sbin:/bin sh " MEREL_SOURCE_DIR
         "/packaging/merel-driver-vm $S/list 2>$S/errors; echo $? > $S/status\n";
  ASSERT_EQ(std::system(("unshare --mount --net --propagation private sh " + _scratch + "/run.sh")
                            .c_str()),
            0);
  EXPECT_EQ(Slurp(_scratch + "/status"), "1\n");
  ExpectHas(Slurp(_scratch + "/errors"), {"no PCI device 0000:09:00.0", "not a PCI address: rm"});
  EXPECT_EQ(Calls(), "modprobe vfio-pci\n");
  for (const auto& [device, driver] :
       {std::pair("0000:01:00.0", "vfio-pci\n"), {"0000:01:00.1", "vfio-pci\n"},
        {"0000:00:19.0", "(null)\n"}})
    EXPECT_EQ(Slurp(_scratch + "/pci/devices/" + device + "/driver_override"), driver) << device;
  EXPECT_EQ(Slurp(_scratch + "/pci/drivers_probe"), "0000:01:00.1\n");
}

// The syslog entry opens the machine's syslog file in the restricted pager,
// or the journal's export where the machine keeps its log only there: first
// a journal file that is no journal (what journalctl makes of it reaches the
// pager all the same), then a syslog file, which comes first. Then lockdown
// mode and the configuration reset, which have no meaning on a Linux host:
// the entry's pane says why, Enter opens a message (not the dialog that
// would change the host), and nothing on the host changes.
TEST_F(LinuxHostTest, SyslogEntryThenLockdownAndResetSayWhy) {
  std::string id;
  std::getline(std::ifstream("/etc/machine-id"), id);
  if (id.size() != 32)
    GTEST_SKIP() << "this machine has no machine id to name its journal by";
  fs::create_directories(_scratch + "/varlog/journal/" + id);
  std::ofstream(_scratch + "/varlog/journal/" + id + "/system.journal").close();
  Terminal& console = StartLoggedIn();
  for (const auto& [syslog, shows] :
       {std::pair("", "No entries"), std::pair("Nov 25 10:00:00 host merel-ns marker\n",
                                               "merel-ns marker")}) {
    SCOPED_TRACE(shows);
    if (*syslog)
      std::ofstream(_scratch + "/varlog/syslog") << syslog;
    ASSERT_TRUE(SelectEntry(console, "View System Logs") && WaitQuiet(console, "1 Syslog"))
        << console.Text();
    // Only the syslog is there; the others are not offered.
    ExpectLacks(RightText(console), {"2 "});
    console.SendText("1");
    ASSERT_TRUE(WaitQuiet(console, shows)) << console.Text();
    console.SendText("!");
    EXPECT_TRUE(WaitQuiet(console, "Command not available")) << console.Text();
    console.SendKey(Key::kEnter);
    console.SendText("q");
    EXPECT_TRUE(WaitForMenu(console)) << console.Text();
  }
  for (const auto& [entry, why] :
       {std::pair("Configure Lockdown Mode", "This host has no lockdown mode."),
        std::pair("Reset System Configuration", "This host has no factory")}) {
    ASSERT_TRUE(SelectEntry(console, entry)) << console.Text();
    ExpectHas(RightText(console), {why});
    Press(console, Key::kEnter, "<Enter> OK");
    ExpectLacks(console.Text(), {"<Esc> Cancel"});
    PressToMenu(console, Key::kEnter);
  }
  ExpectLacks(Calls(), {"reboot"});
  ExpectLacks(_syslog->Records(), {"Restoring factory defaults", "Lockdown mode"});
}

// The shell idle time-out is TMOUT of the login shells, from the console's
// own profile file; the availability time-out is kept in the options file
// and becomes a systemd timer for each service switched on. SSH is switched
// on and off through systemd on the way, its state read from systemctl.
TEST_F(LinuxHostTest, ShellTimeoutsAreTheLoginShellsTmoutAndATimerPerService) {
  const std::string profile = _scratch + "/etc/profile.d/merel-timeout.sh";
  const std::string options = _scratch + "/etc/merel/options";
  Terminal& console = StartLoggedIn();
  Choose(console, "Troubleshooting Options", "Troubleshooting Mode Options");
  // Switches SSH and returns the systemd calls that made it.
  auto toggleSsh = [&](const std::string& label) {
    std::ofstream(_scratch + "/calls", std::ios::trunc).close();
    Choose(console, "SSH Support", label);
    return Calls();
  };
  // The pane's title is the entry's label cut to the pane.
  const char* const timeouts = "Modify Tarvik Shell and SSH";
  // The two fields typed, and the dialog closed.
  auto set = [&](const std::string& availability, const std::string& idle) {
    TypeKeys(console, availability);
    Type(console, {Key::kDown});
    TypeKeys(console, idle);
    PressGone(console, Key::kEnter, "Idle timeout");
  };
  Choose(console, timeouts, "Idle timeout");
  set("5", "15");
  ExpectHas(Slurp(profile), {"\nTMOUT=900\nexport TMOUT\n"});
  ExpectHas(Slurp(options), {"\n/UserVars/TarvikShellTimeOut = 300\n"});
  for (const char* record :
       {"Modified Shell timeout to 5 minutes", "Modified shell interactive timeout to 15 minutes"})
    EXPECT_TRUE(_syslog->WaitFor(record)) << _syslog->Records();

  // A timer that cannot be set: SSH is on all the same, and the screen says why.
  std::ofstream(_scratch + "/fail-systemd-run").close();
  toggleSsh("Availability Timeout: Error");
  EXPECT_TRUE(Contains(console.Text(), "systemd-run failed")) << console.Text();
  Press(console, Key::kEnter, "Disable SSH");
  fs::remove(_scratch + "/fail-systemd-run");
  toggleSsh("Enable SSH");
  // Each switch on replaces the timer of the last; the timer disables only SSH.
  const std::string armed = toggleSsh("Disable SSH");
  ExpectHas(armed, {"systemctl enable --now ssh.service\n",
                    "systemctl stop merel-ssh-availability.timer\nsystemd-run "
                    "--unit=merel-ssh-availability --description=Switch off ssh.service after the "
                    "availability timeout --on-active=300s --timer-property=AccuracySec=1s "
                    "--collect /bin/systemctl disable --now ssh.service\n"});
  ExpectLacks(armed, {"getty"});
  ExpectHas(toggleSsh("Enable SSH"), {"systemctl disable --now ssh.service\n",
                                      "systemctl stop merel-ssh-availability.timer\n"});

  // Read back from the files; 0 takes the profile away and stops any timer.
  Choose(console, timeouts, "Idle timeout");
  EXPECT_TRUE(Contains(RowWith(console, "Availability timeout"), "5")) << console.Text();
  EXPECT_TRUE(Contains(RowWith(console, "Idle timeout"), "15")) << console.Text();
  std::ofstream(_scratch + "/calls", std::ios::trunc).close();
  set("\1770", "\177\1770");  // deletes (DEL) the digits, then 0
  EXPECT_FALSE(fs::exists(profile));
  ExpectHas(Slurp(options), {"\n/UserVars/TarvikShellTimeOut = 0\n"});
  ExpectHas(Calls(), {"systemctl stop merel-shell-availability.timer\n",
                      "systemctl stop merel-ssh-availability.timer\n"});
}

}  // namespace
