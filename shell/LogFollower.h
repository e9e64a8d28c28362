#pragma once
// LogFollower: one reader of the process's log for a live log view (a stream
// of the screen's server). It subscribes to the services' LogRecordTee, which
// first hands it the records the tee keeps and then every new one; it passes
// on those numbered above `after` and holds them until the reader takes them.
//
// - take() returns what arrived since the last call, waiting up to a timeout
//   while nothing did; after close() it returns at once, for good.
// - A reader that does not keep up loses the oldest records beyond
//   kMaxPending (the gap shows in the sequence numbers); the tee itself is
//   never held up.
// - The destructor unsubscribes; no tee call reaches the follower after it.
//
// Thread-safe: the tee calls in on its own queue, the reader on its thread,
// close() from any thread.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/LogRecord.h"
#include "platform/LogRecordTee.h"

namespace velune::shell {

class LogFollower {
 public:
  static constexpr size_t kMaxPending = 2000;

  LogFollower(std::shared_ptr<platform::LogRecordTee> tee, std::uint64_t after);
  ~LogFollower();
  LogFollower(const LogFollower&) = delete;
  LogFollower& operator=(const LogFollower&) = delete;

  std::vector<platform::LogRecord> take(std::chrono::milliseconds timeout);
  void close();
  bool isClosed() const;

 private:
  struct Inbox {
    std::mutex mutex;
    std::condition_variable arrived;
    std::deque<platform::LogRecord> records;
    std::uint64_t after = 0;
    bool closed = false;
  };

  const std::shared_ptr<platform::LogRecordTee> tee_;
  // Shared with the subscriber, which the tee may still hold while unsubscribing.
  const std::shared_ptr<Inbox> inbox_;
  platform::LogRecordTee::Token token_ = 0;
};

}  // namespace velune::shell
