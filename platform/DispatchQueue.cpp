#include "platform/DispatchQueue.h"

#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <thread>

#include "platform/MainThread.h"
#include "platform/RunLoop.h"
#include "platform/TimerService.h"

namespace velune::platform {
namespace {

thread_local DispatchQueue* tCurrentQueue = nullptr;

[[noreturn]] void abortDeadlock(const std::string& label) {
  std::fprintf(stderr, "velune: DispatchQueue::sync on the queue the caller runs on would never return: %s\n",
               label.c_str());
  std::fflush(stderr);
  std::abort();
}

void nameThread(const std::string& label) {
  // Thread names hold 15 bytes; the end of a label tells queues apart best.
  std::string name = label.size() > 15 ? label.substr(label.size() - 15) : label;
  pthread_setname_np(pthread_self(), name.c_str());
}

// Serial queue: one thread, a FIFO of tasks. The thread's state is shared with
// the queue object so the thread can finish cleanly after the queue is gone.
class SerialQueue final : public DispatchQueue {
 public:
  SerialQueue(std::string label, QualityOfService qos, int relativePriority)
      : DispatchQueue(std::move(label), qos, relativePriority), state_(std::make_shared<State>()) {}

  ~SerialQueue() override {
    {
      std::lock_guard lock(state_->mutex);
      state_->stopping = true;
    }
    state_->wake.notify_all();
    if (thread_.joinable()) {
      if (thread_.get_id() == std::this_thread::get_id()) {
        thread_.detach();  // the last reference went away inside one of our own tasks
      } else {
        thread_.join();
      }
    }
  }

  void async(Task task) override {
    std::lock_guard lock(state_->mutex);
    state_->tasks.push_back(std::move(task));
    // While work is pending the queue keeps itself alive.
    if (!state_->keepAlive) {
      state_->keepAlive = shared_from_this();
    }
    if (!thread_.joinable()) {
      thread_ = std::thread([this, state = state_] { loop(state); });
    }
    state_->wake.notify_one();
  }

  bool isSerial() const override { return true; }

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<Task> tasks;
    bool stopping = false;
    std::shared_ptr<DispatchQueue> keepAlive;
  };

  void loop(const std::shared_ptr<State>& state) {
    nameThread(label());
    applyThreadPriority(qos(), relativePriority());
    while (true) {
      Task task;
      {
        std::unique_lock lock(state->mutex);
        state->wake.wait(lock, [&] { return state->stopping || !state->tasks.empty(); });
        if (state->tasks.empty()) {
          return;  // the queue is gone and nothing is left to run
        }
        task = std::move(state->tasks.front());
        state->tasks.pop_front();
      }
      runAsCurrent(task);
      task = nullptr;
      std::shared_ptr<DispatchQueue> release;
      {
        std::lock_guard lock(state->mutex);
        if (state->tasks.empty()) {
          release = std::move(state->keepAlive);
        }
      }
      // May destroy this queue; from here on the loop touches only `state`
      // until a new task arrives, which needs a live queue to be submitted.
      release.reset();
    }
  }

  std::shared_ptr<State> state_;
  std::thread thread_;
};

// Concurrent queue: a pool of threads that grows while every thread is busy,
// so that blocking tasks never starve the others. Never destroyed.
class ConcurrentQueue final : public DispatchQueue {
 public:
  ConcurrentQueue(std::string label, QualityOfService qos) : DispatchQueue(std::move(label), qos, 0) {}

  void async(Task task) override {
    std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    if (idle_ == 0 && threads_ < kMaxThreads) {
      ++threads_;
      std::thread([this] { loop(); }).detach();
    } else {
      wake_.notify_one();
    }
  }

  bool isSerial() const override { return false; }

 protected:
 private:
  static constexpr int kMaxThreads = 64;

