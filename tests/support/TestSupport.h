#pragma once
// What every test of the project stands on:
//
// - A ManualClock is installed for the whole test process: time moves only
//   when a test advances it, so timers are tested without sleeping.
// - Process-wide memory logs (system log and console) and a notification
//   centre are installed before anything logs; every set of services a test
//   installs keeps them (baseServices()).
// - A watchdog aborts a test that runs longer than VELUNE_TEST_TIMEOUT seconds
//   (default 120), naming it, instead of letting CI hang.

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "host/InProcessNotificationService.h"
#include "host/MemoryConsoleLog.h"
#include "host/MemorySystemLog.h"
#include "platform/ManualClock.h"
#include "platform/Platform.h"

namespace velune::testing {

// A fresh folder, removed with its contents when the object goes.
class TempDirectory {
 public:
  TempDirectory();
  ~TempDirectory();
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& relative) const { return path_ + "/" + relative; }

 private:
  std::string path_;
};

platform::ManualClock& manualClock();
host::MemorySystemLog& systemLog();
host::MemoryConsoleLog& consoleLog();
host::InProcessNotificationService& notifications();

// Services with the process-wide logs, notification centre, a file system, a
// standard preferences store in a per-process folder and a marker path that
// does not exist. Tests add or replace what they need and install them.
platform::Services baseServices();
// The folder of the per-process preferences and marker file.
const std::string& processScratchDirectory();
void installBaseServices();

// Waits for the log queue, then returns the messages of the system log.
std::vector<std::string> loggedMessages();
// Empties both memory logs (after waiting for the log queue).
void clearLogs();

// Runs the main queue until nothing is ready.
size_t runMainUntilIdle();
// Moves the manual clock forward, firing due timers, then runs the main queue.
void advanceClock(double seconds);
// Moves the clock forward in steps of `step` seconds (at most), running the
// main queue after each, as real time would pass for main-thread timers.
void advanceClockInSteps(double seconds, double step);

}  // namespace velune::testing
