#pragma once
// RunLoop: the main thread's loop. It runs the main queue's tasks (and with
// them the main-thread timers, which post to the main queue) in the order in
// which they were posted.
//
// The app calls run(), which returns after stop(). Tests never call run():
// they call runUntilIdle() to run what is ready, and move a ManualClock to
// make timers due.
//
// Idle observers mark the end of a turn of the loop: they run on the main
// thread each time every ready task has run (before run() waits, at the end
// of runUntilIdle()), and, while tasks keep coming without a pause, at least
// every 50 ms of real time. What they post runs in the same runUntilIdle().

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

#include "platform/Clock.h"

namespace velune::platform {

class RunLoop {
 public:
  static RunLoop& main();

  // Any thread. Never runs the task inside the call.
  void post(std::function<void()> task);

  // Main thread. Runs tasks until stop() is called (also when stop() came
  // before run()), then returns.
  void run();
  // Any thread; also from a signal-watching thread.
  void stop();

  // Main thread. Runs every ready task, including those that the tasks post,
  // and returns how many ran. Never waits.
  size_t runUntilIdle();
  // Main thread. Waits up to `timeout` (real time) for a task and runs it.
  bool runOnce(Duration timeout);

  size_t pendingTaskCount() const;

  using ObserverId = std::uint64_t;
  // Main thread. The observer must not call run() or runUntilIdle().
  ObserverId addIdleObserver(std::function<void()> observer);
  void removeIdleObserver(ObserverId id);

 private:
  RunLoop() = default;
  std::function<void()> takeTask();
  void runIdleObservers();

  struct Observer {
    ObserverId id;
    std::function<void()> callback;
  };
  // Main thread only.
  std::vector<Observer> observers_;
  ObserverId nextObserverId_ = 1;
  std::chrono::steady_clock::time_point lastIdle_{};

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> tasks_;
  bool stopRequested_ = false;
};

}  // namespace velune::platform
