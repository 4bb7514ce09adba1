// The command runner with real child processes on a simulated host, and the
// management-command wrappers against a stand-in "/bin/rovi-cmd" that records
// how it was called.
#include "Command.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Frame.h"
#include "SimHostTestSupport.h"

namespace Merel {
namespace {

namespace fs = std::filesystem;

int OpenDescriptors() {
  return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

class CommandTest : public testing::Test {
 protected:
  // Logs its arguments, refuses every user but the console's own with 255 (as
  // the real tool does for an unknown user), else prints `answer`.
  void RoviCmd(const std::string& answer, int status = 0) {
    const std::string tool = _root.Path() + "/bin/rovi-cmd";
    std::ofstream(tool) << "#!/bin/sh\necho \"$*\" >> " << _root.Path() << "/calls.log\n"
                        << "[ \"$2\" = merel ] || exit 255\nprintf '%s' '" << answer << "'\nexit "
                        << status << "\n";
    chmod(tool.c_str(), 0755);
  }
  std::string Calls() const { return _root.File("/calls.log"); }
  // The syslog since the last call, one "level message" a line.
  std::string TakeLog() const {
    std::string log = _root.File("/var/log/syslog.log");
    std::ofstream(_root.Path() + "/var/log/syslog.log", std::ios::trunc);
    return log;
  }
  static bool Has(const std::string& log, const std::string& levelAndMessage) {
    return log.find("." + levelAndMessage + "\n") != std::string::npos;
  }

  SimHostTest::SimRoot _root;
};

// A command still running at its time-out is killed and counts as failed;
// what it wrote is collected all the same, to the end of its output, also
// what a program it left behind writes before it closes the pipe.
TEST_F(CommandTest, ResultOutputAndInput) {
  const std::string input = std::string(20000, 'a') + "end";
  const struct {
    const char* script;
    std::string input;
    size_t capacity;
    int timeout;
    int result;
    std::string out, err;
  } cases[] = {
      {"printf out; printf err >&2; exit 3", "", 4096, 30, 3, "out", "err"},
      {"kill -TERM $$", "", 4096, 30, -1, "", ""},
      {"head -c 1000 /dev/zero | tr '\\0' x", "", 255, 30, 0, std::string(255, 'x'), ""},
      {"cat", input, 30000, 30, 0, input, ""},  // cat ends only when its input is closed
      // More than a pipe holds, to a child that has gone: no SIGPIPE for us.
      {"exit 6", std::string(1 << 20, 'x'), 4096, 30, 6, "", ""},
      // Nothing of the console's environment but PYTHONHOME (the shell adds PWD).
      {"env | grep -v ^PWD=", "", 4096, 30, 0, "PYTHONHOME=/\n", ""},
      {"(sleep 3; printf ' late') & printf early; exec sleep 20", "", 4096, 1, -1, "early late",
       ""},
  };
  setenv("MEREL_COMMAND_TEST_LEAK", "1", 1);
  const int descriptors = OpenDescriptors();
  for (const auto& c : cases) {
    std::string script = c.script;
    char sh[] = "sh", dashC[] = "-c";
    char* const argv[] = {sh, dashC, script.data(), nullptr};
    std::vector<char> out(c.capacity + 1, '#'), err(4096);
    size_t outSize = c.capacity, errSize = err.size();
    const int result = RunCommand("/bin/sh", argv, out.data(), &outSize, err.data(), &errSize,
                                  c.input.empty() ? nullptr : c.input.data(), c.input.size(),
                                  c.timeout);
    EXPECT_EQ(out[c.capacity], '#') << "wrote past the capacity";
    const std::string output(out.data(), outSize), errors(err.data(), errSize);
    EXPECT_EQ(std::tuple(result, output, errors), std::tuple(c.result, c.out, c.err)) << c.script;
    const std::string log = TakeLog();
    EXPECT_EQ(Has(log, "err Run Command did not terminate normally"), c.result < 0) << log;
    EXPECT_EQ(Has(log, "warning Killing process because 1 seconds timeout expired"),
              c.timeout == 1)
        << log;
  }
  char name[] = "nothing";
  char* const argv[] = {name, nullptr};
  EXPECT_EQ(RunCommand("/nonexistent", argv, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0),
            -1);
  EXPECT_EQ(OpenDescriptors(), descriptors);
  unsetenv("MEREL_COMMAND_TEST_LEAK");
}

TEST_F(CommandTest, RefusedUserFallsBackToTheConsoleUserWith256Bytes) {
  RoviCmd(std::string(600, 'y'));
  RoviCommand record{"root", "hostsvc/something", {"--flag"}};
  char out[1024];
  size_t outSize = sizeof(out);
  EXPECT_EQ(RunRoviCommand(record, out, &outSize, nullptr, nullptr, nullptr, 0), 0);
  EXPECT_EQ(std::pair(record.user, outSize), std::pair(std::string("merel"), size_t{256}));
  const std::string asRoot = "-U root hostsvc/something --flag\n";
  const std::string asMerel = "-U merel hostsvc/something --flag\n";
  EXPECT_EQ(Calls(), asRoot + asMerel);
  EXPECT_TRUE(Has(TakeLog(),
                  "info Unable to execute command rovi-cmd hostsvc/something using "
                  "user root. Using user merel"));
  RoviCmd("", 2);  // any other status is the result as it is
  EXPECT_EQ(RunRoviCommand(record, out, &outSize, nullptr, nullptr, nullptr, 0), 2);
  EXPECT_EQ(Calls(), asRoot + asMerel + asMerel);
}

}  // namespace
}  // namespace Merel
