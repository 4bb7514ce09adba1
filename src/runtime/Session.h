// One run of the console as its user sees it: who is logged in and how,
// what the key wait does for them, and what main found out about the
// terminal. main owns the one session and hands it to the welcome screen;
// every frame shares its parent's (Frame::GetSession), so a screen reads and
// changes the session it was opened in, and nothing else.
#pragma once

#include <termios.h>

#include <functional>
#include <string>

namespace Merel {

class Frame;

struct Session {
  // Set by the login, cleared at logout.
  bool loggedIn = false;
  std::string loginName;  // the "-U" user of every management command
  bool isLoggedWithSmartCard = false;
  std::string smartCardLoginId;
  std::string cardInfo;
  // A restart request that came while somebody was logged in: the welcome
  // screen honours it when the user logs out.
  bool markForRestart = false;
  // Seconds a logged-in session may stay without a key (0: for ever); read
  // from the host at start-up and at every login (LoadIdleTimeout).
  unsigned int idleTimeout = 600;

  // The console runs on the host's own keyboard: the keyboard layout can be
  // chosen.
  bool usingKeyboard = false;
  // The terminal modes the console found at start-up: a program lent the
  // terminal (Frame::RunOnTerminal) gets them back.
  struct termios origTermios = {};

  // The frame in front: it gets the smart-card notification.
  Frame* fgFrame = nullptr;
  // While set, the key wait returns Frame::kChildExited when a child of the
  // console has ended, so that a screen can wait for a key and for its child
  // at once. At other times that news is dropped.
  bool wakeOnChildExit = false;
  // The smart-card check run by the key wait after a smart-card event; set
  // by main (the runtime knows nothing of smart cards itself).
  std::function<void()> smartCardCheck;

  // Reads the idle time-out from the host ("/UserVars/MerelTimeOut"; 600
  // when it cannot be read).
  void LoadIdleTimeout();
  // A changed time-out takes effect at the next login.
  void SetLoggedIn(bool loggedIn);
};

}  // namespace Merel