  void loop() {
    nameThread(label());
    applyThreadPriority(qos(), 0);
    while (true) {
      Task task;
      {
        std::unique_lock lock(mutex_);
        ++idle_;
        wake_.wait(lock, [&] { return !tasks_.empty(); });
        --idle_;
        task = std::move(tasks_.front());
        tasks_.pop_front();
      }
      runAsCurrent(task);
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<Task> tasks_;
  int threads_ = 0;
  int idle_ = 0;
};

class MainQueue final : public DispatchQueue {
 public:
  MainQueue() : DispatchQueue(kMainQueueLabel, QualityOfService::UserInteractive, 0) {}

  void async(Task task) override {
    RunLoop::main().post([this, task = std::move(task)] { runAsCurrent(task); });
  }
  bool isSerial() const override { return true; }

 protected:
  // Whatever queue a main-thread task runs as, the main queue cannot run
  // anything else until it returns.
  bool runsOnCallingThread() const override { return isMainThread(); }
};

}  // namespace

std::shared_ptr<DispatchQueue> DispatchQueue::createSerial(std::string label, QualityOfService qos,
                                                           int relativePriority) {
  return std::make_shared<SerialQueue>(std::move(label), qos, std::clamp(relativePriority, -15, 0));
}

std::shared_ptr<DispatchQueue> DispatchQueue::main() {
  static auto* queue = new std::shared_ptr<DispatchQueue>(std::make_shared<MainQueue>());
  return *queue;
}

std::shared_ptr<DispatchQueue> DispatchQueue::global(QualityOfService qos) {
  auto make = [](const char* label, QualityOfService q) {
    return new std::shared_ptr<DispatchQueue>(std::make_shared<ConcurrentQueue>(label, q));
  };
  static auto* background = make("com.vorlan.platform.global.background", QualityOfService::Background);
  static auto* utility = make("com.vorlan.platform.global.utility", QualityOfService::Utility);
  static auto* normal = make("com.vorlan.platform.global.default", QualityOfService::Default);
  static auto* initiated = make("com.vorlan.platform.global.user-initiated", QualityOfService::UserInitiated);
  static auto* interactive = make("com.vorlan.platform.global.user-interactive", QualityOfService::UserInteractive);
  switch (qos) {
    case QualityOfService::Background:
      return *background;
    case QualityOfService::Utility:
      return *utility;
    case QualityOfService::Default:
      return *normal;
    case QualityOfService::UserInitiated:
      return *initiated;
    case QualityOfService::UserInteractive:
      return *interactive;
  }
  return *normal;
}

bool DispatchQueue::runsOnCallingThread() const { return isCurrent(); }

void DispatchQueue::sync(const std::function<void()>& task) {
  // A concurrent queue may run the task at once, on the caller's thread.
  if (!isSerial()) {
    runAsCurrent(task);
    return;
  }
  if (runsOnCallingThread()) {
    abortDeadlock(label());
  }
  std::mutex doneMutex;
  std::condition_variable doneSignal;
  bool done = false;
  async([&] {
    task();
    std::lock_guard lock(doneMutex);
    done = true;
    doneSignal.notify_one();
  });
  std::unique_lock lock(doneMutex);
  doneSignal.wait(lock, [&] { return done; });
}

void DispatchQueue::asyncAfter(Duration delay, Task task) {
  const MonotonicTime deadline = Clock::current().monotonicNow() + std::max(delay, Duration::zero());
  std::shared_ptr<DispatchQueue> strongQueue = shared_from_this();
  // The queue stays alive until the delayed task has been handed to it.
  TimerService::shared().schedule(deadline, [queue = std::move(strongQueue), task = std::move(task)]() mutable {
    queue->async(std::move(task));
  });
}

DispatchQueue* DispatchQueue::current() {
  if (tCurrentQueue != nullptr) {
    return tCurrentQueue;
  }
  if (isMainThread()) {
    return main().get();
  }
  return nullptr;
}

std::string DispatchQueue::currentLabel() {
  DispatchQueue* queue = current();
  return queue ? queue->label() : std::string();
}

void DispatchQueue::runAsCurrent(const std::function<void()>& task) {
  DispatchQueue* previous = tCurrentQueue;
  tCurrentQueue = this;
  task();
  tCurrentQueue = previous;
}

void applyThreadPriority(QualityOfService qos, int relativePriority) {
  int nice = 0;
  switch (qos) {
    case QualityOfService::UserInteractive:
    case QualityOfService::UserInitiated:
    case QualityOfService::Default:
      nice = 0;
      break;
    case QualityOfService::Utility:
      nice = 5;
      break;
    case QualityOfService::Background:
      nice = 15;
      break;
  }
  // Relative priority -15 .. 0 lowers the class by up to 5 more steps.
  nice += (-std::clamp(relativePriority, -15, 0) + 2) / 3;
  nice = std::min(nice, 19);
  if (nice > 0) {
    const auto tid = static_cast<id_t>(syscall(SYS_gettid));
    setpriority(PRIO_PROCESS, tid, nice);
  }
}

}  // namespace velune::platform
