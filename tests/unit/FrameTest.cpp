// Frame: the modal run, the key wait, the signal pipe and the idle time-out.

#include "Frame.h"

#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <vector>

#include "CursesFixture.h"
#include "Terminal.h"
#include "SimHostTestSupport.h"

namespace Merel {

// The key wait's pipe, replaced by the test's own.
struct SignalPipeAccess {
  static auto& Pipe() { return Frame::_signalPipe; }
};

namespace {

// A frame whose loop is whatever the test wants; records its draws.
class TestFrame : public Frame {
 public:
  // `owner`: the parent frame, or the session of a root frame.
  template <typename Owner>
  explicit TestFrame(Owner&& owner, std::function<int()> loop = [] { return 0; })
      : Frame(owner, 0, 0, 20, 5, kYellow, kWhite), _loop(std::move(loop)) {}
  int Loop() override { return _loop(); }
  void Update() override { ++updates; }
  void Draw(bool active) override {
    draws.push_back(active);
    Frame::Draw(active);
  }
  std::vector<bool> draws;
  int updates = 0;

 private:
  std::function<int()> _loop;
};

class FrameTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(_screen.Ok());
    ASSERT_EQ(pipe(_pipe), 0);
    std::swap(_pipe, SignalPipeAccess::Pipe());
  }
  void TearDown() override {
    Frame::EndAction();  // the action of the last key a test's key wait gave
    std::swap(_pipe, SignalPipeAccess::Pipe());
    close(_pipe[0]);
    close(_pipe[1]);
  }
  void Signal(unsigned char byte) { ASSERT_EQ(write(SignalPipeAccess::Pipe()[1], &byte, 1), 1); }

  MerelTest::CursesScreen _screen{"xterm-256color", true};  // the key wait polls descriptor 0
  int _pipe[2] = {-1, -1};
  Session _session;
};

TEST_F(FrameTest, RunPutsTheFrameInFrontOfItsGreyedParentAndBack) {
  TestFrame parent(_session);
  Frame* frontInside = nullptr;
  bool parentActiveInside = true;
  TestFrame child(&parent, [&] {
    frontInside = _session.fgFrame;
    parentActiveInside = parent.IsActive();
    return 7;
  });
  _session.fgFrame = &parent;
  EXPECT_EQ(Frame::Run(&child), 7);
  EXPECT_EQ(std::tuple(frontInside, parentActiveInside, parent.draws, _session.fgFrame),
            std::tuple(&child, false, std::vector<bool>{false, true}, &parent));

  TestFrame root(_session, [] { return 1; });
  EXPECT_EQ(Frame::Run(&root), 1);
  EXPECT_EQ(_session.fgFrame, nullptr) << "the root frame leaves nobody in front";

  // An idle time-out passes through, without redrawing the parent.
  TestFrame timedOut(&parent, []() -> int { throw MerelTimeout(); });
  parent.draws.clear();
  _session.fgFrame = &parent;
  EXPECT_THROW(Frame::Run(&timedOut), MerelTimeout);
  EXPECT_EQ(std::tuple(_session.fgFrame, parent.draws),
            std::tuple(nullptr, std::vector<bool>{false}));
}

// What each signal's byte does is seen from outside, by the screen tests
// that send the signals; here, that a key wins over a signal that came at
// the same time, the wait's end when nothing came, and what the screen tests
// cannot send. (A restart requested during a session is kept for the
// logout: the welcome screen tests see that.)
TEST_F(FrameTest, KeysBeforeSignalsCardEventsUpdateTheFrontUnknownBytesAreIgnored) {
  struct timeval second = {1, 0};
  Signal(4);  // a termination request
  _screen.Type("x");
  ASSERT_TRUE(_screen.WaitForInput());
  EXPECT_EQ(Frame::ReadKey(&second), 'x');
  EXPECT_EQ(Frame::ReadKey(&second), -6);
  struct timeval brief = {0, 20 * 1000};
  EXPECT_EQ(Frame::ReadKey(&brief), -2) << "nothing came";

  TestFrame front(_session);
  _session.fgFrame = &front;
  _session.smartCardCheck = [&] { _screen.Type("q"); };  // a key for the wait to return
  Signal(9);  // unknown: ignored
  Signal(1);
  EXPECT_EQ(Frame::WaitForKey(&front, false), 'q');
  EXPECT_EQ(front.updates, 1);
}

