#pragma once
// ThreadGate: a one-shot signal between threads, for tests that must wait
// until another thread reached a point. wait() gives up after 10 seconds
// (false) so that a broken test fails instead of hanging.

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace velune::testing {

class ThreadGate {
 public:
  void open() {
    {
      std::lock_guard lock(mutex_);
      open_ = true;
    }
    changed_.notify_all();
  }
  bool isOpen() {
    std::lock_guard lock(mutex_);
    return open_;
  }
  bool wait() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return open_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool open_ = false;
};

}  // namespace velune::testing
