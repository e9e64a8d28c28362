#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include "platform/DispatchSourceTimer.h"
#include "platform/OperationQueue.h"
#include "platform/Timer.h"
#include "tests/support/TestSupport.h"

namespace velune::platform {
namespace {

using testing::advanceClock;
using testing::advanceClockInSteps;
using testing::manualClock;

struct TickCounter {
  std::shared_ptr<DispatchQueue> queue = DispatchQueue::createSerial("test.timer");
  std::atomic<int> ticks{0};
  int settle() {
    queue->sync([] {});
    return ticks.load();
  }
};

TEST(DispatchSourceTimer, FirstTickAtOnceThenEveryInterval_MissedTicksFold) {
  TickCounter counter;
  auto timer = DispatchSourceTimer::create(counter.queue);
  timer->schedule(Duration::zero(), secondsToDuration(300), secondsToDuration(1));
  timer->setEventHandler([&] { counter.ticks++; });
  EXPECT_EQ(counter.settle(), 0) << "nothing before resume";
  timer->resume();
  EXPECT_EQ(counter.settle(), 1) << "the first tick comes at once";
  manualClock().advanceSeconds(299);
  EXPECT_EQ(counter.settle(), 1);
  manualClock().advanceSeconds(1);
  EXPECT_EQ(counter.settle(), 2);
  manualClock().advanceSeconds(1000);  // three intervals and more pass at once
  EXPECT_EQ(counter.settle(), 3);
  manualClock().advanceSeconds(200);  // the schedule keeps its phase: 1200 s after the start
  EXPECT_EQ(counter.settle(), 4);
  EXPECT_EQ(timer->leeway(), secondsToDuration(1));
  timer->cancel();
  manualClock().advanceSeconds(3000);
  EXPECT_EQ(counter.settle(), 4);
}

TEST(DispatchSourceTimer, ReschedulingReplacesThePeriodAndTicksAtOnce) {
  TickCounter counter;
  auto timer = DispatchSourceTimer::create(counter.queue);
  timer->schedule(Duration::zero(), secondsToDuration(300), Duration::zero());
  timer->setEventHandler([&] { counter.ticks++; });
  timer->resume();
  EXPECT_EQ(counter.settle(), 1);
  timer->schedule(Duration::zero(), secondsToDuration(10), Duration::zero());
  EXPECT_EQ(counter.settle(), 2);
  manualClock().advanceSeconds(10);
  EXPECT_EQ(counter.settle(), 3);
  manualClock().advanceSeconds(290);  // the old 300 s deadline is gone; 29 ticks of 10 s passed, folded into one
  EXPECT_EQ(counter.settle(), 4);
}

// The timer's owner goes away: its handler must never run afterwards.
TEST(DispatchSourceTimer, DestroyingTheTimerStopsIt) {
  TickCounter counter;
  {
    auto timer = DispatchSourceTimer::create(counter.queue);
    timer->schedule(secondsToDuration(5), secondsToDuration(5), Duration::zero());
    timer->setEventHandler([&] { counter.ticks++; });
    timer->resume();
    manualClock().advanceSeconds(5);
    EXPECT_EQ(counter.settle(), 1);
  }
  manualClock().advanceSeconds(50);
  EXPECT_EQ(counter.settle(), 1);
}

// Ticks that come due while the queue is still busy with earlier work are one
// tick, not one per interval.
TEST(DispatchSourceTimer, BusyQueue_TicksThatCameDueFoldIntoOne) {
  TickCounter counter;
  auto timer = DispatchSourceTimer::create(counter.queue);
  timer->schedule(secondsToDuration(1.0 / 60), secondsToDuration(1.0 / 60), Duration::zero());
  timer->setEventHandler([&] { counter.ticks++; });
  std::promise<void> release;
  std::promise<void> busy;
  counter.queue->async([&] {
    busy.set_value();
    release.get_future().wait();
  });
  busy.get_future().wait();
  timer->resume();
  for (int i = 0; i < 60; ++i) {
    manualClock().advanceSeconds(1.0 / 60);
  }
  release.set_value();
  EXPECT_EQ(counter.settle(), 1);
  manualClock().advanceSeconds(1.0 / 60);
  EXPECT_EQ(counter.settle(), 2);
}

// A queue that runs a hook inside the timer's post of a tick: the moment when
// the firing thread has taken a tick and not yet armed the next one.
class HookedQueue final : public DispatchQueue {
 public:
  HookedQueue() : DispatchQueue("test.hooked", QualityOfService::Default, 0) {}
  void async(Task task) override {
    if (auto hook = std::exchange(hook_, nullptr)) {
      hook();
    }
    inner_->async(std::move(task));
  }
  bool isSerial() const override { return true; }
  void setHook(std::function<void()> hook) { hook_ = std::move(hook); }
  void settle() { inner_->sync([] {}); }

