#include "WelcomeWindow.h"

#include <curses.h>
#include <syslog.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <sstream>

#include "GeneralWindow.h"
#include "HostCtl/HostCtlException.h"
#include "HostCtl/IpConfig.h"
#include "HostInformation.h"
#include "HostLibraries.h"
#include "Login.h"
#include "PamAuth.h"
#include "NexCtl/CpuInfoImpl.h"
#include "NexCtl/MemoryInfoImpl.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/SystemInfoImpl.h"
#include "Platform.h"
#include "ShutdownDialog.h"
#include "StringFactory.h"
#include "Terminal.h"
#include "TextArea.h"

namespace Merel {

namespace {

// String table keys.

const char kNoAdapter[] =
    "No compatible network adapter found. Please consult the product's Hardware "
    "Compatibility Guide (HCG) for a list of supported adapters.";
const char kNoAdapterShort[] = "No compatible network adapter found.";

// The address area sits at this place of the lower half when the screen is
// tall enough (a console of 37 lines or more); see LayOutStandard.
constexpr int kAddressX = 16;
constexpr int kAddressY = 9;
constexpr int kAddressHeight = 6;
// Lines of the upper text: product, blank, processors, memory.
constexpr int kUpperTextLines = 4;

std::string Centered(const std::string& text) {
  return text.empty() ? "" : "{align:center}" + text + "{/align}";
}

int LaidOutLines(const std::string& text, int width) {
  std::string laidOut = TextArea::Layout(text, width, {});
  while (!laidOut.empty() && laidOut.back() == '\n') {
    laidOut.pop_back();
  }
  return static_cast<int>(std::count(laidOut.begin(), laidOut.end(), '\n')) + 1;
}

// Sets `text` only when it differs: drawing the frame has just laid out and
// drawn what the area holds, and the same text set again would be laid out
// (and its host variables read) a second time.
void ShowText(TextArea* area, const std::string& text) {
  if (area->GetText() != text) {
    area->SetText(text);
  }
}

// A URL line that does not fit the area is cut and marked with "...", rather
// than broken over two lines where it would read as two addresses.
std::string UrlLine(const std::string& url, int width) {
  if (width > 3 && static_cast<int>(url.size()) > width) {
    return url.substr(0, static_cast<size_t>(width - 3)) + "...";
  }
  return url;
}

}  // namespace

WelcomeWindow::WelcomeWindow(Session& session, int x, int y, int width, int height)
    : Frame(session, x, y, width, height, kBlack, kWhite) {
  // The root of every screen: from here on every text may name the host's
  // variables, including a custom welcome message.
  HostInformation::InstallVariables();
}

WelcomeWindow::~WelcomeWindow() = default;

std::string WelcomeWindow::FormatMemory(uint64_t bytes) {
  const HostInformation::MemoryUnit unit = HostInformation::ChooseMemoryUnit(bytes);
  float tenths =
      static_cast<float>(static_cast<double>(bytes) * 10.0 / static_cast<double>(unit.size));
  // Rounded half away from zero, by hand: this one call was all the program
  // needed of the maths library, and loading that costs about 300 kB of
  // resident memory. A float from 2^23 up has no fraction left to round.
  if (tenths < 8388608.0f) {
    tenths = static_cast<float>(static_cast<long long>(static_cast<double>(tenths) + 0.5));
  }
  std::ostringstream text;
  text << tenths / 10 << ' ' << unit.letter << "iB Memory";
  return text.str();
}

std::string WelcomeWindow::ComposeAddressText(const ManagementAccess& access,
                                              int width,
                                              int height,
                                              StringFactory* strings) {
  if (!access.hasInterface) {
    return LaidOutLines(kNoAdapter, width) <= height ? kNoAdapter : kNoAdapterShort;
  }
  std::string text = strings->GetString(Strings::kWelcomeManageHeading);
  bool lineOpen = false;  // a URL line has been started after the heading
  // The host name first: it is what a browser should be pointed at when DNS
  // knows the host. "localhost" is what a host without a name calls itself.
  if (!access.hostname.empty() && access.hostname != "localhost") {
    text += "\n" + UrlLine("http://" + access.hostname + "/", width) + " ";
    lineOpen = true;
  }
  for (const std::string& address : access.ipv4) {
    text += "\nhttp://" + address + "/ ";
    lineOpen = true;
  }
  // IPv6 URLs follow on the same line and wrap at their blanks; only when
  // nothing precedes them do they need a line of their own, or the first
  // would run into the heading.
  if (!access.ipv6.empty() && !lineOpen) {
    text += "\n";
  }
  for (const std::string& address : access.ipv6) {
    text += "http://[" + address + "]/ ";
  }
  if (access.dhcpLookupFailed) {
    text += "\n\n";
    text += strings->GetString(Strings::kWelcomeDhcpWarning);
  }
  return text;
}

WelcomeWindow::ManagementAccess WelcomeWindow::ReadManagementAccess() {
  ManagementAccess access;
  access.hostname = HostInformation::GetHostnameValue();
  try {
    NexCtl::Network::NetworkInfoImpl network;
    network.UpdateManagementInterface();
    std::unique_ptr<HostCtl::Network::NexNic> nic = network.GetManagementInterface();
    if (nic == nullptr) {
      return access;
    }
    access.hasInterface = true;
    HostCtl::Network::IpConfig settings;
    HostCtl::Network::IpConfig addresses;
    nic->GetIpConfigs(settings, addresses);
    if (!addresses.GetIpv4Address().IsUnspecified()) {
      access.ipv4.push_back(addresses.GetIpv4Address().GetStringAddress());
    }
    if (network.IsNexIpv6Enabled()) {
      for (const HostCtl::Network::Ipv6Network& net : addresses.GetIpv6Network()) {
        // A link-local address cannot be typed into a browser elsewhere on
        // the network without a zone, and only a preferred address is sure
        // to answer; neither of the others is worth showing as a way in.
        if (net.IsLinkLocal() ||
            net.GetIpv6AddressType() != HostCtl::Network::kIpv6AddressPreferred) {
          continue;
        }
        access.ipv6.push_back(net.GetAddress().GetStringAddress());
      }
    }
    // DHCP was asked for and nothing at all came of it: the host cannot be
    // reached until someone configures the network here.
    access.dhcpLookupFailed = settings.GetUseDhcp() && access.ipv4.empty() && access.ipv6.empty();
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Reading the management interface failed: %s", e.what());
  }
  return access;
}

std::string WelcomeWindow::ComposeUpperText() {
  std::string hardware;
  try {
    NexCtl::Hardware::CpuInfoImpl cpu;
    hardware = std::to_string(cpu.GetNumCpuPackages()) + " x " + cpu.GetDescription();
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting processor information failed: %s", e.what());
  }
  std::string memory;
  try {
    NexCtl::Hardware::MemoryInfoImpl info;
    memory = FormatMemory(info.GetTotalPages() * info.GetPageSize());
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting memory size failed: %s", e.what());
  }
  // Centred, as the first thing anyone walking up to the machine reads.
  return Centered(_strings->GetString(Strings::kWelcomeProductLine)) + "\n\n" + Centered(hardware) +
         "\n" + Centered(memory);
}

void WelcomeWindow::DeleteStandardLayout() {
  if (_upper == nullptr) {
    return;
  }
  RemoveChild(_upper);  // owns the upper text
  RemoveChild(_lower);  // owns the address and footer texts
  _upper = _lower = nullptr;
  _upperText = _addressText = _footerText = nullptr;
  // Subwindows share the frame's cells: what they showed stays until erased.
  Clear();
}

void WelcomeWindow::DeleteMessageLayout() {
  if (_messageArea == nullptr) {
    return;
  }
  RemoveChild(_messageArea);
  _messageArea = nullptr;
  Clear();
}

void WelcomeWindow::LayOutMessage(const std::string& message) {
  DeleteStandardLayout();
  if (_messageArea == nullptr) {
    _messageArea =
        &AddChild<TextArea>(2, 2, std::max(1, _width - 4), std::max(1, _height - 4), kWhite);
  }
  Draw(true);
  // The message is markup and may name host variables.
  ShowText(_messageArea, message);
}

void WelcomeWindow::LayOutStandard() {
  DeleteMessageLayout();
  if (_upper == nullptr) {
    const int upperHeight = _height / 2;
    // An odd number of lines gives the lower half the extra one.
    const int lowerHeight = _height - upperHeight;
    _upper = &AddChild<Window>(0, 0, _width, upperHeight, kDarkGrey, kWhite);
    _lower = &AddChild<Window>(0, upperHeight, _width, lowerHeight, kYellow, kWhite);

    const int upperY = std::max(1, (upperHeight - kUpperTextLines) / 2);
    _upperText = &_upper->AddChild<TextArea>(2, upperY, std::max(1, _width - 4),
                                             std::max(1, upperHeight - upperY), kWhite);

    // The address area belongs at row 9 of the lower half, but on an 80x25
    // or 80x24 console the half has only 13 or 12 lines and the footer sits
    // on the second to last: the area moves up as far as needed to end one
    // blank line above the footer, and is never taller than what is left.
    const int footerY = lowerHeight - 2;
    const int addressBottom = footerY - 1;
    const int addressY = std::clamp(addressBottom - kAddressHeight, 0, kAddressY);
    const int addressHeight = std::clamp(addressBottom - addressY, 1, kAddressHeight);
    const int addressX = _width - 2 * kAddressX >= 20 ? kAddressX : 2;
    _addressText = &_lower->AddChild<TextArea>(addressX, addressY, _width - 2 * addressX,
                                               addressHeight, kDarkGrey);
    _footerText =
        &_lower->AddChild<TextArea>(2, std::max(0, footerY), std::max(1, _width - 4), 1, kBlack);
  }
  Draw(true);

  ShowText(_footerText, std::string("<F2> {color:dark-grey}") +
                            _strings->GetString(Strings::kWelcomeCustomizeCaption) +
                            "{/color}{align:right}<F12> {color:dark-grey}" +
                            _strings->GetString(Strings::kWelcomeShutdownCaption) +
                            "{/color}{/align}");
  ShowText(_upperText, ComposeUpperText());
  ShowText(_addressText, ComposeAddressText(ReadManagementAccess(), _addressText->GetWidth(),
                                            _addressText->GetHeight(), _strings));
}

void WelcomeWindow::Layout() {
  std::string message;
  try {
    NexCtl::System::SystemInfoImpl system;
    message = system.GetWelcomeMessage();
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting welcome message failed: %s", e.what());
  }
  if (!message.empty()) {
    LayOutMessage(message);
  } else {
    LayOutStandard();
  }
}

void WelcomeWindow::Update() {
  Layout();
}

bool WelcomeWindow::LogIn() {
  try {
    return Login(this);
  } catch (const MerelTimeout&) {
    // A dialog of the login that waited with the idle limit; nobody is in.
    _session.fgFrame = this;
    clearok(curscr, TRUE);
    if (_session.loggedIn) {
      LoginSession().Close();
      _session.SetLoggedIn(false);
    }
    return false;
  }
}

void WelcomeWindow::RunSession(const std::function<void()>& session) {
  const std::string user = _session.loginName;
  bool timedOut = false;
  try {
    session();
  } catch (const MerelTimeout&) {
    timedOut = true;
  }
  if (timedOut) {
    Platform::Syslog(LOG_INFO, "User %s logged out due to time out", user.c_str());
    AuditLog_Session("login.disconnect", user.c_str(), 1, "reason", "Time out");
    // The time-out abandoned every frame above us without redrawing anything.
    _session.fgFrame = this;
    clearok(curscr, TRUE);
  } else {
    Platform::Syslog(LOG_INFO, "User %s logged out", user.c_str());
    AuditLog_Session("login.disconnect", user.c_str(), 1, "reason", "Session closed");
  }
  LoginSession().Close();
  _session.SetLoggedIn(false);
  // A restart asked for during the session was held back until now.
  if (_session.markForRestart) {
    exit(0);
  }
}

int WelcomeWindow::Loop() {
  Layout();
  for (;;) {
    const int key = Frame::WaitForKey(this, false);
    switch (key) {
      case KEY_F(2):
        if (LogIn()) {
          RunSession([this] {
            GeneralWindow menu(this);
            Frame::Run(&menu);
          });
        }
        Layout();
        break;
      case KEY_F(12):
        if (LogIn()) {
          RunSession([this] {
            ShutdownDialog dialog(this);
            Frame::Run(&dialog);
          });
        }
        Layout();
        break;
      case KEY_F(4):
        // Only a terminal whose colours we redefine has a colour view to
        // leave; on the others black and white is all there is.
        if (can_change_color()) {
          SetBwColor(!BwColor());
          Layout();
        } else {
          // Nothing changes, and nothing is sent for it: mending a garbled
          // screen is what the other keys are for.
          Refresh();
        }
        break;
      default:
        // A custom message longer than the screen pages with the keys that
        // page everywhere else; nothing else on this screen uses them.
        if (_messageArea != nullptr && _messageArea->ScrollLongTextByKey(key)) {
          break;
        }
        clearok(curscr, TRUE);
        Layout();
        break;
    }
  }
}

}  // namespace Merel
