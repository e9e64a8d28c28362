#include "platform/LogRecordTee.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <utility>

#include "platform/DispatchQueue.h"

namespace velune::platform {

struct LogRecordTee::State : std::enable_shared_from_this<State> {
  struct Subscription {
    std::shared_ptr<const Subscriber> subscriber;
    // The last sequence this subscriber was given (or lost).
    std::uint64_t delivered = 0;
  };

  explicit State(size_t maximum)
      : capacity(maximum == 0 ? 1 : maximum),
        queue(DispatchQueue::createSerial("com.vorlan.platform.logtee", QualityOfService::Utility)) {}

  const size_t capacity;
  const std::shared_ptr<DispatchQueue> queue;
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<LogRecord> records;
  std::uint64_t lastSequence = 0;
  std::map<Token, Subscription> subscriptions;
  Token nextToken = 1;
  bool deliveryScheduled = false;
  // The subscriber being called right now, or 0.
  Token calling = 0;

  void scheduleDeliveryLocked() {
    if (deliveryScheduled) {
      return;
    }
    deliveryScheduled = true;
    queue->async([self = shared_from_this()] { self->deliver(); });
  }

  // One record at a time, so that an unsubscribe or a new record between two
  // calls takes effect at once.
  void deliver() {
    std::unique_lock lock(mutex);
    while (true) {
      auto behind = subscriptions.end();
      for (auto it = subscriptions.begin(); it != subscriptions.end(); ++it) {
        if (it->second.delivered < lastSequence) {
          behind = it;
          break;
        }
      }
      if (behind == subscriptions.end()) {
        deliveryScheduled = false;
        changed.notify_all();
        return;
      }
      const std::uint64_t oldest = records.front().sequence;
      const std::uint64_t next = std::max(behind->second.delivered + 1, oldest);
      behind->second.delivered = next;
      const LogRecord record = records[static_cast<size_t>(next - oldest)];
      const auto subscriber = behind->second.subscriber;
      calling = behind->first;
      lock.unlock();
      (*subscriber)(record);
      lock.lock();
      calling = 0;
      changed.notify_all();
    }
  }
};

LogRecordTee::LogRecordTee(size_t capacity) : state_(std::make_shared<State>(capacity)) {}

LogRecordTee::~LogRecordTee() {
  std::unique_lock lock(state_->mutex);
  state_->subscriptions.clear();
  if (!state_->queue->isCurrent()) {
    state_->changed.wait(lock, [&] { return state_->calling == 0; });
  }
}

size_t LogRecordTee::capacity() const { return state_->capacity; }

void LogRecordTee::publish(LogRecord record) {
  std::lock_guard lock(state_->mutex);
  record.sequence = ++state_->lastSequence;
  if (state_->records.size() == state_->capacity) {
    state_->records.pop_front();
  }
  state_->records.push_back(std::move(record));
  if (!state_->subscriptions.empty()) {
    state_->scheduleDeliveryLocked();
  }
}

LogRecordTee::Token LogRecordTee::subscribe(Subscriber subscriber) {
  std::lock_guard lock(state_->mutex);
  const Token token = state_->nextToken++;
  State::Subscription subscription;
  subscription.subscriber = std::make_shared<const Subscriber>(std::move(subscriber));
  subscription.delivered = state_->records.empty() ? state_->lastSequence : state_->records.front().sequence - 1;
  state_->subscriptions.emplace(token, std::move(subscription));
  if (!state_->records.empty()) {
    state_->scheduleDeliveryLocked();
  }
  return token;
}

void LogRecordTee::unsubscribe(Token token) {
  std::unique_lock lock(state_->mutex);
  state_->subscriptions.erase(token);
  // A call already under way finishes first (unless it is the caller).
  if (!state_->queue->isCurrent()) {
    state_->changed.wait(lock, [&] { return state_->calling != token; });
  }
}

std::vector<LogRecord> LogRecordTee::backlog() const {
  std::lock_guard lock(state_->mutex);
  return {state_->records.begin(), state_->records.end()};
}

void LogRecordTee::waitUntilDelivered() {
  if (state_->queue->isCurrent()) {
    return;
  }
  std::unique_lock lock(state_->mutex);
  state_->changed.wait(lock, [&] { return !state_->deliveryScheduled && state_->calling == 0; });
}

}  // namespace velune::platform
