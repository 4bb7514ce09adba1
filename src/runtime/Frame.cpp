#include "Frame.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <termios.h>
#include <unistd.h>

#include <curses.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "Command.h"
#include "Platform.h"
#include "ReadScope.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

const char* const MEREL_TIMEOUT_VAR = "/UserVars/MerelTimeOut";

int Frame::_signalPipe[2] = {-1, -1};
sigset_t Frame::_signalSet;

namespace {

// What the signal thread writes for each signal, and what the key wait makes
// of it. The values are shared with nothing outside this file but are fixed:
// a byte is all the pipe carries.
enum SignalByte : unsigned char {
  kSmartCardByte = 1,
  kRestartByte = 2,
  kResizeByte = 3,
  kTerminateByte = 4,
  kChildExitByte = 5,
};

enum PseudoKey {
  kIgnored = -1,
  kTimedOut = -ENOENT,  // -2
  kSmartCardEvent = -3,
  kRestartRequest = -4,
  kResized = -5,
  kTerminate = -6,
};
static_assert(Frame::kChildExited == -7);

// Milliseconds without a key before the screen dims; also the shortest idle
// time-out.
constexpr long long kDimAfterMs = 60 * 1000;

struct timeval AddMilliseconds(const struct timeval& start, long long ms) {
  struct timeval delta;
  delta.tv_sec = static_cast<time_t>(ms / 1000);
  delta.tv_usec = static_cast<suseconds_t>((ms % 1000) * 1000);
  struct timeval result;
  timeradd(&start, &delta, &result);
  return result;
}

// Time from now until `deadline`, never negative.
struct timeval TimeLeft(const struct timeval& now, const struct timeval& deadline) {
  struct timeval left = {0, 0};
  if (timercmp(&deadline, &now, >)) {
    timersub(&deadline, &now, &left);
  }
  return left;
}

// The action under way: the start-up, or the handling of the last key, up
// to the next key wait. Its host-library calls share one reading of the host.
// A plain pointer: an exit from inside an action must not run a destructor
// after the reading it would forget is gone.
Platform::ReadScope* currentAction = nullptr;

}  // namespace

// The key wait ends the action: whatever happens next (the next key, a dim,
// a smart-card event) reads the host afresh.
void Frame::EndAction() {
  delete currentAction;
  currentAction = nullptr;
  Platform::ReadScope::Forget();
}

void Frame::BeginAction() {
  EndAction();
  currentAction = new Platform::ReadScope();
}

Frame::Frame(Frame* parent, int x, int y, int width, int height, int background, int foreground)
    // Frames overlap their parent rather than being part of it, so even a
    // frame with a parent is a top-level curses window.
    : Window(x, y, width, height, background, foreground),
      _parentFrame(parent),
      _ownSession(parent != nullptr ? nullptr : std::make_unique<Session>()),
      _session(parent != nullptr ? parent->_session : *_ownSession),
      _strings(GetStringFactory("en_US")) {}

Frame::Frame(Session& session, int x, int y, int width, int height, int background,
             int foreground)
    : Window(x, y, width, height, background, foreground),
      _session(session),
      _strings(GetStringFactory("en_US")) {}

Frame::~Frame() {
  if (_session.fgFrame == this) {
    _session.fgFrame = nullptr;
  }
}

int Frame::Run(Frame* frame) {
  Frame*& fgFrame = frame->_session.fgFrame;
  fgFrame = nullptr;
  Frame* parent = frame->_parentFrame;
  if (parent != nullptr) {
    parent->Draw(false);
    parent->Refresh();
  }
  frame->Draw(true);
  fgFrame = frame;
  int result;
  try {
    result = frame->Loop();
  } catch (const MerelTimeout&) {
    // The whole stack of frames is being abandoned; redrawing the parent
    // would only flash it on the way out.
    fgFrame = nullptr;
    throw;
  }
  if (parent != nullptr) {
    parent->Draw(true);
    parent->Refresh();
    fgFrame = parent;
  } else {
    fgFrame = nullptr;
  }
  return result;
}

