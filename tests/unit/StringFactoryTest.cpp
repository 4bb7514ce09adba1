// The string table: texts no golden screen shows, the deliberately shared texts,
// the empty keys, the product line of key 2 and the factory lookup.
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

TEST(StringFactoryTest, SampleSharedAndEmptyTexts) {
  // Texts no golden screen shows (the others are checked there as drawn).
  const std::pair<uint32_t, const char*> samples[] = {
      {29, "Press the corresponding key to view a log.\nPress <Q> to return to this screen."},
      {193, "Restore to default blocked setting (unblocked) "},
  };
  for (const auto& [key, text] : samples) {
    EXPECT_STREQ(Text(key), text) << "key " << key;
  }
  const std::pair<uint32_t, uint32_t> same[] = {
      {1, 169},  {5, 157},  {6, 253},  {8, 46},   {9, 133},  {11, 66},  {48, 77},
      {50, 101}, {51, 106}, {54, 124}, {67, 208}, {68, 138}, {69, 196},
  };
  for (auto [a, b] : same) {
    EXPECT_STREQ(Text(a), Text(b)) << a << " and " << b;
  }
  EXPECT_STRNE(Text(24), Text(57)) << "look-alikes that are not the same text";
  for (uint32_t key = 0; key <= 274; ++key) {
    EXPECT_TRUE(key == 2 || key == 3 || Text(key)[0] != '\0') << key;
  }
  for (uint32_t key : {3u, 275u, 276u, 1000u, 0xffffffffu}) {
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
  ok = ok && std::string(table->GetString(2)).empty();  // unreadable: empty, asked again
  std::filesystem::rename(json + ".away", json);
  const std::string product = "Tarvik 8.0.2 (Nexel 8.0.2 Build 3074155)";
  ok = ok && table->GetString(2) == product;
  Platform::Current().Modify([](Platform::HostState& state) { state.product.name = "Other"; });
  ok = ok && table->GetString(2) == product;  // computed once
  _exit(ok ? 0 : 1);
}

TEST(StringFactoryTest, OnlyEnUsMakesTheTableAndKeyTwoIsTheProductLineOnceKnown) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(CheckFactoryAndProductLine(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Merel
