// Where the idle time-out of a session comes from: the host's advanced option,
// with 600 seconds whenever it cannot be used.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Backend.h"
#include "Frame.h"
#include "HostCtl/HostCtlException.h"
#include "Platform.h"

namespace {

using Merel::Frame;

// A host that only has advanced options (or cannot be read at all).
class OptionsOnlyBackend : public Platform::Backend {
 public:
  explicit OptionsOnlyBackend(std::optional<Platform::AdvancedOptionState> option,
                              bool unreadable = false)
      : _option(std::move(option)), _unreadable(unreadable) {}

  std::string HostPath(const std::string& path) override { return "/nonexistent" + path; }
  pid_t Spawn(const char*, char* const[], char* const[], int, int, int) override { return -1; }
  int System(const char*) override { return -1; }
  void WriteSyslog(const std::string&, bool, int, int, const std::string&) override {}
  bool ResolveHostname(const std::string&, std::vector<std::string>&) override { return false; }
  Platform::HostState Load() override {
    if (_unreadable) {
      throw HostCtl::Lib::HostCtlException("host state unreadable");
    }
    Platform::HostState state;
    state.advancedOptions.clear();
    if (_option) {
      state.advancedOptions.push_back(*_option);
    }
    return state;
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

 private:
  std::optional<Platform::AdvancedOptionState> _option;
  bool _unreadable;
};

Platform::AdvancedOptionState IntegerOption(const char* name, int64_t value) {
  Platform::AdvancedOptionState option;
  option.name = name;
  option.type = "int";
  option.value = value;
  option.min = 0;
  option.max = 86400;
  option.defaultValue = 600;
  return option;
}

class IdleTimeoutTest : public testing::Test {
 protected:
  void TearDown() override {
    Platform::Install(nullptr);
    Frame::_idleTimeout = 600;
    Frame::_loggedIn = false;
  }
};

TEST_F(IdleTimeoutTest, ComesFromTheAdvancedOptionOrIs600) {
  Platform::AdvancedOptionState text;
  text.name = Merel::MEREL_TIMEOUT_VAR;
  text.type = "string";
  text.stringValue = "900";
  const struct {
    const char* what;
    std::optional<Platform::AdvancedOptionState> option;
    bool unreadable;
    unsigned int expected;
  } cases[] = {
      {"integer option", IntegerOption("/UserVars/MerelTimeOut", 900), false, 900},
      {"zero disables", IntegerOption("/UserVars/MerelTimeOut", 0), false, 0},
      {"below a minute is kept as is", IntegerOption("/UserVars/MerelTimeOut", 30), false, 30},
      {"missing", std::nullopt, false, 600},
      {"another option only", IntegerOption("/UserVars/SomethingElse", 5), false, 600},
      {"not an integer", text, false, 600},
      {"host unreadable", IntegerOption("/UserVars/MerelTimeOut", 900), true, 600},
  };
  for (const auto& c : cases) {
    Platform::Install(std::make_unique<OptionsOnlyBackend>(c.option, c.unreadable));
    Frame::_idleTimeout = 12345;
    Frame::LoadIdleTimeout();
    EXPECT_EQ(Frame::_idleTimeout, c.expected) << c.what;
  }
}

TEST_F(IdleTimeoutTest, LoggingInPicksUpAChangedValueLoggingOutDoesNot) {
  Platform::Install(
      std::make_unique<OptionsOnlyBackend>(IntegerOption("/UserVars/MerelTimeOut", 120)));
  Frame::_idleTimeout = 600;
  Frame::SetLoggedIn(false);
  EXPECT_FALSE(Frame::_loggedIn);
  EXPECT_EQ(Frame::_idleTimeout, 600u);
  Frame::SetLoggedIn(true);
  EXPECT_TRUE(Frame::_loggedIn);
  EXPECT_EQ(Frame::_idleTimeout, 120u);
}

}  // namespace
