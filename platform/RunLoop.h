#pragma once
// RunLoop: the main thread's loop. It runs the main queue's tasks (and with
// them the main-thread timers, which post to the main queue) in the order in
// which they were posted.
//
// The app calls run(), which returns after stop(). Tests never call run():
// they call runUntilIdle() to run what is ready, and move a ManualClock to
// make timers due.

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

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

 private:
  RunLoop() = default;
  std::function<void()> takeTask();

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> tasks_;
  bool stopRequested_ = false;
};

}  // namespace velune::platform
