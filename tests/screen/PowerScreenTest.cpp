// Shutting down and restarting the host (F12), the factory reset and the DriverVM
// devices, and the simulated host coming back up afterwards.
#include <signal.h>

#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;

// F12 on the welcome screen and the login, up to the shut-down dialog.
void OpenShutdown(Terminal& console) {
  Press(console, Key::kF12, "Authentication Required");
  console.SendText("merel");
  Press(console, Key::kEnter, "Forcefully terminate");
}

std::string VmStop(const nlohmann::json& state, const std::string& name) {
  const nlohmann::json* vm = Named(state.at("vms"), name);
  return vm ? vm->value("lastStop", "") : "?";
}

// The lines of tools.log from the first that begins with `first`.
std::string ToolsFrom(const SimHost& host, const std::string& first) {
  const std::string log = host.ReadFile("/var/log/tools.log");
  const auto at = log.find(first);
  return at == std::string::npos ? "" : log.substr(at);
}

TEST(PowerScreenTest, ShutDownFromTheWelcomeScreenAndPowerOnAgain) {
  SimHost host;
  auto console = host.StartConsole();
  OpenShutdown(*console);
  ExpectGoldenScreen(*console, "shutdown");
  console->SendKey(Key::kF2);
  // The host takes the console down; it is not asked to leave.
  ExpectExit(*console, SIGKILL);
  ExpectHas(console->Raw(), {"Shutdown in progress..."});

  const auto state = host.HostJson();
  // db-01 ignores a soft stop.
  EXPECT_EQ(List({state["powerState"], VmStop(state, "web-01"), VmStop(state, "db-01")}),
            List({"off", "shut down", "host went down"}));
  EXPECT_EQ(ToolsFrom(host, "rovi-cmd -U root hostsvc/autostartmanager/autostop"),
            "rovi-cmd -U root hostsvc/autostartmanager/autostop\npowerOffVms\npoweroff\n");
  ExpectHas(host.Syslog(), {"Shutting down host"});
  ExpectHas(host.ObsvLog(), {"[obsv.user.merel.shutdown.host] Shutting down host"});

  // Powered on again: the boot is logged once the host is on, with its count.
  Expect(*host.StartConsole(), "<F12>");
  ExpectHas(host.ReadFile("/var/log/hostboot.log"), {"boot 2"});
}

// Enter does not act; Esc leaves with nothing stopped: the host would take
// the console down, and the tools' log would not start with the restart's
// own power-off. The restart then terminates the virtual machines that do
// not stop.
TEST(PowerScreenTest, RestartTerminatingTheVirtualMachines) {
  SimHost host;
  auto console = host.StartConsole();
  OpenShutdown(*console);
  Type(*console, {Key::kEnter});
  PressGone(*console, Key::kEscape, "Forcefully");
  Expect(*console, "<F12>");

  OpenShutdown(*console);
  Press(*console, Key::kSpace, "[X] Forcefully");
  console->SendKey(Key::kF11);
  ExpectExit(*console, SIGKILL);

  const auto state = host.HostJson();
  EXPECT_EQ(List({state["powerState"], VmStop(state, "db-01")}), List({"rebooting", "terminated"}));
  EXPECT_EQ(ToolsFrom(host, "powerOffVms"), "powerOffVms --terminate\nreboot\n");
  ExpectHas(host.ObsvLog(), {"[obsv.user.merel.reboot.host] Rebooting host"});

  // With the flag the restart is over at once.
  Terminal again;
  ASSERT_TRUE(again.Start({MEREL_SIM_BIN, "run", "--now", host.Path("")}));
  EXPECT_TRUE(WaitQuiet(again, "<F12>")) << again.Text();
  EXPECT_EQ(host.HostJson()["powerState"], "on");
}

// The console's idle time-out, found by name: the host's options are a list.
constexpr char kIdleTimeout[] = "/UserVars/MerelTimeOut";

