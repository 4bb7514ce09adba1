// Which menu entries the host gets, and which of them can be chosen.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "GeneralWindow.h"

namespace Merel {
namespace {

// The menu as a compact picture: each shown row as its key, followed by "-"
// when it is disabled; hidden rows are left out.
std::string Picture(const MenuFlags& flags) {
  std::string picture;
  for (const MenuRow& row : GeneralWindow::BuildRows(flags)) {
    if (!row.shown) {
      continue;
    }
    if (!picture.empty()) {
      picture += " ";
    }
    picture += std::to_string(row.key);
    if (!row.enabled) {
      picture += "-";
    }
  }
  return picture;
}

struct RowsCase {
  const char* name;
  MenuFlags flags;
  const char* picture;
};

class MenuRowsTest : public testing::TestWithParam<RowsCase> {};

TEST_P(MenuRowsTest, ShownAndEnabledRows) {
  EXPECT_EQ(Picture(GetParam().flags), GetParam().picture);
}

// Flags: lockdown available, management interface found, network-booted,
// device-assignment state, console keyboard.
INSTANTIATE_TEST_SUITE_P(Table,
                         MenuRowsTest,
                         testing::Values(RowsCase{"Everything",
                                                  {true, true, false, 2, true},
                                                  "5 6 3- 7 8 9 10 11 3- 16 14 3- 13 12 15"},
                                         RowsCase{"RemoteTerminalHasNoKeyboardEntry",
                                                  {true, true, false, 0, false},
                                                  "5 6 3- 8 9 10 11 3- 14 3- 13 12 15"},
                                         RowsCase{"NoManagementInterface",
                                                  {true, false, false, 0, false},
                                                  "5 6 3- 8- 9- 10- 11 3- 14 3- 13 12 15"},
                                         RowsCase{"NetworkBooted",
                                                  {true, true, true, 0, false},
                                                  "5 6 3- 8 9 10 11 3- 14 3- 13 12 15-"},
                                         RowsCase{"LockdownNotPossible",
                                                  {false, true, false, 0, false},
                                                  "5 6- 3- 8 9 10 11 3- 14 3- 13 12 15"},
                                         RowsCase{"DeviceAssignmentSupportedButNotConfigurable",
                                                  {true, true, false, 1, false},
                                                  "5 6 3- 7- 8 9 10 11 3- 14 3- 13 12 15"},
                                         RowsCase{"UnknownDeviceAssignmentStateHidesEntry",
                                                  {true, true, false, 3, false},
                                                  "5 6 3- 8 9 10 11 3- 14 3- 13 12 15"}),
                         [](const testing::TestParamInfo<RowsCase>& info) {
                           return std::string(info.param.name);
                         });

TEST(MenuRowsTest, AlwaysFifteenRowsWhateverIsHidden) {
  // The key loop finds an entry by its index in the whole list, hidden rows
  // included, so the list keeps every row.
  EXPECT_EQ(GeneralWindow::BuildRows(MenuFlags{}).size(), 15u);
}

}  // namespace
}  // namespace Merel
