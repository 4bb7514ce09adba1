// The login's PAM conversations called directly, what the login reports
// without an event service, and the smart-card check of the key wait,
// against a backend that records every syslog line, event and audit record
// in memory. The outcome of each PAM answer, and what Authenticate answers
// through the real stack, are checked end to end by the login screen tests.
#include <security/pam_appl.h>
#include <syslog.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Backend.h"
#include "Frame.h"
#include "LoginDialog.h"
#include "PamAuth.h"
#include "Platform.h"

namespace {

using Text = const std::string&;

class RecordingBackend : public Platform::Backend {
 public:
  std::string HostPath(Text hostPath) override { return "/nonexistent" + hostPath; }
  pid_t Spawn(const char*, char* const[], char* const[], int, int, int) override { return -1; }
  int System(const char*) override { return -1; }
  void WriteSyslog(Text, bool, int facility, int level, Text message) override {
    syslog.push_back((facility == LOG_AUTH ? "auth." : "user.") + std::to_string(level) + " " +
                     message);
    if (echo)
      fprintf(stderr, "%s\n", syslog.back().c_str());
  }
  bool ResolveHostname(Text, std::vector<std::string>&) override { return false; }
  std::vector<std::string> AccountNames() override { return accounts; }
  Platform::HostState Load() override { return state; }
  void Modify(const std::function<void(Platform::HostState&)>& change) override { change(state); }
  bool EventServiceAvailable() override { return false; }
  void PostEvent(Text text) override { events.push_back(text); }
  void WriteAudit(Text record, Text user, bool success, Text name, Text value) override {
    audits.push_back(record + " " + user + " " + (success ? "1" : "0") + " " + name + "=" + value);
  }

  Platform::HostState state;
  std::vector<std::string> accounts = {"root"};
  bool echo = false;
  std::vector<std::string> syslog, events, audits;
};

class LoginOutcomeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto owned = std::make_unique<RecordingBackend>();
    backend = owned.get();
    Platform::Install(std::move(owned));
    backend->state.hardware.smartCard.supported = true;
  }
  void TearDown() override { Platform::Install(nullptr); }
  void SetSession(bool loggedIn, bool withCard, const std::string& id) {
    session.loggedIn = loggedIn;
    session.isLoggedWithSmartCard = withCard;
    session.smartCardLoginId = id;
  }
  RecordingBackend* backend = nullptr;
  Merel::Session session;
};

// Whatever was typed into the login name field reaches the three logs of a
// failed login only when it could be one of the host's account names; a
// password typed there by mistake, or a pasted page, is "unknown user". Any
// PAM answer other than success, expiry or no permission is an invalid
// login; the event service is optional: without it the failure is still
// logged and audited, and its absence is reported.
TEST_F(LoginOutcomeTest, FailedLoginsLogOnlyNamesAnAccountCouldHave) {
  backend->accounts = {"root", "ops-admin"};
  const std::pair<std::string, std::string> cases[] = {
      {"root", "root"},
      {"nobody", "unknown user"},      // "b" and "y" are in no account name
      {"ops-admins", "unknown user"},  // longer than every account name
      {"", "unknown user"},
  };
  for (const auto& [typed, logged] : cases) {
    SCOPED_TRACE(typed);
    backend->syslog.clear();
    backend->audits.clear();
    const Merel::LoginOutcome outcome = Merel::RecordLoginResult(PAM_USER_UNKNOWN, typed);
    EXPECT_EQ(std::tuple(outcome.success, outcome.clearPassword, backend->events, backend->audits),
              std::tuple(false, true, std::vector<std::string>{},
                         std::vector{"login.connect " + logged + " 0 reason=Invalid Login"}));
    EXPECT_EQ(backend->syslog,
              (std::vector<std::string>{"auth.3 Authentication of user " + logged + " failed",
                                        "user.6 Initializing obsvuser library",
                                        // ECONNREFUSED: no event service
                                        "user.3 Unable to initialize obsvuser library from "
                                        "MEREL. Error code: 111"}));
  }
}

// The sessions the check keeps, and what it says about them.
TEST_F(LoginOutcomeTest, SmartCardCheckKeepsSessionsThatStillHaveTheirCard) {
  const std::vector<std::string> lookupError = {
      "user.3 Error trying to lookup smart card tokens: Smart card token lookup failed"};
  const struct {
    const char* name;
    bool loggedIn, withCard, present, lookupFails;
    std::vector<std::string> users, said;
  } cases[] = {
      {"nobody logged in, no card", false, false, false, false, {}, {}},
      {"nobody logged in, lookup fails", false, false, true, true, {"alice"}, lookupError},
      {"card session, card there", true, true, true, false, {"bob", "alice"}, {}},
      {"password session, no card", true, false, false, false, {}, {}},
      // Without the tokens nothing can be decided: the session stays.
      {"card session, lookup fails", true, true, true, true, {"alice"}, lookupError},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    backend->syslog.clear();
    backend->state.hardware.smartCard = {true, c.present, c.users, c.lookupFails};
    SetSession(c.loggedIn, c.withCard, c.loggedIn ? "alice" : "");
    Merel::SmartCardCheck(session);
    EXPECT_EQ(backend->syslog, c.said);
  }
}

