// The measuring side of the harness, which the benchmark's figures rest on:
// it must count only cells that really changed and keep the Linux console's
// unterminated palette sequences out of the emulator.
#include <gtest/gtest.h>

#include <tuple>

#include "Harness.h"

namespace MerelTest {
namespace {

// A program that writes `first`, then `second` once it reads a key (sent by
// Next), then waits.
std::unique_ptr<Terminal> Writer(const std::string& first,
                                 const std::string& second,
                                 bool dropPalette = false) {
  auto terminal = std::make_unique<Terminal>();
  terminal->TrackScreen();
  terminal->DropLinuxPaletteSequences(dropPalette);
  EXPECT_TRUE(terminal->Start({"/bin/sh", "-c",
                               "stty raw -echo; printf '%b' \"$1\"; head -c1 >/dev/null; printf '%b' \"$2\"; "
                               "sleep 30",
                               "writer", first, second}));
  return terminal;
}

// Once the writer waits for its key (all of `first` shown), sends it.
void Next(Terminal& terminal) {
  ASSERT_TRUE(terminal.WaitUntilQuiet());
  terminal.Send("\r");
}

TEST(HarnessTracking, CountsCellsWhoseTextOrAttributesChanged) {
  // What the writer shows first, what it writes after the key, the cells changed.
  using Case = std::tuple<const char*, const char*, const char*, int>;
  const Case cases[] = {
      {"one letter differs", "abc", "\\rabd", 1},
      {"the same text written again", "abc", "\\rabc", 0},
      {"the same text in bold", "abc", "\\r\\033[1mabc", 3},
      {"a cleared line", "abcd", "\\r\\033[K", 4},
      {"new text on blank cells", "", "xy", 2},
  };
  for (const auto& [name, first, second, changed] : cases) {
    SCOPED_TRACE(name);
    auto terminal = Writer(first, second);
    ASSERT_TRUE(terminal->WaitUntilQuiet());
    terminal->MarkScreen();
    const size_t before = terminal->Raw().size();
    Next(*terminal);
    ASSERT_TRUE(terminal->WaitFor([&] { return terminal->Raw().size() > before; }));
    terminal->WaitUntilQuiet(milliseconds(100));
    EXPECT_EQ(terminal->ChangedCells(), changed);
  }
}

TEST(HarnessTracking, DropsLinuxPaletteSequencesEvenWhenSplit) {
  // The writer's two parts and the text left on the screen.
  using Case = std::tuple<const char*, const char*, const char*, const char*>;
  const Case cases[] = {
      {"whole", "\\033]P0102030ab", "c", "abc"},
      {"split inside the digits", "\\033]P01", "02030Q", "Q"},
      {"split after ESC", "x\\033", "]P7ffffffy", "xy"},
      {"palette reset", "\\033]Rok", "", "ok"},
      {"other OSC kept whole", "\\033]0;title\\007t", "", "t"},
  };
  for (const auto& [name, first, second, shown] : cases) {
    SCOPED_TRACE(name);
    auto terminal = Writer(first, second, true);
    Next(*terminal);
    ASSERT_TRUE(terminal->WaitForText(shown, milliseconds(3000))) << terminal->Text();
    const std::string text = terminal->Text();
    EXPECT_EQ(text.substr(0, text.find('\n')), shown);
  }
}

}  // namespace
}  // namespace MerelTest
