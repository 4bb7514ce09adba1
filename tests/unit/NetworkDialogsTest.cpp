// The network dialogs driven with typed keys (what a field lets in, where the
// focus goes after a message, what is handed back), and the adapter list's
// rows. The checks behind the messages: NetworkValueRulesTest.
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "AdaptersDialog.h"
#include "CursesFixture.h"
#include "DNSConfigurationDialog.h"
#include "Frame.h"
#include "HostCtl/Ipv4Address.h"
#include "HostCtl/Ipv6Address.h"
#include "IPConfigurationDialog.h"
#include "IPv6ConfigurationDialog.h"
#include "SimHostTestSupport.h"
#include "StringFactory.h"
#include "SuffixesDialog.h"
#include "VlanDialog.h"

namespace Merel {
namespace {

using HostCtl::Network::IpConfig;
using HostCtl::Network::Ipv4Address;
using HostCtl::Network::Ipv6Address;
using HostCtl::Network::Ipv6Network;

std::string Repeat(const std::string& text, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) {
    out += text;
  }
  return out;
}

const std::string kDown = "\x1b[B";
const std::string kBackspace = "\x7f";
const std::string kEnter = "\n";
const std::string kEsc = "\x1b";
// Keys no field may take: a control character, the bytes of "é", a colon.
const std::string kJunk = "\x01\xc3\xa9";

std::vector<std::string> Listed(const std::vector<std::string>& names) {
  std::vector<std::string> listed;
  for (size_t at : AdaptersDialog::ListingOrder(names)) {
    listed.push_back(names[at]);
  }
  return listed;
}

// The list is sorted once; the result is the order ComesBefore defines.
TEST(AdapterListTest, ListingOrderSortsOnce) {
  const struct {
    std::vector<std::string> names, listed;
  } cases[] = {
      {{"pnic10", "pnic3", "eth0", "pnic0", "pnic9", "pnic1"},
       {"eth0", "pnic0", "pnic1", "pnic3", "pnic9", "pnic10"}},
      {{"pnicx", "pnic1", "eth", "eth0", "pnic01", "wlan0"},
       {"eth", "eth0", "pnic01", "pnic1", "pnicx", "wlan0"}},
      // The same name twice keeps its order (the rows differ otherwise).
      {{"pnic2", "pnic1", "pnic2"}, {"pnic1", "pnic2", "pnic2"}},
      // Names that make the comparison go round in a circle still give one
      // order: those with a number together, by number.
      {{"pnic 5", "pnic+", "pnic3"}, {"pnic+", "pnic3", "pnic 5"}},
      {{}, {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Listed(c.names), c.listed);
  }
  // Many adapters, listed backwards by the host.
  std::vector<std::string> sorted;
  for (int i = 0; i < 5000; ++i) {
    sorted.push_back("pnic" + std::to_string(i));
  }
  EXPECT_TRUE(Listed({sorted.rbegin(), sorted.rend()}) == sorted);
}

TEST(AdapterListTest, RowsKeepTheirFieldWidths) {
  const std::string mac = "b4:96:91:3a:10:20";
  const std::string pad13 = "{align:padding:13}", pad30 = "{/align}{align:padding:30}";
  // Ordinary rows are read off the real console by ChooseAmongManyAdapters;
  // here the cut name, the unknown state and markup in a label.
  const struct {
    Adapter adapter;
    std::string row;
  } cases[] = {
      {{"pnic-with-a-long-name", "Intel Corporation X710", mac, std::nullopt, std::nullopt},
       pad13 + "pnic-with..." + pad30 + "Intel ... (b4:96:91:3a:10:20){/align}N/A N/A"},
      {{"pnic1", "{color:red}", mac, true, "a-switch-with-a-long-name"},
       pad13 + "pnic1" + pad30 +
           "(color... (b4:96:91:3a:10:20){/align}Connected a-switch-with-..."},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(AdaptersDialog::Row(c.adapter), c.row);
  }
  Adapter unread{"pnic7", {}, {}, {}};
  EXPECT_EQ(AdapterInfoDialog::Body(unread),
            "Hardware Label: \nMAC Address: \nConnection Status: \nUsed By: None");
  unread.usedBy.reset();
  unread.connected = false;
  EXPECT_EQ(AdapterInfoDialog::Body(unread),
            "Hardware Label: \nMAC Address: \nConnection Status: Disconnected\nUsed By: ");
}

TEST(AdapterListTest, MaximumActiveUplinks) {
  const struct {
    int oldMax;
    size_t oldCount, newCount;
    int max;
  } cases[] = {
      // All active stay all active; one active, the rest standby, stays so;
      // never more than there are.
      {2, 2, 3, 3}, {1, 2, 3, 1}, {2, 3, 1, 1}, {0, 0, 2, 2},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(AdaptersDialog::MaxActiveFor(c.oldMax, c.oldCount, c.newCount), c.max)
        << c.oldMax << " " << c.oldCount << " " << c.newCount;
  }
}

// Whether thread `tid` of this process sits in the key wait: a poll of the
// terminal and the signal pipe together (curses' own waits poll one).
bool InKeyWait(pid_t tid) {
  std::ifstream file("/proc/self/task/" + std::to_string(tid) + "/syscall");
  long number = -1;
  std::string fds, count;
  file >> number >> fds >> count;
#ifdef SYS_poll
  if (number == SYS_poll && count == "0x2") {
    return true;
  }
#endif
  return number == SYS_ppoll && count == "0x2";
}

// How often thread `tid` has blocked so far.
long Sleeps(pid_t tid) {
  std::ifstream file("/proc/self/task/" + std::to_string(tid) + "/status");
  std::string line;
  while (std::getline(file, line)) {
    if (line.rfind("voluntary_ctxt_switches:", 0) == 0) {
      return std::stol(line.substr(line.find(':') + 1));
    }
  }
  return -1;
}

size_t Pending(int fd) {
  int bytes = 0;
  return ioctl(fd, FIONREAD, &bytes) == 0 ? static_cast<size_t>(bytes) : 0;
}

// The keys of `keys` one by one: an escape sequence is one key.
std::vector<std::string> SplitKeys(const std::string& keys) {
  std::vector<std::string> split;
  for (size_t i = 0; i < keys.size(); ++i) {
    size_t length = 1;
    if (keys[i] == '\x1b' && keys.compare(i + 1, 1, "[") == 0) {
      length = 3;
    }
    split.push_back(keys.substr(i, length));
    i += length - 1;
  }
  return split;
}

// Dialogs run for real. A frame drops keys typed while it draws, as a user's
// keys meant for the screen before; so each key is typed only once the
// dialog waits for it, as a person would.
class NetworkDialogsTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(_screen.Ok());
  }
  // Waits until thread `tid` waits for a key with no key pending, having
  // blocked more than `sleeps` times; false when it is done or never does.
  bool AwaitKeyWait(pid_t tid, const std::atomic<bool>& done, long sleeps) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!done) {
      if (Pending(_screen.Slave()) == 0 && Sleeps(tid) > sleeps && InKeyWait(tid)) {
        return true;
      }
      if (std::chrono::steady_clock::now() > limit) {
        return false;
      }
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return false;
  }
  // Runs `dialog` on `keys`, followed by a safety Enter and Esc so that a
  // dialog that wrongly stays open still ends; keys left over are not typed.
  int Drive(Frame& dialog, const std::string& keys) {
    const pid_t tid = static_cast<pid_t>(syscall(SYS_gettid));
    std::atomic<bool> done = false;
    std::thread typist([&] {
      for (const std::string& key : SplitKeys(keys + kEnter + kEsc)) {
        if (!AwaitKeyWait(tid, done, 0)) {
          return;
        }
        // Typed bytes reach the terminal a moment later: the key has been
        // taken once the thread has slept again since it was typed.
        const long sleeps = Sleeps(tid);
        _screen.Type(key);
        if (!AwaitKeyWait(tid, done, sleeps)) {
          return;
        }
      }
    });
    int result = -1;
    dialog.GetSession().idleTimeout = 60;  // a dialog left waiting ends the test in a minute
    try {
      result = Frame::Run(&dialog);
    } catch (const MerelTimeout&) {
      ADD_FAILURE() << "the dialog waited for keys that never came";
    }
    done = true;
    typist.join();
    return result;
  }

  MerelTest::CursesScreen _screen{"xterm-256color", true};  // the key wait polls descriptor 0
};

