// The simulated host's side of shutting down, restarting and resetting: what
// its tools do to the virtual machines and the configuration, and that no
// request can reach the machine the tests run on.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "HostModel.h"
#include "HostState.h"
#include "Platform.h"
#include "SimHostTestSupport.h"

namespace {

using Platform::HostState;
using namespace SimHostTest;

// A stand-in for the machine's own "poweroff", outside the host root but
// reachable from it by "..", PATH and the like; it only leaves a mark. A
// failing refusal therefore runs this and never the real thing.
TEST(SimHostSafetyTest, ProgramsOutsideTheHostRootAreRefusedAndLogged) {
  SimRoot root;
  const std::string outside = root.Path() + "/..";
  const std::string mark = outside + "/ran";
  mkdir((outside + "/sbin").c_str(), 0755);
  std::ofstream(outside + "/sbin/poweroff") << "#!/bin/sh\n: > '" << mark << "'\n";
  chmod((outside + "/sbin/poweroff").c_str(), 0755);
  unlink((root.Path() + "/sbin/poweroff").c_str());

  const std::string commands[] = {
      root.Path() + "/../sbin/poweroff",
      "/bin/sh -c '" + root.Path() + "/../sbin/poweroff'",
      "PATH=" + outside + "/sbin poweroff",
      "cd " + outside + "/sbin && ./poweroff",
      "true; poweroff",  // the root has no poweroff of its own now
  };
  for (const auto& command : commands) {
    EXPECT_EQ(ExitCode(Platform::System(command.c_str())), 127) << command;
  }
  char name[] = "poweroff";
  char* const argv[] = {name, nullptr};
  EXPECT_EQ(Platform::Spawn("/../sbin/poweroff", argv, nullptr, 0, 1, 2), -1);

  EXPECT_NE(access(mark.c_str(), F_OK), 0) << "a program outside the host root ran";
  const std::string syslog = root.File("/var/log/syslog.log");
  EXPECT_NE(syslog.find("refused to run " + root.Path() + "/../sbin/poweroff"), std::string::npos);
  EXPECT_NE(syslog.find("refused to run poweroff"), std::string::npos) << syslog;
}

TEST(SimHostPowerTest, PowerOffVmsStopsSoftlyUnlessTerminating) {
  struct {
    bool terminate;
    int left;
    const char* hungStop;
  } cases[] = {{false, 1, ""}, {true, 0, "terminated"}};
  for (const auto& c : cases) {
    HostState state;
    state.vms = {{"web", true, false, ""}, {"hung", true, true, ""}, {"idle", false, false, ""}};
    EXPECT_EQ(Platform::Model::PowerOffVms(state, c.terminate), c.left);
    EXPECT_EQ(state.vms[0].lastStop, "shut down");
    EXPECT_EQ(state.vms[1].poweredOn, !c.terminate);
    EXPECT_EQ(state.vms[1].lastStop, c.hungStop);
    EXPECT_EQ(state.vms[2].lastStop, "");
    // Whatever is left dies with the host.
    Platform::Model::PowerOff(state);
    EXPECT_EQ(state.vms[1].lastStop, c.terminate ? "terminated" : "host went down");
  }
}

TEST(SimHostPowerTest, BootAppliesWhatWaitsForIt) {
  HostState state;
  state.powerState = "off";
  state.network.nics.push_back({});
  state.network.nics[0].ipv4Mode = "dhcp";
  state.hardware.pciDevices = {{"0000:3b:00.0", "V", "D", false, "", "", 1}};
  EXPECT_TRUE(Platform::Model::Boot(state));
  EXPECT_EQ(state.powerState, "on");
  EXPECT_EQ(state.bootCount, 2);
  EXPECT_EQ(state.network.nics[0].leaseRenewals, 1);
  EXPECT_NE(state.network.nics[0].leaseAddress, "");
  EXPECT_TRUE(state.hardware.pciDevices[0].passthrough);
  EXPECT_EQ(state.hardware.pciDevices[0].passthroughAfterReboot, -1);
  EXPECT_FALSE(Platform::Model::Boot(state));  // already up
  // A restart counts its boot when it starts.
  Platform::Model::Reboot(state);
  Platform::Model::Boot(state);
  EXPECT_EQ(state.bootCount, 3);
}

// A reset goes back to the description: network, password, options,
// lockdown, assignment; the world around the host and its machines stay.
TEST(SimHostPowerTest, ConfigResetReturnsToTheDescription) {
  SimRoot root("lockdown-possible");
  const HostState before = Platform::Current().Load();
  const std::string passwd = root.File("/etc/pam_matrix.passwd");
  Platform::Current().Modify([](HostState& s) {
    s.network.dns.hostname = "renamed";
    s.network.dns.records["extra.test"] = {"10.0.0.9"};
    s.network.nics[0].ipv4Address = "10.9.9.9";
    s.lockdown.enabled = true;
    s.advancedOptions[0].value = 61;
    s.vms.push_back({"new-vm", true, false, ""});
  });
  std::ofstream(root.Path() + "/etc/pam_matrix.passwd") << "root:changed:merel\n";

  EXPECT_EQ(ExitCode(Platform::System("/sbin/configReset.sh --reset-only > /dev/null 2>&1")), 0);
  const HostState after = Platform::Current().Load();
  EXPECT_EQ(after.network.dns.hostname, before.network.dns.hostname);
  EXPECT_EQ(after.network.nics[0].ipv4Address, before.network.nics[0].ipv4Address);
  EXPECT_EQ(after.lockdown.enabled, before.lockdown.enabled);
  EXPECT_EQ(after.advancedOptions[0].value, before.advancedOptions[0].value);
  EXPECT_EQ(root.File("/etc/pam_matrix.passwd"), passwd);
  EXPECT_EQ(after.network.dns.records.count("extra.test"), 1u);
  EXPECT_EQ(after.vms.size(), before.vms.size() + 1);
  EXPECT_EQ(after.configResets, 1);
}

}  // namespace