Frame::Deadlines Frame::ComputeDeadlines(const struct timeval& start, bool useIdleLimit,
                                         unsigned int idleTimeout) {
  Deadlines deadlines;
  deadlines.dim = AddMilliseconds(start, kDimAfterMs);
  deadlines.idleActive = useIdleLimit && idleTimeout != 0;
  // A session never times out before the screen has dimmed: a configured
  // value below a minute acts as a minute.
  long long idleMs = std::max(static_cast<long long>(idleTimeout) * 1000, kDimAfterMs);
  deadlines.idle = AddMilliseconds(start, idleMs);
  return deadlines;
}

int Frame::WaitForKey(Frame* frame, bool useIdleLimit) {
  EndAction();
  Session& session = frame->_session;
  struct timeval start;
  gettimeofday(&start, nullptr);
  const Deadlines deadlines = ComputeDeadlines(start, useIdleLimit, session.idleTimeout);
  bool dimmed = false;
  for (;;) {
    struct timeval now;
    gettimeofday(&now, nullptr);
    if (deadlines.idleActive && timercmp(&now, &deadlines.idle, >)) {
      session.fgFrame = nullptr;
      throw MerelTimeout();
    }
    if (!dimmed && timercmp(&now, &deadlines.dim, >)) {
      if (frame != nullptr) {
        Platform::ReadScope redraw;
        frame->Draw(false);
        frame->Refresh();
      }
      dimmed = true;
    }
    // Everything drawn since the last wait goes out now, in one update.
    Window::UpdateTerminal();
    int key;
    if (!dimmed) {
      struct timeval left = TimeLeft(now, deadlines.dim);
      key = ReadKey(&left);
    } else if (deadlines.idleActive) {
      struct timeval left = TimeLeft(now, deadlines.idle);
      key = ReadKey(&left);
    } else {
      key = ReadKey(nullptr);
    }

    switch (key) {
      case kSmartCardEvent: {
        Platform::ReadScope redraw;
        if (session.fgFrame != nullptr) {
          session.fgFrame->Update();
        }
        if (session.smartCardCheck) {
          session.smartCardCheck();
        }
        continue;
      }
      case kRestartRequest:
        if (!session.loggedIn) {
          exit(0);
        }
        // The session's owner honours it when the user logs out.
        session.markForRestart = true;
        continue;
      case kResized:
      case KEY_RESIZE:
        // Deliberately not handled in place: the restarted console lays every
        // screen out for the new size.
        ResizeTerminal();
        exit(0);
      case kTerminate:
        exit(0);
      case kChildExited:
        if (session.wakeOnChildExit) {
          BeginAction();
          return kChildExited;
        }
        continue;
      default:
        break;
    }
    if (key < 0) {
      continue;  // time-out, error, or a byte we do not know
    }
    BeginAction();
    if (dimmed && frame != nullptr) {
      // Only the colours change back: curses knows what the terminal shows,
      // so the update sends the recoloured cells, without a clear.
      frame->Draw(true);
      frame->Refresh();
    }
    // The key that ends the dim is delivered, not swallowed.
    return key;
  }
}

