// Start-up and shutdown of the console. Everything after start-up happens in
// the root frame's loop; the process normally ends by exit(0) from the key
// wait (resize, termination, restart request) and is started again by the
// system.

#include <cctype>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <curses.h>
#include <fcntl.h>
#include <signal.h>
#include <syslog.h>
#include <termios.h>
#include <unistd.h>

#include "DurableFile.h"
#include "Frame.h"
#include "HostCtl/HostCtlException.h"
#include "HostLibraries.h"
#include "LoginDialog.h"
#include "Platform.h"
#include "NetworkTest.h"
#include "Terminal.h"
#include "WelcomeWindow.h"

// Last: it defines macros named like ordinary words ("lines", "columns").
#include <term.h>

namespace {

const char* const kPidFile = "/var/run/merel.pid";

// The VT argument: a number in 1..63, or 0 for "no switch".
int ParseVirtualTerminal(int argc, char** argv) {
  if (argc < 2) {
    return 0;
  }
  long vt = strtol(argv[1], nullptr, 10);
  if (vt < 1 || vt > 63) {
    Platform::Syslog(LOG_ERR, "Invalid VT specified for MEREL: %s", argv[1]);
    return 0;
  }
  return static_cast<int>(vt);
}

// --help and --version answer before anything touches the host or the
// terminal; any other option is refused. A first argument that is not an
// option is the virtual terminal, handled as it always was. Returns the exit
// status, or -1 to go on.
int HandleOptions(int argc, char** argv) {
  if (argc < 2) {
    return -1;
  }
  const char* arg = argv[1];
  if (strcmp(arg, "--help") == 0 || strcmp(arg, "-h") == 0) {
    printf(
        "usage: merel [--host linux|sim] [VT]\n"
        "The host's full-screen console: the welcome screen, and after a login the\n"
        "System Customization menu. VT (1 to 63) is the virtual terminal to bring\n"
        "to the front. It runs on the host named by MEREL_SIM_ROOT, otherwise on\n"
        "the demo host in the user's state directory. See merel(8).\n"
        "\n"
        "  --host linux   run on this machine (its own facts, logins, services and power)\n"
        "  --host sim     run on a simulated host (the default)\n"
        "  -h, --help     show this help and exit\n"
        "  -V, --version  show the version and exit\n");
    return 0;
  }
  if (strcmp(arg, "--version") == 0 || strcmp(arg, "-V") == 0) {
    printf("merel %s\n", MEREL_VERSION);
    return 0;
  }
  // "-5" is a (bad) virtual terminal, not an option.
  if (arg[0] == '-' && arg[1] != '\0' && !isdigit(static_cast<unsigned char>(arg[1]))) {
    fprintf(stderr, "merel: unknown option '%s' (try 'merel --help')\n", arg);
    return 2;
  }
  return -1;
}

// "--host linux" (or "--host=linux") before the other arguments: the console
// then runs on the machine itself instead of a simulated host. Removes the
// option from the arguments. Returns the exit status of a bad option, or -1
// to go on.
int TakeHostOption(int& argc, char**& argv, bool& linuxHost) {
  if (argc < 2 || strncmp(argv[1], "--host", 6) != 0 || (argv[1][6] != '\0' && argv[1][6] != '=')) {
    return -1;
  }
  int used = 1;
  const char* name = argv[1][6] == '=' ? argv[1] + 7 : nullptr;
  if (name == nullptr) {
    if (argc < 3) {
      fprintf(stderr, "merel: --host needs a host: linux or sim\n");
      return 2;
    }
    name = argv[2];
    used = 2;
  }
  if (strcmp(name, "linux") == 0) {
    linuxHost = true;
  } else if (strcmp(name, "sim") != 0) {
    fprintf(stderr, "merel: unknown host '%s' (linux or sim)\n", name);
    return 2;
  }
  // The program's name stays first.
  argv[used] = argv[0];
  argv += used;
  argc -= used;
  return -1;
}

// Nothing the program or its libraries print may reach the terminal.
void SilenceStandardError() {
  int fd = open("/dev/null", O_WRONLY);
  if (fd >= 0) {
    dup2(fd, STDERR_FILENO);
    close(fd);
  }
}

// The terminal type and key handling. "linux" is kept only on the real
// console; a remote terminal that calls itself "linux" is driven as a VT102.
void ChooseTerminalType(Merel::Session& session) {
  const char* term = getenv("TERM");
  if (Platform::ConsoleKeyboard(STDOUT_FILENO)) {
    session.usingKeyboard = true;
    setenv("TERM", "linux", 1);
  } else if (term != nullptr) {
    if (strcmp(term, "linux") == 0) {
      setenv("TERM", "vt102", 1);
    } else if (strcmp(term, "xterm") == 0 && getenv("SSH_CLIENT") == nullptr) {
      session.usingKeyboard = true;
    }
  }
  setenv("TERMINFO", "/usr/share/terminfo", 0);
  setenv("TERM", "vt102", 0);
  // Curses cannot start on a type it has no description of, and the console
  // would be started again and again without ever drawing: such a terminal
  // is driven as a VT102, like one that names no type at all.
  int error = 0;
  if (setupterm(getenv("TERM"), STDOUT_FILENO, &error) == OK) {
    del_curterm(cur_term);
  } else {
    setenv("TERM", "vt102", 1);
  }
}

// Syslog and the host's logging library.
void StartLogging() {
  Log_SetProductInfo(ProductState_GetName(), ProductState_GetVersion(),
                     ProductState_GetBuildNumberString(), ProductState_GetCompilationOption());
  Log_InitWithSyslogSimpleInt("MEREL", Log_CfgInterface(), "MEREL");
  Platform::OpenLog("MEREL", LOG_PID, LOG_USER);
  Platform::SetLogMask(LOG_UPTO(LOG_INFO));  // 127: debug messages are dropped
  Platform::Syslog(LOG_INFO, "Starting MEREL");
}

// Single instance. A second instance still runs; it only leaves the pid file
// to the first, which is the one other tools signal. True when this one is
// the only console.
bool ClaimPidFile() {
  const std::string path = Platform::HostPath(kPidFile);
  int pid = 0;
  if (FILE* file = fopen(path.c_str(), "r")) {
    if (fscanf(file, "%d", &pid) != 1) {
      pid = 0;
    }
    fclose(file);
  }
  if (pid > 0 && kill(pid, 0) == 0) {
    Platform::Syslog(LOG_ERR, "Attempt to run multiple MEREL instances, not updating %s",
                     path.c_str());
    return false;
  }
  std::string error;
  if (!Platform::WriteFileDurably(path, std::to_string(getpid()), 0644, error)) {
    Platform::Syslog(LOG_ERR, "%s", error.c_str());
  }
  return true;
}

// The VT switch. The switch itself belongs to the host (a simulated host only
// records it); a failed switch is not reported.
void SwitchVirtualTerminal(int vt, struct termios& origTermios) {
  Platform::SwitchVirtualTerminal(vt);
  // On its own VT nobody should be able to suspend the console.
  origTermios.c_cc[VSUSP] = 0;
  tcsetattr(STDOUT_FILENO, TCSANOW, &origTermios);
}

// The host has en_US.UTF-8; a machine without it still gets UTF-8.
void SetLocale() {
  if (setlocale(LC_ALL, "en_US.UTF-8") == nullptr) {
    setlocale(LC_ALL, "C.UTF-8");
  }
}

void EndCurses() {
  endwin();
}

// Curses in the mode every screen expects.
void StartCurses() {
  initscr();
  start_color();
  // Every exit(0) of the key wait must leave the terminal usable, and so
  // must an exception nobody catches.
  atexit(EndCurses);
  Merel::RestoreTerminalOnTerminate();
  curs_set(0);
  cbreak();
  noecho();
  keypad(stdscr, TRUE);
  Merel::InitColors();
  Merel::InitKeys();
  refresh();
}

}  // namespace

