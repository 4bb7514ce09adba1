// The command runner with real child processes, and the management-command
// wrappers against a stand-in "/bin/rovi-cmd" that records how it was called.
#include <dirent.h>
#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Backend.h"
#include "Command.h"
#include "Frame.h"
#include "HostCtl/HostCtlException.h"
#include "Platform.h"

namespace {

namespace fs = std::filesystem;

struct LogLine {
  int level;
  std::string message;
};

// Starts programs for real. Host tools ("/bin/rovi-cmd", "/bin/powerOffVms")
// are looked up in a scratch folder first, so a test can provide them.
class SpawningBackend : public Platform::Backend {
 public:
  explicit SpawningBackend(std::string toolRoot) : _toolRoot(std::move(toolRoot)) {}

  std::vector<LogLine> lines;
  bool eventService = true;

  std::string HostPath(const std::string& hostPath) override { return _toolRoot + hostPath; }
  pid_t Spawn(const char* path, char* const argv[], char* const envp[], int in, int out, int err)
      override {
    std::string real = HostPath(path);
    if (access(real.c_str(), X_OK) != 0) {
      real = path;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, 0);
    posix_spawn_file_actions_adddup2(&actions, out, 1);
    posix_spawn_file_actions_adddup2(&actions, err, 2);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t pid = -1;
    int rc = posix_spawn(&pid, real.c_str(), &actions, &attributes, argv, envp);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return rc == 0 ? pid : -1;
  }
  int System(const char*) override { return -1; }
  void WriteSyslog(const std::string&, bool, int, int level, const std::string& message) override {
    lines.push_back({level, message});
  }
  bool ResolveHostname(const std::string&, std::vector<std::string>&) override { return false; }
  Platform::HostState Load() override { throw HostCtl::Lib::HostCtlException("no state"); }
  void Modify(const std::function<void(Platform::HostState&)>&) override {
    throw HostCtl::Lib::HostCtlException("no state");
  }
  bool EventServiceAvailable() override { return eventService; }
  void PostEvent(const std::string&) override {}
  void WriteAudit(const std::string&,
                  const std::string&,
                  bool,
                  const std::string&,
                  const std::string&) override {}

 private:
  std::string _toolRoot;
};

int OpenDescriptors() {
  int count = 0;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    (void)entry;
    ++count;
  }
  return count;
}

class CommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/merel-command-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    _root = pattern;
    fs::create_directories(_root + "/bin");
    auto backend = std::make_unique<SpawningBackend>(_root);
    _backend = backend.get();
    Platform::Install(std::move(backend));
  }
  void TearDown() override {
    Platform::Install(nullptr);
    fs::remove_all(_root);
  }

  // A shell script standing in for a host tool.
  void Tool(const std::string& hostPath, const std::string& body) {
    std::string path = _root + hostPath;
    std::ofstream out(path);
    out << "#!/bin/sh\n" << body << "\n";
    out.close();
    chmod(path.c_str(), 0755);
  }
  std::string Calls() {
    std::ifstream in(_root + "/calls.log");
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
  }
  // The rovi-cmd stand-in: logs its arguments, refuses every user but the
  // console's own with 255 (as the real tool does for an unknown user),
  // and otherwise prints $ANSWER and exits with $STATUS.
  void RoviCmd(const std::string& answer, int status = 0) {
    Tool("/bin/rovi-cmd", "echo \"$*\" >> " + _root + "/calls.log\n" +
                              "[ \"$2\" = merel ] || { echo refused; exit 255; }\n" +
                              "printf '%s' '" + answer + "'\nexit " + std::to_string(status));
  }

  struct Run {
    int result;
    std::string out;
    std::string err;
  };
  Run Shell(const std::string& script,
            int timeout = 0,
            const std::string& input = "",
            size_t capacity = 4096) {
    char sh[] = "sh";
    char c[] = "-c";
    std::string copy = script;
    char* const argv[] = {sh, c, copy.data(), nullptr};
    std::vector<char> out(capacity + 1, '#');
    std::vector<char> err(4096);
    size_t outSize = capacity;
    size_t errSize = err.size();
    int result = Merel::RunCommand("/bin/sh", argv, out.data(), &outSize, err.data(), &errSize,
                                   input.empty() ? nullptr : input.data(), input.size(), timeout);
    EXPECT_LE(outSize, capacity);
    EXPECT_EQ(out[capacity], '#') << "wrote past the capacity";
    return {result, std::string(out.data(), outSize), std::string(err.data(), errSize)};
  }
  bool Logged(int level, const std::string& message) const {
    for (const LogLine& line : _backend->lines) {
      if (line.level == level && line.message == message) {
        return true;
      }
    }
    return false;
  }

  std::string _root;
  SpawningBackend* _backend = nullptr;
};

