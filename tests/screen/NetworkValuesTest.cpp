// Values well formed but meaningless on a network, typed into the network dialogs:
// each is refused with its message, the dialog stays, the host keeps what it had.
#include <ostream>

#include "NetworkScreenUtil.h"

namespace {

using namespace MerelNetworkTest;

struct BadValueCase {
  const char* name;
  const char* entry;  // the window's entry that opens the dialog
  const char* shown;  // a text of the dialog once it is open
  std::vector<Key> toField;
  std::string value;
  const char* title;
  const char* reason;  // the start of the message, short enough for one line
};

// Named in test output by its case, not by its bytes.
void PrintTo(const BadValueCase& c, std::ostream* out) {
  *out << c.name;
}

class NetworkBadValueTest : public testing::TestWithParam<BadValueCase> {};

TEST_P(NetworkBadValueTest, RefusedWithAMessageAndNothingChanges) {
  const BadValueCase& c = GetParam();
  SimHost host;  // the demo host: static 192.168.10.20/24, manual DNS, IPv6 on
  const nlohmann::json before = host.HostJson()["network"];
  auto console = OpenWindow(host);
  Choose(*console, c.entry, c.shown);
  Type(*console, c.toField);
  TypeText(*console, c.value);
  Press(*console, Key::kEnter, c.reason);
  ExpectHas(console->Text(), {c.title});
  // The message goes, the dialog stays for a correction; Esc drops it and
  // the window has nothing to apply.
  PressGone(*console, Key::kEnter, c.reason);
  ExpectHas(console->Text(), {c.shown});
  Accept(*console, Key::kEscape);
  PressToMenu(*console, Key::kEscape);
  EXPECT_EQ(host.HostJson()["network"], before);
  ExpectLacks(host.Syslog(), {"Network settings changed."});
}

std::string Pasted() {
  std::string text;
  while (text.size() < 10240) {
    text += "corp.test ";
  }
  return text;
}

INSTANTIATE_TEST_SUITE_P(
    Values,
    NetworkBadValueTest,
    testing::Values(
        BadValueCase{"LoopbackAddress", "IPv4 Configuration", "Set static IPv4 address",
                     {Key::kUp, Key::kUp, Key::kUp, Key::kDown, Key::kDown, Key::kDown},
                     "127.0.0.1", "Invalid IP address", "127.0.0.1 is a loopback address."},
        // Would read as no server and drop the primary one.
        BadValueCase{"UnspecifiedDnsServer", "DNS Configuration", "Primary DNS Server", {},
                     "0.0.0.0", "Invalid DNS server address", "0.0.0.0 is not a host address."},
        // A paste longer than the field: refused whole, never stored cut.
        BadValueCase{"PastedSuffixes", "Custom DNS Suffixes", "Suffixes:", {}, Pasted(),
                     "Invalid DNS suffix", "The suffixes can have at most 1024 characters"},
        BadValueCase{"MulticastIpv6Address", "IPv6 Configuration", "Set static IPv6",
                     {Key::kDown, Key::kDown, Key::kDown}, "ff02::1/64", "Invalid IP address",
                     "ff02::1 is a multicast address."},
        BadValueCase{"UnspecifiedIpv6Gateway", "IPv6 Configuration", "Set static IPv6",
                     {Key::kDown, Key::kDown, Key::kDown, Key::kDown, Key::kDown, Key::kDown},
                     "::", "Invalid gateway address", ":: is not a host address."}), ByName);

}  // namespace
