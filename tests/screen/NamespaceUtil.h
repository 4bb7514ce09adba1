// What the Linux-host tests share: each runs the console inside mount,
// network and UTS namespaces of its own, built by a shell script from a
// scratch folder: a private copy of /etc, a fresh /run and /sys, and the
// service and power commands replaced by a recorder that notes each call in
// the folder's "calls" file. The script starts the console only once every
// replacement is in place, so nothing the console does can reach the machine
// the tests run on.
#pragma once

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace MerelNamespaceTest {

using namespace MerelMenuTest;
namespace fs = std::filesystem;

inline std::string Replace(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

inline std::string Slurp(const std::string& path) {
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// Stands in for a service or power command: notes the call in @S@/calls,
// and fails while @S@/fail-<command> exists.
constexpr const char* kRecorder = R"SH(#!/bin/sh
# merel-test-recorder
echo "$(basename "$0") $*" >> @S@/calls
if [ -e "@S@/fail-$(basename "$0")" ]; then exit 1; fi
case "$1" in is-active|is-enabled) exit 3 ;; esac
exit 0
)SH";

// Builds the namespace from inside it (run by `unshare`), then becomes the
// console. @S@ is the scratch folder, @HOST@ the host name, @MEREL@ the
// console, @PAM@ the packaged PAM service; @ETC@, @MOUNTS@, @NETWORK@ and
// @EXTRA@ are the test's own steps. Where a replacement is missing, the
// script waits until the test gives up.
constexpr const char* kSetup = R"SH(#!/bin/sh
set -e
export PATH=/usr/sbin:/usr/bin:/sbin:/bin
S=@S@
readlink /proc/$$/ns/net > "$S/host.ns"
hostname @HOST@
cp -a /etc "$S/etc"
echo @HOST@ > "$S/etc/hostname"
root_hash=$(openssl passwd -6 -salt merelroot rootpw)
sed -i "s|^root:[^:]*:|root:$root_hash:|" "$S/etc/shadow"
mkdir -p "$S/etc/merel"
: > "$S/etc/merel/console-login"
cp @PAM@ "$S/etc/pam.d/merel"
@ETC@
mount --bind "$S/etc" /etc
mount -t tmpfs tmpfs /run
@MOUNTS@
for tool in /usr/bin/systemctl /usr/bin/systemd-run /usr/bin/resolvectl \
    /usr/sbin/poweroff /usr/sbin/reboot /usr/sbin/shutdown /usr/sbin/halt; do
  if [ -e "$tool" ]; then mount --bind "$S/recorder" "$tool"; fi
done
for tool in /bin/systemctl /usr/bin/systemctl /usr/bin/systemd-run /usr/bin/resolvectl \
    /sbin/poweroff /sbin/reboot; do
  if [ -e "$tool" ] && ! grep -q merel-test-recorder "$tool"; then
    echo "NAMESPACE NOT SAFE: $tool is not the recorder"; sleep 600; exit 97
  fi
done
if [ ! -e /bin/systemctl ]; then echo "NAMESPACE NOT SAFE: no recorder"; sleep 600; exit 97; fi
if [ "$(cat /proc/sys/kernel/hostname)" != @HOST@ ] || ! grep -q @HOST@ /etc/hostname; then
  echo "NAMESPACE NOT SAFE: host name or /etc are the machine's"; sleep 600; exit 98
fi
if ip link show | grep -qv -e '^ ' -e ': lo:'; then
  echo "NAMESPACE NOT SAFE: the network namespace has links of its own"; sleep 600; exit 99
fi
@NETWORK@
mount -t sysfs sysfs /sys
@EXTRA@
export LIBVIRT_DEFAULT_URI=test:///default
if [ -e "$S/node.xml" ]; then export LIBVIRT_DEFAULT_URI="test://$S/node.xml"; fi
exec @MEREL@ --host linux
)SH";

// A test's own steps of the namespace script (shell, "$S" the scratch folder).
struct NamespaceSteps {
  const char* hostName;
  const char* etc;      // changes to the copy of /etc ("$S/etc") before it is mounted
  const char* mounts;   // mounts once /etc and /run are private, before the checks
  const char* network;  // the links, once the checks passed
};

