// The app and the signals a terminal sends it: a console that goes away
// (SIGPIPE) and a terminal that closes (SIGHUP).

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/programs/ProgramTestHome.h"

namespace velune::testing {
namespace {

std::string logFile(const ProgramTestHome& home) { return home.home() + "/app-data/Logs/system-log.jsonl"; }

TEST(AppSignals, AClosedConsole_NeitherKillsTheAppNorLosesRecords) {
  // With its standard error closed (velunedriveapp 2>&1 | head -1) the app
  // died of SIGPIPE and lost the records not yet written.
  ProgramTestHome home;
  int pipeFds[2];
  ASSERT_EQ(::pipe2(pipeFds, O_CLOEXEC), 0);
  const std::string homePath = home.home();
  const std::string app = appBinary();
  const pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    ::signal(SIGPIPE, SIG_DFL);  // the program must ignore it itself
    ::dup2(pipeFds[1], STDERR_FILENO);
    ::execl(app.c_str(), app.c_str(), "--home", homePath.c_str(), "--system-log", "file",
            static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(pipeFds[1]);
  // head -1: one line, then the reader goes; every later line meets a closed pipe.
  std::string first;
  char c = 0;
  while (::read(pipeFds[0], &c, 1) == 1 && c != '\n') {
    first.push_back(c);
  }
  ::close(pipeFds[0]);
  EXPECT_TRUE(first.starts_with("Running ")) << first;

  // The banner goes on after the first line; TERM then ends the app, which
  // writes what is still queued on its way out.
  ::kill(pid, SIGTERM);
  const auto status = waitForProgram(pid, 60);
  ASSERT_TRUE(status.has_value()) << "hung";
  EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == 0)
      << (WIFSIGNALED(*status) ? "signal " + std::to_string(WTERMSIG(*status)) : "exit");
  const std::string log = DriveTestHome::read(logFile(home));
  EXPECT_NE(log.find("\"Running "), std::string::npos) << log;
  EXPECT_NE(log.find("Size: "), std::string::npos) << "the banner's last record is in the log file";
}

TEST(AppSignals, Sighup_EndsTheAppLikeSigterm) {
  // SIGHUP ended the app with status 129 without flushing its log.
  for (const int signal : {SIGTERM, SIGHUP, SIGINT}) {
    ProgramTestHome home;
    ProgramOptions options;
    options.standardError = home.scratch("app.err");
    const pid_t pid = startProgram({appBinary(), "--home", home.home(), "--system-log", "file"}, options);
    // Up and running: the screen is served.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (DriveTestHome::read(options.standardError).find("The screen is served on") == std::string::npos &&
           std::chrono::steady_clock::now() < deadline) {
      if (waitForProgram(pid, 0.05)) {
        FAIL() << "the app ended before its banner: " << DriveTestHome::read(options.standardError);
      }
    }
    ::kill(pid, signal);
    const auto status = waitForProgram(pid, 60);
    ASSERT_TRUE(status.has_value()) << "hung after signal " << signal;
    EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == 0) << "signal " << signal;
    EXPECT_NE(DriveTestHome::read(logFile(home)).find("Size: "), std::string::npos)
        << "log flushed on signal " << signal;
  }
}

}  // namespace
}  // namespace velune::testing