// The hand-over of the terminal to a program: the program sees the modes
// the console found at start-up, the console waits for it (continuing it
// when it stops itself, as nobody else could), then takes its own modes back
// and repaints the owner, which is in front again.
TEST_F(FrameTest, RunOnTerminalLendsTheTerminalAndTakesItBack) {
  SimHostTest::SimRoot root;
  // Standard output is the terminal for the hand-over, as in the console.
  const int savedStdout = dup(STDOUT_FILENO);
  dup2(_screen.Slave(), STDOUT_FILENO);
  tcgetattr(STDOUT_FILENO, &_session.origTermios);
  _session.origTermios.c_lflag |= ECHO | ICANON;
  const struct {
    const char *program, *script;
    int status;  // as waitpid gives it; -1: the program never ran
  } cases[] = {
      // Reports whether echo is on, from the terminal it was given.
      {"/bin/sh", "stty -a | grep -q ' -echo ' && exit 1; exit 3", 3 << 8},
      {"/bin/sh", "kill -STOP $$; exit 4", 4 << 8},
      {"/bin/no-such-program", "", -1},
  };
  for (const auto& c : cases) {
    TestFrame owner(_session);
    _session.fgFrame = nullptr;
    char sh[] = "sh", dashC[] = "-c";
    std::string script = c.script;
    char* const argv[] = {sh, dashC, script.data(), nullptr};
    char path[] = "PATH=/usr/bin:/bin";
    char* const envp[] = {path, nullptr};
    const int status = Frame::RunOnTerminal(&owner, c.program, argv, envp);
    struct termios after;
    tcgetattr(STDOUT_FILENO, &after);
    // The last: echo and canonical input, which the console's own modes have off.
    EXPECT_EQ(std::tuple(status, _session.fgFrame, owner.draws, after.c_lflag & (ECHO | ICANON)),
              std::tuple(c.status, &owner, std::vector<bool>{false, true}, tcflag_t{0}))
        << c.program << " " << c.script;
  }
  dup2(savedStdout, STDOUT_FILENO);
  close(savedStdout);
}

TEST(FrameDeadlinesTest, DimAfterAMinuteIdleNoSoonerThanAMinuteZeroDisables) {
  const struct timeval start = {1000, 250000};
  // Whether the idle limit is used, the idle time-out, and when the idle
  // deadline falls (0: none).
  const std::tuple<bool, unsigned int, long> cases[] = {
      {true, 600, 1600}, {true, 30, 1060}, {true, 61, 1061}, {true, 0, 0}, {false, 600, 0}};
  for (const auto& [useIdleLimit, idleTimeout, expectedIdleAt] : cases) {
    const Frame::Deadlines d = Frame::ComputeDeadlines(start, useIdleLimit, idleTimeout);
    // The idle deadline only counts while it is active.
    const long idleAt = d.idleActive ? d.idle.tv_sec : 0;
    EXPECT_EQ(std::tuple(d.dim.tv_sec, d.dim.tv_usec, idleAt, d.idle.tv_usec),
              std::tuple(1060L, 250000L, expectedIdleAt, 250000L))
        << idleTimeout;
  }
}

// The host's advanced option, with 600 seconds whenever it cannot be used.
TEST(IdleTimeoutTest, ComesFromTheIntegerOptionOrIs600) {
  SimHostTest::SimRoot root;
  const struct {
    const char* type;  // nullptr: no such option
    int64_t value;
    unsigned int expected;
  } cases[] = {
      {nullptr, 0, 600}, {"string", 900, 600}, {"int", 900, 900}, {"int", 0, 0}, {"int", 30, 30}};
  for (const auto& c : cases) {
    Platform::Current().Modify([&](Platform::HostState& state) {
      std::erase_if(state.advancedOptions, [](auto& o) { return o.name == MEREL_TIMEOUT_VAR; });
      if (c.type != nullptr) {
        state.advancedOptions.push_back({.name = MEREL_TIMEOUT_VAR, .type = c.type,
                                         .value = c.value, .max = 86400,
                                         .stringValue = std::to_string(c.value),
                                         .description = ""});
      }
    });
    Session session;
    session.idleTimeout = 12345;
    session.LoadIdleTimeout();
    EXPECT_EQ(session.idleTimeout, c.expected) << (c.type ? c.type : "missing") << " " << c.value;
  }
  // A changed value is picked up at the next login, not at a logout.
  Session session;
  session.SetLoggedIn(false);
  EXPECT_EQ(session.idleTimeout, 600u);
  session.SetLoggedIn(true);
  EXPECT_EQ(session.idleTimeout, 30u);

  std::filesystem::remove(root.Path() + "/host.json");  // the host cannot be read
  session.LoadIdleTimeout();
  EXPECT_EQ(session.idleTimeout, 600u);
}

}  // namespace
}  // namespace Merel
