// Time-out values as typed and as the host tool prints them.
#include <string>

#include <gtest/gtest.h>

#include "TimeoutInput.h"

namespace {

TEST(TimeoutInput, FieldDigitsToMinutesNeverOverflow) {
  const struct {
    std::string typed;
    int minutes;
  } cases[] = {
      {"0", 0},        {"1440", 1440}, {"1441", 1441}, {"0001", 1},
      {"99999999999999999999", 1441},  {"12a", 1441},  {"", 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Merel::ParseTimeoutMinutes(c.typed), c.minutes) << c.typed;
  }
}

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
