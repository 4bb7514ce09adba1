// Every file the console and the simulated host write is whole after a kill
// at any of their write calls: strace's fault injection kills the process
// at its first write, then at its second, and so on until a run gets
// through. After each kill every file is the old one or the new one, and the
// next complete run leaves no temporary file behind.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "../common/CommandOutput.h"
#include "DurableFile.h"
#include "HostState.h"
#include "SimHostTestSupport.h"
#include "backends/HostStore.h"
#include "backends/SimHostInit.h"

namespace {

using SimHostTest::ReadFile;
using SimHostTest::TempDir;
namespace fs = std::filesystem;

// Far more writes than any of the changes below makes: the loop ends when a
// run is no longer killed, this only bounds it.
constexpr int kMaxKillPoints = 60;

const std::vector<std::string> kFiles = {"/etc/pam_matrix.passwd", "/etc/resolv.conf", "/etc/hosts",
                                         "/etc/account-states/root"};

std::string Quote(const std::string& text) {
  return "'" + text + "'";
}

// What a program of the simulated host runs with, as `merel-sim run` sets it
// up: pam_wrapper preloaded (after the ASan runtime in a sanitizer build).
std::string HostEnvironment(const std::string& root) {
  std::string preload = "libpam_wrapper.so";
  if (const char* asan = Platform::AsanRuntime())
    preload = std::string(asan) + " " + preload;
  return "MEREL_SIM_ROOT=" + Quote(root) + " LD_PRELOAD=" + Quote(preload) +
         " PAM_WRAPPER=1 PAM_WRAPPER_SERVICE_DIR=" + Quote(root + "/etc/pam.d") + " ";
}

// Under the lock consoles start with, as the host's programs here load
// pam_wrapper too; taking it also clears the pam_wrapper folders of the
// programs killed here.
int Shell(const std::string& command) {
  const int lock = Platform::LockPamWrapperStart();
  const int status = std::system(command.c_str());
  if (lock >= 0)
    close(lock);
  return status;
}

// Whether the shell's status says its command was killed (by the shell's own
// report, when the shell outlived it).
bool Killed(int status) {
  return WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) == 128 + SIGKILL);
}

std::map<std::string, std::string> Snapshot(const std::string& root) {
  std::map<std::string, std::string> files;
  for (const auto& file : kFiles)
    files[file] = fs::exists(root + file) ? ReadFile(root + file) : "<none>";
  return files;
}

struct Change {
  const char* name;
  // The command, given the host root; run with MEREL_SIM_ROOT and pam_wrapper set.
  std::string (*command)(const std::string& root);
};

const Change kChanges[] = {
    {"Apply", [](const std::string&) { return Quote(MEREL_WRITE_DRIVER) + " apply"; }},
    {"PasswordChange",
     [](const std::string&) {
       return Quote(MEREL_WRITE_DRIVER) + " passwd root merel " + Quote("n3w:pass\\wörd");
     }},
    {"Reset",
     [](const std::string& root) {
       return Quote(MEREL_SIM_BIN) + " tool " + Quote(root) + " configReset.sh --reset-only";
     }},
};

class DurableWritesTest : public ::testing::TestWithParam<Change> {
 protected:
  // A program killed before it wrote its pid leaves a pam_wrapper folder that
  // counts as abandoned only after a while: the last ones are cleared here,
  // so that the test leaves nothing behind, also when it fails.
  void TearDown() override {
    if (IsSkipped())
      return;
    using std::chrono::milliseconds;
    std::this_thread::sleep_for(Platform::kPamFolderAbandonedAfter + milliseconds(100));
    if (const int lock = Platform::LockPamWrapperStart(); lock >= 0)
      close(lock);
  }
};

