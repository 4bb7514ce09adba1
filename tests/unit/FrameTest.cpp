// Frame: the modal run, the key wait and the signal pipe.

#include "Frame.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CursesFixture.h"
#include "Terminal.h"

namespace {

using Merel::Frame;
using MerelTest::CursesOptions;
using MerelTest::CursesScreen;

// A frame whose loop is whatever the test wants; records its draws and
// smart-card notifications.
class TestFrame : public Frame {
 public:
  explicit TestFrame(
      Frame* parent,
      std::function<int()> loop = [] { return 0; })
      : Frame(parent, 0, 0, 20, 5, Merel::kYellow, Merel::kWhite), _loop(std::move(loop)) {}
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

long MillisecondsSince(std::chrono::steady_clock::time_point start) {
  return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(
                               std::chrono::steady_clock::now() - start)
                               .count());
}

class FrameTest : public testing::Test {
 protected:
  void SetUp() override {
    CursesOptions options;
    options.standardInput = true;  // the key wait polls descriptor 0
    _screen = std::make_unique<CursesScreen>(options);
    ASSERT_TRUE(_screen->Ok());
    ASSERT_EQ(pipe(_pipe), 0);
    _savedPipe[0] = Frame::_signalPipe[0];
    _savedPipe[1] = Frame::_signalPipe[1];
    Frame::_signalPipe[0] = _pipe[0];
    Frame::_signalPipe[1] = _pipe[1];
    Frame::fgFrame = nullptr;
  }

  void TearDown() override {
    if (_typist.joinable()) {
      _typist.join();
    }
    Frame::_signalPipe[0] = _savedPipe[0];
    Frame::_signalPipe[1] = _savedPipe[1];
    close(_pipe[0]);
    close(_pipe[1]);
    Frame::fgFrame = nullptr;
    Frame::_dimAfterMs = 60 * 1000;
    Frame::_idleTimeout = 600;
    Frame::_loggedIn = false;
    Frame::_markForRestart = false;
    Frame::_smartCardCheck = nullptr;
    Frame::_keyTraceFd = -1;
    _screen.reset();
  }

  void Signal(unsigned char byte) { ASSERT_EQ(write(_pipe[1], &byte, 1), 1); }

  // Types `bytes` after `delayMs`, from another thread, while the test waits.
  void TypeLater(int delayMs, std::string bytes) {
    _typist = std::thread([this, delayMs, bytes] {
      std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
      _screen->Type(bytes);
    });
  }

