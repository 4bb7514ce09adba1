// The support information is plain text cut to the dialog's width.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SupportInformationDialog.h"

namespace Merel {
namespace {

using Lines = std::vector<std::string>;

struct WrapCase {
  const char* name;
  std::string text;
  int width;
  Lines lines;
};

class WrapTest : public testing::TestWithParam<WrapCase> {};

TEST_P(WrapTest, Lines) {
  EXPECT_EQ(SupportInformationDialog::WrapText(GetParam().text, GetParam().width),
            GetParam().lines);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    WrapTest,
    testing::Values(
        WrapCase{"ShortLinesKept", "Serial: 42\n\nVendor: X\n", 20,
                 Lines{"Serial: 42", "", "Vendor: X"}},
        WrapCase{"WordMovesWhole", "alpha beta gamma", 10, Lines{"alpha beta", "gamma"}},
        WrapCase{"LongWordCut", "abcdefghijkl", 5, Lines{"abcde", "fghij", "kl"}},
        WrapCase{"TabsExpandToEight", "a\tb", 20, Lines{"a       b"}},
        WrapCase{"CarriageReturnsAndControlsDropped",
                 "a\r\nb\x01"
                 "c\r\n",
                 20, Lines{"a", "bc"}},
        WrapCase{"BracesAreText", "{color:red}x{/color}", 40, Lines{"{color:red}x{/color}"}},
        WrapCase{"MultiByteCharacterNotSplit", "ab\xc3\xa9", 3, Lines{"ab", "\xc3\xa9"}},
        WrapCase{"Empty", "", 10, Lines{}}),
    [](const testing::TestParamInfo<WrapCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace Merel
