#include "tests/support/ProgramRun.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>

#include "host/FileIO.h"
#include "tests/support/TestSupport.h"

namespace velune::testing {

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

// A sanitizer reserves terabytes of address space; elsewhere 2 GiB is far
// above what any command needs and far below what the machine has.
constexpr rlim_t kAddressSpaceLimit = rlim_t{2} << 30;

std::string besideTests(const std::string& relative) {
  char self[4096];
  const ssize_t length = ::readlink("/proc/self/exe", self, sizeof self - 1);
  if (length <= 0) {
    return relative;
  }
  std::string path(self, static_cast<size_t>(length));
  path = path.substr(0, path.rfind('/'));  // .../tests
  return path.substr(0, path.rfind('/')) + "/" + relative;
}

std::string readOrEmpty(const std::string& path) {
  if (path.empty()) {
    return {};
  }
  auto text = host::readWholeFile(path);
  return text.ok() ? text.value() : std::string();
}

}  // namespace

std::string ProgramRun::describe() const {
  if (timedOut) {
    return "hung";
  }
  return exited ? "exit " + std::to_string(status) : "signal " + std::to_string(signal);
}

std::string programsFolder() {
  const char* other = std::getenv("VELUNE_TEST_PROGRAMS");
  return other != nullptr && *other != '\0' ? std::string(other) : besideTests("programs");
}

std::string vdtoolBinary() { return programsFolder() + "/vdtool"; }
std::string appBinary() { return programsFolder() + "/velunedriveapp"; }

pid_t startProgram(const std::vector<std::string>& arguments, const ProgramOptions& options) {
  std::vector<std::string> copy = arguments;
  std::vector<char*> argv;
  for (auto& argument : copy) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  const std::string out = options.standardOutput.empty() ? "/dev/null" : options.standardOutput;
  const std::string err = options.standardError.empty() ? "/dev/null" : options.standardError;
  const pid_t pid = ::fork();
  if (pid < 0) {
    ADD_FAILURE() << "cannot fork";
    return -1;
  }
  if (pid == 0) {
    // Only async-signal-safe calls between fork and exec.
    const int outFd = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int errFd = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int inFd = ::open("/dev/null", O_RDONLY);
    if (outFd < 0 || errFd < 0 || inFd < 0 || ::dup2(inFd, 0) < 0 || ::dup2(outFd, 1) < 0 || ::dup2(errFd, 2) < 0) {
      ::_exit(126);
    }
    // A test run in the background of a shell inherits ignored SIGINT and
    // SIGQUIT; the program gets the default dispositions and no blocked signal.
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE}) {
      ::signal(signal, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    if (!options.workingDirectory.empty() && ::chdir(options.workingDirectory.c_str()) != 0) {
      ::_exit(126);
    }
    if (!kSanitized) {
      const rlimit limit{kAddressSpaceLimit, kAddressSpaceLimit};
      ::setrlimit(RLIMIT_AS, &limit);
    }
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  return pid;
}

std::optional<int> waitForProgram(pid_t pid, double timeoutSeconds) {
  const int pidfd = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
  if (pidfd >= 0) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds);
    while (true) {
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
      pollfd fd{pidfd, POLLIN, 0};
      const int ready = ::poll(&fd, 1, static_cast<int>(std::max<long long>(left, 0)));
      if (ready < 0 && errno == EINTR) {
        continue;
      }
      ::close(pidfd);
      if (ready <= 0) {
        return std::nullopt;
      }
      break;
    }
  }
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

ProgramRun runProgram(const std::vector<std::string>& arguments, ProgramOptions options) {
  static int counter = 0;
  const std::string scratch = processScratchDirectory() + "/run-" + std::to_string(++counter);
  if (options.standardOutput.empty()) {
    options.standardOutput = scratch + ".out";
  }
  if (options.standardError.empty()) {
    options.standardError = scratch + ".err";
  }
  ProgramRun run;
  const pid_t pid = startProgram(arguments, options);
  if (pid < 0) {
    return run;
  }
  auto status = waitForProgram(pid, options.timeoutSeconds);
  if (!status) {
    run.timedOut = true;
    ::kill(pid, SIGKILL);
    status = waitForProgram(pid, 60);
  }
  if (status) {
    run.exited = WIFEXITED(*status);
    run.status = run.exited ? WEXITSTATUS(*status) : -1;
    run.signal = WIFSIGNALED(*status) ? WTERMSIG(*status) : 0;
  }
  run.out = readOrEmpty(options.standardOutput);
  run.err = readOrEmpty(options.standardError);
  return run;
}

}  // namespace velune::testing
