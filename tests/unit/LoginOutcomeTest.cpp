// What the console reports for each PAM answer of a login, and the smart-card
// check of the key wait, against a backend that records every syslog line,
// event and audit record in memory.
#include <security/pam_appl.h>
#include <syslog.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Backend.h"
#include "Frame.h"
#include "LoginDialog.h"
#include "Platform.h"

namespace {

class RecordingBackend : public Platform::Backend {
 public:
  std::string HostPath(const std::string& hostPath) override { return "/nonexistent" + hostPath; }
  pid_t Spawn(const char*, char* const[], char* const[], int, int, int) override { return -1; }
  int System(const char*) override { return -1; }
  void WriteSyslog(const std::string&,
                   bool,
                   int facility,
                   int level,
                   const std::string& message) override {
    const std::string line = Facility(facility) + "." + std::to_string(level) + " " + message;
    syslog.push_back(line);
    if (echo) {
      fprintf(stderr, "%s\n", line.c_str());
    }
  }
  bool ResolveHostname(const std::string&, std::vector<std::string>&) override { return false; }
  Platform::HostState Load() override { return state; }
  void Modify(const std::function<void(Platform::HostState&)>& change) override { change(state); }
  bool EventServiceAvailable() override { return eventService; }
  void PostEvent(const std::string& text) override { events.push_back(text); }
  void WriteAudit(const std::string& record,
                  const std::string& user,
                  bool success,
                  const std::string& name,
                  const std::string& value) override {
    audits.push_back(record + " " + user + " " + (success ? "1" : "0") +
                     (name.empty() ? "" : " " + name + "=" + value));
  }

  static std::string Facility(int facility) {
    return facility == LOG_AUTH ? "auth" : facility == LOG_USER ? "user" : std::to_string(facility);
  }

  Platform::HostState state;
  bool eventService = true;
  bool echo = false;
  std::vector<std::string> syslog;
  std::vector<std::string> events;
  std::vector<std::string> audits;
};

class LoginOutcomeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto owned = std::make_unique<RecordingBackend>();
    backend = owned.get();
    Platform::Install(std::move(owned));
    Merel::Frame::_loggedIn = false;
    Merel::Frame::_isLoggedWithSmartCard = false;
    Merel::Frame::_smartCardLoginId.clear();
  }
  void TearDown() override {
    Merel::Frame::_loggedIn = false;
    Merel::Frame::_isLoggedWithSmartCard = false;
    Merel::Frame::_smartCardLoginId.clear();
    Platform::Install(nullptr);
  }
  RecordingBackend* backend = nullptr;
};

struct OutcomeCase {
  int pamResult;
  std::vector<std::string> syslog;  // event-library lines aside
  std::string audit;
  std::string event;  // "" = none
  uint32_t titleKey;
  uint32_t messageKey;
  bool clearPassword;
};

