// The command runner. Host tools are started with a fixed, minimal
// environment and their output is collected only once they have ended; the
// management-command wrappers sit on top of it.
#include "Command.h"

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <string.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <type_traits>
#include <vector>

#include "HostLibraries.h"
#include "Platform.h"

namespace Merel {

const char* const MEREL_USER = "merel";

namespace {

const char kRoviCmdPath[] = "/bin/rovi-cmd";
// The management tools print short answers; this is the buffer every caller
// of the wrapper uses, and the size a fallback run starts again with.
constexpr size_t kRoviBufferSize = 256;
constexpr int kRoviQueryTimeout = 120;
constexpr useconds_t kPollInterval = 20000;

// Owns one descriptor; closing is idempotent so every path can simply leave.
class Fd {
 public:
  Fd() = default;
  ~Fd() { Close(); }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;

  int Get() const { return _fd; }
  void Reset(int fd) {
    Close();
    _fd = fd;
  }
  void Close() {
    if (_fd >= 0) {
      close(_fd);
      _fd = -1;
    }
  }

 private:
  int _fd = -1;
};

struct Pipe {
  Fd read;
  Fd write;
  bool Open() {
    int fds[2];
    // Close-on-exec: the child gets its ends through Spawn's redirection
    // only. Without it the child would inherit the write end of its own input
    // pipe and never see end of file.
    if (pipe2(fds, O_CLOEXEC) != 0) {
      return false;
    }
    read.Reset(fds[0]);
    write.Reset(fds[1]);
    return true;
  }
};

// Writes all of `data`; gives up at the first error other than EINTR/EAGAIN
// or at a write of zero bytes. A child that exits without reading its input
// must not take the console down with SIGPIPE, so the signal is held back on
// this thread for the duration and a pending one is discarded.
void WriteAll(int fd, const char* data, size_t length) {
  sigset_t pipeSet;
  sigset_t oldSet;
  sigemptyset(&pipeSet);
  sigaddset(&pipeSet, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipeSet, &oldSet);
  const bool wasBlocked = sigismember(&oldSet, SIGPIPE) == 1;

  bool brokenPipe = false;
  size_t done = 0;
  while (done < length) {
    ssize_t n = write(fd, data + done, length - done);
    if (n > 0) {
      done += static_cast<size_t>(n);
      continue;
    }
    if (n < 0 && (errno == EINTR || errno == EAGAIN)) {
      continue;
    }
    brokenPipe = n < 0 && errno == EPIPE;
    break;
  }

  if (brokenPipe && !wasBlocked) {
    const struct timespec noWait = {0, 0};
    int saved = errno;
    while (sigtimedwait(&pipeSet, nullptr, &noWait) < 0 && errno == EINTR) {
    }
    errno = saved;
  }
  pthread_sigmask(SIG_SETMASK, &oldSet, nullptr);
}

// Reads until end of file or until `capacity` bytes are stored, whether the
// child ended or was killed: what the tool wrote is its answer either way.
// (A program the tool left running with the pipe open keeps the console
// waiting until it ends, as the host tools are used with.)
size_t ReadUpTo(int fd, char* buffer, size_t capacity) {
  size_t stored = 0;
  while (stored < capacity) {
    ssize_t n = read(fd, buffer + stored, capacity - stored);
    if (n > 0) {
      stored += static_cast<size_t>(n);
      continue;
    }
    if (n < 0 && (errno == EINTR || errno == EAGAIN)) {
      continue;
    }
    break;  // end of file or an error
  }
  return stored;
}

void Collect(Fd& fd, char* buffer, size_t* size) {
  if (size == nullptr) {
    return;
  }
  if (buffer == nullptr) {
    *size = 0;
    return;
  }
  *size = ReadUpTo(fd.Get(), buffer, *size);
}

const char* ErrnoText(int error, char* buffer, size_t length) {
  // GNU strerror_r returns the text (possibly a static one); the XSI variant
  // fills the buffer. Accept either.
  auto result = strerror_r(error, buffer, length);
  if constexpr (std::is_same_v<decltype(result), int>) {
    return result == 0 ? buffer : "Unknown error";
  } else {
    return result;
  }
}

}  // namespace

int RunCommand(const char* path,
               char* const argv[],
               char* out,
               size_t* outSize,
               char* err,
               size_t* errSize,
               const char* input,
               size_t inputLength,
               int timeoutSeconds) {
  Pipe in;
  Pipe output;
  Pipe error;
  // Descriptors already made are closed by their owners on return.
  if (!in.Open() || !output.Open() || !error.Open()) {
    return -1;
  }

  // Nothing of the console's own environment reaches host tools.
  char pythonHome[] = "PYTHONHOME=/";
  char* const envp[] = {pythonHome, nullptr};

  pid_t pid =
      Platform::Spawn(path, argv, envp, in.read.Get(), output.write.Get(), error.write.Get());
  if (pid < 0) {
    return -1;
  }
  // Only the child may hold these, or our reads would never see end of file.
  in.read.Close();
  output.write.Close();
  error.write.Close();

  if (input != nullptr) {
    WriteAll(in.write.Get(), input, inputLength);
    in.write.Close();
  }

  int status = 0;
  bool ended = false;
  if (timeoutSeconds > 0) {
    long long budget = static_cast<long long>(timeoutSeconds) * 1000000;
    for (;;) {
      pid_t r = waitpid(pid, &status, WNOHANG);
      if (r == pid) {
        ended = true;
        break;
      }
      if (r < 0) {
        if (errno == EINTR) {
          continue;
        }
        break;  // Someone else reaped it; its status is unknown.
      }
      usleep(kPollInterval);
      budget -= kPollInterval;
      if (budget < 1) {
        Platform::Syslog(LOG_WARNING, "Killing process because %d seconds timeout expired",
                         timeoutSeconds);
        // Deliberately not waited for: the result is -1 either way, and the
        // console must not block on a child that may not die promptly.
        kill(pid, SIGKILL);
        break;
      }
    }
  } else {
    for (;;) {
      pid_t r = waitpid(pid, &status, 0);
      if (r == pid) {
        ended = true;
        break;
      }
      if (r < 0 && errno == EINTR) {
        continue;
      }
      break;
    }
  }

  // Output is collected only now, after the child has ended. A child that
  // writes more than a pipe holds therefore blocks until it is killed; that
  // is the behaviour the host tools are used with.
  Collect(output.read, out, outSize);
  Collect(error.read, err, errSize);

  if (ended && WIFEXITED(status)) {
    return WEXITSTATUS(status);
  }
  Platform::Syslog(LOG_ERR, "Run Command did not terminate normally");
  return -1;
}

int RunRoviOnce(const RoviCommand& record,
                char* out,
                size_t* outSize,
                char* err,
                size_t* errSize,
                const char* input,
                size_t inputLength,
                int timeoutSeconds) {
  std::vector<std::string> words = {"rovi-cmd", "-U", record.user, record.command};
  words.insert(words.end(), record.args.begin(), record.args.end());
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);
  return RunCommand(kRoviCmdPath, argv.data(), out, outSize, err, errSize, input, inputLength,
                    timeoutSeconds);
}