TEST_F(CommandTest, ResultIsExitStatusOrMinusOne) {
  const struct {
    const char* script;
    int result;
    bool abnormal;
  } cases[] = {
      {"exit 0", 0, false},        {"exit 3", 3, false},        {"exit 255", 255, false},
      {"kill -TERM $$", -1, true}, {"kill -KILL $$", -1, true},
  };
  for (const auto& c : cases) {
    _backend->lines.clear();
    EXPECT_EQ(Shell(c.script).result, c.result) << c.script;
    EXPECT_EQ(Logged(LOG_ERR, "Run Command did not terminate normally"), c.abnormal) << c.script;
  }
}

TEST_F(CommandTest, CollectsOutputAndErrorSeparately) {
  Run run = Shell("printf out; printf err >&2; exit 4");
  EXPECT_EQ(run.result, 4);
  EXPECT_EQ(run.out, "out");
  EXPECT_EQ(run.err, "err");
}

TEST_F(CommandTest, OutputStopsAtCapacity) {
  Run run = Shell("head -c 1000 /dev/zero | tr '\\0' x", 0, "", 255);
  EXPECT_EQ(run.result, 0);
  EXPECT_EQ(run.out, std::string(255, 'x'));
}

TEST_F(CommandTest, ChildSeesOnlyPythonHome) {
  setenv("MEREL_COMMAND_TEST_LEAK", "1", 1);
  char env[] = "env";
  char* const argv[] = {env, nullptr};
  char out[256];
  size_t outSize = sizeof(out);
  EXPECT_EQ(Merel::RunCommand("/usr/bin/env", argv, out, &outSize, nullptr, nullptr, nullptr, 0, 0),
            0);
  EXPECT_EQ(std::string(out, outSize), "PYTHONHOME=/\n");
  unsetenv("MEREL_COMMAND_TEST_LEAK");
}

TEST_F(CommandTest, InputIsWrittenAndClosed) {
  // cat only ends when it sees end of file on its input.
  std::string input(20000, 'a');
  input += "end";
  Run run = Shell("cat", 30, input, 30000);
  EXPECT_EQ(run.result, 0);
  EXPECT_EQ(run.out, input);
}

TEST_F(CommandTest, ChildIgnoringItsInputDoesNotHurtTheConsole) {
  // More input than a pipe holds, to a child that has already gone: the
  // write fails with EPIPE and must not raise SIGPIPE in the console.
  Run run = Shell("exit 6", 30, std::string(1 << 20, 'x'));
  EXPECT_EQ(run.result, 6);
}

TEST_F(CommandTest, TimeoutKillsTheChild) {
  auto start = std::chrono::steady_clock::now();
  // The shell's own child keeps the output pipe open after the shell is
  // killed; the runner must not wait for it.
  Run run = Shell("printf started; sleep 20; true", 2);
  auto elapsed = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(run.result, -1);
  EXPECT_LT(elapsed, std::chrono::seconds(15)) << "waited for the child instead of killing it";
  EXPECT_TRUE(Logged(LOG_WARNING, "Killing process because 2 seconds timeout expired"));
  EXPECT_TRUE(Logged(LOG_ERR, "Run Command did not terminate normally"));
  EXPECT_EQ(run.out, "started");
}

TEST_F(CommandTest, ChattyChildBlocksUntilKilled) {
  // Output is read only after the child ends, so one that fills the pipe
  // cannot finish; the time-out is what ends it.
  Run run = Shell("head -c 300000 /dev/zero", 1, "", 1000);
  EXPECT_EQ(run.result, -1);
  EXPECT_TRUE(Logged(LOG_WARNING, "Killing process because 1 seconds timeout expired"));
  EXPECT_EQ(run.out.size(), 1000u);
}

TEST_F(CommandTest, MissingProgramIsMinusOne) {
  char name[] = "nothing";
  char* const argv[] = {name, nullptr};
  size_t outSize = 10;
  char out[10];
  EXPECT_EQ(Merel::RunCommand("/nonexistent/nothing", argv, out, &outSize, nullptr, nullptr,
                              nullptr, 0, 5),
            -1);
}

TEST_F(CommandTest, NullBuffersStoreNothing) {
  char sh[] = "sh";
  char c[] = "-c";
  char script[] = "echo hello; echo oops >&2";
  char* const argv[] = {sh, c, script, nullptr};
  size_t outSize = 100;
  size_t errSize = 100;
  EXPECT_EQ(Merel::RunCommand("/bin/sh", argv, nullptr, &outSize, nullptr, &errSize, nullptr, 0, 0),
            0);
  EXPECT_EQ(outSize, 0u);
  EXPECT_EQ(errSize, 0u);
}

