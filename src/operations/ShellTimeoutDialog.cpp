// The shell time-outs are host advanced options, read and written with the
// host's own command-line tools so that the services see the same values.
#include "ShellTimeoutDialog.h"

#include <memory>
#include <string>
#include <vector>

#include "Command.h"
#include "MessageDialog.h"
#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"
#include "TimeoutInput.h"

namespace Merel {

namespace {

constexpr int kWidth = 70;
constexpr int kHeight = 21;
constexpr int kTitleHeight = 15;
constexpr int kFieldLength = 5;

const char* const kAvailabilityOption = "/UserVars/TarvikShellTimeOut";
const char* const kIdleOption = "/UserVars/TarvikShellInteractiveTimeOut";

int ReadMinutes(const char* option) {
  char* const argv[] = {const_cast<char*>("tarvikcfg-advcfg"), const_cast<char*>("-q"),
                        const_cast<char*>("-g"), const_cast<char*>(option), nullptr};
  char out[257] = {};
  size_t outSize = 256;
  if (RunCommand("/sbin/tarvikcfg-advcfg", argv, out, &outSize, nullptr, nullptr, nullptr, 0, 0) <
      0) {
    return 0;
  }
  return AdvcfgMinutes(std::string(out, outSize));
}

// With "tarvikcli", or "nexcli" when that fails; the retry is not checked.
void SetOption(const char* option, int seconds) {
  const std::string value = std::to_string(seconds);
  std::vector<const char*> words = {"tarvikcli", "system", "settings", "advanced",   "set",
                                    "-o",        option,   "-i",       value.c_str()};
  std::vector<char*> argv;
  for (const char* word : words) {
    argv.push_back(const_cast<char*>(word));
  }
  argv.push_back(nullptr);
  if (RunCommand("/sbin/tarvikcli", argv.data(), nullptr, nullptr, nullptr, nullptr, nullptr, 0,
                 0) != 0) {
    argv[0] = const_cast<char*>("nexcli");
    RunCommand("/sbin/nexcli", argv.data(), nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0);
  }
}

}  // namespace

ShellTimeoutDialog::ShellTimeoutDialog(Frame* parent)
    : Dialog(parent, kWidth, kHeight, kTitleHeight) {
  currentAvailability = ReadMinutes(kAvailabilityOption);
  currentIdle = ReadMinutes(kIdleOption);
  if (_contentWindow == nullptr) {
    return;
  }
  auto availability =
      std::make_unique<InputItem>(_strings->GetString(Strings::kAvailabilityTimeoutLabel),
                                  std::to_string(currentAvailability), kFieldLength);
  auto idle = std::make_unique<InputItem>(_strings->GetString(Strings::kIdleTimeoutLabel),
                                          std::to_string(currentIdle), kFieldLength);
  _availability = availability.get();
  _idle = idle.get();
  std::vector<std::unique_ptr<Item>> items;
  items.push_back(std::move(availability));
  items.push_back(std::move(idle));
  _list = &_contentWindow->AddChild<ItemList>(0, 0, _contentWindow->GetWidth(),
                                              _contentWindow->GetHeight());
  _list->SetItems(std::move(items));
}

void ShellTimeoutDialog::ApplyAvailability() {
  const std::optional<int> minutes =
      ChangedMinutes(this, _availability->GetValue(), currentAvailability * 60);
  if (!minutes) {
    return;
  }
  if (!Platform::HostHas(Platform::Feature::kShellAvailabilityTimeout)) {
    MessageDialog refusal(this, Strings::kAvailabilityTimeoutLabel,
                          Strings::kAvailabilityTimeoutUnavailable);
    Frame::Run(&refusal);
    return;
  }
  SetOption(kAvailabilityOption, *minutes * 60);
  // Running services read the time-out when they start.
  if (RunServiceScript("/etc/init.d/TarvikShell", "status") == 0) {
    RunServiceScript("/etc/init.d/TarvikShell", "restart");
  }
  if (RunServiceScript("/etc/init.d/SSH", "status") == 0) {
    RunServiceScript("/etc/init.d/SSH", "restart");
  }
  LogTimeoutChange("Shell timeout", *minutes);
}

void ShellTimeoutDialog::ApplyIdle() {
  const std::optional<int> minutes = ChangedMinutes(this, _idle->GetValue(), currentIdle * 60);
  if (!minutes) {
    return;
  }
  SetOption(kIdleOption, *minutes * 60);
  LogTimeoutChange("shell interactive timeout", *minutes);
}

int ShellTimeoutDialog::Loop() {
  if (!OpenFields(Strings::kShellTimeoutsTitle, Strings::kShellTimeoutsText, kOkCancelFooter,
                  _list)) {
    return 0;
  }
  if (!EditTimeoutFields(this, _list)) {
    return 0;
  }
  ApplyAvailability();
  ApplyIdle();
  Window::ShowCursor(false);
  return 1;
}

}  // namespace Merel
