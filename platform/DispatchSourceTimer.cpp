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
  std::optional<std::uint64_t> chain;
  MonotonicTime start{};
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
      // A deadline of the old chain that is firing right now sees the new
      // chain and stops instead of arming its next tick.
      chain = ++chain_;
      start = Clock::current().monotonicNow() + startDelay_;
    }
  }
  if (chain) {
    arm(start, *chain);
  }
}

void DispatchSourceTimer::setEventHandler(std::function<void()> handler) {
  std::lock_guard lock(mutex_);
  handler_ = std::move(handler);
}

void DispatchSourceTimer::resume() {
  Duration delay{0};
  std::uint64_t chain = 0;
  {
    std::lock_guard lock(mutex_);
    if (resumed_ || cancelled_.load()) {
      return;
    }
    resumed_ = true;
    delay = startDelay_;
    chain = chain_;
  }
  arm(Clock::current().monotonicNow() + delay, chain);
}

void DispatchSourceTimer::cancel() {
  cancelled_.store(true);
  std::lock_guard lock(mutex_);
  if (pending_) {
    TimerService::shared().cancel(*pending_);
    pending_.reset();
  }
  ++chain_;
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

void DispatchSourceTimer::arm(MonotonicTime deadline, std::uint64_t chain) {
  std::uint64_t count = 0;
  {
    std::lock_guard lock(mutex_);
    if (cancelled_.load() || chain != chain_) {
      return;
    }
    count = ++armCount_;
  }
  std::weak_ptr<DispatchSourceTimer> weakSelf = weak_from_this();
  // Not under the lock: a deadline that is already due fires inside
  // schedule(), and firing takes the lock.
  const auto id = TimerService::shared().schedule(deadline, [weakSelf, deadline, chain] {
    if (auto self = weakSelf.lock()) {
      self->fired(deadline, chain);
    }
  });
  std::lock_guard lock(mutex_);
  if (cancelled_.load() || chain != chain_) {
    TimerService::shared().cancel(id);
    return;
  }
  // When the deadline fired at once and re-armed, the newer id is kept.
  if (armCount_ == count) {
    pending_ = id;
  }
}

void DispatchSourceTimer::fired(MonotonicTime deadline, std::uint64_t chain) {
  std::optional<MonotonicTime> next;
  bool post = false;
  {
    std::lock_guard lock(mutex_);
    if (cancelled_.load() || chain != chain_) {
      return;
    }
    pending_.reset();
    post = !tickQueued_;
    tickQueued_ = true;
    if (interval_) {
      // The next deadline lies in the future: intervals the clock jumped
      // past are not fired one by one.
      const MonotonicTime now = Clock::current().monotonicNow();
      MonotonicTime candidate = deadline + *interval_;
      if (candidate <= now) {
        const auto missed = (now - candidate) / *interval_ + 1;
        candidate += *interval_ * missed;
      }
      next = candidate;
    }
  }
  if (post) {
    std::weak_ptr<DispatchSourceTimer> weakSelf = weak_from_this();
    queue_->async([weakSelf] {
      if (auto self = weakSelf.lock()) {
        self->runTick();
      }
    });
  }
  if (next) {
    arm(*next, chain);
  }
}

void DispatchSourceTimer::runTick() {
  std::function<void()> handler;
  {
    std::lock_guard lock(mutex_);
    // From here on a new tick may be queued behind this one.
    tickQueued_ = false;
    if (cancelled_.load()) {
      return;
    }
    handler = handler_;
  }
  if (handler) {
    handler();
  }
}

}  // namespace velune::platform
