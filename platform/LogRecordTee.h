#pragma once
// LogRecordTee: a copy of every record of the process's log for live viewers
// (the screen's log view). The log client publishes each record it builds;
// viewers subscribe and receive them in order.
//
// Promises:
// - publish() never waits for a subscriber: it stores the record and returns.
//   Any thread.
// - Subscribers are called on the tee's own serial queue, never on the
//   publisher's thread, one call at a time, in record order.
// - The tee keeps the last `capacity` records. A new subscriber first gets
//   those (oldest first), then every later record. A subscriber that falls
//   more than `capacity` records behind loses the oldest ones; the gap shows
//   in LogRecord::sequence.
// - After unsubscribe() returns, the subscriber is not called again (when
//   called from inside the subscriber itself, the current call is the last).
// - A subscriber may subscribe, unsubscribe and publish from its callback.

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "platform/LogRecord.h"

namespace velune::platform {

class LogRecordTee {
 public:
  using Token = std::uint64_t;
  using Subscriber = std::function<void(const LogRecord&)>;

  static constexpr size_t kDefaultCapacity = 1000;

  explicit LogRecordTee(size_t capacity = kDefaultCapacity);
  ~LogRecordTee();
  LogRecordTee(const LogRecordTee&) = delete;
  LogRecordTee& operator=(const LogRecordTee&) = delete;

  // Stores the record (its sequence is assigned here) and schedules delivery.
  void publish(LogRecord record);
  // Never 0.
  Token subscribe(Subscriber subscriber);
  // Unknown tokens are ignored.
  void unsubscribe(Token token);

  // The records kept for late subscribers, oldest first.
  std::vector<LogRecord> backlog() const;
  size_t capacity() const;
  // Waits until every record published so far has been offered to every
  // subscriber. Not from a subscriber.
  void waitUntilDelivered();

 private:
  struct State;
  // Delivery tasks hold the state, so the tee may go while one is queued.
  std::shared_ptr<State> state_;
};

}  // namespace velune::platform