int Frame::ReadKey(const struct timeval* interval) {
  // Curses may already hold keys that poll cannot see: the key after an Esc
  // that it read while looking for the rest of a sequence, or whatever came
  // in the same write as the last key. They are handed out before the wait
  // sleeps, or they would sit there until the next key arrived.
  wtimeout(stdscr, 0);
  const int held = wgetch(stdscr);
  wtimeout(stdscr, -1);
  if (held != ERR) {
    return held;
  }
  struct pollfd fds[2] = {
      {STDIN_FILENO, POLLIN, 0},
      {_signalPipe[0], POLLIN, 0},
  };
  int timeout = -1;
  if (interval != nullptr) {
    timeout = static_cast<int>(interval->tv_sec * 1000 + interval->tv_usec / 1000);
  }
  int ready = poll(fds, 2, timeout);
  if (ready < 0) {
    // A signal with a handler of its own (the network test's child-exit
    // handler) interrupts the wait; that is no fault. The caller waits
    // again with what is left of its time.
    if (errno != EINTR) {
      LogErrno("poll() failed");
    }
    return kIgnored;
  }
  if (ready == 0) {
    return kTimedOut;
  }
  // Standard input first: a key wins over a signal that came at the same
  // instant; the signal byte stays in the pipe for the next wait.
  const short hangUp = POLLHUP | POLLERR | POLLNVAL;
  if (fds[0].revents & POLLIN) {
    wtimeout(stdscr, 0);
    int key = wgetch(stdscr);
    wtimeout(stdscr, -1);
    if (key == ERR && ((fds[0].revents & hangUp) || !isatty(STDIN_FILENO))) {
      // The terminal is gone, or the input is a file or pipe that has ended
      // (/dev/null is readable for ever without a hang-up). Without this the
      // wait would spin on a descriptor that is always ready, and never get
      // to the signal pipe; end like any termination request.
      return kTerminate;
    }
    if (key != ERR || !(fds[1].revents & POLLIN)) {
      return key;
    }
    // Nothing could be read after all: a pending signal is served now.
  }
  if (!(fds[0].revents & POLLIN) && (fds[0].revents & hangUp)) {
    return kTerminate;
  }
  if (fds[1].revents & POLLIN) {
    unsigned char byte = 0;
    ssize_t n;
    do {
      n = read(_signalPipe[0], &byte, 1);
    } while (n < 1 && errno == EINTR);
    if (n < 1) {
      return kIgnored;
    }
    switch (byte) {
      case kSmartCardByte:
        return kSmartCardEvent;
      case kRestartByte:
        return kRestartRequest;
      case kResizeByte:
        return kResized;
      case kTerminateByte:
        return kTerminate;
      case kChildExitByte:
        return kChildExited;
      default:
        return kIgnored;
    }
  }
  return kIgnored;
}

void Frame::NotifyChildExit() {
  // Signal context: write(2) only, errno left as it was found.
  const int saved = errno;
  const unsigned char byte = kChildExitByte;
  if (_signalPipe[1] >= 0) {
    ssize_t ignored = write(_signalPipe[1], &byte, 1);
    (void)ignored;
  }
  errno = saved;
}

void Frame::ResizeTerminal() {
  struct winsize size;
  if (ioctl(STDIN_FILENO, TIOCGWINSZ, &size) != 0) {
    return;
  }
  if (size.ws_row != 0 && size.ws_col != 0) {
    resizeterm(size.ws_row, size.ws_col);
    Platform::Syslog(LOG_INFO, "Resized window to %dx%d", size.ws_col, size.ws_row);
    refresh();
  }
}

void* Frame::SignalHandler(void*) {
  for (;;) {
    int signal = 0;
    int rc = sigwait(&_signalSet, &signal);
    if (rc != 0) {
      errno = rc;
      LogErrno("sigwait() failed");
      continue;
    }
    unsigned char byte;
    switch (signal) {
      case SIGUSR1:
        byte = kSmartCardByte;
        break;
      case SIGUSR2:
        byte = kRestartByte;
        break;
      case SIGWINCH:
        byte = kResizeByte;
        break;
      case SIGINT:
      case SIGQUIT:
      case SIGTERM:
      case SIGHUP:  // the normal end of a serial or remote session
        byte = kTerminateByte;
        break;
      default:
        continue;
    }
    ssize_t n;
    do {
      n = write(Frame::_signalPipe[1], &byte, 1);
    } while (n <= 0 && errno == EINTR);
  }
  return nullptr;
}