TEST_F(CommandTest, NoDescriptorLeaksOnAnyPath) {
  int before = OpenDescriptors();
  Shell("exit 0");
  Shell("cat", 10, "some input");
  Shell("kill -KILL $$");
  Shell("sleep 5", 1);
  char name[] = "nothing";
  char* const argv[] = {name, nullptr};
  Merel::RunCommand("/nonexistent/nothing", argv, nullptr, nullptr, nullptr, nullptr, nullptr, 0,
                    0);
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(CommandTest, RoviCommandFallsBackToConsoleUser) {
  RoviCmd("ok");
  Merel::RoviCommand record{"root", "hostsvc/something", {"--flag"}};
  char out[512];
  char err[512];
  size_t outSize = sizeof(out);
  size_t errSize = sizeof(err);
  EXPECT_EQ(Merel::RunRoviCommand(record, out, &outSize, err, &errSize, nullptr, 0), 0);
  EXPECT_EQ(record.user, "merel");
  EXPECT_EQ(std::string(out, outSize), "ok");
  EXPECT_EQ(Calls(), "-U root hostsvc/something --flag\n-U merel hostsvc/something --flag\n");
  EXPECT_TRUE(Logged(LOG_INFO,
                     "Unable to execute command rovi-cmd hostsvc/something using user root. Using "
                     "user merel"));
}

TEST_F(CommandTest, RoviCommandOtherResultsAreReturnedAsIs) {
  RoviCmd("partial", 2);
  Merel::RoviCommand record{"merel", "hostsvc/other", {}};
  char out[256];
  size_t outSize = sizeof(out);
  EXPECT_EQ(Merel::RunRoviCommand(record, out, &outSize, nullptr, nullptr, nullptr, 0), 2);
  EXPECT_EQ(Calls(), "-U merel hostsvc/other\n");
}

TEST_F(CommandTest, RoviFallbackRunsWithAtMost256Bytes) {
  RoviCmd(std::string(600, 'y'));
  Merel::RoviCommand record{"admin", "hostsvc/long", {}};
  char out[1024];
  size_t outSize = sizeof(out);
  EXPECT_EQ(Merel::RunRoviCommand(record, out, &outSize, nullptr, nullptr, nullptr, 0), 0);
  EXPECT_EQ(outSize, 256u);
}

TEST_F(CommandTest, RoviQueryBoolLooksAtTheFirstFourBytes) {
  const struct {
    const char* answer;
    int status;
    bool expected;
  } cases[] = {
      {"true\n", 0, true}, {"trueish", 0, true}, {"True\n", 0, false}, {"false\n", 0, false},
      {"", 0, false},      {"true", 1, true},    {"tru", 0, false},
  };
  for (const auto& c : cases) {
    RoviCmd(c.answer, c.status);
    _backend->lines.clear();
    EXPECT_EQ(Merel::RoviQueryBool("rovisvc/auth/lockdown_is_enabled"), c.expected) << c.answer;
    EXPECT_TRUE(Logged(LOG_INFO, "rovi-cmd invocation: get rovisvc/auth/lockdown_is_enabled"));
    bool failureLogged = false;
    for (const LogLine& line : _backend->lines) {
      failureLogged |=
          line.level == LOG_ERR && line.message.rfind("rovi-cmd invocation failure: ", 0) == 0;
    }
    EXPECT_EQ(failureLogged, c.status != 0) << c.answer;
  }
  // Always asked as the console's own user.
  EXPECT_NE(Calls().find("-U merel rovisvc/auth/lockdown_is_enabled\n"), std::string::npos);
  EXPECT_EQ(Calls().find("-U root"), std::string::npos);
}

TEST_F(CommandTest, RefreshAndAutoStopName) {
  RoviCmd("");
  Tool("/bin/powerOffVms", "echo \"powerOffVms $*\" >> " + _root + "/calls.log");
  Merel::Frame::_loginName = "merel";
  Merel::RoviRefresh();
  Merel::RoviAutoStop("merel");
  EXPECT_EQ(Calls(),
            "-U merel internalsvc/refresh\n"
            "-U merel hostsvc/autostartmanager/autostop\n"
            "powerOffVms --terminate\n");
  Merel::Frame::_loginName.clear();
}

TEST_F(CommandTest, RefreshUsesTheSessionUserFirst) {
  RoviCmd("");
  Merel::Frame::_loginName = "alice";
  Merel::RoviRefresh();
  EXPECT_EQ(Calls(), "-U alice internalsvc/refresh\n-U merel internalsvc/refresh\n");
  Merel::Frame::_loginName.clear();
}

TEST_F(CommandTest, EventLibraryStart) {
  EXPECT_EQ(Merel::InitObsvLibrary(), 0);
  EXPECT_TRUE(Logged(LOG_INFO, "Initializing obsvuser library"));
  EXPECT_EQ(_backend->lines.size(), 1u);

  _backend->eventService = false;
  _backend->lines.clear();
  int code = Merel::InitObsvLibrary();
  EXPECT_NE(code, 0);
  EXPECT_TRUE(Logged(LOG_ERR, "Unable to initialize obsvuser library from MEREL. Error code: " +
                                  std::to_string(code)));
}

TEST_F(CommandTest, LogErrnoSpellsOutTheError) {
  errno = ENOENT;
  Merel::LogErrno("open() failed");
  EXPECT_TRUE(Logged(LOG_ERR, "open() failed with errno(2): No such file or directory"));
  EXPECT_EQ(errno, ENOENT);
}

}  // namespace
