#include "platform/DispatchSourceTimer.h"

namespace velune::platform {

std::shared_ptr<DispatchSourceTimer> DispatchSourceTimer::create(std::shared_ptr<DispatchQueue> queue) {
  return std::shared_ptr<DispatchSourceTimer>(new DispatchSourceTimer(std::move(queue)));
}

DispatchSourceTimer::~DispatchSourceTimer() {
  std::lock_guard lock(mutex_);
  if (pending_) {
    TimerService::shared().cancel(*pending_);
  }
}

void DispatchSourceTimer::schedule(Duration startDelay, std::optional<Duration> interval, Duration leeway) {
  bool rearm = false;
  {
    std::lock_guard lock(mutex_);
    startDelay_ = std::max(startDelay, Duration::zero());
    interval_ = interval;
    if (interval_ && *interval_ <= Duration::zero()) {
      interval_ = Duration(1);
    }
    leeway_ = leeway;
    if (resumed_ && !cancelled_.load()) {
      if (pending_) {
        TimerService::shared().cancel(*pending_);
        pending_.reset();
      }
      ++generation_;
      rearm = true;
    }
  }
  if (rearm) {
    arm(Clock::current().monotonicNow() + startDelay_);
  }
}

void DispatchSourceTimer::setEventHandler(std::function<void()> handler) {
  std::lock_guard lock(mutex_);
  handler_ = std::move(handler);
}

void DispatchSourceTimer::resume() {
  Duration delay{0};
  {
    std::lock_guard lock(mutex_);
    if (resumed_ || cancelled_.load()) {
      return;
    }
    resumed_ = true;
    delay = startDelay_;
  }
  arm(Clock::current().monotonicNow() + delay);
}

void DispatchSourceTimer::cancel() {
  cancelled_.store(true);
  std::lock_guard lock(mutex_);
  if (pending_) {
    TimerService::shared().cancel(*pending_);
    pending_.reset();
  }
  handler_ = nullptr;
}

std::optional<Duration> DispatchSourceTimer::interval() const {
  std::lock_guard lock(mutex_);
  return interval_;
}

Duration DispatchSourceTimer::leeway() const {
  std::lock_guard lock(mutex_);
  return leeway_;
}

void DispatchSourceTimer::arm(MonotonicTime deadline) {
  std::uint64_t generation = 0;
  {
    std::lock_guard lock(mutex_);
    if (cancelled_.load()) {
      return;
    }
    generation = ++generation_;
  }
  std::weak_ptr<DispatchSourceTimer> weakSelf = weak_from_this();
  // Not under the lock: a deadline that is already due fires inside
  // schedule(), and firing takes the lock.
  const auto id = TimerService::shared().schedule(deadline, [weakSelf, deadline] {
    if (auto self = weakSelf.lock()) {
      self->fired(deadline);
    }
  });
  std::lock_guard lock(mutex_);
  if (cancelled_.load()) {
    TimerService::shared().cancel(id);
    return;
  }
  // When the deadline fired at once and re-armed, the newer id is kept.
  if (generation_ == generation) {
    pending_ = id;
  }
}

void DispatchSourceTimer::fired(MonotonicTime deadline) {
  std::optional<MonotonicTime> next;
  {
    std::lock_guard lock(mutex_);
    if (cancelled_.load()) {
      return;
    }
    pending_.reset();
    if (interval_) {
      // Fold missed ticks into this one: the next deadline lies in the future.
      const MonotonicTime now = Clock::current().monotonicNow();
      MonotonicTime candidate = deadline + *interval_;
      if (candidate <= now) {
        const auto missed = (now - candidate) / *interval_ + 1;
        candidate += *interval_ * missed;
      }
      next = candidate;
    }
  }
  std::weak_ptr<DispatchSourceTimer> weakSelf = weak_from_this();
  queue_->async([weakSelf] {
    auto self = weakSelf.lock();
    if (!self || self->isCancelled()) {
      return;
    }
    std::function<void()> handler;
    {
      std::lock_guard lock(self->mutex_);
      handler = self->handler_;
    }
    if (handler) {
      handler();
    }
  });
  if (next) {
    arm(*next);
  }
}

}  // namespace velune::platform