IpConfig StaticIpv4() {
  IpConfig config;
  config.SetIpv4Address(Ipv4Address("10.0.0.5"));
  config.SetIpv4Netmask(Ipv4Address("255.255.255.0"));
  config.SetIpv4Gateway(Ipv4Address("10.0.0.1"));
  return config;
}

TEST_F(NetworkDialogsTest, Ipv4) {
  const struct {
    const char* name;
    bool useNone, useDhcp;
    std::string keys;
    bool dhcp, none;
    const char *address, *netmask, *gateway;
  } cases[] = {
      {"DHCP with a stale static address", false, true, kEnter, true, false, "10.0.0.5",
       "255.255.255.0", "0.0.0.0"},
      {"Space marks none", false, false, " " + kEnter, false, true, "10.0.0.5", "255.255.255.0",
       "0.0.0.0"},
      {"Space on a field keeps static", false, false, Repeat(kDown, 3) + " " + kEnter, false,
       false, "10.0.0.5", "255.255.255.0", "10.0.0.1"},
      // A long paste stops one past the longest address (so it cannot pass
      // cut short), and sixteen backspaces empty the field; junk never
      // reaches it; the bad subnet takes the focus.
      {"typed, refused, corrected", true, false,
       kDown + kDown + " " + kDown + Repeat("1", 1000) + Repeat(kBackspace, 16) +
           "192.168abc.1:" + kJunk + ".1" + kDown + "255.0.255.0" + kEnter + kEnter +
           Repeat(kBackspace, 11) + "255.255.0.0" + kEnter,
       false, false, "192.168.1.1", "255.255.0.0", "10.0.0.1"},
  };
  for (const auto& c : cases) {
    IPConfigurationDialog dialog(nullptr, c.useNone, c.useDhcp, StaticIpv4());
    ASSERT_EQ(Drive(dialog, c.keys), 1) << c.name;
    const IpConfig& r = dialog.GetConfiguration();
    EXPECT_EQ(std::tuple(r.GetUseDhcp(), r.GetIpv4UseNone(), r.GetIpv4Address().GetStringAddress(),
                         r.GetIpv4Netmask().GetStringAddress(),
                         r.GetIpv4Gateway().GetStringAddress()),
              std::tuple(c.dhcp, c.none, c.address, c.netmask, c.gateway))
        << c.name;
  }
  IPConfigurationDialog cancelled(nullptr, false, false, StaticIpv4());
  EXPECT_EQ(Drive(cancelled, Repeat(kDown, 3) + "1" + kEsc), 0);
}

