#pragma once
// Timer: a timer of the main run loop, for view animations and polling on the
// main thread. Created and invalidated on the main thread; its block runs on
// the main thread. While valid, the run loop holds the timer, so owners may
// keep only a weak reference. A repeating timer fires every interval after
// its creation. At most one tick waits on the main queue: ticks that come due
// while the main thread is busy are folded into it.

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

#include "platform/Clock.h"
#include "platform/TimerService.h"

namespace velune::platform {

class Timer : public std::enable_shared_from_this<Timer> {
 public:
  using Block = std::function<void(Timer&)>;

  static std::shared_ptr<Timer> scheduledTimer(TimeInterval interval, bool repeats, Block block);

  void invalidate();
  bool isValid() const { return valid_.load(); }
  TimeInterval timeInterval() const { return interval_; }
  bool repeats() const { return repeats_; }

 private:
  Timer(TimeInterval interval, bool repeats, Block block)
      : interval_(interval), repeats_(repeats), block_(std::move(block)) {}
  void arm(MonotonicTime deadline);
  void fire(MonotonicTime deadline);

  const TimeInterval interval_;
  const bool repeats_;
  Block block_;
  std::atomic<bool> valid_{true};
  std::atomic<TimerService::Id> pending_{0};
  // A tick is on the main queue and has not started.
  std::atomic<bool> tickQueued_{false};
};

}  // namespace velune::platform
