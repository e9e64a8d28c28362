#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "host/HostReachabilityTarget.h"
#include "platform/DispatchQueue.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

using platform::ReachabilityFlags;

struct Received {
  std::mutex mutex;
  std::vector<ReachabilityFlags> flags;
  std::vector<std::string> queues;
  std::vector<ReachabilityFlags> snapshot() {
    std::lock_guard lock(mutex);
    return flags;
  }
};

void record(platform::ReachabilityTarget& /*target*/, ReachabilityFlags flags, void* info) {
  auto* received = static_cast<Received*>(info);
  std::lock_guard lock(received->mutex);
  received->flags.push_back(flags);
  received->queues.push_back(platform::DispatchQueue::currentLabel());
}

TEST(HostReachabilityTarget, Delivery_StartsWithTheCurrentFlagsOnceArmedThenFollowsChangesInOrder) {
  Received received;
  const platform::ReachabilityContext context{&received};
  auto queue = platform::DispatchQueue::createSerial("test.reachability");
  auto target = HostReachabilityTarget::create("example.org", 0x2);

  // Neither a callback alone nor changes before arming deliver anything.
  ASSERT_TRUE(target->setCallback(&record, &context));
  target->deliver(0x40002);
  queue->sync([] {});
  EXPECT_TRUE(received.snapshot().empty());

  ASSERT_TRUE(target->setDispatchQueue(queue));
  for (ReachabilityFlags flags = 0; flags < 50; ++flags) {
    target->deliver(flags);
    target->deliver(flags);  // unchanged: not delivered again
  }
  queue->sync([] {});
  const auto flags = received.snapshot();
  ASSERT_EQ(flags.size(), 51u);
  EXPECT_EQ(flags[0], 0x40002u) << "the flags at arming come first";
  for (ReachabilityFlags i = 0; i < 50; ++i) {
    EXPECT_EQ(flags[i + 1], i);
  }
  for (const auto& label : received.queues) {
    EXPECT_EQ(label, "test.reachability");
  }
}

TEST(HostReachabilityTarget, Clearing_StopsDeliveriesThatAreAlreadyQueued) {
  Received received;
  const platform::ReachabilityContext context{&received};
  auto queue = platform::DispatchQueue::createSerial("test.reachability");
  auto target = HostReachabilityTarget::create("example.org", 0x2);
  ASSERT_TRUE(target->setCallback(&record, &context));

  // Hold the queue so that the deliveries wait behind a gate.
  std::mutex gate;
  std::unique_lock closed(gate);
  queue->async([&gate] { std::lock_guard wait(gate); });
  ASSERT_TRUE(target->setDispatchQueue(queue));
  target->deliver(0);
  target->deliver(0x2);
  ASSERT_TRUE(target->setCallback(nullptr, nullptr));
  closed.unlock();
  queue->sync([] {});
  EXPECT_TRUE(received.snapshot().empty());

  // Dropping the target has the same effect.
  ASSERT_TRUE(target->setCallback(&record, &context));
  queue->sync([] {});
  ASSERT_EQ(received.snapshot().size(), 1u);
  closed.lock();
  queue->async([&gate] { std::lock_guard wait(gate); });
  target->deliver(0x40002);
  target.reset();
  closed.unlock();
  queue->sync([] {});
  EXPECT_EQ(received.snapshot().size(), 1u);
}

// A callback that clears its own target must not deadlock; and once a
// clearing call returns, no callback runs, also one that was just starting.
struct Observed {
  int selfClearingCalls = 0;
  std::atomic<bool> cleared{false};
  std::atomic<int> ranAfterClearing{0};
  std::atomic<int> calls{0};
};

void clearSelf(platform::ReachabilityTarget& target, ReachabilityFlags /*flags*/, void* info) {
  ++static_cast<Observed*>(info)->selfClearingCalls;
  target.setCallback(nullptr, nullptr);
}

void watchForClearing(platform::ReachabilityTarget& /*target*/, ReachabilityFlags /*flags*/, void* info) {
  auto* observed = static_cast<Observed*>(info);
  observed->calls.fetch_add(1);
  for (int i = 0; i < 50; ++i) {
    if (observed->cleared.load()) {
      observed->ranAfterClearing.fetch_add(1);
      return;
    }
    std::this_thread::yield();
  }
}

TEST(HostReachabilityTarget, Clearing_FromTheCallbackOrWhileOneRuns) {
  auto queue = platform::DispatchQueue::createSerial("test.reachability");
  {
    Observed observed;
    const platform::ReachabilityContext context{&observed};
    auto target = HostReachabilityTarget::create("example.org", 0x2);
    target->setDispatchQueue(queue);
    target->setCallback(&clearSelf, &context);
    target->deliver(0);
    queue->sync([] {});
    EXPECT_EQ(observed.selfClearingCalls, 1) << "cleared by the first callback";
  }
  Observed observed;
  const platform::ReachabilityContext context{&observed};
  for (int round = 0; round < 200; ++round) {
    observed.cleared.store(false);
    auto target = HostReachabilityTarget::create("example.org", 0x2);
    target->setDispatchQueue(queue);
    target->setCallback(&watchForClearing, &context);
    queue->sync([] {});  // the flags at arming: one call per round for certain
    target->deliver(0);
    target->deliver(0x2);
    target->setCallback(nullptr, nullptr);
    observed.cleared.store(true);
    queue->sync([] {});
  }
  EXPECT_GE(observed.calls.load(), 200);
  EXPECT_EQ(observed.ranAfterClearing.load(), 0);
}

}  // namespace
}  // namespace velune::host
