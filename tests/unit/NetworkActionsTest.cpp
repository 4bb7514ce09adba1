// The network actions without their dialogs: what the apply pass reports
// (failures in order, the restart it needs, the moment the address changed)
// and the outcome of the factory restore, on a simulated host with faults
// injected.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "NetworkApply.h"
#include "NetworkRestore.h"
#include "NetworkSettings.h"
#include "SimHostTestSupport.h"

namespace {

using SimHostTest::RunSim;
using SimHostTest::SimRoot;

void Fail(const SimRoot& root, const std::string& args) {
  ASSERT_EQ(RunSim("fail '" + root.Path() + "' " + args), 0) << args;
}

TEST(NetworkApplyTest, ReportsEveryFailureInOrderAndTheRestart) {
  struct {
    const char* name;
    std::vector<std::string> faults;
    bool toggleIpv6;
    bool newAddress;
    std::vector<std::string> failures;
    bool restartNeeded;
    int addressChanges;
  } cases[] = {
      {"nothing to do", {}, false, false, {}, false, 0},
      {"IPv6 switched", {}, true, false, {}, true, 0},
      {"new address", {}, false, true, {}, false, 1},
      {"IPv6 switch fails", {"SetNexIpv6Enabled off"}, false, false,
       {"Setting ipv6 configuration failed: off"}, false, 0},
      // A failure early on never stops the pass: the later steps still run
      // and report their own.
      {"two steps fail", {"SetNexIpv6Enabled off", "SetHostname read-only"}, true, true,
       {"Setting ipv6 configuration failed: off", "Setting DNS failed: read-only"}, true, 1},
      {"address write fails", {"SetIpConfig busy"}, false, true,
       {"Setting ip/ipv6 configuration failed: busy"}, false, 0},
  };
  for (const auto& c : cases) {
    SimRoot root;
    for (const std::string& fault : c.faults) {
      Fail(root, fault);
    }
    Merel::NetworkSettings settings;
    std::unique_ptr<HostCtl::Network::NexNic> nic;
    ASSERT_EQ(Merel::LoadNetworkSettings(settings, nic), Merel::LoadResult::kLoaded) << c.name;
    if (c.toggleIpv6) {
      settings.ipv6EnabledPending = !settings.ipv6EnabledCurrent;
    }
    if (c.newAddress) {
      settings.addresses.SetIpv4Address(HostCtl::Network::Ipv4Address("192.168.10.21"));
    }
    std::vector<std::string> shown;
    int addressChanges = 0;
    Merel::NetworkApplyProgress progress;
    progress.failed = [&](const std::string& failure) { shown.push_back(failure); };
    progress.addressChanged = [&] { ++addressChanges; };
    const Merel::NetworkApplyResult result = Merel::ApplyNetworkSettings(settings, *nic, progress);
    EXPECT_EQ(std::tuple(result.failures, shown, result.restartNeeded, addressChanges),
              std::tuple(c.failures, c.failures, c.restartNeeded, c.addressChanges))
        << c.name;
  }
}

// The machines' part of the factory restore: a host that cannot say whether
// machines run is not restored, and without machines nothing is powered off.
// (Running, stubborn and spared machines, and a failed clear, are restored
// through the real console by the network restore screen tests; so is every
// failed step of the standard-switch move.)
TEST(NetworkRestoreActionTest, StepsAndOutcome) {
  using Step = Merel::FactoryRestoreStep;
  using Outcome = Merel::FactoryRestoreOutcome;
  const struct {
    std::vector<std::string> faults;
    Outcome outcome;
    std::vector<Step> steps;
  } cases[] = {
      {{}, Outcome::kRestored, {Step::kConfiguring, Step::kConfigured}},
      {{"HasRunningVirtualMachines gone"}, Outcome::kFailed, {Step::kFailed}},
  };
  for (const auto& c : cases) {
    SimRoot root("static-ipv4");
    for (const std::string& fault : c.faults) {
      Fail(root, fault);
    }
    std::vector<Step> steps;
    const Outcome outcome = Merel::RestoreFactoryNetwork(
        [] { return true; }, [&](Step step) { steps.push_back(step); });
    EXPECT_EQ(outcome, c.outcome) << c.faults.size();
    EXPECT_EQ(steps, c.steps) << c.faults.size();
  }
}

}  // namespace