TEST_P(DurableWritesTest, AKillAtAnyWriteLeavesEveryFileWhole) {
  // strace must be able to kill a traced program at a write here.
  const std::string probe = MerelTestCommon::CommandOutput(
      "strace -f -qq -o /dev/null -e trace=write -e inject=write:signal=KILL:when=1 "
      "sh -c 'echo x > /dev/null' 2>&1 >/dev/null; echo status $?");
  if (!probe.ends_with("status " + std::to_string(128 + SIGKILL) + "\n")) {
    GTEST_SKIP() << "strace cannot kill a traced process here: " << probe;
  }
  const Change& change = GetParam();
  TempDir dir;
  const std::string root = dir.Path() + "/root";
  const std::string pristine = dir.Path() + "/pristine";
  const std::string environment = HostEnvironment(root);
  ASSERT_EQ(SimHostTest::RunSim("init " + Quote(root)), 0);
  if (std::string(change.name) == "Reset") {
    // Something for the reset to undo: another password, another name.
    const std::string driver = environment + Quote(MEREL_WRITE_DRIVER);
    ASSERT_EQ(Shell(driver + " passwd root merel changed >/dev/null 2>&1 && " + driver + " apply"),
              0);
  }
  ASSERT_EQ(Shell("cp -a " + Quote(root) + " " + Quote(pristine)), 0);
  const std::string command = environment + change.command(root) + " >/dev/null 2>&1";
  const auto before = Snapshot(root);
  ASSERT_EQ(Shell(command), 0) << command;
  const auto after = Snapshot(root);
  ASSERT_NE(before, after) << "the change changed no file";

  int killed = 0;
  for (int n = 1; n <= kMaxKillPoints; ++n) {
    // Back to the old files; temporaries a kill left stay where they are.
    ASSERT_EQ(Shell("cp -a " + Quote(pristine) + "/. " + Quote(root)), 0);
    const int status = Shell(environment + "strace -f -qq -o /dev/null -e trace=write "
                             "-e inject=write:signal=KILL:when=" +
                             std::to_string(n) + " " + change.command(root) + " >/dev/null 2>&1");
    const auto now = Snapshot(root);
    for (const auto& file : kFiles)
      EXPECT_TRUE(now.at(file) == before.at(file) || now.at(file) == after.at(file))
          << "killed at write " << n << ": " << file << " is neither old nor new:\n"
          << now.at(file);
    Platform::HostState state;
    std::string error;
    EXPECT_TRUE(Platform::HostStore(root).Read(state, error))
        << "killed at write " << n << ": " << error;
    if (!Killed(status))
      break;
    ++killed;
  }
  EXPECT_GT(killed, 0);
  // A complete run after the kills: the new files, and no temporary left.
  ASSERT_EQ(Shell("cp -a " + Quote(pristine) + "/. " + Quote(root)), 0);
  ASSERT_EQ(Shell(command), 0) << command;
  EXPECT_EQ(Snapshot(root), after);
  EXPECT_EQ(MerelTestCommon::CommandOutput("find " + Quote(root) + " -name '*.tmp'"), "");
  std::printf("%s: killed at each of its first %d writes\n", change.name, killed);
}

INSTANTIATE_TEST_SUITE_P(Changes, DurableWritesTest, ::testing::ValuesIn(kChanges),
                         [](const auto& info) { return std::string(info.param.name); });

// Writers of one file take turns, and a temporary left by a killed writer is
// taken over by the next one.
TEST(DurableFileTest, ReplacesWholeAndTakesOverALeftoverTemporary) {
  TempDir dir;
  const std::string path = dir.Path() + "/file";
  std::string error;
  { std::ofstream(path + ".tmp") << "half of an earlier wri"; }
  ASSERT_TRUE(Platform::WriteFileDurably(path, "new\n", 0600, error)) << error;
  EXPECT_EQ(std::tuple(ReadFile(path), fs::exists(path + ".tmp"), fs::status(path).permissions()),
            std::tuple("new\n", false, fs::perms::owner_read | fs::perms::owner_write));
  EXPECT_FALSE(Platform::WriteFileDurably(dir.Path() + "/missing/file", "x", 0644, error));
  EXPECT_NE(error.find("/missing/file: cannot write: No such file or directory"), std::string::npos)
      << error;
}

}  // namespace