void Frame::InitSignals() {
  if (pipe2(_signalPipe, O_CLOEXEC) != 0) {
    LogErrno("pipe() failed");
    exit(1);
  }
  sigemptyset(&_signalSet);
  sigaddset(&_signalSet, SIGINT);
  sigaddset(&_signalSet, SIGQUIT);
  sigaddset(&_signalSet, SIGTERM);
  sigaddset(&_signalSet, SIGUSR1);
  sigaddset(&_signalSet, SIGUSR2);
  sigaddset(&_signalSet, SIGWINCH);
  sigaddset(&_signalSet, SIGHUP);
  // Job control has no place in a console that owns its terminal: a
  // suspended console would leave the terminal to nobody. Ignored (not just
  // blocked) before curses starts, because curses installs a handler of its
  // own for a default SIGTSTP, and that handler redraws the screen from
  // signal context. Ignored, the stop character is simply dropped, and a
  // write or mode change from the background cannot stop the process either.
  // Programs started on the terminal get the default dispositions back
  // (Platform::Spawn).
  for (int jobControl : {SIGTSTP, SIGTTIN, SIGTTOU}) {
    signal(jobControl, SIG_IGN);
  }
  // Blocked before any other thread exists, so every thread inherits the mask
  // and the signals are only ever taken by sigwait below: no code runs in
  // signal-handler context.
  int rc = pthread_sigmask(SIG_BLOCK, &_signalSet, nullptr);
  if (rc != 0) {
    errno = rc;
    LogErrno("pthread_sigmask() failed");
  }
  pthread_t thread;
  rc = pthread_create(&thread, nullptr, SignalHandler, nullptr);
  if (rc != 0) {
    errno = rc;
    LogErrno("pthread_create() failed");
    exit(1);
  }
}

int Frame::RunOnTerminal(Frame* owner,
                         const char* path,
                         char* const argv[],
                         char* const envp[]) {
  // The program expects the terminal as the console found it, not in the
  // mode curses keeps it in.
  struct termios saved;
  const bool haveSaved = tcgetattr(STDOUT_FILENO, &saved) == 0;
  if (owner != nullptr) {
    tcsetattr(STDOUT_FILENO, TCSANOW, &owner->_session.origTermios);
    // Nobody in front: a smart-card event must not draw over the program.
    owner->_session.fgFrame = nullptr;
  }
  clear();
  refresh();

  int status = -1;
  const pid_t pid = Platform::Spawn(path, argv, envp, STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO);
  if (pid > 0) {
    for (;;) {
      pid_t r = waitpid(pid, &status, WUNTRACED);
      if (r < 0 && errno == EINTR) {
        continue;
      }
      if (r == pid && WIFSTOPPED(status)) {
        // Suspended from its own terminal (a program that takes the stop
        // character): nobody else could ever continue it, and the console
        // would wait for ever.
        kill(pid, SIGCONT);
        continue;
      }
      if (r != pid) {
        status = -1;
      }
      break;
    }
  }

  if (haveSaved) {
    tcsetattr(STDOUT_FILENO, TCSANOW, &saved);
  }
  tcsetpgrp(STDOUT_FILENO, getpgrp());
  // A program that uses the terminal's alternate screen (the pager does)
  // leaves it on its way out. The console's screens belong there: drawn on
  // the normal screen, the last of them would stay behind when the console
  // ends, and the shell would write over it.
  const char* alternateScreen = tigetstr("smcup");
  if (alternateScreen != nullptr && alternateScreen != reinterpret_cast<char*>(-1)) {
    putp(alternateScreen);
    fflush(stdout);  // putp writes through stdio, not curses' own output
  }
  // Switching the keypad off and on makes curses send the keypad set-up
  // again, which the program undid on its way out.
  keypad(stdscr, FALSE);
  keypad(stdscr, TRUE);
  // Curses still believes the screen is the one it cleared, but the program
  // wrote over it: without this, cells the owner leaves blank would keep the
  // program's text on a terminal without an alternate screen.
  clearok(curscr, TRUE);
  if (owner != nullptr) {
    owner->Draw(false);
    owner->Draw(true);
    owner->_session.fgFrame = owner;
  }
  return status;
}

}  // namespace Merel
