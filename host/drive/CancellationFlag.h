#pragma once
// CancellationFlag: set once, from any thread; waiters wake at once.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace velune::host {

class CancellationFlag {
 public:
  void cancel() {
    {
      std::lock_guard lock(mutex_);
      cancelled_.store(true);
    }
    changed_.notify_all();
  }
  bool isCancelled() const { return cancelled_.load(); }
  const std::atomic<bool>& flag() const { return cancelled_; }
  // True when cancelled within `timeout`.
  template <typename Rep, typename Period>
  bool waitForCancellation(std::chrono::duration<Rep, Period> timeout) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, timeout, [this] { return cancelled_.load(); });
  }

 private:
  std::atomic<bool> cancelled_{false};
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
};

}  // namespace velune::host