  std::unique_ptr<CursesScreen> _screen;
  int _pipe[2] = {-1, -1};
  int _savedPipe[2] = {-1, -1};
  std::thread _typist;
};

// --- Frame::Run -------------------------------------------------------------

TEST_F(FrameTest, RunShowsTheFrameAboveItsGreyedParentAndRestoresIt) {
  TestFrame parent(nullptr);
  bool parentActiveInside = true;
  Frame* frontInside = nullptr;
  TestFrame* childPtr = nullptr;
  TestFrame child(&parent, [&] {
    parentActiveInside = parent.IsActive();
    frontInside = Frame::fgFrame;
    return 7;
  });
  childPtr = &child;
  Frame::fgFrame = &parent;

  EXPECT_EQ(Frame::Run(&child), 7);
  EXPECT_FALSE(parentActiveInside);
  EXPECT_EQ(frontInside, childPtr);
  EXPECT_EQ(parent.draws, (std::vector<bool>{false, true}));
  EXPECT_EQ(child.draws, (std::vector<bool>{true}));
  EXPECT_TRUE(parent.IsActive());
  EXPECT_EQ(Frame::fgFrame, &parent);
}

TEST_F(FrameTest, RunOfTheRootFrameLeavesNobodyInFront) {
  TestFrame root(nullptr, [] { return 1; });
  EXPECT_EQ(Frame::Run(&root), 1);
  EXPECT_EQ(Frame::fgFrame, nullptr);
}

TEST_F(FrameTest, IdleTimeoutPassesThroughRunWithoutRedrawingTheParent) {
  TestFrame parent(nullptr);
  TestFrame child(&parent, []() -> int { throw Merel::MerelTimeout(); });
  EXPECT_THROW(Frame::Run(&child), Merel::MerelTimeout);
  EXPECT_EQ(Frame::fgFrame, nullptr);
  EXPECT_EQ(parent.draws, (std::vector<bool>{false}));
}

// --- Frame::ReadKey ---------------------------------------------------------

TEST_F(FrameTest, ReadKeyGivesTheKeyBeforeASignalThatCameWithIt) {
  Signal(4);
  _screen->Type("x");
  ASSERT_TRUE(_screen->WaitForInput());
  struct timeval second = {1, 0};
  EXPECT_EQ(Frame::ReadKey(&second), 'x');
  EXPECT_EQ(Frame::ReadKey(&second), -6);
}

TEST_F(FrameTest, ReadKeyTurnsPipeBytesIntoPseudoKeys) {
  const struct {
    unsigned char byte;
    int key;
  } cases[] = {{1, -3}, {2, -4}, {3, -5}, {4, -6}, {0, -1}, {5, -1}, {255, -1}};
  for (const auto& c : cases) {
    Signal(c.byte);
    struct timeval second = {1, 0};
    EXPECT_EQ(Frame::ReadKey(&second), c.key) << "byte " << int(c.byte);
  }
}

TEST_F(FrameTest, ReadKeyTimesOutWithMinusTwo) {
  const auto start = std::chrono::steady_clock::now();
  struct timeval interval = {0, 80 * 1000};
  EXPECT_EQ(Frame::ReadKey(&interval), -2);
  EXPECT_GE(MillisecondsSince(start), 70);
}

// --- Frame::WaitForKey ------------------------------------------------------

TEST_F(FrameTest, DeadlinesOfTheKeyWait) {
  const struct timeval start = {1000, 250000};
  const struct {
    bool useIdleLimit;
    unsigned int idleTimeout;
    bool idleActive;
    long idleAfterSeconds;
  } cases[] = {
      {true, 600, true, 600}, {true, 30, true, 60},  // below a minute acts as a minute
      {true, 61, true, 61},   {true, 0, false, 0},   // 0 disables the time-out
      {false, 600, false, 0},                        // the caller did not ask for it
  };
  for (const auto& c : cases) {
    Frame::_idleTimeout = c.idleTimeout;
    const Frame::Deadlines d = Frame::ComputeDeadlines(start, c.useIdleLimit);
    EXPECT_EQ(d.dim.tv_sec, 1060);
    EXPECT_EQ(d.dim.tv_usec, 250000);
    EXPECT_EQ(d.idleActive, c.idleActive) << c.idleTimeout;
    if (c.idleActive) {
      EXPECT_EQ(d.idle.tv_sec, 1000 + c.idleAfterSeconds) << c.idleTimeout;
      EXPECT_EQ(d.idle.tv_usec, 250000);
    }
  }
}

TEST_F(FrameTest, SmartCardEventNotifiesTheFrontFrameAndRunsTheCheck) {
  TestFrame front(nullptr);
  Frame::fgFrame = &front;
  int checks = 0;
  Frame::_smartCardCheck = [&] {
    ++checks;
    _screen->Type("q");  // so the wait has a key to return afterwards
  };
  Signal(1);
  EXPECT_EQ(Frame::WaitForKey(&front, false), 'q');
  EXPECT_EQ(front.updates, 1);
  EXPECT_EQ(checks, 1);
}

TEST_F(FrameTest, RestartRequestDuringASessionIsKeptForLater) {
  TestFrame front(nullptr);
  Frame::_loggedIn = true;
  Signal(2);
  Signal(9);  // unknown bytes are ignored
  TypeLater(100, "q");
  EXPECT_EQ(Frame::WaitForKey(&front, false), 'q');
  EXPECT_TRUE(Frame::_markForRestart);
}

TEST_F(FrameTest, DimsAfterTheDelayAndTheWakingKeyIsDelivered) {
  TestFrame front(nullptr);
  Frame::_dimAfterMs = 150;
  TypeLater(400, "k");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Frame::WaitForKey(&front, false), 'k');
  EXPECT_GE(MillisecondsSince(start), 390);
  EXPECT_EQ(front.draws, (std::vector<bool>{false, true}));
  EXPECT_TRUE(front.IsActive());
}

TEST_F(FrameTest, KeyBeforeTheDimDeadlineDrawsNothing) {
  TestFrame front(nullptr);
  Frame::_dimAfterMs = 1000;
  _screen->Type("k");
  EXPECT_EQ(Frame::WaitForKey(&front, true), 'k');
  EXPECT_TRUE(front.draws.empty());
}