int RunRoviCommand(RoviCommand& record,
                   char* out,
                   size_t* outSize,
                   char* err,
                   size_t* errSize,
                   const char* input,
                   size_t inputLength) {
  const size_t outCapacity = outSize != nullptr ? *outSize : 0;
  const size_t errCapacity = errSize != nullptr ? *errSize : 0;
  int result = RunRoviOnce(record, out, outSize, err, errSize, input, inputLength);
  if (result != 255) {
    return result;
  }
  // 255 is the tool's answer for a user it cannot act for (the session user
  // may lack the permission); the console's own user always can.
  Platform::Syslog(LOG_INFO, "Unable to execute command rovi-cmd %s using user %s. Using user %s",
                   record.command.c_str(), record.user.c_str(), MEREL_USER);
  record.user = MEREL_USER;
  // The retry starts with the usual 256 bytes, but never with more than the
  // caller's buffer actually holds.
  if (outSize != nullptr) {
    *outSize = std::min(kRoviBufferSize, outCapacity);
  }
  if (errSize != nullptr) {
    *errSize = std::min(kRoviBufferSize, errCapacity);
  }
  return RunRoviOnce(record, out, outSize, err, errSize, input, inputLength);
}

bool RoviQueryBool(const char* command) {
  Platform::Syslog(LOG_INFO, "rovi-cmd invocation: get %s", command);
  const RoviCommand record{MEREL_USER, command, {}};
  char output[kRoviBufferSize] = {};
  size_t outputSize = kRoviBufferSize - 1;
  int result =
      RunRoviOnce(record, output, &outputSize, nullptr, nullptr, nullptr, 0, kRoviQueryTimeout);
  output[outputSize] = '\0';
  if (result != 0) {
    // Platform::Syslog is a plain printf: the errno text is spelled out here.
    Platform::Syslog(LOG_ERR, "rovi-cmd invocation failure: %s", strerror(errno));
  }
  // Only the first four bytes count: "true\n" and "true..." both are true.
  return strncmp(output, "true", 4) == 0;
}

int RoviRefresh(const std::string& user) {
  RoviCommand record{user, "internalsvc/refresh", {}};
  char out[kRoviBufferSize];
  char err[kRoviBufferSize];
  size_t outSize = sizeof(out);
  size_t errSize = sizeof(err);
  return RunRoviCommand(record, out, &outSize, err, &errSize, nullptr, 0);
}

int InitObsvLibrary() {
  Platform::Syslog(LOG_INFO, "Initializing obsvuser library");
  int result = ObsvUserLib_Init();
  if (result != 0) {
    Platform::Syslog(LOG_ERR, "Unable to initialize obsvuser library from MEREL. Error code: %d",
                     result);
  }
  return result;
}

void PostObsv(const char* eventId, const std::string& text) {
  if (InitObsvLibrary() == 0) {
    ObsvUserLib_AddObsv("@&!*@*@(%s)%s", eventId, text.c_str());
    ObsvUserLib_Close();
  }
}

void LogErrno(const char* text) {
  int error = errno;
  char buffer[256];
  Platform::Syslog(LOG_ERR, "%s with errno(%d): %s", text, error,
                   ErrnoText(error, buffer, sizeof(buffer)));
  errno = error;
}

int RunServiceScript(const char* script, const char* action) {
  // The script is a file of the host: its path is the host's too.
  const std::string path = Platform::HostPath(script);
  char* const argv[] = {const_cast<char*>("sh"), const_cast<char*>(path.c_str()),
                        const_cast<char*>(action), nullptr};
  return RunCommand("/bin/sh", argv, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0);
}

}  // namespace Merel
