// F12 on the welcome screen: after a login, shut the host down or restart
// it, with or without forcing the virtual machines off; and the simulated
// host coming back up afterwards.
#include <signal.h>

#include <string>

#include <gtest/gtest.h>

#include "Harness.h"
#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;

constexpr const char* kF11 = "\x1b[23~";
constexpr const char* kF12 = "\x1b[24~";

// F12, the login, up to the shut-down dialog.
std::unique_ptr<Terminal> OpenShutdown(SimHost& host) {
  auto console = host.StartConsole();
  console->Send(kF12);
  EXPECT_TRUE(WaitQuiet(*console, "Authentication Required")) << console->Text();
  console->SendText("merel");
  console->SendKey(Key::kEnter);
  EXPECT_TRUE(WaitQuiet(*console, "Forcefully terminate")) << console->Text();
  return console;
}

std::string VmStop(const nlohmann::json& state, const std::string& name) {
  for (const auto& vm : state["vms"]) {
    if (vm["name"] == name)
      return vm.value("lastStop", "");
  }
  return "?";
}

// The lines of tools.log from the first that begins with `first`.
std::string ToolsFrom(const SimHost& host, const std::string& first) {
  const std::string log = host.ReadFile("/var/log/tools.log");
  const auto at = log.find(first);
  return at == std::string::npos ? "" : log.substr(at);
}

TEST(PowerScreenTest, ShutDownFromTheWelcomeScreenAndPowerOnAgain) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenShutdown(host);
  ExpectGoldenScreen(*console, "shutdown");
  console->SendKey(Key::kF2);
  auto status = console->WaitForExit();
  ASSERT_TRUE(status) << console->Text();
  // The host takes the console down; it is not asked to leave.
  EXPECT_EQ(status->signal, SIGKILL) << status->Describe();
  EXPECT_NE(console->Raw().find("Shutdown in progress..."), std::string::npos);
  EXPECT_NE(console->Text().find("the host is powered off"), std::string::npos) << console->Text();

  const auto state = host.HostJson();
  EXPECT_EQ(state["powerState"], "off");
  EXPECT_EQ(VmStop(state, "web-01"), "shut down");
  EXPECT_EQ(VmStop(state, "db-01"), "host went down");  // ignores a soft stop
  EXPECT_EQ(ToolsFrom(host, "rovi-cmd -U root hostsvc/autostartmanager/autostop"),
            "rovi-cmd -U root hostsvc/autostartmanager/autostop\npowerOffVms\npoweroff\n");
  EXPECT_NE(host.Syslog().find("Shutting down host"), std::string::npos);
  EXPECT_NE(host.ObsvLog().find("[obsv.user.merel.shutdown.host] Shutting down host"),
            std::string::npos);

  auto again = host.StartConsole();
  EXPECT_TRUE(WaitQuiet(*again, "<F12>")) << again->Text();
  EXPECT_EQ(host.HostJson()["powerState"], "on");
  EXPECT_EQ(host.HostJson()["bootCount"], 2);
  EXPECT_NE(host.ReadFile("/var/log/hostboot.log").find("boot 2"), std::string::npos);
}

TEST(PowerScreenTest, RestartTerminatingTheVirtualMachines) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenShutdown(host);
  console->SendKey(Key::kSpace);
  EXPECT_TRUE(console->WaitForText("[X] Forcefully")) << console->Text();
  console->WaitUntilQuiet();
  console->Send(kF11);
  auto status = console->WaitForExit();
  ASSERT_TRUE(status) << console->Text();
  EXPECT_EQ(status->signal, SIGKILL) << status->Describe();

  const auto state = host.HostJson();
  EXPECT_EQ(state["powerState"], "rebooting");
  EXPECT_EQ(VmStop(state, "db-01"), "terminated");
  EXPECT_EQ(ToolsFrom(host, "powerOffVms"), "powerOffVms --terminate\nreboot\n");
  EXPECT_NE(host.ObsvLog().find("[obsv.user.merel.reboot.host] Rebooting host"), std::string::npos);

  // With the flag the restart is over at once.
  Terminal again;
  ASSERT_TRUE(again.Start({MEREL_SIM_BIN, "run", "--now", host.Path("")}));
  EXPECT_TRUE(WaitQuiet(again, "<F12>")) << again.Text();
  EXPECT_EQ(host.HostJson()["powerState"], "on");
}