TEST_F(FrameTest, IdleSessionTimesOutAfterDimming) {
  TestFrame front(nullptr);
  Frame::fgFrame = &front;
  Frame::_dimAfterMs = 100;
  Frame::_idleTimeout = 1;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_THROW(Frame::WaitForKey(&front, true), Merel::MerelTimeout);
  const long elapsed = MillisecondsSince(start);
  EXPECT_GE(elapsed, 1000);
  EXPECT_LT(elapsed, 2500);
  EXPECT_EQ(Frame::fgFrame, nullptr);
  EXPECT_EQ(front.draws, (std::vector<bool>{false}));
}

TEST_F(FrameTest, KeyTraceRecordsEveryDeliveredKey) {
  char path[] = "/tmp/merel-key-trace-XXXXXX";
  int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  close(fd);
  setenv("MEREL_KEY_TRACE", path, 1);
  Frame::OpenKeyTrace();
  unsetenv("MEREL_KEY_TRACE");
  ASSERT_GE(Frame::_keyTraceFd, 0);

  TestFrame front(nullptr);
  _screen->Type("a");
  EXPECT_EQ(Frame::WaitForKey(&front, false), 'a');
  Signal(1);  // pseudo-keys are not traced
  TypeLater(100, "\033[15~");
  EXPECT_EQ(Frame::WaitForKey(&front, false), KEY_F(5));
  close(Frame::_keyTraceFd);

  std::string trace;
  if (FILE* file = fopen(path, "r")) {
    char buffer[64];
    size_t n = fread(buffer, 1, sizeof buffer, file);
    trace.assign(buffer, n);
    fclose(file);
  }
  unlink(path);
  EXPECT_EQ(trace, "97\n269\n");
}

// Signals that end the process: each leaves with status 0.
struct ExitCase {
  const char* name;
  int pipeByte;       // 0: none
  const char* typed;  // null: nothing
  bool loggedIn;
};

class FrameExitTest : public FrameTest, public testing::WithParamInterface<ExitCase> {
 protected:
  void WaitExpectingExit(const ExitCase& c) {
    TestFrame front(nullptr);
    Frame::_loggedIn = c.loggedIn;
    if (c.pipeByte != 0) {
      Signal(static_cast<unsigned char>(c.pipeByte));
    }
    if (c.typed != nullptr) {
      _screen->Type(c.typed);
    }
    Frame::WaitForKey(&front, false);
    _exit(3);  // the wait returned: wrong
  }
};

TEST_P(FrameExitTest, EndsTheProcessWithStatusZero) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(WaitExpectingExit(GetParam()), testing::ExitedWithCode(0), "");
}

INSTANTIATE_TEST_SUITE_P(Signals,
                         FrameExitTest,
                         testing::Values(ExitCase{"Terminate", 4, nullptr, true},
                                         ExitCase{"Resize", 3, nullptr, true},
                                         ExitCase{"RestartWhenNobodyIsLoggedIn", 2, nullptr, false},
                                         ExitCase{"ResizeKey", 0, "\033R", true}),
                         [](const testing::TestParamInfo<ExitCase>& info) {
                           return std::string(info.param.name);
                         });

// The real signal thread, in a child process of its own: it blocks signals and
// never ends, which must not leak into the other tests. Exits 0 when every
// signal gave its byte.
void CheckSignalThread() {
  Frame::InitSignals();
  const struct {
    int signal;
    unsigned char byte;
  } cases[] = {{SIGUSR1, 1}, {SIGUSR2, 2}, {SIGWINCH, 3}, {SIGINT, 4}, {SIGQUIT, 4}, {SIGTERM, 4}};
  int failures = 0;
  for (const auto& c : cases) {
    kill(getpid(), c.signal);  // to the process: the signal thread takes it
    unsigned char byte = 0;
    if (read(Frame::_signalPipe[0], &byte, 1) != 1 || byte != c.byte) {
      fprintf(stderr, "signal %d gave byte %d\n", c.signal, byte);
      ++failures;
    }
  }
  _exit(failures == 0 ? 0 : 1);
}

TEST(SignalThreadTest, WritesOneBytePerSignal) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(CheckSignalThread(), testing::ExitedWithCode(0), "");
}

}  // namespace
