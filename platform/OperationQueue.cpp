#include "platform/OperationQueue.h"

#include <atomic>

namespace velune::platform {
namespace {
thread_local OperationQueue* tCurrentOperationQueue = nullptr;
}  // namespace

struct OperationQueue::Shared {
  // Cleared when the queue object goes; operations still running then see no current queue.
  std::atomic<OperationQueue*> owner{nullptr};
  int limit = 64;
  QualityOfService qos = QualityOfService::Default;
  std::mutex mutex;
  std::condition_variable idle;
  std::deque<std::function<void()>> waiting;
  int running = 0;
  std::shared_ptr<DispatchQueue> serialQueue;  // used when at most one runs at a time
};

OperationQueue::OperationQueue(std::string name, QualityOfService qos, int maxConcurrentOperationCount)
    : name_(std::move(name)), qos_(qos), maxConcurrent_(maxConcurrentOperationCount),
      shared_(std::make_shared<Shared>()) {
  shared_->owner = this;
  shared_->limit = maxConcurrent_ <= 0 ? 64 : maxConcurrent_;
  shared_->qos = qos_;
  if (maxConcurrent_ == 1) {
    shared_->serialQueue = DispatchQueue::createSerial(name_.empty() ? "operation-queue" : name_, qos_);
  }
}

OperationQueue::~OperationQueue() {
  shared_->owner.store(nullptr);
  if (tCurrentOperationQueue == this) {
    // The last owner let go inside one of this queue's own operations: waiting
    // for it would wait for ourselves. The operations left run on without the
    // queue object (their shared state outlives it).
    tCurrentOperationQueue = nullptr;
    return;
  }
  waitUntilAllOperationsAreFinished();
}

void OperationQueue::addOperation(std::function<void()> operation) {
  {
    std::lock_guard lock(shared_->mutex);
    shared_->waiting.push_back(std::move(operation));
  }
  startMore(shared_);
}

// Uses only the shared state: it may run after the queue object is gone.
void OperationQueue::startMore(const std::shared_ptr<Shared>& shared_) {
  const int limit = shared_->limit;
  while (true) {
    std::function<void()> operation;
    {
      std::lock_guard lock(shared_->mutex);
      if (shared_->waiting.empty() || shared_->running >= limit) {
        return;
      }
      operation = std::move(shared_->waiting.front());
      shared_->waiting.pop_front();
      ++shared_->running;
    }
    auto run = [shared = shared_, operation = std::move(operation)] {
      OperationQueue* previous = tCurrentOperationQueue;
      tCurrentOperationQueue = shared->owner.load();
      operation();
      tCurrentOperationQueue = previous;
      {
        std::lock_guard lock(shared->mutex);
        --shared->running;
      }
      startMore(shared);
      std::lock_guard lock(shared->mutex);
      if (shared->running == 0 && shared->waiting.empty()) {
        shared->idle.notify_all();
      }
    };
    if (shared_->serialQueue) {
      shared_->serialQueue->async(std::move(run));
    } else {
      DispatchQueue::global(shared_->qos)->async(std::move(run));
    }
  }
}

void OperationQueue::waitUntilAllOperationsAreFinished() {
  std::unique_lock lock(shared_->mutex);
  shared_->idle.wait(lock, [&] { return shared_->running == 0 && shared_->waiting.empty(); });
}

void OperationQueue::cancelAllOperations() {
  std::lock_guard lock(shared_->mutex);
  shared_->waiting.clear();
  if (shared_->running == 0) {
    shared_->idle.notify_all();
  }
}

size_t OperationQueue::operationCount() const {
  std::lock_guard lock(shared_->mutex);
  return shared_->waiting.size() + static_cast<size_t>(shared_->running);
}

OperationQueue* OperationQueue::current() { return tCurrentOperationQueue; }

}  // namespace velune::platform
