// The login's PAM conversation, called directly. What Authenticate answers
// through the real stack is checked end to end by the login screen tests.
#include <security/pam_appl.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "PamAuth.h"

namespace {

TEST(LoginConversation, AnswersPromptsWithOwnCopiesAndRefusesWhatItCannotAnswer) {
  constexpr int kBinaryPrompt = 7;
  const struct {
    std::vector<int> styles;
    bool withResponse;
    const char* secret;
    int result;
    std::vector<const char*> answers;  // empty when no answer array is left
  } cases[] = {
      {{PAM_TEXT_INFO, PAM_PROMPT_ECHO_OFF, PAM_ERROR_MSG, PAM_PROMPT_ECHO_ON},
       true,
       "s3cret",
       PAM_SUCCESS,
       {nullptr, "s3cret", nullptr, "s3cret"}},
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
    std::vector<struct pam_message> messages;
    std::vector<const struct pam_message*> pointers;
    for (int style : c.styles) {
      messages.push_back({style, "prompt"});
    }
    for (const auto& message : messages) {
      pointers.push_back(&message);
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
    }
    for (size_t i = 0; i < c.answers.size(); ++i) {
      free(replies[i].resp);
    }
    free(replies);
  }
  const struct pam_message* nullMessage = nullptr;
  struct pam_response* answers = nullptr;
  EXPECT_EQ(PAM_CONV_ERR, Merel::LoginConversation(1, &nullMessage, &answers, nullptr));
  EXPECT_EQ(PAM_CONV_ERR, Merel::LoginConversation(1, nullptr, &answers, nullptr));
}

}  // namespace

namespace {

// The change conversation over a whole transaction: the authentication's
// prompt, the module asking for the current password again, the new one
// and its repetition.
TEST(ChangeConversation, AnswersOldThenNewAcrossCalls) {
  Merel::PasswordChangeSecrets secrets{"old-pw", "new-pw", 0};
  const struct {
    int style;
    const char* prompt;
    const char* answer;
  } steps[] = {
      {PAM_PROMPT_ECHO_OFF, "Password: ", "old-pw"},
      {PAM_TEXT_INFO, "Changing password", ""},
      {PAM_PROMPT_ECHO_OFF, "Old password: ", "old-pw"},
      {PAM_PROMPT_ECHO_OFF, "(current) UNIX password: ", "old-pw"},
      {PAM_PROMPT_ECHO_OFF, "New password: ", "new-pw"},
      {PAM_PROMPT_ECHO_OFF, "Retype new password: ", "new-pw"},
      {PAM_PROMPT_ECHO_OFF, "One more: ", ""},
  };
  for (const auto& step : steps) {
    struct pam_message message = {step.style, step.prompt};
    const struct pam_message* pointer = &message;
    struct pam_response* replies = nullptr;
    ASSERT_EQ(PAM_SUCCESS, Merel::ChangeConversation(1, &pointer, &replies, &secrets));
    EXPECT_STREQ(step.answer, replies[0].resp) << step.prompt;
    free(replies[0].resp);
    free(replies);
  }
  struct pam_response* replies = nullptr;
  EXPECT_EQ(PAM_CONV_ERR, Merel::ChangeConversation(0, nullptr, &replies, &secrets));
  EXPECT_EQ(nullptr, replies);
}

}  // namespace
