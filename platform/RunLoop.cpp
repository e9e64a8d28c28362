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

namespace {
// While tasks keep coming, the end of a turn is still marked this often.
constexpr std::chrono::milliseconds kBusyTurn{50};
}  // namespace

void RunLoop::run() {
  assertMainThread("RunLoop::run");
  lastIdle_ = std::chrono::steady_clock::now();
  while (true) {
    bool idle = false;
    {
      std::lock_guard lock(mutex_);
      idle = tasks_.empty();
    }
    if (idle || std::chrono::steady_clock::now() - lastIdle_ >= kBusyTurn) {
      runIdleObservers();
    }
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
      if (!tasks_.empty()) {
        task = takeTask();
      }
    }
    if (task) {
      task();
      ++ran;
      continue;
    }
    runIdleObservers();
    std::lock_guard lock(mutex_);
    if (tasks_.empty()) {
      return ran;
    }
  }
}

RunLoop::ObserverId RunLoop::addIdleObserver(std::function<void()> observer) {
  assertMainThread("RunLoop::addIdleObserver");
  const ObserverId id = nextObserverId_++;
  observers_.push_back(Observer{id, std::move(observer)});
  return id;
}

void RunLoop::removeIdleObserver(ObserverId id) {
  assertMainThread("RunLoop::removeIdleObserver");
  std::erase_if(observers_, [id](const Observer& o) { return o.id == id; });
}

void RunLoop::runIdleObservers() {
  lastIdle_ = std::chrono::steady_clock::now();
  if (observers_.empty()) {
    return;
  }
  // A copy: an observer may remove itself or add another.
  const auto observers = observers_;
  for (const auto& observer : observers) {
    observer.callback();
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
