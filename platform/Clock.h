#pragma once
// Clock: the one source of time for the whole system. Production uses the
// system clock; tests install a ManualClock and move time forward by hand, so
// that "after one second" and "every 300 seconds" are tested without sleeping.
//
// Timers and delayed work (DispatchQueue::asyncAfter, DispatchSourceTimer,
// Timer) are measured on the clock's monotonic time; Date::now() reads its
// wall-clock time. A ManualClock moves both together.

#include <chrono>
#include <memory>
#include <optional>

#include "platform/Date.h"

namespace velune::platform {

using Duration = std::chrono::nanoseconds;
// A point on the clock's monotonic time line (nanoseconds from an arbitrary start).
using MonotonicTime = std::chrono::nanoseconds;

constexpr Duration secondsToDuration(double seconds) {
  return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(seconds));
}

class Clock {
 public:
  virtual ~Clock() = default;

  virtual Date now() const = 0;
  // The wall-clock time with microseconds, or nothing when it cannot be read.
  virtual std::optional<Date> preciseNow() const { return now(); }
  virtual MonotonicTime monotonicNow() const = 0;
  // A manual clock never advances by itself: timer waits do not time out.
  virtual bool isManual() const { return false; }

  // The installed clock. Cheap (one atomic load); callable from any thread.
  static Clock& current();
  // Installs a clock for the whole process. Earlier clocks stay alive, so a
  // thread that read the previous one keeps a valid reference.
  static void setCurrent(std::shared_ptr<Clock> clock);
};

// The real clock: CLOCK_REALTIME for dates, CLOCK_MONOTONIC for timers.
class SystemClock final : public Clock {
 public:
  Date now() const override;
  std::optional<Date> preciseNow() const override;
  MonotonicTime monotonicNow() const override;
};

}  // namespace velune::platform
