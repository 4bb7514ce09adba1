// A window that is run modally above a parent frame, and the process-wide
// machinery every frame shares: the signal thread and its pipe, and the one
// key wait (dimming, idle time-out, pseudo-keys), which works on the session
// of the frame it waits for.
#pragma once

#include <signal.h>
#include <sys/time.h>

#include <memory>

#include "Session.h"
#include "Window.h"

namespace Merel {

class StringFactory;

// Thrown by the key wait when a logged-in session has been idle too long; it
// unwinds every open frame back to the screen that started the session.
struct MerelTimeout {};

extern const char* const MEREL_TIMEOUT_VAR;  // "/UserVars/MerelTimeOut"

class Frame : public Window {
 public:
  // A frame in its parent's session; one without a parent has a session of
  // its own.
  Frame(Frame* parent, int x, int y, int width, int height, int background, int foreground);
  // The first frame of `session` (main's welcome screen).
  Frame(Session& session, int x, int y, int width, int height, int background, int foreground);
  ~Frame() override;

  Session& GetSession() const { return _session; }

  // The frame's own event loop; returns 0 for Escape/cancel, non-zero to confirm.
  virtual int Loop() = 0;
  // Smart-card notification while the frame is in front.
  virtual void Update() {}

  // Shows `frame` above its parent, runs its loop and restores the parent.
  static int Run(Frame* frame);
  // The next real key (>= 0) for `frame`; handles pseudo-keys itself, may throw
  // MerelTimeout (idle limit of the frame's session, when `useIdleLimit`) or
  // end the process.
  static int WaitForKey(Frame* frame, bool useIdleLimit);
  // Starts an action: the host-library calls from here to the next key wait
  // share one reading of the host (Platform::ReadScope). The key wait starts
  // one for each key it hands out, and for its own redraws; main for the
  // start-up.
  static void BeginAction();
  // Ends the action under way, as the key wait does before it waits; for a
  // key wait run outside the console's own loop, which would leave the
  // action it hands a key to open.
  static void EndAction();
  // One poll of standard input and the signal pipe: a key, a pseudo-key,
  // -2 on time-out, -1 on error. `interval` null = no time-out.
  static int ReadKey(const struct timeval* interval);

  // The deadlines of one key wait started at `start`: the screen dims at
  // `dim`; a logged-in session with time-out `idleTimeout` (seconds) times
  // out after `idle` when `idleActive`.
  struct Deadlines {
    struct timeval dim;
    struct timeval idle;
    bool idleActive;
  };
  static Deadlines ComputeDeadlines(const struct timeval& start, bool useIdleLimit,
                                    unsigned int idleTimeout);

  static void InitSignals();
  // The signal thread: turns each caught signal into one byte on the pipe.
  static void* SignalHandler(void*);
  static void ResizeTerminal();

  // What the key wait returns, while the session's `wakeOnChildExit` is set,
  // when a child of the console has ended.
  static constexpr int kChildExited = -7;
  // For a SIGCHLD handler: only writes one byte to the signal pipe.
  static void NotifyChildExit();

  // Lends the terminal to the program at `path` (a host path) with exactly
  // `argv` and `envp`: the terminal goes back to the modes the console found
  // at start-up, the program runs in the foreground with the console's own
  // standard descriptors, and the console waits for it to end (signals wait
  // in the pipe meanwhile). Then the terminal is taken back and `owner` is
  // repainted and in front again. Returns the wait status, or -1 when the
  // program could not be started. The modes come from `owner`'s session.
  static int RunOnTerminal(Frame* owner, const char* path, char* const argv[],
                           char* const envp[]);

 protected:
  Frame* _parentFrame = nullptr;

 private:
  std::unique_ptr<Session> _ownSession;  // only without a parent

 protected:
  Session& _session;
  StringFactory* _strings = nullptr;

 private:
  // Written by the signal thread (and a SIGCHLD handler), read by the key
  // wait: the one state of the console that signals reach.
  static int _signalPipe[2];
  static sigset_t _signalSet;
  friend struct SignalPipeAccess;  // the tests' stand-in pipe
};

}  // namespace Merel
