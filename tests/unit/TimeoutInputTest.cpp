// Time-out values as the host tool prints them (what is typed is checked
// through the dialog by the screen tests).
#include <string>

#include <gtest/gtest.h>

#include "TimeoutInput.h"

namespace {

TEST(TimeoutInput, HostToolSecondsToWholeMinutes) {
  const struct {
    std::string output;
    int minutes;
  } cases[] = {
      {"900\n", 15}, {"59\n", 0}, {"86400\n", 1440}, {"\n", 0}, {"", 0}, {"abc\n", 0}, {"-60\n", 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Merel::AdvcfgMinutes(c.output), c.minutes) << c.output;
  }
}

}  // namespace
