// The log numbers shown in the menu count only the logs present on the host;
// a digit must open the same log its number is shown against. The pager runs
// in its secure mode and leaves LESSSECURE behind the way it found it (an
// unset variable deliberately comes back set and empty).
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "CursesFixture.h"
#include "Frame.h"
#include "LogViewer.h"
#include "SimHostTestSupport.h"

namespace Merel {
namespace {

struct ChooseCase {
  const char* name;
  const char* available;     // one character per log: '1' present, '0' missing
  std::vector<int> byDigit;  // the table index chosen by digits 0..9 (-1: none)
};

LogViewer MakeViewer(const char* pattern) {
  LogViewer viewer;
  for (size_t i = 0; i < LogViewer::kLogCount; ++i) {
    viewer.SetAvailable(i, pattern[i] == '1');
  }
  return viewer;
}

class LogChooseTest : public testing::TestWithParam<ChooseCase> {};

TEST_P(LogChooseTest, DigitNamesTheNthAvailableLog) {
  const ChooseCase& c = GetParam();
  const LogViewer viewer = MakeViewer(c.available);
  for (int digit = 0; digit <= 9; ++digit) {
    EXPECT_EQ(viewer.Choose(digit), c.byDigit[static_cast<size_t>(digit)]) << "digit " << digit;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    LogChooseTest,
    testing::Values(ChooseCase{"All", "1111111", {-1, 0, 1, 2, 3, 4, 5, 6, -1, -1}},
                    ChooseCase{"SecondMissing", "1011111", {-1, 0, 2, 3, 4, 5, 6, -1, -1, -1}},
                    ChooseCase{"FirstMissing", "0111111", {-1, 1, 2, 3, 4, 5, 6, -1, -1, -1}},
                    ChooseCase{"OnlyLast", "0000001", {-1, 6, -1, -1, -1, -1, -1, -1, -1, -1}},
                    ChooseCase{"Alternate", "1010101", {-1, 0, 2, 4, 6, -1, -1, -1, -1, -1}},
                    ChooseCase{"None", "0000000", {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1}}),
    [](const testing::TestParamInfo<ChooseCase>& info) { return std::string(info.param.name); });

TEST(LogViewerTest, ListNumbersOnlyAvailableLogsInTableOrder) {
  EXPECT_EQ(MakeViewer("1011111").ListText(),
            "1 Syslog\n"
            "2 Config\n"
            "3 Management Agent (mgmtd)\n"
            "4 Fleetdesk Agent (fdxa)\n"
            "5 High Availibility Agent (hamd)\n"
            "6 Ostrel Tarvik Observation log (obsvd)");
  EXPECT_EQ(MakeViewer("0100001").ListText(), "1 Nexel\n2 Ostrel Tarvik Observation log (obsvd)");
  EXPECT_EQ(MakeViewer("0000000").ListText(), "");
  EXPECT_EQ(MakeViewer("1011111").AvailableCount(), 6u);
}

// Puts `fd` in place of standard output for the life of the object: the
// pager hand-over works on descriptor 1, which must be the test's terminal,
// never the one the tests were started from.
class StdoutOnto {
 public:
  explicit StdoutOnto(int fd) {
    fflush(stdout);
    _saved = dup(STDOUT_FILENO);
    dup2(fd, STDOUT_FILENO);
  }
  ~StdoutOnto() {
    fflush(stdout);
    dup2(_saved, STDOUT_FILENO);
    close(_saved);
  }

 private:
  int _saved = -1;
};

struct PagerEnvCase {
  const char* name;
  std::optional<std::string> former;  // LESSSECURE before the pager; nullopt: unset
  std::string after;                  // what it is once the pager has ended
};

void PrintTo(const PagerEnvCase& c, std::ostream* os) {
  *os << c.name;
}

class PagerEnvironmentTest : public testing::TestWithParam<PagerEnvCase> {
 protected:
  void SetUp() override {
    const char* value = getenv("LESSSECURE");
    _runnerValue = value != nullptr ? std::optional<std::string>(value) : std::nullopt;
  }
  void TearDown() override {
    if (_runnerValue) {
      setenv("LESSSECURE", _runnerValue->c_str(), 1);
    } else {
      unsetenv("LESSSECURE");
    }
  }

 private:
  std::optional<std::string> _runnerValue;
};

TEST_P(PagerEnvironmentTest, PagerRunsSecureAndTheVariableIsPutBack) {
  const PagerEnvCase& c = GetParam();
  SimHostTest::SimRoot root;
  ASSERT_EQ(root.InitStatus(), 0) << root.InitErrors();

  // The root's pager is a link to the real one: remove the link (never write
  // through it) and put a recorder in its place.
  const std::string pager = root.Path() + "/bin/less";
  const std::string record = root.Path() + "/tmp/pager-record";
  unlink(pager.c_str());
  {
    std::ofstream script(pager);
    script << "#!/bin/sh\n"
              "{ printf 'LESSSECURE=%s\\n' \"${LESSSECURE-unset}\"\n"
              "  for arg in \"$@\"; do printf 'arg=%s\\n' \"$arg\"; done; } > '"
           << record << "'\n";
  }
  ASSERT_EQ(chmod(pager.c_str(), 0755), 0);

  if (c.former) {
    setenv("LESSSECURE", c.former->c_str(), 1);
  } else {
    unsetenv("LESSSECURE");
  }

  MerelTest::CursesScreen screen;
  ASSERT_TRUE(screen.Ok());
  Frame* const front = Frame::fgFrame;
  LogViewer viewer;
  {
    StdoutOnto onto(screen.Slave());
    viewer.Show(2, nullptr);  // Config: /var/log/hostboot.log
  }
  Frame::fgFrame = front;

  std::string expected =
      "LESSSECURE=1\n"
      "arg=-cfP\n"
      "arg=<Q> Quit </> RegExp Search <H> Help\n";
  expected += "arg=" + root.Path() + "/var/log/hostboot.log\n";
  EXPECT_EQ(SimHostTest::ReadFile(record), expected);
  const char* after = getenv("LESSSECURE");
  ASSERT_NE(after, nullptr) << "LESSSECURE was removed";
  EXPECT_EQ(std::string(after), c.after);
}

INSTANTIATE_TEST_SUITE_P(Table,
                         PagerEnvironmentTest,
                         testing::Values(PagerEnvCase{"FormerValue", "7", "7"},
                                         PagerEnvCase{"FormerEmpty", "", ""},
                                         PagerEnvCase{"Unset", std::nullopt, ""}),
                         [](const testing::TestParamInfo<PagerEnvCase>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
}  // namespace Merel
