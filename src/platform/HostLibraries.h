// The host's C-style libraries as the console sees them: product information,
// the logging library, the event (observation) library and the audit log.
// Each forwards to the selected backend.
#pragma once

extern "C" {

const char* ProductState_GetName();
const char* ProductState_GetVersion();
const char* ProductState_GetBuildNumberString();
const char* ProductState_GetCompilationOption();

void Log_SetProductInfo(const char* name, const char* version, const char* build,
                        const char* compilationOption);
void* Log_CfgInterface();
int Log_InitWithSyslogSimpleInt(const char* appName, void* config, const char* ident);

// 0 on success, an error code otherwise.
int ObsvUserLib_Init();
// `format` begins with "@&!*@*@(" + event id + ")"; printf-style arguments.
int ObsvUserLib_AddObsv(const char* format, ...) __attribute__((format(printf, 1, 2)));
void ObsvUserLib_Close();

// A session record of the host's audit log ("login.connect",
// "login.disconnect"): user, success flag and one optional name/value pair.
void AuditLog_Session(const char* record, const char* user, int success, const char* name,
                      const char* value);
}