using LoginOutcomeDeathTest = LoginOutcomeTest;

TEST_F(LoginOutcomeDeathTest, SmartCardSessionEndsWhenItsCardGoes) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  backend->echo = true;
  SetSession(true, true, "alice");
  // Card pulled out.
  EXPECT_EXIT(Merel::SmartCardCheck(session), ::testing::ExitedWithCode(0),
              "user.6 Logging out user id 'alice'");
  // Another user's card put in.
  backend->state.hardware.smartCard = {true, true, {"bob"}, false};
  EXPECT_EXIT(Merel::SmartCardCheck(session), ::testing::ExitedWithCode(0),
              "Logging out user id 'alice'");
}

TEST(LoginConversation, AnswersPromptsWithOwnCopiesAndRefusesWhatItCannotAnswer) {
  constexpr int kBinaryPrompt = 7;
  const struct {
    std::vector<int> styles;
    bool withResponse;
    const char* secret;
    int result;
    std::vector<const char*> answers;  // empty when no answer array is left
  } cases[] = {
      {{PAM_TEXT_INFO, PAM_PROMPT_ECHO_OFF, PAM_ERROR_MSG, PAM_PROMPT_ECHO_ON}, true, "s3cret",
       PAM_SUCCESS, {nullptr, "s3cret", nullptr, "s3cret"}},
      // pam_matrix reports "Authentication failed" with no answer array.
      {{PAM_ERROR_MSG, PAM_TEXT_INFO}, false, "x", PAM_SUCCESS, {}},
      {{PAM_PROMPT_ECHO_OFF}, false, "x", PAM_CONV_ERR, {}},
      {{}, true, "x", PAM_CONV_ERR, {}},
      {{PAM_PROMPT_ECHO_OFF}, true, nullptr, PAM_CONV_ERR, {}},
      // A prompt it cannot answer leaves no answer allocated (LeakSanitizer checks it).
      {{PAM_PROMPT_ECHO_OFF, kBinaryPrompt}, true, "x", PAM_CONV_ERR, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.styles.size() << " messages, result " << c.result);
    std::vector<struct pam_message> messages(c.styles.size(), {0, "prompt"});
    std::vector<const struct pam_message*> pointers;
    for (size_t i = 0; i < messages.size(); ++i) {
      messages[i].msg_style = c.styles[i];
      pointers.push_back(&messages[i]);
    }
    struct pam_response* replies = nullptr;
    EXPECT_EQ(c.result, Merel::LoginConversation(static_cast<int>(pointers.size()), pointers.data(),
                                                 c.withResponse ? &replies : nullptr,
                                                 const_cast<char*>(c.secret)));
    ASSERT_EQ(c.answers.empty(), replies == nullptr);
    for (size_t i = 0; i < c.answers.size(); ++i) {
      EXPECT_STREQ(c.answers[i], replies[i].resp) << i;
      // PAM frees every answer: none may be the caller's buffer.
      EXPECT_TRUE(replies[i].resp == nullptr || replies[i].resp != c.secret);
      free(replies[i].resp);
    }
    free(replies);
  }
  const struct pam_message* nullMessage = nullptr;
  struct pam_response* answers = nullptr;
  EXPECT_EQ(PAM_CONV_ERR, Merel::LoginConversation(1, &nullMessage, &answers, nullptr));
  EXPECT_EQ(PAM_CONV_ERR, Merel::LoginConversation(1, nullptr, &answers, nullptr));
}

// The change conversation over a whole transaction: the authentication's
// prompt, the module asking for the current password again, the new one
// and its repetition.
TEST(ChangeConversation, AnswersOldThenNewAcrossCalls) {
  Merel::PasswordChangeSecrets secrets{"old-pw", "new-pw", 0};
  const std::tuple<int, const char*, const char*> steps[] = {
      {PAM_PROMPT_ECHO_OFF, "Password: ", "old-pw"},
      {PAM_TEXT_INFO, "Changing password", ""},
      {PAM_PROMPT_ECHO_OFF, "Old password: ", "old-pw"},
      {PAM_PROMPT_ECHO_OFF, "(current) UNIX password: ", "old-pw"},
      {PAM_PROMPT_ECHO_OFF, "New password: ", "new-pw"},
      {PAM_PROMPT_ECHO_OFF, "Retype new password: ", "new-pw"},
      {PAM_PROMPT_ECHO_OFF, "One more: ", ""},
  };
  for (const auto& [style, prompt, answer] : steps) {
    struct pam_message message = {style, prompt};
    const struct pam_message* pointer = &message;
    struct pam_response* replies = nullptr;
    ASSERT_EQ(PAM_SUCCESS, Merel::ChangeConversation(1, &pointer, &replies, &secrets));
    EXPECT_STREQ(answer, replies[0].resp) << prompt;
    free(replies[0].resp);
    free(replies);
  }
  struct pam_response* replies = nullptr;
  EXPECT_EQ(PAM_CONV_ERR, Merel::ChangeConversation(0, nullptr, &replies, &secrets));
  EXPECT_EQ(nullptr, replies);
}

}  // namespace
