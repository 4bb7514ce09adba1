// The switch side of the management network: uplinks among more adapters than the
// list shows, their order and the VLAN ID.

#include "NetworkScreenUtil.h"

namespace {

using namespace MerelNetworkTest;

// The adapter dialog's list on an 80 x 25 terminal: ten rows under the
// header, the device name after the check box.
constexpr int kFirstRow = 10, kRows = 10, kNameColumn = 7;

std::vector<std::string> ShownAdapters(const Terminal& console) {
  std::vector<std::string> names;
  for (int y = kFirstRow; y < kFirstRow + kRows; ++y) {
    names.push_back(CellText(console, y, kNameColumn, 12));
  }
  return names;
}

// The rows of `names` as shown, "" for one scrolled away.
std::vector<std::string> AdapterRows(const Terminal& console, std::vector<std::string> names) {
  for (std::string& name : names) {
    const auto shown = ShownAdapters(console);
    const auto at = std::find(shown.begin(), shown.end(), name);
    name = at == shown.end() ? "" : CellText(console, kFirstRow + int(at - shown.begin()), 3, 74);
  }
  return names;
}

// D on the focused adapter: its details, closed again by `close` (any key).
void ExpectDetails(Terminal& console,
                   const std::vector<std::string>& lines,
                   const char* golden = nullptr,
                   Key close = Key::kEnter) {
  console.SendText("d");
  Expect(console, "Adapter Details");
  ExpectHas(console.Text(), lines);
  if (golden != nullptr) {
    ExpectGoldenScreen(console, golden);
  }
  console.SendKey(close);
  ASSERT_TRUE(WaitGone(console, "Adapter Details")) << console.Text();
}

// Twelve adapters in listing order, scrolled to the last; details of the
// focused one; the refusal of no adapter; adapters taken from another
// standard switch and from a distributed switch after the confirmation;
// and the host's switches afterwards.
TEST(NetworkAdaptersTest, ChooseAmongManyAdapters) {
  SimHost host("many-adapters");
  auto console = OpenWindow(host);
  Choose(*console, "Network Adapters", "Device Name");

  const std::vector<std::string> order = {"eth0",  "pnic0", "pnic1", "pnic2", "pnic3", "pnic4",
                                          "pnic5", "pnic6", "pnic7", "pnic8", "pnic9", "pnic10"};
  EXPECT_EQ(ShownAdapters(*console),
            std::vector<std::string>(order.begin(), order.begin() + kRows));
  EXPECT_EQ(AdapterRows(*console, {"pnic0", "pnic3", "pnic5", "pnic6"}),
            (std::vector<std::string>{
                "[X] pnic0        Intel ... (00:50:56:a1:00:20) Connected vSwitch0",
                "[ ] pnic3        Intel ... (00:50:56:a1:00:23) Disconnected",
                "[ ] pnic5        Broadc... (00:50:56:a1:00:25) Connected DSwitch-Lab",
                "[ ] pnic6        (...) (00:50:56:a1:00:26)     Disconnected"}));

  // What the row shortened, the details show whole (pnic0's).
  Type(*console, {Key::kDown});
  ExpectDetails(*console, {}, "network-adapter-info");

  // Neither management adapter left: refused, and the list stays open.
  Type(*console, {Key::kSpace, Key::kDown, Key::kSpace});
  ExpectRefusal(*console, "Select at least one adapter.", "No adapter");

  // Only pnic3, which has no link: asked about, and Esc goes back to the list.
  Type(*console, {Key::kDown, Key::kDown, Key::kSpace});
  Press(*console, Key::kEnter, "None of the chosen adapters has link.");
  ExpectHas(console->Text(),
            {"Network Adapters: Warning", "pnic3: Disconnected", "Use these adapters anyway?"});
  PressGone(*console, Key::kEscape, "None of the chosen");
  Type(*console, {Key::kSpace});

  // pnic4 (another standard switch), pnic5 (a distributed switch), pnic6
  // (no label), and the last adapter, reached by scrolling.
  Type(*console, {Key::kDown, Key::kSpace, Key::kDown, Key::kSpace, Key::kDown, Key::kSpace});
  Type(*console, {Key::kDown, Key::kDown, Key::kDown, Key::kDown});
  EXPECT_EQ(ShownAdapters(*console), std::vector<std::string>(order.end() - kRows, order.end()));
  Type(*console, {Key::kSpace});
  const std::vector<std::string> pnic10 = {
      "[X] pnic10       Intel ... (00:50:56:a1:00:2a) Disconnected"};
  EXPECT_EQ(AdapterRows(*console, {"pnic10"}), pnic10);
  ExpectDetails(
      *console,
      {"Device Name: pnic10", "Hardware Label: Intel I350", "MAC Address: 00:50:56:a1:00:2a",
       "Connection Status: Disconnected", "Used By: None"},
      nullptr, Key::kSpace);
  // The Space that closed the details did not reach the list.
  EXPECT_EQ(AdapterRows(*console, {"pnic10"}), pnic10);

  // Taking adapters from other switches asks first; Esc keeps the list open.
  Press(*console, Key::kEnter, "Remove these adapters");
  ExpectHas(console->Text(), {"Network Adapters: Warning",
                              "pnic4 will be removed from vSwitch1 and added to vSwitch0.",
                              "pnic5 will be removed from DSwitch-Lab and added to vSwitch0."});
  PressGone(*console, Key::kEscape, "Remove these");
  Press(*console, Key::kEnter, "Remove these adapters");
  Accept(*console);
  // An adapter without a label goes by its MAC address.
  EXPECT_TRUE(RightText(*console).starts_with("pnic4 (Broadcom BCM5720)\npnic5 (Broadcom BCM5720)\n"
                                              "pnic6 (00:50:56:a1:00:26)\npnic10 (Intel I350)\n"))
      << console->Text();

  ApplyChanges(*console);
  const nlohmann::json state = host.HostJson();
  const nlohmann::json& network = state["network"];
  const nlohmann::json* vSwitch0 = Named(network["vswitches"], "vSwitch0");
  const nlohmann::json* vSwitch1 = Named(network["vswitches"], "vSwitch1");
  const nlohmann::json* dvSwitch = Named(network["dvswitches"], "DSwitch-Lab");
  ASSERT_TRUE(vSwitch0 && vSwitch1 && dvSwitch) << network.dump(1);
  EXPECT_EQ(Fields((*vSwitch0)["portGroups"][0], {"activeUplinks", "standbyUplinks"}),
            List({{"pnic4"}, {"pnic5", "pnic6", "pnic10"}}));
  ExpectHas((*vSwitch0)["uplinks"].dump(), {"pnic4\"", "pnic5\"", "pnic6\"", "pnic10\""});
  ExpectLacks((*vSwitch1)["uplinks"].dump(), {"pnic4\""});
  ExpectLacks((*dvSwitch)["uplinks"].dump() + (*dvSwitch)["ports"][0]["activeUplinks"].dump(),
              {"pnic5\""});
  // The interface follows its first adapter's address.
  EXPECT_EQ(Nex0(state)["mac"], "00:50:56:a1:00:24");
  ExpectLogged(host, {"Setting adapters to pnic4 pnic5 pnic6 pnic10", "Network settings changed."});
}

struct UplinkCase {
  const char* name;
  const char* fixture;    // "" for the demo host
  std::vector<Key> keys;  // in the adapter list, from its first row
  std::vector<std::string> active;
  std::vector<std::string> standby;
  const char* mac;  // the interface's afterwards: its first adapter's
};

class UplinkOrderTest : public testing::TestWithParam<UplinkCase> {};

// Both hosts carry the management network on pnic0 (active) and pnic1
// (standby, one active uplink at most). Whatever is unchecked or checked
// again, the host ends with the chosen adapters in the order chosen, the
// first active and the rest standby: never without an active uplink.
TEST_P(UplinkOrderTest, ChosenAdaptersEndInOrderWithOneActive) {
  const UplinkCase& c = GetParam();
  SimHost host(c.fixture);
  auto console = OpenWindow(host);
  Edit(*console, "Network Adapters", "Device Name", c.keys);
  ApplyChanges(*console);
  const nlohmann::json state = host.HostJson();
  const nlohmann::json* vSwitch0 = Named(state["network"]["vswitches"], "vSwitch0");
  ASSERT_TRUE(vSwitch0) << state["network"].dump(1);
  nlohmann::json group = (*vSwitch0)["portGroups"][0];
  group.emplace("standbyUplinks", nlohmann::json::array());  // none: as good as an empty list
  EXPECT_EQ(List({Fields(group, {"name", "activeUplinks", "standbyUplinks"}), Nex0(state)["mac"]}),
            List({List({"Management Network", c.active, c.standby}), c.mac}));
}

using enum Key;

INSTANTIATE_TEST_SUITE_P(
    NetworkAdaptersTest,
    UplinkOrderTest,
    testing::Values(
        UplinkCase{"DemoRemoveActive", "", {kSpace}, {"pnic1"}, {}, "b4:96:91:3a:10:21"},
        UplinkCase{"DemoRemoveStandby", "", {kDown, kSpace}, {"pnic0"}, {}, "b4:96:91:3a:10:20"},
        UplinkCase{"DemoReorder", "", {kSpace, kSpace}, {"pnic1"}, {"pnic0"}, "b4:96:91:3a:10:21"},
        // Only adapters without link, taken all the same after the question.
        UplinkCase{"OnlyWithoutLink", "many-adapters",
                   {kDown, kSpace, kDown, kSpace, kDown, kDown, kSpace, kEnter}, {"pnic3"}, {},
                   "00:50:56:a1:00:23"}), ByName);

// The ID typed over the host's 30: refused IDs stay in the field for a
// correction and Esc drops them; each accepted one (4095 after a warning, the
// empty field as none) is what the host holds once the window is left.
TEST(NetworkAdaptersTest, VlanIds) {
  SimHost host;
  ModifyHost(host, [](nlohmann::json& state) {
    state["network"]["vswitches"][0]["portGroups"][0]["vlanId"] = 30;
  });
  auto console = OpenWindow(host);
  Choose(*console, "VLAN (optional)", "VLAN ID (1-4094");
  ExpectHas(console->Text(), {"[ 30    ]"});
  for (const std::string refused : {"0", "4096"}) {
    TypeText(*console, "\b\b\b\b" + refused);
    ExpectRefusal(*console, "Please reenter a valid VLAN ID (1-4095).", "Invalid VLAN ID");
    Expect(*console, "[ " + refused);
  }
  Accept(*console, Key::kEscape);
  ExpectHas(RightText(*console), {"30"});
  const struct {
    const char *typed, *warning, *shown;
    int hostVlan;
  } ids[] = {{"abc4094", nullptr, "4094", 4094},
             {"4095", "You entered a VLAN ID of 4095.", "4095", 4095},
             {"", nullptr, "Not set", 0}};
  for (const auto& id : ids) {
    SCOPED_TRACE(id.typed);
    Choose(*console, "VLAN (optional)", "VLAN ID (1-4094");
    TypeText(*console, std::string("\b\b\b\b\b") + id.typed);
    if (id.warning != nullptr) {
      Press(*console, Key::kEnter, id.warning);
      ExpectHas(console->Text(), {"Warning"});
    }
    Accept(*console);
    EXPECT_TRUE(RightText(*console).starts_with(id.shown)) << console->Text();
    ApplyChanges(*console);
    EXPECT_EQ(host.HostJson()["network"]["vswitches"][0]["portGroups"][0]["vlanId"], id.hostVlan);
    Accept(*console);
  }
  ExpectLogged(host, {"Changed vlan, restarting management interface"});
}

}  // namespace