// A scratch folder and the console in namespaces of its own. Each "*.ns" file
// the script leaves in the folder names a network namespace: at the end every
// process in one of them is killed, whether the test passed or not, and the
// namespaces go with their last process.
class NamespaceTest : public ::testing::Test {
 protected:
  explicit NamespaceTest(NamespaceSteps steps) : _steps(steps) {}

  void SetUp() override {
    if (std::system("unshare --mount --net --uts true >/dev/null 2>&1") != 0) {
      GTEST_SKIP() << "cannot create mount, network and UTS namespaces here (needs root or "
                      "user namespaces); the Linux host is only ever tested inside them";
    }
    std::string pattern = "/tmp/merel-linux-ns-XXXXXX";
    _scratch = mkdtemp(pattern.data());
    WriteRecorder(_scratch + "/recorder");
  }

  void TearDown() override {
    _console.reset();  // kills the console's process group and reaps it
    if (_scratch.empty())
      return;
    std::set<std::string> spaces;
    for (const char* file : {"/host.ns", "/peer.ns"}) {
      if (const std::string space = Slurp(_scratch + file); !space.empty())
        spaces.insert(space.substr(0, space.find('\n')));
    }
    spaces.erase(NetNamespace(getpid()));
    for (const auto& entry : fs::directory_iterator("/proc")) {
      const int pid = std::atoi(entry.path().filename().c_str());
      if (pid > 1 && spaces.count(NetNamespace(pid)))
        kill(pid, SIGKILL);
    }
    fs::remove_all(_scratch);
  }

  static std::string NetNamespace(int pid) {
    std::error_code error;
    const fs::path target = fs::read_symlink("/proc/" + std::to_string(pid) + "/ns/net", error);
    return error ? "" : target.string();
  }

  void WriteRecorder(const std::string& path) const {
    std::ofstream(path) << Replace(kRecorder, "@S@", _scratch);
    fs::permissions(path, fs::perms(0755));
  }

  // `extra` runs in the namespace once its /sys is mounted.
  Terminal& Start(const std::string& extra = "") {
    // The test's steps first: they name the scratch folder and the host too.
    std::string script = kSetup;
    for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
             {"@ETC@", _steps.etc}, {"@MOUNTS@", _steps.mounts}, {"@NETWORK@", _steps.network},
             {"@EXTRA@", extra}, {"@S@", _scratch}, {"@HOST@", _steps.hostName},
             {"@MEREL@", MEREL_BIN},
             {"@PAM@", std::string(MEREL_SOURCE_DIR) + "/packaging/pam.d/merel"}})
      script = Replace(script, from, to);
    std::ofstream(_scratch + "/setup.sh") << script;
    _console = std::make_unique<Terminal>();
    EXPECT_TRUE(_console->Start({"/usr/bin/unshare", "--mount", "--net", "--uts", "--propagation",
                                 "private", "/bin/sh", _scratch + "/setup.sh"}));
    return *_console;
  }

  std::string Calls() const { return Slurp(_scratch + "/calls"); }
  // A file of the namespace's own /etc.
  std::string File(const std::string& path) const { return Slurp(_scratch + "/etc" + path); }

  // The welcome screen, or the test ends.
  void ExpectWelcome(Terminal& console) const {
    Expect(console, "http://" + std::string(_steps.hostName) + "/");
  }

  // `key` on the welcome screen and root's login, until `expected` shows;
  // otherwise the test ends.
  void LogIn(Terminal& console,
             Key key = Key::kF2,
             const std::string& expected = "System Customization") {
    ExpectWelcome(console);
    Press(console, key, "Authentication Required");
    console.SendText("rootpw");
    Press(console, Key::kEnter, expected);
  }

  // Start and LogIn.
  Terminal& StartLoggedIn(const std::string& extra = "",
                          Key key = Key::kF2,
                          const std::string& expected = "System Customization") {
    Terminal& console = Start(extra);
    LogIn(console, key, expected);
    return console;
  }

  const NamespaceSteps _steps;
  std::string _scratch;
  std::unique_ptr<Terminal> _console;
};

}  // namespace MerelNamespaceTest
