#pragma once
// TimerService: the one place where deadlines are kept. Queues' delayed tasks,
// timer sources and main-thread timers register a deadline here; when it comes
// due, their `fire` callback is called, which posts their work to a queue.
//
// With the system clock a background thread waits for the next deadline. With
// a ManualClock that thread stays idle and nothing comes due until the test
// advances the clock: ManualClock::advance() fires every due deadline, in
// deadline order (then registration order), before it returns. A deadline that
// is already due when it is registered fires inside schedule().
//
// `fire` callbacks must be short and must not block: they post and return.

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <condition_variable>
#include <thread>

#include "platform/Clock.h"

namespace velune::platform {

class TimerService {
 public:
  using Id = std::uint64_t;

  static TimerService& shared();

  Id schedule(MonotonicTime deadline, std::function<void()> fire);
  // False when the deadline already fired or was cancelled.
  bool cancel(Id id);

  // Fires every deadline that is due on the current clock, on the caller's
  // thread. ManualClock calls it after moving.
  void clockDidAdvance();

  std::optional<MonotonicTime> nextDeadline() const;
  size_t pendingCount() const;

 private:
  TimerService();
  void threadLoop();
  void fireDue();

  using Key = std::pair<MonotonicTime, Id>;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::map<Key, std::function<void()>> entries_;
  std::map<Id, MonotonicTime> deadlines_;
  Id nextId_ = 1;
  // Serialises firing between the timer thread and a manual advance, so that
  // deadlines always fire in order.
  std::mutex fireMutex_;
};

}  // namespace velune::platform
