// The main of every test program: installs the test platform before any test
// (and so before the first log call), and a watchdog against hung tests.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

#include "tests/support/TestSupport.h"

namespace {

// The watched state lives apart from the listener (which the test framework
// destroys at exit) and is never destroyed, so the watching thread can stay
// blocked until the process ends.
struct WatchdogState {
  std::chrono::seconds timeout{120};
  std::mutex mutex;
  std::condition_variable wake;
  std::string name;
  std::chrono::steady_clock::time_point deadline;
  bool running = false;

  void watch() {
    std::unique_lock lock(mutex);
    while (true) {
      if (!running) {
        wake.wait(lock);
        continue;
      }
      if (wake.wait_until(lock, deadline) == std::cv_status::timeout && running &&
          std::chrono::steady_clock::now() >= deadline) {
        std::fprintf(stderr, "\nwatchdog: %s did not finish within %lld seconds\n", name.c_str(),
                     static_cast<long long>(timeout.count()));
        std::fflush(stderr);
        std::abort();
      }
    }
  }
};

class Watchdog final : public ::testing::EmptyTestEventListener {
 public:
  Watchdog() : state_(new WatchdogState()) {
    if (const char* configured = std::getenv("VELUNE_TEST_TIMEOUT")) {
      state_->timeout = std::chrono::seconds(std::max(1, std::atoi(configured)));
    }
    std::thread([state = state_] { state->watch(); }).detach();
  }

  void OnTestStart(const ::testing::TestInfo& info) override {
    std::lock_guard lock(state_->mutex);
    state_->name = std::string(info.test_suite_name()) + "." + info.name();
    state_->deadline = std::chrono::steady_clock::now() + state_->timeout;
    state_->running = true;
    state_->wake.notify_all();
  }

  void OnTestEnd(const ::testing::TestInfo&) override {
    std::lock_guard lock(state_->mutex);
    state_->running = false;
  }

 private:
  WatchdogState* state_;
};

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  velune::testing::installBaseServices();
  ::testing::UnitTest::GetInstance()->listeners().Append(new Watchdog());
  return RUN_ALL_TESTS();
}
