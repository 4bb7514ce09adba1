// The console on the Linux host backend (merel --host linux), run only
// inside mount, network and UTS namespaces that each test creates: a private
// copy of /etc (its own passwd, shadow, group, host name, PAM service and
// console switch) is mounted over /etc, a fresh /run over /run, and the
// power and service commands are replaced by a recorder, all inside that
// mount namespace alone. The script that builds the namespace refuses to
// start the console unless every replacement is in place, so nothing the
// console does can reach the machine the tests run on.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;
namespace fs = std::filesystem;

constexpr const char* kF12 = "\x1b[24~";
constexpr const char* kHostName = "merel-ns-host";
constexpr int kNameRow = 13;

// Builds the namespace from inside it (run by `unshare`), then becomes the
// console. @S@ is the scratch folder, @MEREL@ the console, @PAM@ the
// packaged PAM service.
const char kSetup[] = R"SH(#!/bin/sh
set -e
S=@S@
hostname @HOST@
cp -a /etc "$S/etc"
echo @HOST@ > "$S/etc/hostname"
root_hash=$(openssl passwd -6 -salt merelroot rootpw)
plain_hash=$(openssl passwd -6 -salt merelplain plainpw)
sed -i "s|^root:[^:]*:|root:$root_hash:|" "$S/etc/shadow"
echo "plainuser:x:4242:4242::/nonexistent:/usr/sbin/nologin" >> "$S/etc/passwd"
echo "plainuser:$plain_hash:19000:0:99999:7:::" >> "$S/etc/shadow"
echo "plainuser:x:4242:" >> "$S/etc/group"
mkdir -p "$S/etc/merel"
: > "$S/etc/merel/console-login"
cp @PAM@ "$S/etc/pam.d/merel"
mount --bind "$S/etc" /etc
mount -t tmpfs tmpfs /run
if [ -e /dev/log ] || [ -L /dev/log ]; then mount --bind /dev/null /dev/log; fi
for tool in /usr/bin/systemctl /usr/sbin/poweroff /usr/sbin/reboot /usr/sbin/shutdown /usr/sbin/halt; do
  if [ -e "$tool" ]; then mount --bind "$S/recorder" "$tool"; fi
done
# Nothing starts unless the machine's commands and files are out of reach.
for tool in /bin/systemctl /usr/bin/systemctl /sbin/poweroff /sbin/reboot; do
  if [ -e "$tool" ] && ! grep -q merel-test-recorder "$tool"; then
    echo "NAMESPACE NOT SAFE: $tool is not the recorder"; sleep 600; exit 97
  fi
done
if [ ! -e /bin/systemctl ]; then echo "NAMESPACE NOT SAFE: no recorder"; sleep 600; exit 97; fi
if [ "$(cat /proc/sys/kernel/hostname)" != @HOST@ ] || ! grep -q '^plainuser:' /etc/shadow; then
  echo "NAMESPACE NOT SAFE: host name or /etc are the machine's"; sleep 600; exit 98
fi
# The namespace's own adapters, and /sys showing them rather than the machine's.
ip link add mgmt0 type veth peer name mgmt1
ip addr add 10.99.0.2/24 dev mgmt0
ip link set mgmt1 up
ip link set mgmt0 up
mount -t sysfs sysfs /sys
export LIBVIRT_DEFAULT_URI=test:///default
exec @MEREL@ --host linux
)SH";

const char kRecorder[] = R"SH(#!/bin/sh
# merel-test-recorder
echo "$(basename "$0") $*" >> @S@/calls
case "$1" in is-active|is-enabled) exit 3 ;; esac
exit 0
)SH";

std::string Replace(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

std::string Slurp(const std::string& path) {
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

class LinuxHostTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (std::system("unshare --mount --net --uts true >/dev/null 2>&1") != 0) {
      GTEST_SKIP() << "cannot create mount, network and UTS namespaces here (needs root or "
                      "user namespaces); the Linux host is only ever tested inside them";
    }
    char pattern[] = "/tmp/merel-linux-ns-XXXXXX";
    _scratch = mkdtemp(pattern);
    const std::string pam = std::string(MEREL_SOURCE_DIR) + "/packaging/pam.d/merel";
    std::string setup = Replace(kSetup, "@S@", _scratch);
    setup = Replace(setup, "@HOST@", kHostName);
    setup = Replace(setup, "@MEREL@", MEREL_BIN);
    setup = Replace(setup, "@PAM@", pam);
    std::ofstream(_scratch + "/setup.sh") << setup;
    std::ofstream(_scratch + "/recorder") << Replace(kRecorder, "@S@", _scratch);
    fs::permissions(_scratch + "/recorder", fs::perms::owner_all | fs::perms::group_read |
                                                fs::perms::group_exec | fs::perms::others_read |
                                                fs::perms::others_exec);
  }
  void TearDown() override {
    if (_console && _console->Running()) {
      _console->Signal(SIGKILL);
      _console->WaitForExit();
    }
    _console.reset();
    if (!_scratch.empty())
      fs::remove_all(_scratch);
  }

  Terminal& Start() {
    _console = std::make_unique<Terminal>();
    EXPECT_TRUE(_console->Start({"/usr/bin/unshare", "--mount", "--net", "--uts",
                                 "--propagation", "private", "/bin/sh", _scratch + "/setup.sh"}));
    return *_console;
  }
  std::string Calls() const { return Slurp(_scratch + "/calls"); }

  // F2 (or F12) and a login; true once `expected` shows.
  bool LogIn(Terminal& console,
             const char* key,
             const std::string& user,
             const std::string& password,
             const std::string& expected) {
    if (!WaitQuiet(console, "http://" + std::string(kHostName) + "/"))
      return false;
    console.Send(key);
    if (!WaitQuiet(console, "Authentication Required"))
      return false;
    if (user != "root") {
      console.SendKey(Key::kUp);
      console.SendText(user);
      console.WaitFor([&] { return CellText(console, kNameRow, 39, 26) == user; });
      console.SendKey(Key::kDown);
    }
    console.SendText(password);
    console.SendKey(Key::kEnter);
    return WaitQuiet(console, expected);
  }

  std::string _scratch;
  std::unique_ptr<Terminal> _console;
};