TEST_F(LoginOutcomeTest, EachPamResultIsReportedAsTheTableSays) {
  const std::string failed = "@&!*@*@(obsv.user.merel.login.failed)";
  const std::vector<OutcomeCase> cases = {
      {PAM_SUCCESS,
       {"auth.0 Authentication of user ann succeeded", "user.6 User ann logged in"},
       "login.connect ann 1",
       "",
       0,
       0,
       false},
      {PAM_NEW_AUTHTOK_REQD,
       {"auth.3 Password has expired for user ann"},
       "login.connect ann 0 reason=Password expired",
       failed + "Access denied for user ann",
       147,
       156,
       true},
      {PAM_PERM_DENIED,
       {"auth.3 Access denied for user ann"},
       "login.connect ann 0 reason=No permission",
       failed + "Access denied for user ann",
       147,
       155,
       false},
      // Every other answer (wrong password, unknown user, ...) alike.
      {PAM_USER_UNKNOWN,
       {"auth.3 Authentication of user ann failed"},
       "login.connect ann 0 reason=Invalid Login",
       failed + "Authentication of user ann failed",
       153,
       154,
       true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("PAM result " + std::to_string(c.pamResult));
    backend->syslog.clear();
    backend->events.clear();
    backend->audits.clear();
    const Merel::LoginOutcome outcome = Merel::RecordLoginResult(c.pamResult, "ann");
    EXPECT_EQ(c.pamResult == PAM_SUCCESS, outcome.success);
    EXPECT_EQ(c.titleKey, outcome.titleKey);
    EXPECT_EQ(c.messageKey, outcome.messageKey);
    EXPECT_EQ(c.clearPassword, outcome.clearPassword);
    std::vector<std::string> syslog;
    for (const auto& line : backend->syslog) {
      if (line.find("obsvuser") == std::string::npos) {
        syslog.push_back(line);
      }
    }
    EXPECT_EQ(c.syslog, syslog);
    EXPECT_EQ(std::vector<std::string>{c.audit}, backend->audits);
    EXPECT_EQ(c.event.empty() ? std::vector<std::string>{} : std::vector<std::string>{c.event},
              backend->events);
  }
}

TEST_F(LoginOutcomeTest, NoEventServiceStillLogsAndAudits) {
  backend->eventService = false;
  Merel::RecordLoginResult(PAM_AUTH_ERR, "ann");
  EXPECT_TRUE(backend->events.empty());
  EXPECT_EQ(1u, backend->audits.size());
  ASSERT_FALSE(backend->syslog.empty());
  EXPECT_EQ("auth.3 Authentication of user ann failed", backend->syslog.front());
  bool reported = false;
  for (const auto& line : backend->syslog) {
    reported |= line.rfind("user.3 Unable to initialize obsvuser library from MEREL.", 0) == 0;
  }
  EXPECT_TRUE(reported);
}

TEST_F(LoginOutcomeTest, SmartCardCheckWhileNobodyIsLoggedIn) {
  auto& card = backend->state.hardware.smartCard;
  card.supported = true;

  Merel::SmartCardCheck();  // no card: nothing to say
  EXPECT_TRUE(backend->syslog.empty());

  card.present = true;
  card.users = {"alice", "bob"};
  Merel::SmartCardCheck();
  EXPECT_EQ(std::vector<std::string>{"user.6 Found smart card with user id 'alice'"},
            backend->syslog);

  backend->syslog.clear();
  card.lookupFails = true;
  Merel::SmartCardCheck();
  ASSERT_EQ(1u, backend->syslog.size());
  EXPECT_EQ(0u, backend->syslog[0].find("user.3 Error trying to lookup smart card tokens"));
}

TEST_F(LoginOutcomeTest, SmartCardCheckKeepsSessionsWhoseCardIsThere) {
  auto& card = backend->state.hardware.smartCard;
  card.supported = true;
  card.present = true;
  card.users = {"bob", "alice"};
  Merel::Frame::_loggedIn = true;
  Merel::Frame::_isLoggedWithSmartCard = true;
  Merel::Frame::_smartCardLoginId = "alice";
  Merel::SmartCardCheck();
  EXPECT_TRUE(backend->syslog.empty());

  // A password session does not depend on any card.
  Merel::Frame::_isLoggedWithSmartCard = false;
  card.present = false;
  Merel::SmartCardCheck();
  EXPECT_TRUE(backend->syslog.empty());

  // Without the tokens nothing can be decided: the session stays.
  Merel::Frame::_isLoggedWithSmartCard = true;
  card.present = true;
  card.lookupFails = true;
  Merel::SmartCardCheck();
  ASSERT_EQ(1u, backend->syslog.size());
  EXPECT_EQ(0u, backend->syslog[0].find("user.3 Error trying to lookup smart card tokens"));
}

using LoginOutcomeDeathTest = LoginOutcomeTest;

TEST_F(LoginOutcomeDeathTest, SmartCardSessionEndsWhenItsCardGoes) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto& card = backend->state.hardware.smartCard;
  card.supported = true;
  backend->echo = true;
  Merel::Frame::_loggedIn = true;
  Merel::Frame::_isLoggedWithSmartCard = true;
  Merel::Frame::_smartCardLoginId = "alice";
  // Card pulled out.
  EXPECT_EXIT(Merel::SmartCardCheck(), ::testing::ExitedWithCode(0),
              "user.6 Logging out user id 'alice'");
  // Another user's card put in.
  card.present = true;
  card.users = {"bob"};
  EXPECT_EXIT(Merel::SmartCardCheck(), ::testing::ExitedWithCode(0), "Logging out user id 'alice'");
}

}  // namespace
