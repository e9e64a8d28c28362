#include "platform/RunLoop.h"

#include "platform/MainThread.h"

namespace velune::platform {

RunLoop& RunLoop::main() {
  // Never destroyed: threads may still post while the process exits.
  static auto* loop = new RunLoop();
  return *loop;
}

void RunLoop::post(std::function<void()> task) {
  {
    std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  wake_.notify_one();
}

std::function<void()> RunLoop::takeTask() {
  // Caller holds the lock.
  std::function<void()> task = std::move(tasks_.front());
  tasks_.pop_front();
  return task;
}

void RunLoop::run() {
  assertMainThread("RunLoop::run");
  while (true) {
    std::function<void()> task;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return stopRequested_ || !tasks_.empty(); });
      if (stopRequested_) {
        stopRequested_ = false;
        return;
      }
      task = takeTask();
    }
    task();
  }
}

void RunLoop::stop() {
  {
    std::lock_guard lock(mutex_);
    stopRequested_ = true;
  }
  wake_.notify_all();
}

size_t RunLoop::runUntilIdle() {
  assertMainThread("RunLoop::runUntilIdle");
  size_t ran = 0;
  while (true) {
    std::function<void()> task;
    {
      std::lock_guard lock(mutex_);
      if (tasks_.empty()) {
        return ran;
      }
      task = takeTask();
    }
    task();
    ++ran;
  }
}

bool RunLoop::runOnce(Duration timeout) {
  assertMainThread("RunLoop::runOnce");
  std::function<void()> task;
  {
    std::unique_lock lock(mutex_);
    if (!wake_.wait_for(lock, timeout, [this] { return !tasks_.empty(); })) {
      return false;
    }
    task = takeTask();
  }
  task();
  return true;
}

size_t RunLoop::pendingTaskCount() const {
  std::lock_guard lock(mutex_);
  return tasks_.size();
}

}  // namespace velune::platform
