#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <regex>

#include "app/main.h"
#include "diag/DRLogging.h"
#include "platform/ApplicationHost.h"
#include "tests/support/TestSupport.h"

namespace velune {
namespace {

namespace support = velune::testing;

class RecordingHost final : public platform::ApplicationHost {
 public:
  int run(int argc, char** argv, const std::optional<std::string>& principal,
          const std::string& delegateClassName) override {
    runs++;
    seenArgc = argc;
    seenArgv0 = argv[0];
    seenPrincipal = principal;
    seenDelegate = delegateClassName;
    return 7;
  }
  void terminate() override {}

  int runs = 0;
  int seenArgc = 0;
  std::string seenArgv0;
  std::optional<std::string> seenPrincipal;
  std::string seenDelegate;
};

class ProcessEntryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto services = support::baseServices();
    services.applicationHost = host_;
    platform::Platform::install(services);
    DRSetLogLevel(7);
    support::clearLogs();
  }
  void TearDown() override {
    DRSetLogLevel(6);
    support::installBaseServices();
  }
  std::shared_ptr<RecordingHost> host_ = std::make_shared<RecordingHost>();
};

TEST_F(ProcessEntryTest, LogsWhoRunsTheBuildAndTheExecutableThenRunsTheApplication) {
  std::string program = VELUNE_APP_BINARY;
  char* argv[] = {program.data(), nullptr};
  EXPECT_EQ(velune::main(1, argv), 7) << "main returns what the application object returns";
  EXPECT_EQ(host_->runs, 1);
  EXPECT_EQ(host_->seenDelegate, "AppDelegate");
  EXPECT_FALSE(host_->seenPrincipal.has_value());
  EXPECT_EQ(host_->seenArgv0, program);

  const auto messages = support::loggedMessages();
  ASSERT_GE(messages.size(), 5u);
  EXPECT_EQ(messages[0], "Running " + program);
  EXPECT_TRUE(std::regex_match(messages[1], std::regex(R"(Built \(main\) on [A-Z][a-z]{2} [ 0-9]\d \d{4} @ \d\d:\d\d:\d\d)")))
      << messages[1];
  EXPECT_TRUE(std::regex_match(messages[2], std::regex(R"(Date Created: \d{4}-\d\d-\d\d \d\d:\d\d:\d\d \+0000 \(-?\d+\.\d{6} seconds ago\))")))
      << messages[2];
  EXPECT_TRUE(messages[3].starts_with("Date Modified: ")) << messages[3];
  EXPECT_TRUE(std::regex_match(messages[4], std::regex(R"(Size: \d+ bytes)"))) << messages[4];
  const auto sent = support::systemLog().sent();
  EXPECT_EQ(*sent[0].record.get("Level"), "6");
  EXPECT_EQ(*sent[1].record.get("Level"), "6");
  EXPECT_EQ(*sent[2].record.get("Level"), "7");
  EXPECT_EQ(*sent[0].record.get("Function"), "main");
}

TEST_F(ProcessEntryTest, UnreadableExecutableIsLoggedAndTheAppStillRuns) {
  char program[] = "/nonexistent/velunedriveapp";
  char* argv[] = {program, nullptr};
  EXPECT_EQ(velune::main(1, argv), 7);
  const auto messages = support::loggedMessages();
  ASSERT_EQ(messages.size(), 3u);
  EXPECT_TRUE(messages[2].starts_with("Cannot get attributes of /nonexistent/velunedriveapp: Error Domain="))
      << messages[2];
  EXPECT_EQ(*support::systemLog().sent()[2].record.get("Level"), "3");
}

// The real program: its first two console lines, then the attribute lines;
// SIGTERM ends it with status 0.
TEST(ProcessEntryProgram, PrintsItsBannerThenEndsCleanlyOnSigterm) {
  support::TempDirectory home;
  int errorPipe[2];
  ASSERT_EQ(pipe2(errorPipe, O_CLOEXEC), 0);
  const std::string homePath = home.path();  // made before fork: the child only execs
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    dup2(errorPipe[1], STDERR_FILENO);
    execl(VELUNE_APP_BINARY, VELUNE_APP_BINARY, "--home", homePath.c_str(), "--system-log", "file",
          static_cast<char*>(nullptr));
    _exit(127);
  }
  close(errorPipe[1]);

  std::string output;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (output.find("Size: ") == std::string::npos || output.find(" bytes\n", output.find("Size: ")) == std::string::npos) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      break;
    }
    pollfd fd{errorPipe[0], POLLIN, 0};
    if (poll(&fd, 1, static_cast<int>(left.count())) <= 0) {
      break;
    }
    char buffer[4096];
    const ssize_t n = read(errorPipe[0], buffer, sizeof buffer);
    if (n <= 0) {
      break;
    }
    output.append(buffer, static_cast<size_t>(n));
  }
  kill(child, SIGTERM);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  close(errorPipe[0]);
  ASSERT_TRUE(WIFEXITED(status)) << output;
  EXPECT_EQ(WEXITSTATUS(status), 0) << output;

  std::vector<std::string> lines;
  for (size_t start = 0; start < output.size();) {
    const size_t end = output.find('\n', start);
    lines.push_back(output.substr(start, end - start));
    start = end == std::string::npos ? output.size() : end + 1;
  }
  ASSERT_GE(lines.size(), 5u) << output;
  EXPECT_EQ(lines[0], std::string("Running ") + VELUNE_APP_BINARY);
  EXPECT_TRUE(lines[1].starts_with("Built (main) on ")) << lines[1];
  EXPECT_TRUE(lines[2].starts_with("Date Created: ")) << lines[2];
  EXPECT_TRUE(lines[3].starts_with("Date Modified: ")) << lines[3];
  EXPECT_TRUE(lines[4].starts_with("Size: ")) << lines[4];
}

}  // namespace
}  // namespace velune
