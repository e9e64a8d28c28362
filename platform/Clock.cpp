#include "platform/Clock.h"

#include <sys/time.h>

#include <atomic>
#include <mutex>
#include <vector>

namespace velune::platform {
namespace {

std::atomic<Clock*>& installedClock() {
  static std::atomic<Clock*> clock{nullptr};
  return clock;
}

// Every clock ever installed stays alive until exit (tests install one or two).
std::vector<std::shared_ptr<Clock>>& keptClocks() {
  static auto* clocks = new std::vector<std::shared_ptr<Clock>>();
  return *clocks;
}

std::mutex& installMutex() {
  static auto* mutex = new std::mutex();
  return *mutex;
}

}  // namespace

Clock& Clock::current() {
  Clock* clock = installedClock().load(std::memory_order_acquire);
  if (clock == nullptr) {
    std::lock_guard lock(installMutex());
    clock = installedClock().load(std::memory_order_acquire);
    if (clock == nullptr) {
      auto system = std::make_shared<SystemClock>();
      keptClocks().push_back(system);
      clock = system.get();
      installedClock().store(clock, std::memory_order_release);
    }
  }
  return *clock;
}

void Clock::setCurrent(std::shared_ptr<Clock> clock) {
  std::lock_guard lock(installMutex());
  Clock* raw = clock.get();
  keptClocks().push_back(std::move(clock));
  installedClock().store(raw, std::memory_order_release);
}

Date SystemClock::now() const {
  timespec ts{};
  clock_gettime(CLOCK_REALTIME, &ts);
  return Date::fromSecondsSince1970(static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9);
}

std::optional<Date> SystemClock::preciseNow() const {
  timeval tv{};
  if (gettimeofday(&tv, nullptr) != 0) {
    return std::nullopt;
  }
  return Date::fromSecondsSince1970(static_cast<double>(tv.tv_sec) + static_cast<double>(tv.tv_usec) / 1e6);
}

MonotonicTime SystemClock::monotonicNow() const {
  return std::chrono::duration_cast<MonotonicTime>(std::chrono::steady_clock::now().time_since_epoch());
}

}  // namespace velune::platform
