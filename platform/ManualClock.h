#pragma once
// ManualClock: a clock that moves only when told to. advance() moves the wall
// clock and the monotonic clock together and, before it returns, hands every
// timer that became due to its queue (in deadline order), so a test can then
// drain the queue and see the effect without sleeping.

#include <atomic>

#include "platform/Clock.h"

namespace velune::platform {

class ManualClock final : public Clock {
 public:
  // The default start is a fixed date (2026-09-21 UTC), so test output is stable.
  explicit ManualClock(Date start = Date::fromSecondsSince1970(1'790'000'000.0));

  Date now() const override;
  std::optional<Date> preciseNow() const override;
  MonotonicTime monotonicNow() const override;
  bool isManual() const override { return true; }

  void advance(Duration by);
  void advanceSeconds(TimeInterval seconds) { advance(secondsToDuration(seconds)); }
  // Moves to a monotonic time; never moves backwards.
  void advanceTo(MonotonicTime when);

  // Makes preciseNow() fail, to exercise the whole-seconds fallback.
  void setPreciseTimeUnavailable(bool unavailable) { preciseUnavailable_.store(unavailable); }

 private:
  const double startSeconds_;
  std::atomic<std::int64_t> elapsedNanoseconds_{0};
  std::atomic<bool> preciseUnavailable_{false};
};

}  // namespace velune::platform
