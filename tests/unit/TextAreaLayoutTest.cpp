// The layout pass as a table: (text, width) -> laid-out text. Colour and
// unknown tags pass through to the draw pass; alignment, fields, variables
// and wrapping are resolved here.
#include <gtest/gtest.h>

#include <string>

#include "TextArea.h"

namespace Merel {
namespace {

std::string FakeHostname() {
  return "host name.example";
}
std::string FakeIp() {
  return "10.0.0.1";
}

const TextArea::VariableTable kVariables = {{"hostname", &FakeHostname}, {"ip", &FakeIp}};

struct LayoutCase {
  const char* name;
  const char* text;
  int width;
  const char* expected;
};

const LayoutCase kCases[] = {
    {"RightAlignedFooterIsFlushRight",
     "{align:right}{color:black}<Enter>{/color} {color:dark-grey}OK{/color}{/align}", 20,
     "          {color:black}<Enter>{/color} {color:dark-grey}OK{/color}"},
    {"LeftAndRightFooterShareOneLine",
     "{color:white}<Enter>{/color}{color:light-grey} Change{/color}{align:right}{color:white}"
     "<Esc>{/color}{color:light-grey} Log Out{/color}{/align}",
     40,
     "{color:white}<Enter>{/color}{color:light-grey} Change{/color}             "
     "{color:white}<Esc>{/color}{color:light-grey} Log Out{/color}"},
    {"CenteredRun", "{align:center}ab{/align}", 10, "    ab"},
    {"CenteredRunOddRemainderRoundsDown", "{align:center}abc{/align}", 10, "   abc"},
    {"PaddingColumns",
     "    {align:padding:13}Device Name{/align}{align:padding:30}Hardware Label (MAC "
     "Address){/align}Status",
     80, "    Device Name  Hardware Label (MAC Address)  Status"},
    {"PaddingCutsLongValue", "{align:padding:5}Hardware{/align}|", 20, "Hardw|"},
    {"PaddingZeroSwallows", "a{align:padding:0}hidden{/align}b", 10, "ab"},
    {"NegativePaddingDoesNotPad", "{align:padding:-3}ab{/align}|", 10, "ab|"},
    // The field is wider than the rest of the line: only what fits is padded,
    // and the line counts as full.
    {"PaddingWiderThanLine", "{align:padding:20}ab{/align}cd", 10, "ab        \ncd"},
    {"LeftAlignIsNoAlignment", "{align:left}x{/align}y", 10, "xy"},
    {"NestedAlignIgnored", "{align:right}ab{align:center}cd{/align}ef{/align}", 10,
     "      abcd\nef"},
    {"WordWrap", "hello world", 8, "hello\nworld"},
    {"WordWrapSeveralLines", "aa bb cc dd", 5, "aa bb\ncc dd"},
    {"LongWordBrokenHard", "abcdefghij", 4, "abcd\nefgh\nij"},
    {"LongWordAfterShortOneBrokenHard", "ab cdefghij", 4, "ab\ncdef\nghij"},
    {"WhitespaceAtEdgeBecomesTheBreak", "abcd efgh", 4, "abcd\nefgh"},
    {"LineFeedResetsTheLine", "ab\ncdef", 4, "ab\ncdef"},
    {"LineFeedAfterRightRunGivesOneBreak", "{align:right}ab{/align}\ncd", 6, "    ab\ncd"},
    {"TextAfterRightRunStartsNewLine", "{align:right}ab{/align}cd", 6, "    ab\ncd"},
    {"RightRunWrappedOverTwoLines", "{align:right}abc de{/align}", 5, "  abc\n   de"},
    {"UnclosedBraceSwallowsTheRest", "abc{color:black def", 10, "abc"},
    {"EmptyBracesGoToDrawPass", "a{}b", 10, "a{}b"},
    {"UnknownTagGoesToDrawPass", "{foo:bar}x{/foo}", 10, "{foo:bar}x{/foo}"},
    {"TagsTakeNoRoom", "{color:red}abcd{/color}", 4, "{color:red}abcd{/color}"},
    {"UnknownColourNameKept", "{align:left}{color:black>}<F3>{/color}{/align}", 10,
     "{color:black>}<F3>{/color}"},
    {"VariableReplaced", "IP: {ip}", 20, "IP: 10.0.0.1"},
    {"VariableHardWrappedBlanksNoBreak", "ab {hostname}", 6, "ab hos\nt name\n.examp\nle"},
    {"VariableCutByPadding", "{align:padding:4}{hostname}{/align}|", 20, "host|"},
    {"VariableNamesAreCaseSensitive", "{Hostname}{HOSTNAME}", 20, "{Hostname}{HOSTNAME}"},
    {"ZeroWidthBreaksOnlyOnce", "ab", 0, "\nab"},
};

class LayoutTable : public testing::TestWithParam<LayoutCase> {};

TEST_P(LayoutTable, LaysOut) {
  const LayoutCase& c = GetParam();
  EXPECT_EQ(TextArea::Layout(c.text, c.width, kVariables), c.expected)
      << "text: \"" << c.text << "\" width " << c.width;
}

INSTANTIATE_TEST_SUITE_P(Markup,
                         LayoutTable,
                         testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<LayoutCase>& info) {
                           return std::string(info.param.name);
                         });

// Runs of several lines drift (positions are not shifted by inserted blanks);
// whatever that produces, laying out must stay within the string.
TEST(Layout, DriftedPositionsStayInsideTheText) {
  EXPECT_EQ(TextArea::Layout("{align:padding:6}ab{/align}cd efg", 4, kVariables), "ab  \ncd efg");
  EXPECT_NO_THROW(TextArea::Layout("{align:right}ab cd ef gh ij{/align}", 4, kVariables));
  EXPECT_NO_THROW(TextArea::Layout(
      "{align:center}a b c d e f g h{/align}{align:right}x y z{/align}", 3, kVariables));
  EXPECT_NO_THROW(TextArea::Layout("{align:padding:99999999999}ab{/align} cd ef", 4, kVariables));
}

}  // namespace
}  // namespace Merel