// Enter does not confirm and Esc goes back to the menu; F11 resets to the
// factory state, once (the count and the tools' log say so); there is no
// way back, Enter restarts.
TEST(ResetScreenTest, OnlyF11ResetsToTheFactoryStateAndRestarts) {
  SimHost host;
  ModifyHost(host, [](nlohmann::json& state) {
    state["network"]["dns"]["hostname"] = "renamed";
    for (nlohmann::json& option : state["advancedOptions"]) {
      if (option["name"] == kIdleTimeout) {
        option["value"] = 300;
      }
    }
  });
  auto console = OpenEntry(host, "Reset System Configuration", "Reset System Configuration now?");
  ExpectGoldenScreen(*console, "reset-confirm");
  Type(*console, {Key::kEnter});
  PressToMenu(*console, Key::kEscape);

  Press(*console, Key::kEnter, "Reset System Configuration now?");
  Press(*console, Key::kF11, "Default settings are restored.");
  ExpectGoldenScreen(*console, "reset-done");
  ExpectHas(host.ObsvLog(),
            {"[obsv.user.merel.restore.factory.defaults] Restoring factory defaults"});
  Type(*console, {Key::kEscape});
  EXPECT_TRUE(console->Running());
  console->SendKey(Key::kEnter);
  ExpectExit(*console, SIGKILL);

  const auto state = host.HostJson();
  EXPECT_EQ(List({state["configResets"], state["powerState"], state["network"]["dns"]["hostname"],
                  Named(state["advancedOptions"], kIdleTimeout)->at("value")}),
            List({1, "rebooting", "merel-demo", 600}));
  EXPECT_EQ(ToolsFrom(host, "configReset.sh"), "configReset.sh --reset-only\nreboot -f\n");
  ExpectHas(host.Syslog(), {"Restoring factory defaults"});
}

nlohmann::json Device(const SimHost& host, const std::string& address) {
  const auto state = host.HostJson();
  const nlohmann::json* device = Named(state["hardware"]["pciDevices"], address, "address");
  return device ? *device : nlohmann::json();
}

// Space on the GPU names every device that changes owner with it; Esc there
// keeps the previous choice, Enter takes its audio function along. Enter
// saves both for the next boot, which applies them. A save the host refuses
// is reported under an error title; the list comes back with the user's
// choices, and saving again (once the host accepts) stores them.
TEST(DriverVmScreenTest, GroupToggledTogetherAndSavedForTheNextBoot) {
  SimHost host("device-assignment-2");
  auto console = OpenEntry(host, "Configure DriverVM Devices", "DriverVM Configuration");
  ExpectGoldenScreen(*console, "drivervm");
  for (const auto& [answer, marks] :
       {std::pair{Key::kEscape, "[ ] "}, std::pair{Key::kEnter, "[X] "}}) {
    Press(*console, Key::kSpace, "Device Assignment Warning");
    ExpectHas(console->Text(),
              {"0000:3b:00.0  NVIDIA Corporation GA102GL [A10]",
               "0000:3b:00.1  NVIDIA Corporation GA102 High Definition Audio", "<Esc> Cancel"});
    PressGone(*console, answer, "Device Assignment Warning");
    ExpectHas(console->Text(), {"DriverVM Configuration", std::string(marks) + "0000:3b:00.0",
                                std::string(marks) + "0000:3b:00.1"});
  }
  EXPECT_EQ(Device(host, "0000:3b:00.0").value("passthroughAfterReboot", -1), -1);  // not yet saved
  Press(*console, Key::kEnter, "The device assignment has been saved.");
  PressToMenu(*console, Key::kEnter);
  for (const char* address : {"0000:3b:00.0", "0000:3b:00.1"}) {
    EXPECT_EQ(Fields(Device(host, address), {"passthroughAfterReboot", "passthrough"}),
              List({1, false}))
        << address;
  }
  EXPECT_EQ(Device(host, "0000:af:00.0").value("passthroughAfterReboot", -1), -1);

  // Opened again it shows the change waiting; Esc leaves what was saved.
  Press(*console, Key::kEnter, "DriverVM Configuration");
  ExpectHas(console->Text(), {"Host -> DriverVM"});
  Type(*console, {Key::kDown, Key::kDown});
  Press(*console, Key::kSpace, "[ ] 0000:af:00.0");
  PressToMenu(*console, Key::kEscape);
  EXPECT_EQ(Device(host, "0000:af:00.0").value("passthroughAfterReboot", -1), -1);

  FailCall(host, "SaveAssignment", "read-only file system", true);
  Press(*console, Key::kEnter, "DriverVM Configuration");
  Type(*console, {Key::kDown, Key::kDown, Key::kSpace});
  Expect(*console, "[ ] 0000:af:00.0");
  Press(*console, Key::kEnter, "Device Assignment Error");
  ExpectHas(console->Text(), {"read-only file system"});
  ExpectLogged(host, {"Saving device assignment failed: read-only file system"});
  PressGone(*console, Key::kEnter, "Device Assignment Error");
  ExpectHas(console->Text(), {"DriverVM Configuration", "[ ] 0000:af:00.0  Mellanox"});
  EXPECT_EQ(Device(host, "0000:af:00.0").value("passthroughAfterReboot", -1), -1);
  Press(*console, Key::kEnter, "The device assignment has been saved.");
  PressToMenu(*console, Key::kEnter);
  EXPECT_EQ(Device(host, "0000:af:00.0").value("passthroughAfterReboot", -1), 0);
}

}  // namespace
