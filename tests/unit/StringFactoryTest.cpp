// The string table: the keys without a text, the product line of key 2 and
// the factory lookup (the texts themselves are checked as drawn on screen).
#include "StringFactory.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "SimHostTestSupport.h"

namespace Merel {
namespace {

const char* Text(uint32_t key) {
  return GetStringFactory("en_US")->GetString(key);
}

// A key without a text, or past the table's end, reads as an empty text,
// never as null.
TEST(StringFactoryTest, KeysWithoutTextReadEmpty) {
  for (uint32_t key : {uint32_t{Strings::kEmpty}, uint32_t{Strings::kKeyCount},
                       Strings::kKeyCount + 1u, 0xffffffffu}) {
    ASSERT_NE(Text(key), nullptr) << key;
    EXPECT_STREQ(Text(key), "") << key;
  }
}

// The factory and the key-2 text are process-wide and made once, so this runs
// in a child process of its own.
void CheckFactoryAndProductLine() {
  bool ok = GetStringFactory("fr_FR") == nullptr && GetStringFactory(nullptr) == nullptr;
  StringFactory* table = GetStringFactory("en_US");  // only en_US makes the table ...
  ok = ok && table != nullptr && GetStringFactory("fr_FR") == table &&  // ... then any locale
       GetStringFactory(nullptr) == table;                              // gets it
  SimHostTest::SimRoot root;                                            // the demo host
  const std::string json = root.Path() + "/host.json";
  std::filesystem::rename(json, json + ".away");
  ok = ok && std::string(table->GetString(Strings::kWelcomeProductLine))
                 .empty();  // unreadable: empty, asked again
  std::filesystem::rename(json + ".away", json);
  const std::string product = "Tarvik 8.0.2 (Nexel 8.0.2 Build 3074155)";
  ok = ok && table->GetString(Strings::kWelcomeProductLine) == product;
  Platform::Current().Modify([](Platform::HostState& state) { state.product.name = "Other"; });
  ok = ok && table->GetString(Strings::kWelcomeProductLine) == product;  // computed once
  _exit(ok ? 0 : 1);
}

TEST(StringFactoryTest, OnlyEnUsMakesTheTableAndKeyTwoIsTheProductLineOnceKnown) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(CheckFactoryAndProductLine(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Merel
