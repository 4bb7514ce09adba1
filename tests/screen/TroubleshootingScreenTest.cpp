// The troubleshooting window (shell and SSH, the time-outs, the agents' restart)
// and lockdown mode from the menu.
#include <sys/stat.h>

#include "../common/CommandOutput.h"
#include "MenuScreenUtil.h"

namespace {

using namespace MerelMenuTest;

std::unique_ptr<Terminal> OpenTroubleshooting(SimHost& host, TerminalOptions options = {}) {
  return OpenEntry(host, "Troubleshooting Options", "Troubleshooting Mode Options", options);
}

// The entry of the host's `list` whose `field` is `name`, or null.
nlohmann::json Entry(const SimHost& host, const char* list, const char* name, const char* field) {
  const nlohmann::json state = host.HostJson();
  const nlohmann::json* entry = Named(state[list], name, field);
  return entry ? *entry : nlohmann::json();
}

nlohmann::json Service(const SimHost& host, const char* name) {
  return Entry(host, "services", name, "name");
}

// Whether the firewall lets SSH in (null when its rule set is missing).
nlohmann::json SshFirewallOpen(const SimHost& host) {
  return Entry(host, "firewall", "sshServer", "id")["enabled"];
}

nlohmann::json Option(const SimHost& host, const char* name) {
  return Entry(host, "advancedOptions", name, "name")["value"];
}

TEST(TroubleshootingScreenTest, ShellAndSshReachTheHostAndFallBackToTheScripts) {
  SimHost host;
  // Colours: the greyed entry is checked.
  auto console = OpenTroubleshooting(host, {.term = "xterm-256color"});
  ExpectGoldenScreen(*console, "troubleshooting");

  Choose(*console, "Tarvik Shell", "Disable Tarvik Shell");
  Choose(*console, "SSH Support", "Disable SSH");
  ExpectHas(RightText(*console), {"SSH is Enabled"});
  // Both running and enabled, and the firewall open for SSH.
  EXPECT_EQ(List({Fields(Service(host, "TarvikShell"), {"running", "enabled"}),
                  Fields(Service(host, "SSH"), {"running", "enabled"}), SshFirewallOpen(host)}),
            List({List({true, true}), List({true, true}), true}));
  ExpectHas(host.ReadFile("/var/log/tools.log"), {"rovi-cmd -U root hostsvc/start_tarvik_shell\n",
                                                  "rovi-cmd -U root hostsvc/enable_ssh\n"});
  ExpectLogged(host,
               {"user.info User root enabled Tarvik Shell", "user.info User root enabled SSH"});
  // With a service on, the time-outs entry is grey (and so skipped).
  EXPECT_EQ(console->CellAt(kMenuColumn, kMenuTop + 2).fg, ConsoleColor::kDarkGrey);

  // The management command now fails: SSH is stopped by its script, and the
  // firewall closed by the console itself.
  host.WriteFile("/bin/rovi-cmd",
                 "#!/bin/sh\necho \"rovi-cmd: service unavailable\" >&2\nexit 1\n");
  Choose(*console, "SSH Support", "Enable SSH");
  ExpectLogged(host, {"user.warning Unable to run rovi-cmd to start/stop ssh",
                      "user.warning Unable to run rovi-cmd to enable/disable ssh",
                      "User root disabled SSH"});
  ExpectHas(host.ReadFile("/var/log/tools.log"), {"SSH stop\n"});
  EXPECT_EQ(List({Service(host, "SSH")["running"], SshFirewallOpen(host)}), List({false, false}));
}

// Typing into the console's idle time-out field: only digits reach it, and
// only 0 to 1440 minutes are written. The cases run in turn in one session,
// those that write nothing first.
TEST(TroubleshootingScreenTest, ConsoleTimeoutTakesOnlyValidMinutes) {
  // What is typed, whether it is refused, the seconds in the host afterwards
  // and the syslog line it writes.
  const std::tuple<std::string, bool, int64_t, const char*> cases[] = {
      {"", false, 600, ""},
      {"10", false, 600, ""},
      {"1441", true, 600, ""},
      {"99999999999999999999", true, 600, ""},
      {"1440", false, 86400, "Modified Merel timeout to 1440 minutes"},
      {"-a5b", false, 300, "Modified Merel timeout to 5 minutes"},
      {"0", false, 0, "Disabled Merel timeout"},
  };
  SimHost host;
  auto console = OpenTroubleshooting(host);
  for (const auto& [typed, refused, stored, syslog] : cases) {
    SCOPED_TRACE("typed \"" + typed + "\"");
    Choose(*console, "Modify MEREL idle timeout", "MEREL idle timeout");
    if (typed.empty()) {
      ExpectGoldenScreen(*console, "console-timeout");
    }
    TypeKeys(*console, "\x7f" + typed);  // Backspace empties the preset
    console->SendKey(Key::kEnter);
    if (refused) {
      Expect(*console, "Timeout value must be between 0 (disabled) and 1440 minutes");
      console->SendKey(Key::kEnter);
    }
    ASSERT_TRUE(WaitGone(*console, "Set idle timeout for MEREL access")) << console->Text();
    EXPECT_EQ(Option(host, "/UserVars/MerelTimeOut"), stored);
    ExpectLogged(host, {syslog});  // waits for the line; nothing before the first one
    EXPECT_EQ(Contains(host.Syslog(), "Merel timeout"), *syslog != '\0') << host.Syslog();
  }
}

// A time-out set in the window applies to the running session at once: idle
// for longer (sixty seconds pass in about three under libfaketime), the
// session logs out back to the welcome screen, with a record of why.
TEST(TroubleshootingScreenTest, ShorterConsoleTimeoutEndsTheRunningSession) {
  SimHost host;
  // `merel-sim run` sets LD_PRELOAD for pam_wrapper itself, so libfaketime
  // (a clock twenty times as fast) is added by a small wrapper that it starts
  // in place of the console (MEREL_BIN) and that starts the console.
  const std::string wrapper = "/merel-fast-clock";
  host.WriteFile(wrapper,
                 "#!/bin/sh\n"
                 "LD_PRELOAD=\"$LD_PRELOAD /usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1\" "
                 "FAKETIME='+0 x20' FAKETIME_DONT_RESET=1 exec " MEREL_BIN " \"$@\"\n");
  chmod(host.Path(wrapper).c_str(), 0755);
  auto console = OpenTroubleshooting(host, {.env = {{"MEREL_BIN", host.Path(wrapper)}}});
  Choose(*console, "Modify MEREL idle timeout", "MEREL idle timeout");
  TypeKeys(*console, "1");  // replaces the preset value
  PressGone(*console, Key::kEnter, "Set idle timeout for MEREL access");
  EXPECT_EQ(Option(host, "/UserVars/MerelTimeOut"), 60);
  EXPECT_TRUE(host.WaitForSyslog("user.info User root logged out due to time out\n",
                                 Scaled(milliseconds(20000))))
      << host.Syslog();
  ExpectLogged(host, {"login.disconnect user=root success=1 reason=\"Time out\""},
               "/var/log/audit.log");
  EXPECT_TRUE(console->WaitForText("<F2> Customize System/View Logs")) << console->Text();
}

TEST(TroubleshootingScreenTest, ShellTimeoutsAreWrittenWithTheHostTool) {
  SimHost host;
  auto console = OpenTroubleshooting(host);
  Choose(*console, "Modify Tarvik Shell and SSH", "Availability timeout");
  ExpectGoldenScreen(*console, "shell-timeouts");
  TypeKeys(*console, "1440");
  Type(*console, {Key::kDown});
  TypeKeys(*console, "1441");
  Press(*console, Key::kEnter, "Invalid timeout value");
  PressGone(*console, Key::kEnter, "Set the timeouts for Tarvik Shell access");
  EXPECT_EQ(List({Option(host, "/UserVars/TarvikShellTimeOut"),
                  Option(host, "/UserVars/TarvikShellInteractiveTimeOut")}),
            List({86400, 0}));
  ExpectHas(host.ReadFile("/var/log/tools.log"),
            {"tarvikcli system settings advanced set -o /UserVars/TarvikShellTimeOut -i 86400\n"});
  ExpectLogged(host, {"Modified Shell timeout to 1440 minutes"});
}

bool CoreFileWritten(const SimHost& host) {
  const std::string log = host.Path("/var/log");
  return !MerelTestCommon::CommandOutput("ls '" + log + "' | grep '^mgmtd-restart.*\\.core$'")
              .empty();
}

// Without and then with the live core of mgmtd: each step shows while it
// runs, and the collecting thread never draws.
TEST(TroubleshootingScreenTest, RestartAgentsStepsShowAsTheyRun) {
  SimHost host;
  auto console = OpenTroubleshooting(host);
  for (const bool core : {false, true}) {
    SCOPED_TRACE(core ? "with the core" : "without the core");
    Choose(*console, "Restart Management Agents", "Restart management agents now?");
    if (core) {
      ExpectGoldenScreen(*console, "restart-agents");
      Press(*console, Key::kSpace, "[X] Collect extra");
    }
    Type(*console, {Key::kEnter});  // only F11 confirms
    ExpectHas(console->Text(), {"Restart management agents now?"});
    console->SendKey(Key::kF11);
    ASSERT_TRUE(console->WaitForText("Stopping management agents.")) << console->Text();
    ExpectLacks(console->Text(), {"Starting management agents. Done."});
    EXPECT_EQ(Contains(console->Text(), "Collecting host agent live core information. Done."),
              core);
    Expect(*console, "Starting management agents. Done.");
    if (core) {
      ASSERT_TRUE(host.WaitForSyslog("Executing nexbacktrace -c against mgmtd")) << host.Syslog();
      ASSERT_TRUE(console->WaitFor([&] { return CoreFileWritten(host); }));
      ASSERT_TRUE(console->WaitUntilQuiet(milliseconds(300)));
      ExpectGoldenScreen(*console, "restart-agents-done");
    }
    EXPECT_EQ(CoreFileWritten(host), core);
    EXPECT_EQ(Service(host, "mgmtd")["restarts"], core ? 2 : 1);
    ExpectLogged(host, {"user.info Restarting host agents"});
    ExpectLogged(host, {"[obsv.user.merel.restarting.hostagents] Restarting host agents"},
                 "/var/log/obsvd.log");
    EXPECT_EQ(Contains(host.Syslog(), "nexbacktrace"), core) << host.Syslog();
    PressGone(*console, Key::kEnter, "Restart Management Agents: Confirm");
  }
}

// An account that PAM lets in but the management service does not know: the
// change is tried once, as that user; it fails, the failure is logged, and
// the console's own account never makes it in the user's place. Then, as
// root, lockdown on and off through the management command. Once the host
// can no longer enter it (here: it stops being managed while the mode is
// on), leaving it greys the menu's entry at once.
TEST(LockdownScreenTest, RefusedUserChangesNothingThenModeChangesAndTheMenuFollows) {
  SimHost host("lockdown-possible");
  host.WriteFile("/etc/pam_matrix.passwd",
                 host.ReadFile("/etc/pam_matrix.passwd") + "operator:pw:merel\n");
  auto console = LogIn(host, {.term = "xterm-256color"}, "operator", "pw");
  Choose(*console, "Configure Lockdown Mode", "[ ] Enable lockdown mode");
  Press(*console, Key::kSpace, "[X] Enable lockdown mode");
  PressToMenu(*console, Key::kEnter);
  ExpectLogged(
      host,
      {"user.err Enabling lockdown mode failed with error: rovi-cmd: unknown user 'operator'"});
  const std::string tools = host.ReadFile("/var/log/tools.log");
  ExpectHas(tools, {"rovi-cmd -U operator rovisvc/auth/lockdown_mode_enter\n"});
  ExpectLacks(tools, {"rovi-cmd -U merel rovisvc/auth/lockdown_mode_enter"});
  ExpectLacks(host.Syslog(), {"Lockdown mode enabled"});
  EXPECT_FALSE(host.HostJson()["lockdown"]["enabled"]);

  LogInAgain(*console, "", "merel");
  for (const auto& [before, after, log, command, entry] :
       {std::tuple{"[ ] Enable lockdown mode", "[X] Enable lockdown mode", "Lockdown mode enabled",
                   "rovisvc/auth/lockdown_mode_enter", ConsoleColor::kBlack},
        std::tuple{"[X] Enable lockdown mode", "[ ] Enable lockdown mode", "Lockdown mode disabled",
                   "rovisvc/auth/lockdown_mode_exit", ConsoleColor::kDarkGrey}}) {
    Choose(*console, "Configure Lockdown Mode", before);
    if (entry == ConsoleColor::kBlack) {
      ExpectGoldenScreen(*console, "lockdown");
    }
    // An even number of toggles would change nothing.
    Type(*console, {Key::kSpace, Key::kSpace, Key::kSpace});
    Expect(*console, after);
    // The menu asks the host afresh what it allows before it is drawn.
    console->SendKey(Key::kEnter);
    ASSERT_TRUE(WaitGone(*console, "Enable lockdown mode") && WaitForMenu(*console))
        << console->Text();
    ExpectLogged(host, {std::string("user.info ") + log});
    ExpectHas(host.ReadFile("/var/log/tools.log"),
              {std::string("rovi-cmd -U root ") + command + "\n"});
    EXPECT_EQ(console->CellAt(kMenuColumn, kMenuTop + 1).fg, entry) << console->Text();
    ModifyHost(host, [](nlohmann::json& state) { state["lockdown"]["possible"] = false; });
  }
  EXPECT_FALSE(host.HostJson()["lockdown"]["enabled"]);
}

}  // namespace
