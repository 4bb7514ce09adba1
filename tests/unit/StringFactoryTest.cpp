// The string table: a sample of keys (exact texts, including the ones that
// end in a blank for the caller to complete), the deliberately shared texts,
// the empty keys, the product line of key 2 and the factory lookup.
#include <unistd.h>

#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "Backend.h"
#include "HostCtl/HostCtlException.h"
#include "Platform.h"
#include "StringFactory.h"

namespace {

// A host whose only readable part is its product information; Load() fails
// while `state` is empty.
class ProductHost : public Platform::Backend {
 public:
  std::optional<Platform::HostState> state;

  std::string HostPath(const std::string& hostPath) override { return "/nonexistent" + hostPath; }
  pid_t Spawn(const char*, char* const[], char* const[], int, int, int) override { return -1; }
  int System(const char*) override { return -1; }
  void WriteSyslog(const std::string&, bool, int, int, const std::string&) override {}
  bool ResolveHostname(const std::string&, std::vector<std::string>&) override { return false; }
  Platform::HostState Load() override {
    if (!state) {
      throw HostCtl::Lib::HostCtlException("host state unreadable");
    }
    return *state;
  }
  void Modify(const std::function<void(Platform::HostState&)>&) override {
    throw HostCtl::Lib::HostCtlException("read-only");
  }
  bool EventServiceAvailable() override { return false; }
  void PostEvent(const std::string&) override {}
  void WriteAudit(const std::string&,
                  const std::string&,
                  bool,
                  const std::string&,
                  const std::string&) override {}
};

Platform::HostState Product(const char* name,
                            const char* version,
                            const char* kernel,
                            const char* build) {
  Platform::HostState state;
  state.product.name = name;
  state.product.version = version;
  state.product.kernelVersion = kernel;
  state.product.build = build;
  return state;
}

Merel::StringFactory& Table() {
  Merel::StringFactory* table = Merel::GetStringFactory("en_US");
  EXPECT_NE(table, nullptr);
  return *table;
}

TEST(StringFactoryTest, SampleTexts) {
  const struct {
    uint32_t key;
    const char* text;
  } cases[] = {
      {0, "Customize System/View Logs"},
      {4, "System Customization"},
      {29, "Press the corresponding key to view a log.\nPress <Q> to return to this screen."},
      {123, "Done."},
      {137, "IP address is "},
      {145, "Enter an authorized login name and password for "},
      {193, "Restore to default blocked setting (unblocked) "},
      {246,
       "{color:red}Warning! Restarting the management agents will disconnect all remote "
       "management software. This will affect all running services.\nCollection of extra "
       "troubleshooting information can take a noticeable amount of time.{/color}"},
      {267,
       "Set the number of minutes that can elapse before you must log in after Tarvik Shell is "
       "enabled (the availability timeout) and the timeout for idle interactive sessions.\n\n"
       "After the availability timeout expires any running shell instances will remain, but new "
       "sessions will not be allowed.  Changes to idle timeout will apply on next login, but will "
       "not affect any existing sessions.\n\nValues are in minutes. Use zero to disable timeouts. "
       "Maximum value is 1440 minutes."},
      {274, "MEREL idle timeout"},
  };
  for (const auto& c : cases) {
    EXPECT_STREQ(Table().GetString(c.key), c.text) << "key " << c.key;
  }
}

TEST(StringFactoryTest, SharedTexts) {
  const std::pair<uint32_t, uint32_t> same[] = {
      {1, 169},  {5, 157},  {6, 253},  {8, 46},   {9, 133},  {11, 66},  {48, 77},
      {50, 101}, {51, 106}, {54, 124}, {67, 208}, {68, 138}, {69, 196},
  };
  for (auto [a, b] : same) {
    EXPECT_STREQ(Table().GetString(a), Table().GetString(b)) << a << " and " << b;
  }
  EXPECT_STREQ(Table().GetString(1), "Shut Down/Restart");
  EXPECT_STREQ(Table().GetString(5), "Configure Password");
  // Look-alikes that are not the same text.
  EXPECT_STRNE(Table().GetString(24), Table().GetString(57));
}

TEST(StringFactoryTest, EmptyKeysAreEmptyNeverNull) {
  for (uint32_t key : {3u, 275u, 276u, 1000u, 0xffffffffu}) {
    const char* text = Table().GetString(key);
    ASSERT_NE(text, nullptr) << key;
    EXPECT_STREQ(text, "") << key;
  }
  for (uint32_t key = 0; key <= 274; ++key) {
    ASSERT_NE(Table().GetString(key), nullptr) << key;
    if (key != 2 && key != 3) {
      EXPECT_NE(Table().GetString(key)[0], '\0') << key;
    }
  }
}

// The table and the key-2 text are process-wide and made once, so each of
// these runs in a fresh child process.
class StringFactoryIsolatedTest : public ::testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(StringFactoryIsolatedTest, FactoryLookup) {
  EXPECT_EXIT(
      {
        bool ok = Merel::GetStringFactory("fr_FR") == nullptr &&
                  Merel::GetStringFactory(nullptr) == nullptr;
        Merel::StringFactory* table = Merel::GetStringFactory("en_US");
        ok = ok && table != nullptr && Merel::GetStringFactory("en_US") == table &&
             Merel::GetStringFactory("fr_FR") == table && Merel::GetStringFactory(nullptr) == table;
        _exit(ok ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(StringFactoryIsolatedTest, ProductLineIsComputedOnce) {
  EXPECT_EXIT(
      {
        auto host = std::make_unique<ProductHost>();
        ProductHost* raw = host.get();
        raw->state = Product("Tarvik", "9.1.0", "9.1.0a", "4711");
        Platform::Install(std::move(host));
        std::string first = Merel::GetStringFactory("en_US")->GetString(2);
        // A later change of the host is not seen by this process.
        raw->state = Product("Other", "1", "2", "3");
        std::string second = Merel::GetStringFactory("en_US")->GetString(2);
        _exit(first == "Tarvik 9.1.0 (Nexel 9.1.0a Build 4711)" && second == first ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(StringFactoryIsolatedTest, ProductLineAfterAFailedQuery) {
  EXPECT_EXIT(
      {
        auto host = std::make_unique<ProductHost>();
        ProductHost* raw = host.get();
        Platform::Install(std::move(host));
        const char* failed = Merel::GetStringFactory("en_US")->GetString(2);
        bool ok = failed != nullptr && failed[0] == '\0';
        // The failure is not remembered: the next request asks again.
        raw->state = Product("Tarvik", "8.0.2", "8.0.2", "21203435");
        ok = ok && std::string(Merel::GetStringFactory("en_US")->GetString(2)) ==
                       "Tarvik 8.0.2 (Nexel 8.0.2 Build 21203435)";
        _exit(ok ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
