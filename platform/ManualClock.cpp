#include "platform/ManualClock.h"

#include "platform/TimerService.h"

namespace velune::platform {

namespace {
// Monotonic times of a manual clock start well away from zero, so that
// "a deadline in the past" and "zero" never mean the same thing.
constexpr std::int64_t kMonotonicOrigin = 1'000'000'000'000;
}  // namespace

ManualClock::ManualClock(Date start) : startSeconds_(start.timeIntervalSince1970()) {}

Date ManualClock::now() const {
  const double elapsed = static_cast<double>(elapsedNanoseconds_.load()) / 1e9;
  return Date::fromSecondsSince1970(startSeconds_ + elapsed);
}

std::optional<Date> ManualClock::preciseNow() const {
  if (preciseUnavailable_.load()) {
    return std::nullopt;
  }
  return now();
}

MonotonicTime ManualClock::monotonicNow() const {
  return MonotonicTime(kMonotonicOrigin + elapsedNanoseconds_.load());
}

void ManualClock::advance(Duration by) {
  if (by.count() > 0) {
    elapsedNanoseconds_.fetch_add(by.count());
  }
  TimerService::shared().clockDidAdvance();
}

void ManualClock::advanceTo(MonotonicTime when) {
  const std::int64_t target = when.count() - kMonotonicOrigin;
  std::int64_t current = elapsedNanoseconds_.load();
  while (target > current && !elapsedNanoseconds_.compare_exchange_weak(current, target)) {
  }
  TimerService::shared().clockDidAdvance();
}

}  // namespace velune::platform
