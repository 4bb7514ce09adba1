#include "Timeouts.h"

#include <syslog.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "Command.h"
#include "Frame.h"
#include "HostCtl/AdvancedOption.h"
#include "HostCtl/HostCtlException.h"
#include "NexCtl/AdvancedOptionImpl.h"
#include "Platform.h"

namespace Merel {

namespace {

const char* OptionOf(ShellTimeout which) {
  return which == ShellTimeout::kAvailability ? "/UserVars/TarvikShellTimeOut"
                                              : "/UserVars/TarvikShellInteractiveTimeOut";
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

int AdvcfgMinutes(std::string output) {
  if (!output.empty()) {
    output.pop_back();
  }
  errno = 0;
  char* end = nullptr;
  const long long seconds = std::strtoll(output.c_str(), &end, 10);
  if (end == output.c_str() || errno != 0 || seconds < 0 || seconds / 60 > 1000000) {
    return 0;
  }
  return static_cast<int>(seconds / 60);
}

int ShellTimeoutMinutes(ShellTimeout which) {
  char* const argv[] = {const_cast<char*>("tarvikcfg-advcfg"), const_cast<char*>("-q"),
                        const_cast<char*>("-g"), const_cast<char*>(OptionOf(which)), nullptr};
  char out[257] = {};
  size_t outSize = 256;
  if (RunCommand("/sbin/tarvikcfg-advcfg", argv, out, &outSize, nullptr, nullptr, nullptr, 0, 0) <
      0) {
    return 0;
  }
  return AdvcfgMinutes(std::string(out, outSize));
}

void SetShellTimeout(ShellTimeout which, int minutes) {
  SetOption(OptionOf(which), minutes * 60);
  if (which == ShellTimeout::kIdle) {
    LogTimeoutChange("shell interactive timeout", minutes);
    return;
  }
  // Running services read the time-out when they start.
  if (RunServiceScript("/etc/init.d/TarvikShell", "status") == 0) {
    RunServiceScript("/etc/init.d/TarvikShell", "restart");
  }
  if (RunServiceScript("/etc/init.d/SSH", "status") == 0) {
    RunServiceScript("/etc/init.d/SSH", "restart");
  }
  LogTimeoutChange("Shell timeout", minutes);
}

int ConsoleTimeoutSeconds() {
  try {
    auto option = NexCtl::Adv::AdvancedOptionImpl().FindOption(MEREL_TIMEOUT_VAR);
    if (auto* integer = dynamic_cast<HostCtl::Adv::AdvancedIntegerOption*>(option.get())) {
      return static_cast<int>(integer->GetValue());
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Getting MerelTimeOut failed: %s", e.what());
  }
  return 0;
}

bool SetConsoleTimeout(int minutes) {
  try {
    NexCtl::Adv::AdvancedOptionImpl options;
    auto option = options.FindOption(MEREL_TIMEOUT_VAR);
    if (dynamic_cast<HostCtl::Adv::AdvancedIntegerOption*>(option.get()) == nullptr) {
      return false;
    }
    options.SetIntegerOption(MEREL_TIMEOUT_VAR, static_cast<int64_t>(minutes) * 60);
  } catch (const HostCtl::Lib::HostCtlException&) {
    return false;
  }
  LogTimeoutChange("Merel timeout", minutes);
  return true;
}

void LogTimeoutChange(const char* what, int minutes) {
  if (minutes == 0) {
    Platform::Syslog(LOG_INFO, "Disabled %s", what);
  } else {
    Platform::Syslog(LOG_INFO, "Modified %s to %d minutes", what, minutes);
  }
}

}  // namespace Merel