TEST_F(NetworkDialogsTest, Dns) {
  const Ipv4Address primary("10.0.0.1");
  const Ipv6Address alternate("2001:db8::53");
  // Static IPv4: the choices are locked and the primary field has the focus.
  DNSConfigurationDialog dialog(nullptr, false, false, &primary, &alternate, "old");
  // The bad primary server takes the focus back from the hostname.
  ASSERT_EQ(Drive(dialog, "10.0.0.300" + kDown + "10.0.0.2g" + kJunk + kDown + "my_host!" + kJunk +
                              ".lab" + kEnter + kEnter + Repeat(kBackspace, 3) + "1" + kEnter),
            1);
  ASSERT_TRUE(dialog.GetPrimary() && dialog.GetAlternate());
  EXPECT_EQ(std::tuple(dialog.GetAutomatic(), dialog.GetPrimary()->GetStringAddress(),
                       dialog.GetAlternate()->IsIpv4(), dialog.GetAlternate()->GetStringAddress(),
                       dialog.GetHostname()),
            std::tuple(false, "10.0.0.1", true, "10.0.0.2", "myhost.lab"));

  // Automatic and nothing selectable: Enter keeps what came in.
  DNSConfigurationDialog automatic(nullptr, true, false, &primary, nullptr, "old");
  ASSERT_EQ(Drive(automatic, " " + kEnter), 1);
  ASSERT_NE(automatic.GetPrimary(), nullptr);
  EXPECT_EQ(std::tuple(automatic.GetAutomatic(), automatic.GetPrimary()->GetStringAddress(),
                       automatic.GetAlternate() == nullptr, automatic.GetHostname()),
            std::tuple(true, "10.0.0.1", true, "old"));
}

TEST_F(NetworkDialogsTest, VlanAndSuffixes) {
  const struct {
    uint16_t initial;
    std::string keys;
    int result;
    uint16_t id;
  } vlans[] = {
      // Zero, 4095, 4096 and the emptied field are typed at the real console
      // by the VLAN screen test; here what it does not type.
      {0, "abc4094" + kJunk + kEnter, 1, 4094},
      {7, "4096" + kEnter + kEnter + Repeat(kBackspace, 4) + "99999" + kEnter + kEnter +
              Repeat(kBackspace, 5) + "1" + kEnter,
       1, 1},
  };
  for (const auto& v : vlans) {
    VlanDialog dialog(nullptr, v.initial);
    EXPECT_EQ(Drive(dialog, v.keys), v.result) << v.keys;
    if (v.result == 1) {
      EXPECT_EQ(dialog.GetVlanId(), v.id) << v.keys;
    }
  }

  SuffixesDialog unchanged(nullptr, "a.com,b.com c.com");
  ASSERT_EQ(Drive(unchanged, kEnter), 1);
  EXPECT_EQ(unchanged.GetText(), "a.com,b.com c.com");
  SuffixesDialog typed(nullptr, "a.com");
  ASSERT_EQ(Drive(typed, "x_y.com, z-1.org" + kJunk + kEnter), 1);
  EXPECT_EQ(typed.GetText(), "xy.com, z-1.org");
}

