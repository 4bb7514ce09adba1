// The host side of the harness: a throw-away simulated host root per test,
// its files and logs, golden screens and key traces.
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "Harness.h"

extern char** environ;

namespace MerelTest {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

ProcessResult RunProcess(const std::vector<std::string>& args) {
  ProcessResult result;
  int fds[2];
  if (args.empty() || pipe2(fds, O_CLOEXEC) != 0) {
    return result;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
  posix_spawn_file_actions_adddup2(&actions, fds[1], 2);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  std::vector<std::string> copy = args;
  std::vector<char*> argv;
  for (std::string& arg : copy) {
    argv.push_back(arg.data());
  }
  argv.push_back(nullptr);
  pid_t pid = -1;
  int rc = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(fds[1]);
  if (rc != 0) {
    close(fds[0]);
    result.output = std::string("cannot start ") + args[0] + ": " + strerror(rc);
    return result;
  }
  char buffer[4096];
  for (;;) {
    ssize_t n = read(fds[0], buffer, sizeof(buffer));
    if (n > 0) {
      result.output.append(buffer, static_cast<size_t>(n));
    } else if (n == 0 || errno != EINTR) {
      break;
    }
  }
  close(fds[0]);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

SimHost::SimHost(const std::string& fixture) {
  const char* tmp = getenv("TMPDIR");
  std::string pattern = std::string(tmp != nullptr && *tmp ? tmp : "/tmp") + "/merel-host-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    ADD_FAILURE() << "cannot make a temporary folder: " << strerror(errno);
    return;
  }
  _root = pattern;

  std::vector<std::string> args = {MEREL_SIM_BIN, "init", _root};
  if (!fixture.empty()) {
    std::string path = fixture;
    if (path[0] != '/') {
      path = std::string(MEREL_FIXTURES_DIR) + "/" + path;
    }
    if (path.size() < 5 || path.compare(path.size() - 5, 5, ".json") != 0) {
      path += ".json";
    }
    args.push_back(path);
  }
  ProcessResult init = RunProcess(args);
  if (init.status != 0) {
    ADD_FAILURE() << "merel-sim init " << _root << " failed (" << init.status << "):\n"
                  << init.output;
    return;
  }
  _ok = true;
}

SimHost::~SimHost() {
  if (_root.empty()) {
    return;
  }
  const char* keep = getenv("MEREL_KEEP_ROOT");
  if (keep != nullptr && std::string(keep) == "1") {
    std::cerr << "host root kept: " << _root << "\n";
    return;
  }
  std::error_code ignored;
  fs::remove_all(_root, ignored);
}

std::string SimHost::Path(const std::string& hostPath) const {
  return _root + (hostPath.empty() || hostPath[0] != '/' ? "/" : "") + hostPath;
}

std::string SimHost::ReadFile(const std::string& hostPath) const {
  std::ifstream in(Path(hostPath), std::ios::binary);
  if (!in) {
    return "";
  }
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

void SimHost::WriteFile(const std::string& hostPath, const std::string& content) const {
  std::string path = Path(hostPath);
  std::error_code ignored;
  fs::create_directories(fs::path(path).parent_path(), ignored);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << content;
  if (!out) {
    ADD_FAILURE() << "cannot write " << path;
  }
}

bool SimHost::Exists(const std::string& hostPath) const {
  std::error_code ignored;
  return fs::exists(Path(hostPath), ignored);
}

nlohmann::json SimHost::HostJson() const {
  return nlohmann::json::parse(ReadFile("/host.json"), nullptr, false);
}

nlohmann::json SimHost::Show() const {
  ProcessResult show = RunProcess({MEREL_SIM_BIN, "show", _root});
  if (show.status != 0) {
    ADD_FAILURE() << "merel-sim show failed (" << show.status << "):\n" << show.output;
    return nlohmann::json();
  }
  return nlohmann::json::parse(show.output, nullptr, false);
}

bool SimHost::WaitForFileText(const std::string& hostPath,
                              std::string_view text,
                              milliseconds timeout) const {
  auto deadline = Clock::now() + timeout;
  for (;;) {
    if (ReadFile(hostPath).find(text) != std::string::npos) {
      return true;
    }
    if (Clock::now() >= deadline) {
      return false;
    }
    std::this_thread::sleep_for(milliseconds(20));
  }
}

std::unique_ptr<Terminal> SimHost::StartConsole(TerminalOptions options,
                                                const std::vector<std::string>& args) {
  auto terminal = std::make_unique<Terminal>(std::move(options));
  std::vector<std::string> argv = {MEREL_SIM_BIN, "run", _root};
  argv.insert(argv.end(), args.begin(), args.end());
  if (!terminal->Start(MEREL_SIM_BIN, argv)) {
    ADD_FAILURE() << "forkpty failed: " << strerror(errno);
    return terminal;
  }
  EXPECT_TRUE(terminal->WaitForFirstDraw()) << "the console drew nothing";
  return terminal;
}

void ExpectGoldenScreen(const Terminal& terminal, const std::string& name) {
  const std::string path = std::string(MEREL_GOLDEN_DIR) + "/" + name + ".txt";
  const std::string actual = terminal.Text() + "\n";
  const char* update = getenv("MEREL_UPDATE_GOLDEN");
  if (update != nullptr && std::string(update) == "1") {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << actual;
    EXPECT_TRUE(out.good()) << "cannot write " << path;
    return;
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    ADD_FAILURE() << "no golden screen " << path
                  << " (run with MEREL_UPDATE_GOLDEN=1 to record it); the screen is:\n"
                  << actual;
    return;
  }
  std::ostringstream expected;
  expected << in.rdbuf();
  if (expected.str() == actual) {
    return;
  }
  // Row by row, so the difference is easy to spot in the test output.
  auto lines = [](const std::string& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
      result.push_back(line);
    }
    return result;
  };
  std::vector<std::string> want = lines(expected.str());
  std::vector<std::string> got = lines(actual);
  std::ostringstream report;
  for (size_t row = 0; row < std::max(want.size(), got.size()); ++row) {
    std::string a = row < want.size() ? want[row] : "<missing>";
    std::string b = row < got.size() ? got[row] : "<missing>";
    if (a == b) {
      report << "  " << row << "  " << a << "\n";
    } else {
      report << "! " << row << "  want: " << a << "\n"
             << "       got:  " << b << "\n";
    }
  }
  ADD_FAILURE() << "screen differs from " << path << ":\n" << report.str();
}

std::vector<int> ReadKeyTrace(const std::string& path) {
  std::vector<int> keys;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) {
    if (line.find_first_not_of(" \t\r") == std::string::npos) {
      continue;
    }
    keys.push_back(atoi(line.c_str()));
  }
  return keys;
}

}  // namespace MerelTest
