#include "HostLibraries.h"

#include <syslog.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "Backend.h"
#include "HostCtl/HostCtlException.h"
#include "Platform.h"

namespace {

// The C interface hands out pointers that stay valid until the next call of
// the same function; the value is read from the host each time.
const char* Product(std::string& slot, std::string Platform::ProductState::*member) {
  try {
    slot = Platform::Current().Load().product.*member;
  } catch (const HostCtl::Lib::HostCtlException&) {
    slot.clear();
  }
  return slot.c_str();
}

struct LogConfig {
  std::string name, version, build, compilationOption;
};

LogConfig& Config() {
  static LogConfig config;
  return config;
}

}  // namespace

extern "C" {

const char* ProductState_GetName() {
  static std::string slot;
  return Product(slot, &Platform::ProductState::name);
}

const char* ProductState_GetVersion() {
  static std::string slot;
  return Product(slot, &Platform::ProductState::version);
}

const char* ProductState_GetBuildNumberString() {
  static std::string slot;
  return Product(slot, &Platform::ProductState::build);
}

const char* ProductState_GetCompilationOption() {
  static std::string slot;
  return Product(slot, &Platform::ProductState::compilationOption);
}

void Log_SetProductInfo(const char* name,
                        const char* version,
                        const char* build,
                        const char* compilationOption) {
  Config() = {name ? name : "", version ? version : "", build ? build : "",
              compilationOption ? compilationOption : ""};
}

void* Log_CfgInterface() {
  return &Config();
}

int Log_InitWithSyslogSimpleInt(const char* appName, void* config, const char* ident) {
  (void)config;
  Platform::OpenLog(ident ? ident : appName, LOG_PID, LOG_USER);
  return 0;
}

int ObsvUserLib_Init() {
  return Platform::Current().EventServiceAvailable() ? 0 : ECONNREFUSED;
}

int ObsvUserLib_AddObsv(const char* format, ...) {
  va_list args;
  va_start(args, format);
  char buffer[4096];
  std::vsnprintf(buffer, sizeof(buffer), format, args);
  va_end(args);
  if (!Platform::Current().EventServiceAvailable()) {
    return ECONNREFUSED;
  }
  Platform::Current().PostEvent(buffer);
  return 0;
}

void ObsvUserLib_Close() {}

void AuditLog_Session(const char* record,
                      const char* user,
                      int success,
                      const char* name,
                      const char* value) {
  Platform::Current().WriteAudit(record ? record : "", user ? user : "", success != 0,
                                 name ? name : "", value ? value : "");
}

}  // extern "C"
