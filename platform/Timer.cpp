#include "platform/Timer.h"

#include <algorithm>

#include "platform/DispatchQueue.h"
#include "platform/MainThread.h"

namespace velune::platform {

std::shared_ptr<Timer> Timer::scheduledTimer(TimeInterval interval, bool repeats, Block block) {
  assertMainThread("Timer::scheduledTimer");
  // Like the platform, an interval below a tenth of a millisecond is raised to it.
  auto timer = std::shared_ptr<Timer>(new Timer(std::max(interval, 0.0001), repeats, std::move(block)));
  timer->arm(Clock::current().monotonicNow() + secondsToDuration(timer->interval_));
  return timer;
}

void Timer::invalidate() {
  assertMainThread("Timer::invalidate");
  if (!valid_.exchange(false)) {
    return;
  }
  TimerService::shared().cancel(pending_.load());
  block_ = nullptr;
}

void Timer::arm(MonotonicTime deadline) {
  // The scheduled callback holds the timer strongly: the run loop keeps it.
  auto self = shared_from_this();
  pending_.store(TimerService::shared().schedule(deadline, [self, deadline] { self->fire(deadline); }));
}

void Timer::fire(MonotonicTime deadline) {
  if (!valid_.load()) {
    return;
  }
  if (repeats_) {
    const Duration step = secondsToDuration(interval_);
    const MonotonicTime now = Clock::current().monotonicNow();
    MonotonicTime next = deadline + step;
    if (next <= now) {
      next += step * ((now - next) / step + 1);
    }
    arm(next);
  }
  if (tickQueued_.exchange(true)) {
    return;  // the queued tick stands for this one too
  }
  auto self = shared_from_this();
  DispatchQueue::main()->async([self] {
    self->tickQueued_.store(false);
    if (!self->valid_.load()) {
      return;
    }
    if (!self->repeats_) {
      self->valid_.store(false);
    }
    if (self->block_) {
      Block block = self->block_;  // the block may invalidate the timer
      block(*self);
    }
    if (!self->valid_.load()) {
      self->block_ = nullptr;
    }
  });
}

}  // namespace velune::platform