 private:
  std::shared_ptr<DispatchQueue> inner_ = DispatchQueue::createSerial("test.hooked.inner");
  std::function<void()> hook_;
};

// schedule() while a tick of the old schedule was being fired used to leave
// the old chain running beside the new one.
TEST(DispatchSourceTimer, RescheduleWhileATickFires_OnlyTheNewChainTicks) {
  auto queue = std::make_shared<HookedQueue>();
  std::atomic<int> ticks{0};
  auto timer = DispatchSourceTimer::create(queue);
  timer->schedule(Duration::zero(), secondsToDuration(10), Duration::zero());
  timer->setEventHandler([&] { ticks++; });
  timer->resume();  // t = 0: a tick
  queue->settle();
  queue->setHook([&] { timer->schedule(secondsToDuration(5), secondsToDuration(10), Duration::zero()); });
  manualClock().advanceSeconds(10);  // t = 10: a tick, and the new chain starts at 15
  queue->settle();
  EXPECT_EQ(ticks.load(), 2);
  manualClock().advanceSeconds(5);  // 15
  queue->settle();
  EXPECT_EQ(ticks.load(), 3);
  manualClock().advanceSeconds(5);  // 20: only the old chain would tick here
  queue->settle();
  EXPECT_EQ(ticks.load(), 3);
  manualClock().advanceSeconds(5);  // 25
  queue->settle();
  EXPECT_EQ(ticks.load(), 4);
  timer->cancel();
}

TEST(DispatchSourceTimer, OneShotFiresOnce) {
  TickCounter counter;
  auto timer = DispatchSourceTimer::create(counter.queue);
  timer->schedule(secondsToDuration(1), std::nullopt, Duration::zero());
  timer->setEventHandler([&] { counter.ticks++; });
  timer->resume();
  manualClock().advanceSeconds(1);
  manualClock().advanceSeconds(10);
  EXPECT_EQ(counter.settle(), 1);
}

TEST(Timer, RepeatingMainThreadTimerFollowsTheClockUntilInvalidated) {
  int fired = 0;
  std::weak_ptr<Timer> weak = Timer::scheduledTimer(1.0 / 60, true, [&](Timer& timer) {
    if (++fired == 5) {
      timer.invalidate();
    }
  });
  // The run loop keeps the timer alive while it is valid.
  EXPECT_FALSE(weak.expired());
  advanceClockInSteps(0.05, 1.0 / 60);  // three ticks
  EXPECT_EQ(fired, 3);
  advanceClockInSteps(1.0, 1.0 / 60);
  EXPECT_EQ(fired, 5);
  EXPECT_TRUE(weak.expired());
}

TEST(Timer, OneShotTimerFiresOnceAndInvalidatesItself) {
  int fired = 0;
  auto timer = Timer::scheduledTimer(0.5, false, [&](Timer&) { ++fired; });
  advanceClock(0.4);
  EXPECT_EQ(fired, 0);
  EXPECT_TRUE(timer->isValid());
  advanceClock(0.2);
  EXPECT_EQ(fired, 1);
  EXPECT_FALSE(timer->isValid());
  advanceClock(5);
  EXPECT_EQ(fired, 1);
}

// Every tick that came due while the main thread was busy used to be queued,
// so a 1/60 s animation ran 60 times back to back after a one-second stall.
TEST(Timer, BusyMainQueue_TicksThatCameDueFoldIntoOne) {
  int fired = 0;
  auto timer = Timer::scheduledTimer(1.0 / 60, true, [&](Timer&) { ++fired; });
  DispatchQueue::main()->async([] {
    for (int i = 0; i < 60; ++i) {  // the main thread is busy for one second
      manualClock().advanceSeconds(1.0 / 60);
    }
  });
  testing::runMainUntilIdle();
  EXPECT_EQ(fired, 1);
  advanceClock(1.0 / 60);
  EXPECT_EQ(fired, 2) << "the timer keeps its period after the stall";
  timer->invalidate();
}

TEST(Timer, InvalidateBeforeTheFirstTick) {
  int fired = 0;
  auto timer = Timer::scheduledTimer(0.1, true, [&](Timer&) { ++fired; });
  timer->invalidate();
  advanceClock(1);
  EXPECT_EQ(fired, 0);
}

TEST(OperationQueue, SerialQueueKeepsOrderAndConcurrentQueueOverlaps) {
  OperationQueue serial("test.ops.serial", QualityOfService::Default, 1);
  std::vector<int> order;
  for (int i = 0; i < 100; ++i) {
    serial.addOperation([&order, i] { order.push_back(i); });
  }
  serial.waitUntilAllOperationsAreFinished();
  ASSERT_EQ(order.size(), 100u);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));

  OperationQueue concurrent("test.ops.concurrent", QualityOfService::Background);
  std::promise<void> second;
  auto secondRan = second.get_future();
  std::atomic<bool> overlapped{false};
  std::atomic<OperationQueue*> seenQueue{nullptr};
  concurrent.addOperation([&] {
    seenQueue = OperationQueue::current();
    overlapped = secondRan.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
  });
  concurrent.addOperation([&] { second.set_value(); });
  concurrent.waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(overlapped.load());
  EXPECT_EQ(seenQueue.load(), &concurrent);
  EXPECT_EQ(concurrent.operationCount(), 0u);
  EXPECT_EQ(OperationQueue::current(), nullptr);
}

TEST(OperationQueue, CancelDropsOperationsThatHaveNotStarted) {
  OperationQueue serial("test.ops.cancel", QualityOfService::Default, 1);
  std::promise<void> release;
  auto released = release.get_future().share();
  std::atomic<int> ran{0};
  serial.addOperation([released, &ran] {
    released.wait();
    ran++;
  });
  for (int i = 0; i < 5; ++i) {
    serial.addOperation([&ran] { ran++; });
  }
  serial.cancelAllOperations();
  release.set_value();
  serial.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(ran.load(), 1);
}

}  // namespace
}  // namespace velune::platform
