// The measuring side of the harness, which the benchmark's figures rest on:
// it must count only cells that really changed and keep the Linux console's
// unterminated palette sequences out of the emulator.
#include <gtest/gtest.h>

#include <tuple>

#include "Harness.h"

namespace MerelTest {
namespace {

// A program writes the first part, then the second once it reads a key, then
// sleeps: the cells counted are those the second part changed, and the first
// row is what the emulator shows in the end.
TEST(HarnessTracking, CountsChangedCellsAndDropsLinuxPaletteSequencesEvenWhenSplit) {
  // The two parts, whether the palette filter is on, the cells changed and the row shown.
  using Case = std::tuple<const char*, const char*, const char*, bool, int, const char*>;
  const Case cases[] = {
      {"one letter differs", "abc", "\\rabd", false, 1, "abd"},
      {"the same text written again", "abc", "\\rabc", false, 0, "abc"},
      {"the same text in bold", "abc", "\\r\\033[1mabc", false, 3, "abc"},
      {"a cleared line", "abcd", "\\r\\033[K", false, 4, ""},
      {"split inside the digits", "\\033]P01", "02030Q", true, 1, "Q"},
      {"split after ESC", "x\\033", "]P7ffffffy", true, 1, "xy"},
      {"palette reset", "\\033]Rok", "", true, 0, "ok"},
      {"other OSC kept whole", "\\033]0;title\\007t", "", true, 0, "t"},
  };
  for (const auto& [name, first, second, dropPalette, changed, shown] : cases) {
    SCOPED_TRACE(name);
    Terminal terminal;
    terminal.TrackScreen();
    terminal.DropLinuxPaletteSequences(dropPalette);
    ASSERT_TRUE(terminal.Start({"/bin/sh", "-c",
                                "stty raw -echo; printf '%b' \"$1\"; head -c1 >/dev/null; "
                                "printf '%b' \"$2\"; sleep 30",
                                "writer", first, second}));
    ASSERT_TRUE(terminal.WaitUntilQuiet());  // all of the first part shown, the key awaited
    terminal.MarkScreen();
    const size_t before = terminal.Raw().size();
    terminal.Send("\r");
    ASSERT_TRUE(terminal.WaitFor([&] { return terminal.Raw().size() > before || !*second; }));
    terminal.WaitUntilQuiet(milliseconds(100));
    const std::string text = terminal.Text();
    EXPECT_EQ(std::pair(terminal.ChangedCells(), text.substr(0, text.find('\n'))),
              std::pair(changed, std::string(shown)));
  }
}

}  // namespace
}  // namespace MerelTest