std::string CpuModel() {
  std::ifstream cpuinfo("/proc/cpuinfo");
  std::string line;
  while (std::getline(cpuinfo, line)) {
    if (line.rfind("model name", 0) == 0)
      return line.substr(line.find(':') + 2);
  }
  return "";
}

TEST_F(LinuxHostTest, WelcomeShowsTheNamespacesHostNameAndTheMachinesHardware) {
  Terminal& console = Start();
  ASSERT_TRUE(WaitQuiet(console, "http://" + std::string(kHostName) + "/")) << console.Text();
  EXPECT_TRUE(Contains(console.Text(), "http://10.99.0.2/")) << console.Text();
  EXPECT_TRUE(Contains(console.Text(), "GiB Memory")) << console.Text();
  const std::string model = CpuModel();
  if (!model.empty()) {
    EXPECT_TRUE(Contains(console.Text(), " x " + model.substr(0, 20))) << console.Text();
  }
  EXPECT_FALSE(Contains(console.Text(), "Tarvik")) << console.Text();
}

struct LoginCase {
  const char* name;
  const char* user;
  const char* password;
  const char* expected;
};

class LinuxLoginTest : public LinuxHostTest, public ::testing::WithParamInterface<LoginCase> {};

TEST_P(LinuxLoginTest, RealPamAgainstThePrivateShadowFile) {
  const LoginCase& c = GetParam();
  Terminal& console = Start();
  ASSERT_TRUE(LogIn(console, "\x1bOQ", c.user, c.password, c.expected)) << console.Text();
}

INSTANTIATE_TEST_SUITE_P(
    Linux,
    LinuxLoginTest,
    ::testing::Values(LoginCase{"RootAdmitted", "root", "rootpw", "System Customization"},
                      LoginCase{"WrongPasswordRefused", "root", "nope",
                                "Invalid login or password."},
                      // A local account outside the administrators' group.
                      LoginCase{"PlainAccountRefused", "plainuser", "plainpw",
                                "Invalid login or password."}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(LinuxHostTest, SshIsEnabledAndStartedThroughSystemd) {
  Terminal& console = Start();
  ASSERT_TRUE(LogIn(console, "\x1bOQ", "root", "rootpw", "System Customization"))
      << console.Text();
  ASSERT_TRUE(SelectEntry(console, "Troubleshooting Options")) << console.Text();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, "Troubleshooting Mode Options")) << console.Text();
  // The recorder says the service is not running.
  console.SendKey(Key::kDown);
  ASSERT_TRUE(console.WaitFor([&] { return RightTitle(console) == "SSH Support"; }))
      << console.Text();
  console.SendKey(Key::kEnter);
  ASSERT_TRUE(WaitQuiet(console, "Disable SSH")) << console.Text();
  const std::string calls = Calls();
  EXPECT_TRUE(Contains(calls, "systemctl is-active --quiet ssh.service\n")) << calls;
  EXPECT_TRUE(Contains(calls, "systemctl enable --now ssh.service\n")) << calls;
  EXPECT_FALSE(Contains(calls, "poweroff")) << calls;
}

TEST_F(LinuxHostTest, ShutDownPowersOffThroughSystemd) {
  Terminal& console = Start();
  ASSERT_TRUE(LogIn(console, kF12, "root", "rootpw", "Forcefully terminate")) << console.Text();
  console.SendKey(Key::kF2);
  ASSERT_TRUE(console.WaitFor([&] { return Contains(Calls(), "systemctl poweroff\n"); }))
      << Calls() << console.Text();
  EXPECT_FALSE(Contains(Calls(), "reboot")) << Calls();
}

}  // namespace