int main(int argc, char** argv) {
  bool linuxHost = false;
  if (int status = TakeHostOption(argc, argv, linuxHost); status >= 0) {
    return status;
  }
  if (int status = HandleOptions(argc, argv); status >= 0) {
    return status;
  }
  // The host must exist before anything touches it (logging included). This
  // is the only message ever printed: curses has not started and standard
  // error is still the terminal.
  // The start-up, up to the first key wait, reads the host once: the
  // reading that checks the host is the one the start-up's calls share.
  Merel::Frame::BeginAction();
  std::string error;
  if (linuxHost) {
    Platform::SelectLinux(MEREL_VERSION);
  } else if (!Platform::Select(error)) {
    fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  const int vt = ParseVirtualTerminal(argc, argv);
  // The one session: the welcome screen and every screen above it share it.
  Merel::Session session;
  Merel::Frame::InitSignals();
  session.LoadIdleTimeout();
  SilenceStandardError();
  tcgetattr(STDOUT_FILENO, &session.origTermios);
  ChooseTerminalType(session);
  StartLogging();
  if (ClaimPidFile()) {
    // A console killed outright during a network test may have left the
    // hosts file without the host's entry; no other console is running one.
    Merel::NetworkTest::RecoverHostsFile();
  }
  if (vt != 0) {
    SwitchVirtualTerminal(vt, session.origTermios);
  }
  SetLocale();
  StartCurses();

  // Smart-card events are checked from the start, not only once somebody
  // has opened the login.
  session.smartCardCheck = [&session] { Merel::SmartCardCheck(session); };

  // The welcome screen covers the whole screen and has no parent;
  // its loop is the program's main loop.
  std::unique_ptr<Merel::Frame> root =
      std::make_unique<Merel::WelcomeWindow>(session, 0, 0, COLS, LINES);
  try {
    Merel::Frame::Run(root.get());
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "MEREL aborted by exception: %s", e.what());
  }
  root.reset();
  erase();
  refresh();
  endwin();
  // The Linux console's palette reset, undoing InitColors' redefinitions.
  if (write(STDOUT_FILENO, "\033]R", 3) < 0) {
    // Nothing left to report it to.
  }
  return 0;
}