// Enter does not act; Esc leaves with nothing logged, stopped or changed.
TEST(PowerScreenTest, EscapeCancelsWithNothingDone) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenShutdown(host);
  console->SendKey(Key::kEnter);
  console->WaitUntilQuiet();
  console->SendKey(Key::kEscape);
  EXPECT_TRUE(console->WaitFor([&] { return console->Text().find("Forcefully") == std::string::npos; }))
      << console->Text();
  EXPECT_TRUE(WaitQuiet(*console, "<F12>"));
  EXPECT_TRUE(console->Running());
  EXPECT_EQ(host.HostJson()["powerState"], "on");
  EXPECT_EQ(host.ReadFile("/var/log/tools.log").find("powerOffVms"), std::string::npos);
  for (const char* text : {"Shutting down host", "Rebooting host"}) {
    EXPECT_EQ(host.Syslog().find(text), std::string::npos) << text;
    EXPECT_EQ(host.ObsvLog().find(text), std::string::npos) << text;
  }
}

}  // namespace

namespace {

std::unique_ptr<Terminal> OpenReset(SimHost& host) {
  auto console = LogIn(host);
  if (!console)
    return console;
  EXPECT_TRUE(SelectEntry(*console, "Reset System Configuration"));
  console->SendKey(Key::kEnter);
  EXPECT_TRUE(WaitQuiet(*console, "Reset System Configuration now?")) << console->Text();
  return console;
}

// Enter does not confirm and Esc goes back: nothing logged, run or changed.
TEST(ResetScreenTest, OnlyF11Confirms) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  auto console = OpenReset(host);
  ASSERT_TRUE(console);
  ExpectGoldenScreen(*console, "reset-confirm");
  console->SendKey(Key::kEnter);
  console->WaitUntilQuiet();
  EXPECT_NE(console->Text().find("Reset System Configuration now?"), std::string::npos);
  console->SendKey(Key::kEscape);
  EXPECT_TRUE(WaitForMenu(*console)) << console->Text();
  EXPECT_EQ(host.ReadFile("/var/log/tools.log").find("configReset"), std::string::npos);
  EXPECT_EQ(host.Syslog().find("Restoring factory defaults"), std::string::npos);
  EXPECT_EQ(host.HostJson()["configResets"], 0);
}

TEST(ResetScreenTest, F11ResetsToTheFactoryStateAndRestarts) {
  SimHost host;
  ASSERT_TRUE(host.Ok());
  SetIdleTimeout(host, 300);
  ModifyHost(host, [](nlohmann::json& state) { state["network"]["dns"]["hostname"] = "renamed"; });
  auto console = OpenReset(host);
  ASSERT_TRUE(console);
  console->Send(kF11);
  ASSERT_TRUE(WaitQuiet(*console, "Default settings are restored.")) << console->Text();
  ExpectGoldenScreen(*console, "reset-done");
  EXPECT_NE(host.ObsvLog().find("[obsv.user.merel.restore.factory.defaults] Restoring factory "
                                "defaults"),
            std::string::npos);
  // No way back: Esc is ignored, Enter restarts.
  console->SendKey(Key::kEscape);
  console->WaitUntilQuiet();
  EXPECT_TRUE(console->Running());
  console->SendKey(Key::kEnter);
  auto status = console->WaitForExit();
  ASSERT_TRUE(status) << console->Text();
  EXPECT_EQ(status->signal, SIGKILL) << status->Describe();

  const auto state = host.HostJson();
  EXPECT_EQ(state["configResets"], 1);
  EXPECT_EQ(state["powerState"], "rebooting");
  EXPECT_EQ(state["network"]["dns"]["hostname"], "merel-demo");
  EXPECT_EQ(state["advancedOptions"][0]["value"], 600);
  EXPECT_EQ(ToolsFrom(host, "configReset.sh"), "configReset.sh --reset-only\nreboot -f\n");
  EXPECT_NE(host.Syslog().find("Restoring factory defaults"), std::string::npos);
}

}  // namespace
