// The log numbers shown in the menu count only the logs present on the host;
// a digit must open the same log its number is shown against.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "LogViewer.h"

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

}  // namespace
}  // namespace Merel