TEST_F(NetworkDialogsTest, Ipv6DynamicChoices) {
  const struct {
    bool dhcpv6, ra;
    std::string keys;
    bool enabled, dhcpv6After, raAfter;
  } cases[] = {
      {true, false, kDown + " " + kEnter, true, true, false},   // DHCPv6 checked: kept
      {false, true, kDown + " " + kEnter, true, false, true},   // unchecked: RA
      {false, true, kDown + kDown + " " + kEnter, true, true, false},  // the box toggles
      {true, false, " " + kEnter, false, true, false},          // disabling keeps the flags
  };
  for (const auto& c : cases) {
    IpConfig choices;
    choices.SetUseIpv6Dhcp(c.dhcpv6);
    choices.SetUseIpv6RouterAdvertised(c.ra);
    IPv6ConfigurationDialog dialog(nullptr, true, choices, IpConfig());
    ASSERT_EQ(Drive(dialog, c.keys), 1) << c.keys;
    const IpConfig& r = dialog.GetConfiguration();
    EXPECT_EQ(std::tuple(dialog.GetEnabled(), r.GetUseIpv6Dhcp(), r.GetUseIpv6RouterAdvertised(),
                         dialog.GetAddressesEdited()),
              std::tuple(c.enabled, c.dhcpv6After, c.raAfter, false))
        << c.keys;
  }
}

TEST_F(NetworkDialogsTest, Ipv6StaticAddresses) {
  IpConfig addresses;
  addresses.AddIpv6Network(Ipv6Network("fe80::250:56ff:fe01:2/64"));  // the interface's own
  addresses.AddIpv6Network(Ipv6Network("2001:db8::7/64"));
  // Off at first; the box is skipped on the way down to the static choice.
  IPv6ConfigurationDialog dialog(nullptr, false, IpConfig(), addresses);
  ASSERT_EQ(Drive(dialog, kDown + kDown + " " + kDown + "fe80::1/64" + kEnter + kEnter +
                              Repeat(kBackspace, 10) + "2001:db8::5/64" + kJunk + kDown + kDown +
                              kDown + "2001:db8::1" + kEnter),
            1);
  EXPECT_TRUE(dialog.GetEnabled() && dialog.GetAddressesEdited());
  const IpConfig& result = dialog.GetConfiguration();
  EXPECT_FALSE(result.GetUseIpv6Dhcp() || result.GetUseIpv6RouterAdvertised());
  ASSERT_EQ(result.GetIpv6Network().size(), 1u) << "the fields are the whole static list";
  EXPECT_EQ(std::pair(result.GetIpv6Network()[0].GetStringAddress(),
                      result.GetIpv6Gateway().GetStringAddress()),
            std::pair(std::string("2001:db8::5/64"), std::string("2001:db8::1")));

  // Untouched fields hand back what came in; an empty gateway stays empty.
  IPv6ConfigurationDialog untouched(nullptr, true, IpConfig(), addresses);
  ASSERT_EQ(Drive(untouched, kEnter), 1);
  EXPECT_FALSE(untouched.GetAddressesEdited());
  EXPECT_EQ(untouched.GetConfiguration().GetIpv6Network(), addresses.GetIpv6Network());
  EXPECT_TRUE(untouched.GetConfiguration().GetIpv6Gateway().IsUnspecified());
}

// On the distributed-switch host, for a standard switch with pnic2: new
// uplinks join in the order they were marked, not the listing order. (The
// refusal of none, the question before taking another switch's adapters,
// Esc on it and the details are typed at the real console by
// NetworkAdaptersTest.ChooseAmongManyAdapters.)
TEST_F(NetworkDialogsTest, AdaptersJoinInTheOrderMarked) {
  SimHostTest::SimRoot root("dvs");
  AdaptersDialog dialog(nullptr, {"pnic2"}, 1, "vSwitch0");
  ASSERT_EQ(Drive(dialog, kDown + " " + "\x1b[A" + " " + kEnter + kEnter), 1);
  EXPECT_EQ(dialog.GetUplinks(), (std::vector<std::string>{"pnic2", "pnic1", "pnic0"}));
  EXPECT_EQ(dialog.GetMaxActiveUplinks(), 3);
}

}  // namespace
}  // namespace Merel
