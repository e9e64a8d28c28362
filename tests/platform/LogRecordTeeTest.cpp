#include "platform/LogRecordTee.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace velune::platform {
namespace {

LogRecord recordSaying(std::string message) {
  LogRecord record;
  record.level = 6;
  record.message = std::move(message);
  return record;
}

// Collects what a subscriber receives, and on which thread.
struct Received {
  std::mutex mutex;
  std::vector<std::string> messages;
  std::vector<std::uint64_t> sequences;
  std::vector<std::thread::id> threads;

  LogRecordTee::Subscriber subscriber() {
    return [this](const LogRecord& record) {
      std::lock_guard lock(mutex);
      messages.push_back(record.message);
      sequences.push_back(record.sequence);
      threads.push_back(std::this_thread::get_id());
    };
  }
  std::vector<std::string> snapshot() {
    std::lock_guard lock(mutex);
    return messages;
  }
};

// A gate a subscriber waits at until the test opens it.
struct Gate {
  std::mutex mutex;
  std::condition_variable changed;
  bool open = false;
  int waiting = 0;

  void pass() {
    std::unique_lock lock(mutex);
    ++waiting;
    changed.notify_all();
    changed.wait(lock, [&] { return open; });
  }
  void waitForWaiter() {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return waiting > 0; });
  }
  void release() {
    std::lock_guard lock(mutex);
    open = true;
    changed.notify_all();
  }
};

TEST(LogRecordTee, LateSubscriber_GetsTheBoundedBacklogThenNewRecordsInOrder) {
  LogRecordTee tee(3);
  for (int i = 1; i <= 5; ++i) {
    tee.publish(recordSaying("r" + std::to_string(i)));
  }
  ASSERT_EQ(tee.backlog().size(), 3u);
  EXPECT_EQ(tee.backlog().front().sequence, 3u);

  Received received;
  const auto token = tee.subscribe(received.subscriber());
  EXPECT_NE(token, 0u);
  tee.waitUntilDelivered();
  tee.publish(recordSaying("r6"));
  tee.waitUntilDelivered();
  EXPECT_EQ(received.snapshot(), (std::vector<std::string>{"r3", "r4", "r5", "r6"}));
  EXPECT_EQ(received.sequences, (std::vector<std::uint64_t>{3, 4, 5, 6}));
}

TEST(LogRecordTee, Subscribers_AreCalledOffThePublishersThread) {
  LogRecordTee tee;
  Received received;
  tee.subscribe(received.subscriber());
  tee.publish(recordSaying("one"));
  tee.waitUntilDelivered();
  ASSERT_EQ(received.threads.size(), 1u);
  EXPECT_NE(received.threads[0], std::this_thread::get_id());
}

// A viewer that stops reading must not hold up the log: publish returns while
// the subscriber is blocked, and the records it missed show as a gap.
TEST(LogRecordTee, BlockedSubscriber_NeverBlocksPublishAndLosesOnlyTheOldest) {
  LogRecordTee tee(4);
  Gate gate;
  Received received;
  bool first = true;
  tee.subscribe([&](const LogRecord& record) {
    if (first) {
      first = false;
      gate.pass();
    }
    received.subscriber()(record);
  });
  tee.publish(recordSaying("r1"));
  gate.waitForWaiter();
  for (int i = 2; i <= 10; ++i) {
    tee.publish(recordSaying("r" + std::to_string(i)));  // returns although the subscriber is stuck
  }
  gate.release();
  tee.waitUntilDelivered();
  EXPECT_EQ(received.snapshot(), (std::vector<std::string>{"r1", "r7", "r8", "r9", "r10"}));
  EXPECT_EQ(received.sequences, (std::vector<std::uint64_t>{1, 7, 8, 9, 10}));
}

TEST(LogRecordTee, Unsubscribe_StopsDeliveryAndWaitsForACallUnderWay) {
  LogRecordTee tee;
  Gate gate;
  std::atomic<int> calls{0};
  std::atomic<bool> inside{false};
  const auto token = tee.subscribe([&](const LogRecord&) {
    inside = true;
    ++calls;
    gate.pass();
    inside = false;
  });
  Received other;
  tee.subscribe(other.subscriber());
  tee.publish(recordSaying("r1"));
  gate.waitForWaiter();

  // r2 may or may not reach the subscriber before the unsubscribe (the thread
  // may start late); nothing may reach it after.
  int callsWhenUnsubscribed = 0;
  std::thread unsubscriber([&] {
    tee.unsubscribe(token);
    EXPECT_FALSE(inside.load()) << "unsubscribe must wait for the call under way";
    callsWhenUnsubscribed = calls.load();
  });
  tee.publish(recordSaying("r2"));
  gate.release();
  unsubscriber.join();
  tee.publish(recordSaying("r3"));
  tee.waitUntilDelivered();
  EXPECT_EQ(calls.load(), callsWhenUnsubscribed);
  EXPECT_EQ(other.snapshot(), (std::vector<std::string>{"r1", "r2", "r3"}));
  tee.unsubscribe(token);  // again, and unknown tokens, change nothing
  tee.unsubscribe(12345);
}

TEST(LogRecordTee, SubscriberMayUnsubscribeItselfAndPublish) {
  LogRecordTee tee;
  LogRecordTee::Token token = 0;
  std::vector<std::string> seen;
  std::mutex mutex;
  token = tee.subscribe([&](const LogRecord& record) {
    std::lock_guard lock(mutex);
    seen.push_back(record.message);
    if (record.message == "stop") {
      tee.unsubscribe(token);
      tee.publish(recordSaying("after"));
    }
  });
  tee.publish(recordSaying("go"));
  tee.publish(recordSaying("stop"));
  tee.waitUntilDelivered();
  std::lock_guard lock(mutex);
  EXPECT_EQ(seen, (std::vector<std::string>{"go", "stop"}));
  EXPECT_EQ(tee.backlog().back().message, "after");
}

}  // namespace
}  // namespace velune::platform
