// "Restore DVS" on a host whose management port is blocked and whose uplinks have
// no link: the repair, a failing one, and the refusal when no adapter could
// carry it.

#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;

// The port's dead uplinks come unchecked; choosing nothing is refused;
// choosing only them is asked about; the free adapter and vSwitch0's adapter are chosen, the latter
// after its confirmation. The host then has the new port with the VLAN of
// the old one, nex0 on it, and pnic3 moved.
TEST(RestoreDvsTest, RepairMovesTheInterfaceToAHostLocalPort) {
  SimHost host("dvs-broken");
  auto console = OpenEntry(host, "Network Restore Options", "Restore DVS");
  Choose(*console, "Restore DVS", "Choose the uplinks of the new port?");
  ExpectGoldenScreen(*console, "dvs-repair");

  Press(*console, Key::kEnter, "DVS Uplinks");
  ExpectGoldenScreen(*console, "dvs-uplinks");
  Press(*console, Key::kEnter, "No uplinks were selected.");
  // The port's own uplinks have no link: choosing only them is asked about,
  // and Esc goes back to the list.
  Type(*console, {Key::kEnter, Key::kSpace, Key::kDown, Key::kSpace});
  Press(*console, Key::kEnter, "None of the chosen adapters has link.");
  PressGone(*console, Key::kEscape, "None of the chosen");
  Type(*console, {Key::kSpace, Key::kUp, Key::kSpace, Key::kDown, Key::kDown, Key::kSpace,
                  Key::kDown, Key::kSpace});
  Press(*console, Key::kEnter, "pnic3 will be removed from vSwitch0 and added to DSwitch-Prod.");
  Press(*console, Key::kEnter, "hlp-DSwitch-Prod#0 of DSwitch-Prod.");

  const nlohmann::json network = host.HostJson()["network"];
  const nlohmann::json* nex0 = Named(network["nics"], "nex0");
  const nlohmann::json* vSwitch0 = Named(network["vswitches"], "vSwitch0");
  const nlohmann::json* dvs = Named(network["dvswitches"], "DSwitch-Prod");
  ASSERT_TRUE(nex0 && vSwitch0 && dvs) << network.dump(2);
  const nlohmann::json* port = Named((*dvs)["ports"], "hlp-DSwitch-Prod#0", "key");
  ASSERT_TRUE(port) << dvs->dump(2);
  // The switch has taken the adapters; the new port is open, the old one
  // stays as the manager left it.
  EXPECT_EQ(List({nex0->value("dvPort", ""), (*vSwitch0)["uplinks"], (*port)["activeUplinks"],
                  port->value("vlanId", 0), (*dvs)["uplinks"], port->value("blocked", true),
                  Named((*dvs)["ports"], "12", "key")->value("blocked", false)}),
            List({"hlp-DSwitch-Prod#0", nlohmann::json::array(), {"pnic2", "pnic3"}, 20,
                  {"pnic0", "pnic1", "pnic2", "pnic3"}, false, true}));
  EXPECT_TRUE(
      host.WaitForSyslog("Restoring DVS port: moving management interface nex0 to host-local port "
                         "hlp-DSwitch-Prod#0"));
  ExpectHas(host.ObsvLog(), {"obsv.user.merel.dvs.port.restored"});

  // The host refuses the next port: its text is logged and shown, and the
  // interface stays where it was.
  FailCall(host, "DVPortImpl.AddHostLocalPort", "no free port", true);
  PressGone(*console, Key::kEnter, "hlp-DSwitch-Prod#0 of DSwitch-Prod.");
  Press(*console, Key::kEnter, "Choose the uplinks of the new port?");
  Press(*console, Key::kEnter, "DVS Uplinks");
  Press(*console, Key::kEnter, "Restore DVS: Error");
  ExpectHas(console->Text(), {"no free port"});
  ExpectLogged(host, {"Restoring DVS port failed: no free port"});
  EXPECT_EQ(Named(host.HostJson()["network"]["nics"], "nex0")->value("dvPort", ""),
            "hlp-DSwitch-Prod#0");

  // Once more, with the uplinks offered: the next port, and the host-local
  // port it replaces is gone.
  PressGone(*console, Key::kEnter, "Restore DVS: Error");
  Press(*console, Key::kEnter, "Choose the uplinks of the new port?");
  Press(*console, Key::kEnter, "DVS Uplinks");
  Press(*console, Key::kEnter, "hlp-DSwitch-Prod#1 of DSwitch-Prod.");
  const nlohmann::json after = host.HostJson()["network"];
  const nlohmann::json& ports = (*Named(after["dvswitches"], "DSwitch-Prod"))["ports"];
  EXPECT_EQ(List({ports.size(), ports[0]["key"], ports.back()["key"],
                  Named(after["nics"], "nex0")->value("dvPort", "")}),
            List({2, "12", "hlp-DSwitch-Prod#1", "hlp-DSwitch-Prod#1"}));
}

// Every adapter belongs to another distributed switch and the broken port's
// switch has none: the refusal says why, and the host is left alone.
TEST(RestoreDvsTest, NoUplinkToOfferIsRefused) {
  SimHost host("dvs-broken");
  ModifyHost(host, [](nlohmann::json& state) {
    auto& network = state["network"];
    network["vswitches"] = nlohmann::json::array();
    network["dvswitches"][0]["uplinks"] = nlohmann::json::array();
    network["dvswitches"].push_back(
        {{"name", "DSwitch-Lab"}, {"uplinks", {"pnic0", "pnic1", "pnic2", "pnic3"}}});
  });
  const nlohmann::json before = host.HostJson();
  auto console = OpenEntry(host, "Network Restore Options", "Restore DVS");
  Choose(*console, "Restore DVS", "No DVS Uplinks: Error");
  Press(*console, Key::kEnter, "Network Restore Options");
  EXPECT_EQ(host.HostJson(), before);
}

}  // namespace
