#include "RunTestDialog.h"

#include <signal.h>

#include <optional>
#include <string>
#include <vector>

#include "NetworkTest.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

// The handler does nothing but wake the key wait: the reaping and the
// verdict happen in the main thread, never in signal context.
extern "C" void OnChildExit(int) {
  Frame::NotifyChildExit();
}

// Installs the child-exit handler for one run and takes it away again on
// every way out, the idle time-out included.
class ChildWatch {
 public:
  explicit ChildWatch(Session& session) : _session(session) {
    struct sigaction action = {};
    action.sa_handler = OnChildExit;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_NOCLDSTOP | SA_RESTART;
    sigaction(SIGCHLD, &action, nullptr);
    _session.wakeOnChildExit = true;
  }
  ~ChildWatch() { Stop(); }
  void Stop() {
    signal(SIGCHLD, SIG_DFL);
    _session.wakeOnChildExit = false;
  }

 private:
  Session& _session;
};

bool IsLinkLocal(const HostCtl::Network::IpAddress& address) {
  if (address.GetFamily() != HostCtl::Network::IpAddress::Family::kIpv6) {
    return false;
  }
  const std::vector<uint8_t> bytes = address.GetBinaryAddress();
  return bytes.size() == 16 && bytes[0] == 0xfe && (bytes[1] & 0xc0) == 0x80;
}

}  // namespace

RunTestDialog::RunTestDialog(Frame* parent,
                             HostCtl::Network::IpAddress* target1,
                             HostCtl::Network::IpAddress* target2,
                             HostCtl::Network::IpAddress* target3,
                             std::string hostname)
    : Dialog(parent, {75, 13, 5}),
      _targets{target1, target2, target3},
      _hostname(std::move(hostname)) {
  _text = AddContentText();
}

void RunTestDialog::Report(int status) {
  if (_text != nullptr) {
    _text->AppendText(std::string("{align:right}") +
                      _strings->GetString(status == 0 ? Strings::kOk : Strings::kFailed) +
                      "{/align}\n");
  }
}

bool RunTestDialog::WaitStep(pid_t pid) {
  if (pid < 0) {
    Report(1);
    return true;
  }
  for (;;) {
    // Asked before every wait: the child may have ended before its pid was
    // stored, and its wake-up byte is then already waiting in the pipe.
    if (const std::optional<int> status = NetworkTest::StepEnded(pid)) {
      Report(*status);
      return true;
    }
    int key;
    try {
      key = Frame::WaitForKey(this, true);
    } catch (const MerelTimeout&) {
      // The session ends with the step still running: reaped like an
      // interrupted one.
      NetworkTest::Abandon(pid);
      throw;
    }
    if (key == kKeyEscape) {
      // Not killed and not awaited: the next run (or the end of the
      // console) reaps it.
      NetworkTest::Abandon(pid);
      return false;
    }
  }
}

bool RunTestDialog::PingStep(int index, HostCtl::Network::IpAddress& target) {
  const std::string address = target.GetStringAddress();
  std::string shown = address;
  if (IsLinkLocal(target) && !_nicName.empty()) {
    shown += "%" + _nicName;
  }
  if (_text != nullptr) {
    _text->AppendText(std::string(_strings->GetString(Strings::kPingingAddress)) + " #" +
                      std::to_string(index) + " (" + shown + ").");
  }
  Window::UpdateTerminal();
  const pid_t pid = NetworkTest::StartPing(address, _nicName);
  return WaitStep(pid);
}

bool RunTestDialog::ResolveStep() {
  if (_text != nullptr) {
    _text->AppendText(std::string(_strings->GetString(Strings::kResolvingHostname)) + " (" +
                      _hostname + ").");
  }
  Window::UpdateTerminal();
  const pid_t pid = NetworkTest::StartResolve(_hostname);
  return WaitStep(pid);
}

int RunTestDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kTestRunningTitle));
  SetText(_strings->GetString(Strings::kTestInterruptHint));
  SetFooter("{align:right}{color:black}<Esc>{/color} {color:dark-grey}Cancel{/color}{/align}");
  _nicName = NetworkTest::ManagementInterfaceName();
  NetworkTest::BeginRun();
  ChildWatch watch(_session);
  for (int k = 0; k < 3; ++k) {
    if (_targets[k] != nullptr && !PingStep(k + 1, *_targets[k])) {
      return 0;
    }
  }
  if (!_hostname.empty() && !ResolveStep()) {
    return 0;
  }
  watch.Stop();
  SetFooter(kOkFooter);
  WaitForEnter();
  return 1;
}

}  // namespace Merel
