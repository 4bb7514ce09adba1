// The login's PAM conversation and Authenticate. The conversation is called
// directly; Authenticate runs for real under pam_wrapper with pam_matrix and
// the tests' own account module. pam_wrapper must be preloaded when a process
// starts, so those cases run in a child: this test binary re-executed with
// the wrapper in its environment and only the child test selected.
#include <fcntl.h>
#include <security/pam_appl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "PamAuth.h"

namespace fs = std::filesystem;

namespace {

struct Replies {
  struct pam_response* list = nullptr;
  int count = 0;
  ~Replies() {
    if (list != nullptr) {
      for (int i = 0; i < count; ++i) {
        free(list[i].resp);
      }
      free(list);
    }
  }
};

int Converse(const std::vector<struct pam_message>& messages,
             Replies& replies,
             const char* secret,
             bool withResponse = true) {
  std::vector<const struct pam_message*> pointers;
  for (const auto& message : messages) {
    pointers.push_back(&message);
  }
  replies.count = static_cast<int>(messages.size());
  return Merel::LoginConversation(static_cast<int>(pointers.size()), pointers.data(),
                                  withResponse ? &replies.list : nullptr,
                                  const_cast<char*>(secret));
}

TEST(LoginConversation, AnswersEveryPromptWithItsOwnCopyOfTheSecret) {
  char secret[] = "s3cret";
  Replies replies;
  ASSERT_EQ(PAM_SUCCESS, Converse({{PAM_TEXT_INFO, "Welcome"},
                                   {PAM_PROMPT_ECHO_OFF, "Password: "},
                                   {PAM_ERROR_MSG, "Caps lock?"},
                                   {PAM_PROMPT_ECHO_ON, "Token: "}},
                                  replies, secret));
  ASSERT_NE(nullptr, replies.list);
  EXPECT_EQ(nullptr, replies.list[0].resp);
  EXPECT_STREQ("s3cret", replies.list[1].resp);
  EXPECT_EQ(nullptr, replies.list[2].resp);
  EXPECT_STREQ("s3cret", replies.list[3].resp);
  // PAM frees every answer: none may be the caller's buffer or shared.
  EXPECT_NE(secret, replies.list[1].resp);
  EXPECT_NE(replies.list[1].resp, replies.list[3].resp);
}

TEST(LoginConversation, NullResponsePointer) {
  // pam_matrix reports "Authentication failed" this way after every attempt.
  Replies replies;
  EXPECT_EQ(PAM_SUCCESS, Converse({{PAM_ERROR_MSG, "Authentication failed"}}, replies, "x", false));
  EXPECT_EQ(PAM_SUCCESS,
            Converse({{PAM_TEXT_INFO, "ok"}, {PAM_ERROR_MSG, "no"}}, replies, "x", false));
  // A prompt with nowhere to put the answer is a broken call, not a crash.
  EXPECT_EQ(PAM_CONV_ERR, Converse({{PAM_PROMPT_ECHO_OFF, "Password: "}}, replies, "x", false));
}

TEST(LoginConversation, MalformedCallsFailWithoutLeavingAnswers) {
  Replies replies;
  EXPECT_EQ(PAM_CONV_ERR, Converse({}, replies, "x"));
  EXPECT_EQ(nullptr, replies.list);
  // Binary prompts cannot be answered with a password; the answers made for
  // earlier messages are released (LeakSanitizer checks it in that build).
  constexpr int kBinaryPrompt = 7;
  EXPECT_EQ(PAM_CONV_ERR,
            Converse({{PAM_PROMPT_ECHO_OFF, "Password: "}, {kBinaryPrompt, ""}}, replies, "x"));
  EXPECT_EQ(nullptr, replies.list);
  EXPECT_EQ(PAM_CONV_ERR, Converse({{PAM_PROMPT_ECHO_OFF, "Password: "}}, replies, nullptr));
  const struct pam_message* nullMessage = nullptr;
  struct pam_response* answers = nullptr;
  EXPECT_EQ(PAM_CONV_ERR, Merel::LoginConversation(1, &nullMessage, &answers, nullptr));
  EXPECT_EQ(PAM_CONV_ERR, Merel::LoginConversation(1, nullptr, &answers, nullptr));
}

// --- Authenticate under pam_wrapper -----------------------------------------

const char* const kChildCases = "MEREL_PAM_CHILD_CASES";

// Runs in the re-executed child only: one "user<TAB>password" per line in the
// environment, one "RESULT user code" line per case on standard output.
TEST(PamAuthenticateChild, DISABLED_Run) {
  const char* cases = getenv(kChildCases);
  ASSERT_NE(nullptr, cases);
  std::istringstream lines(cases);
  std::string line;
  while (std::getline(lines, line)) {
    const size_t tab = line.find('\t');
    const std::string user = line.substr(0, tab);
    const std::string password = tab == std::string::npos ? "" : line.substr(tab + 1);
    printf("RESULT %s %d\n", user.c_str(), Merel::Authenticate(user, password));
  }
  fflush(stdout);
}

std::string Capture(const char* command) {
  std::string output;
  if (FILE* pipe = popen(command, "r")) {
    char buffer[512];
    while (fgets(buffer, sizeof buffer, pipe) != nullptr) {
      output += buffer;
    }
    pclose(pipe);
  }
  while (!output.empty() && (output.back() == '\n' || output.back() == ' ')) {
    output.pop_back();
  }
  return output;
}

// The sanitizer runtime must come before pam_wrapper in LD_PRELOAD.
std::string LoadedAsanRuntime() {
  std::ifstream maps("/proc/self/maps");
  std::string line;
  while (std::getline(maps, line)) {
    const size_t slash = line.find('/');
    if (slash != std::string::npos && line.find("libasan.so", slash) != std::string::npos) {
      return line.substr(slash);
    }
  }
  return "";
}

// Runs the child test with the wrapper; returns its standard output.
std::string RunChild(const fs::path& serviceDir, const std::string& cases) {
  std::string preload = LoadedAsanRuntime();
  preload += (preload.empty() ? "" : " ") + std::string("libpam_wrapper.so");
  std::vector<std::string> env = {"LD_PRELOAD=" + preload, "PAM_WRAPPER=1",
                                  "PAM_WRAPPER_SERVICE_DIR=" + serviceDir.string(),
                                  std::string(kChildCases) + "=" + cases};
  for (const char* keep : {"PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
    if (const char* value = getenv(keep)) {
      env.push_back(std::string(keep) + "=" + value);
    }
  }
  const std::string self = fs::read_symlink("/proc/self/exe").string();
  std::vector<std::string> args = {self, "--gtest_filter=PamAuthenticateChild.*",
                                   "--gtest_also_run_disabled_tests", "--gtest_brief=1"};

  int out[2];
  if (pipe(out) != 0) {
    return "";
  }
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(out[1], 1);
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, 2);
    std::vector<char*> argv, envp;
    for (auto& a : args)
      argv.push_back(a.data());
    for (auto& e : env)
      envp.push_back(e.data());
    argv.push_back(nullptr);
    envp.push_back(nullptr);
    execve(self.c_str(), argv.data(), envp.data());
    _exit(127);
  }
  close(out[1]);
  std::string output;
  char buffer[512];
  ssize_t n;
  while ((n = read(out[0], buffer, sizeof buffer)) > 0) {
    output.append(buffer, static_cast<size_t>(n));
  }
  close(out[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  return output;
}

TEST(PamAuthenticate, ResultsThroughTheRealStack) {
  const std::string matrixDir = Capture("pkg-config --variable=modules pam_wrapper 2>/dev/null");
  const fs::path matrix = fs::path(matrixDir) / "pam_matrix.so";
  const fs::path module = fs::read_symlink("/proc/self/exe").parent_path() / "pam_merel_test.so";
  if (matrixDir.empty() || !fs::exists(matrix) || !fs::exists(module)) {
    GTEST_SKIP() << "needs pam_matrix and the pam_merel_test target built";
  }

  char pattern[] = "/tmp/merel-pam-XXXXXX";
  ASSERT_NE(nullptr, mkdtemp(pattern));
  const fs::path dir = pattern;
  fs::create_directories(dir / "pam.d");
  fs::create_directories(dir / "state");
  const std::string passdb = (dir / "passdb").string();
  std::ofstream(dir / "pam.d" / "merel")
      << "auth required " << matrix.string() << " passdb=" << passdb << "\n"
      << "account required " << matrix.string() << " passdb=" << passdb << "\n"
      << "account required " << module.string() << " state=" << (dir / "state").string() << "\n";
  std::ofstream(dir / "pam.d" / "other") << "auth required pam_deny.so\n"
                                            "account required pam_deny.so\n";
  std::ofstream(passdb) << "root:merel:merel\n"
                           "old:pw:merel\n"
                           "locked:pw:merel\n"
                           "sshonly:pw:sshd\n";
  std::ofstream(dir / "state" / "old") << "expired\n";
  std::ofstream(dir / "state" / "locked") << "denied\n";

  struct Case {
    std::string user;
    std::string password;
    int expected;
  };
  const std::vector<Case> cases = {
      {"root", "merel", PAM_SUCCESS},
      {"root", "wrong", PAM_AUTH_ERR},
      {"root", "", PAM_AUTH_ERR},
      {"nobody", "merel", PAM_AUTH_ERR},
      // The account stack runs only after a good password.
      {"old", "pw", PAM_NEW_AUTHTOK_REQD},
      {"old", "bad", PAM_AUTH_ERR},
      {"locked", "pw", PAM_PERM_DENIED},
      // pam_matrix itself refuses an account not allowed for the service.
      {"sshonly", "pw", PAM_PERM_DENIED},
  };
  std::string input;
  for (const auto& c : cases) {
    input += c.user + "\t" + c.password + "\n";
  }
  const std::string output = RunChild(dir / "pam.d", input);
  fs::remove_all(dir);

  std::istringstream lines(output);
  std::vector<std::pair<std::string, int>> results;
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    std::string tag, user;
    int code = -1;
    if (fields >> tag >> user >> code && tag == "RESULT") {
      results.emplace_back(user, code);
    }
  }
  ASSERT_EQ(cases.size(), results.size()) << output;
  for (size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(cases[i].user, results[i].first);
    EXPECT_EQ(cases[i].expected, results[i].second)
        << cases[i].user << " / '" << cases[i].password << "'";
  }
}

}  // namespace
