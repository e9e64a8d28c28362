#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "diag/DRLogging.h"
#include "diag/DRPlatformLogSink.h"
#include "host/JsonPreferencesStore.h"
#include "host/PosixFileSystem.h"
#include "platform/RunLoop.h"

namespace velune::testing {

namespace {

// Folders made read-only by a test are opened up first so they can go.
void removeTree(const std::string& path) {
  std::error_code ignored;
  for (auto it = std::filesystem::recursive_directory_iterator(path, ignored);
       it != std::filesystem::recursive_directory_iterator(); it.increment(ignored)) {
    if (!it->is_symlink(ignored)) {
      std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                   std::filesystem::perm_options::add, ignored);
    }
  }
  std::filesystem::permissions(path, std::filesystem::perms::owner_all, std::filesystem::perm_options::add, ignored);
  std::filesystem::remove_all(path, ignored);
}

struct ProcessWide {
  std::shared_ptr<platform::ManualClock> clock = std::make_shared<platform::ManualClock>();
  std::shared_ptr<host::MemorySystemLog> systemLog = std::make_shared<host::MemorySystemLog>();
  std::shared_ptr<host::MemoryConsoleLog> consoleLog = std::make_shared<host::MemoryConsoleLog>();
  std::shared_ptr<host::InProcessNotificationService> notifications =
      std::make_shared<host::InProcessNotificationService>();
  std::shared_ptr<host::PosixFileSystem> fileSystem = std::make_shared<host::PosixFileSystem>();
  std::string scratch;
};

ProcessWide& processWide() {
  static auto* state = [] {
    auto* made = new ProcessWide();
    platform::Clock::setCurrent(made->clock);
    std::string pattern = (std::filesystem::temp_directory_path() / "velune-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      std::perror("mkdtemp");
      std::abort();
    }
    made->scratch = pattern;
    // Every test runs as its own process: without this, each left a folder
    // in the temporary directory (tens of thousands over a day of runs).
    // Only the process that made it removes it, not a forked child.
    static const pid_t maker = ::getpid();
    std::atexit([] {
      if (::getpid() == maker) {
        removeTree(processWide().scratch);
      }
    });
    // Host and platform records reach the memory logs through the app's log client, as in the programs.
    DRPlatformLogSink::install();
    return made;
  }();
  return *state;
}

}  // namespace

TempDirectory::TempDirectory() {
  std::string pattern = (std::filesystem::temp_directory_path() / "velune-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    std::perror("mkdtemp");
    std::abort();
  }
  path_ = pattern;
}

TempDirectory::~TempDirectory() { removeTree(path_); }

platform::ManualClock& manualClock() { return *processWide().clock; }
host::MemorySystemLog& systemLog() { return *processWide().systemLog; }
host::MemoryConsoleLog& consoleLog() { return *processWide().consoleLog; }
host::InProcessNotificationService& notifications() { return *processWide().notifications; }
const std::string& processScratchDirectory() { return processWide().scratch; }

platform::Services baseServices() {
  auto& state = processWide();
  platform::Services services;
  services.systemLog = state.systemLog;
  services.consoleLog = state.consoleLog;
  services.notifications = state.notifications;
  services.fileSystem = state.fileSystem;
  services.standardPreferences =
      std::make_shared<host::JsonPreferencesStore>(state.scratch + "/standard-preferences.json");
  services.logMarkerPath = state.scratch + "/dr_hella_logging";
  return services;
}

void installBaseServices() { platform::Platform::install(baseServices()); }

std::vector<std::string> loggedMessages() {
  DRLogFlush();
  return systemLog().messages();
}

void clearLogs() {
  DRLogFlush();
  systemLog().clear();
  consoleLog().clear();
}

size_t runMainUntilIdle() { return platform::RunLoop::main().runUntilIdle(); }

void advanceClock(double seconds) {
  manualClock().advanceSeconds(seconds);
  runMainUntilIdle();
}

void advanceClockInSteps(double seconds, double step) {
  const auto end = manualClock().monotonicNow() + platform::secondsToDuration(seconds);
  while (manualClock().monotonicNow() < end) {
    const auto next = std::min(end, manualClock().monotonicNow() + platform::secondsToDuration(step));
    manualClock().advanceTo(next);
    runMainUntilIdle();
  }
}

}  // namespace velune::testing
