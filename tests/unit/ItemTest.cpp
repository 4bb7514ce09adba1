// Items: the markup line each kind renders, and the input field's editing
// keys as a table of key sequences.
#include <curses.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Item.h"

namespace Merel {
namespace {

std::string Blanks(int n) {
  return std::string(static_cast<size_t>(n), ' ');
}

TEST(InputItemRender, LabelPaddedFieldBracketedFlushRight) {
  // W - 5 - fw columns of label, then " [ ", the field, " ]".
  EXPECT_EQ(InputItem("IP Address", "10.0.0.1", 15).Render(40),
            "IP Address" + Blanks(10) + " [ 10.0.0.1" + Blanks(7) + " ]");
  // Field width -1: half the width minus one.
  EXPECT_EQ(InputItem("Name", "ab").Render(40), "Name" + Blanks(12) + " [ ab" + Blanks(17) + " ]");
}

TEST(InputItemRender, PasswordOfFourteenInTenShowsTenStarsFromTheFifth) {
  InputItem item("Password:", "", 10);
  item.SetPassword(true);
  item.SetValue("abcdefghijklmn");
  EXPECT_EQ(item.GetCursor(), 14);
  const std::string line = item.Render(40);
  EXPECT_EQ(item.GetScroll(), 4);
  EXPECT_EQ(line, "Password:" + Blanks(16) + " [ " + std::string(10, '*') + " ]");
}

TEST(InputItemRender, LongLabelPushesTheBracketsRight) {
  const std::string label = "A label that is far too long for it";
  InputItem item(label, "x", 10);
  EXPECT_EQ(item.Render(40), label + " [ x" + Blanks(9) + " ]");
}

TEST(InputItemRender, FocusedPristineShowsSelectedEditedShowsReversed) {
  InputItem item("User", "root", 8);
  item.SetFocused(true);
  EXPECT_EQ(item.Render(30), "User" + Blanks(13) +
                                 " [ {bgcolor:white}{color:black}root{/color}{/bgcolor}" +
                                 Blanks(4) + " ]");
  item.HandleKey(KEY_END);
  EXPECT_EQ(item.Render(30), "User" + Blanks(13) +
                                 " [ {bgcolor:black}{color:white}root{/color}{/bgcolor}" +
                                 Blanks(4) + " ]");
  item.SetFocused(false);
  EXPECT_EQ(item.Render(30), "User" + Blanks(13) + " [ root" + Blanks(4) + " ]");
}

// A step of an editing sequence: a key, or a render at a width (which may
// move the view).
constexpr int kRender40 = -40;
constexpr int kRender20 = -20;

struct EditCase {
  const char* name;
  const char* initial;
  int fieldWidth;
  std::vector<int> keys;
  const char* value;
  int cursor;
  int scroll;
  bool pristine;
};

const EditCase kEditCases[] = {
    {"TypingReplacesAProgramValue", "root", 10, {'a'}, "a", 1, 0, false},
    {"EndThenTypeAppends", "root", 10, {KEY_END, 'a'}, "roota", 5, 0, false},
    {"LeftThenTypeInserts", "root", 10, {KEY_LEFT, 'x'}, "rooxt", 4, 0, false},
    {"HomeThenDeleteErasesFirst", "root", 10, {KEY_HOME, KEY_DC}, "oot", 0, 0, false},
    {"RightAtEndKeepsValue", "root", 10, {KEY_RIGHT, KEY_BACKSPACE}, "roo", 3, 0, false},
    {"DeleteOnProgramValueClears", "root", 10, {KEY_DC}, "", 0, 0, false},
    {"BackspaceOnProgramValueClears", "root", 10, {KEY_BACKSPACE}, "", 0, 0, false},
    {"CtrlHIsBackspace", "root", 10, {KEY_END, 8, 8}, "ro", 2, 0, false},
    {"BackspaceAtStartDoesNothing", "root", 10, {KEY_HOME, KEY_BACKSPACE}, "root", 0, 0, false},
    {"OtherKeyClearsProgramValueWithoutInserting", "root", 10, {KEY_F(1)}, "", 0, 0, false},
    {"NonPrintableInsertsNothing", "", 10, {'a', 1, 27, 300, 'b'}, "ab", 2, 0, false},
    {"LeftAtStartStays", "ab", 10, {KEY_HOME, KEY_LEFT}, "ab", 0, 0, false},
    {"LeftAtViewEdgeScrollsBack",
     "",
     5,
     {'a', 'b', 'c', 'd', 'e', 'f', 'g', kRender20, KEY_LEFT, KEY_LEFT, KEY_LEFT, KEY_LEFT,
      KEY_LEFT, KEY_LEFT},
     "abcdefg",
     1,
     1,
     false},
    // Backspace past the left edge of the view jumps to the end of the value.
    {"BackspacePastViewEdgeJumpsToEnd",
     "",
     10,
     {'a',      'b',      'c',      'd',      'e',      'f',       'g',      'h',          'i',
      'j',      'k',      'l',      'm',      'n',      kRender40, KEY_LEFT, KEY_LEFT,     KEY_LEFT,
      KEY_LEFT, KEY_LEFT, KEY_LEFT, KEY_LEFT, KEY_LEFT, KEY_LEFT,  KEY_LEFT, KEY_BACKSPACE},
     "abcefghijklmn",
     13,
     0,
     false},
    {"BackspaceInsideViewStays",
     "",
     10,
     {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l', 'm', 'n', kRender40, KEY_LEFT,
      KEY_BACKSPACE},
     "abcdefghijkln",
     12,
     4,
     false},
};

class InputItemEditing : public testing::TestWithParam<EditCase> {};

TEST_P(InputItemEditing, Keys) {
  const EditCase& c = GetParam();
  InputItem item("Label", c.initial, c.fieldWidth);
  for (int key : c.keys) {
    if (key == kRender40 || key == kRender20) {
      item.Render(-key);
    } else {
      item.HandleKey(key);
    }
  }
  EXPECT_EQ(item.GetValue(), c.value);
  EXPECT_EQ(item.GetCursor(), c.cursor);
  EXPECT_EQ(item.GetScroll(), c.scroll);
  EXPECT_EQ(item.IsPristine(), c.pristine);
}

INSTANTIATE_TEST_SUITE_P(Items,
                         InputItemEditing,
                         testing::ValuesIn(kEditCases),
                         [](const testing::TestParamInfo<EditCase>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
}  // namespace Merel
