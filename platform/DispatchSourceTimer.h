#pragma once
// DispatchSourceTimer: a timer source that runs its event handler on a queue,
// first after a start delay (zero: at once) and then every interval.
//
// - Nothing happens before resume(). cancel() stops it for good; a handler
//   already handed to the queue checks for cancellation and does not run.
// - At most one tick waits on the queue at a time: ticks that come due while
//   the previous one has not started yet (a busy queue, a clock that jumped
//   past several intervals) are folded into it.
// - schedule() on a resumed timer replaces its tick chain: only the new start
//   and interval apply from then on, even while a tick is being fired on
//   another thread.
// - The leeway is recorded as a hint; ticks are taken at their deadline.
// - The timer is owned by its creator; destroying it cancels it. The handler
//   should hold its owner weakly.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/Clock.h"
#include "platform/DispatchQueue.h"
#include "platform/TimerService.h"

namespace velune::platform {

class DispatchSourceTimer : public std::enable_shared_from_this<DispatchSourceTimer> {
 public:
  static std::shared_ptr<DispatchSourceTimer> create(std::shared_ptr<DispatchQueue> queue);
  ~DispatchSourceTimer();

  // interval: nothing for a one-shot timer.
  void schedule(Duration startDelay, std::optional<Duration> interval, Duration leeway);
  void setEventHandler(std::function<void()> handler);
  void resume();
  void cancel();

  bool isCancelled() const { return cancelled_.load(); }
  std::optional<Duration> interval() const;
  Duration leeway() const;

 private:
  explicit DispatchSourceTimer(std::shared_ptr<DispatchQueue> queue) : queue_(std::move(queue)) {}
  // `chain` is the schedule the deadline belongs to; a deadline of an older
  // chain (replaced by schedule() or cancelled) does nothing.
  void arm(MonotonicTime deadline, std::uint64_t chain);
  void fired(MonotonicTime deadline, std::uint64_t chain);
  void runTick();

  const std::shared_ptr<DispatchQueue> queue_;
  mutable std::mutex mutex_;
  std::function<void()> handler_;
  Duration startDelay_{0};
  std::optional<Duration> interval_;
  Duration leeway_{0};
  bool resumed_ = false;
  std::optional<TimerService::Id> pending_;
  // The current tick chain; schedule() starts a new one.
  std::uint64_t chain_ = 0;
  // Counts arm() calls, so that a deadline that fired (and re-armed) inside
  // TimerService::schedule() keeps the newer id in pending_.
  std::uint64_t armCount_ = 0;
  // A tick is on the queue and has not started.
  bool tickQueued_ = false;
  std::atomic<bool> cancelled_{false};
};

}  // namespace velune::platform
