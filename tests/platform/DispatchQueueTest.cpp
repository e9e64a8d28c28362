#include "platform/DispatchQueue.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/RunLoop.h"
#include "tests/support/TestSupport.h"

namespace velune::platform {
namespace {

using testing::manualClock;
using testing::runMainUntilIdle;

TEST(DispatchQueue, SerialQueue_RunsTasksOneAtATimeInSubmissionOrder) {
  auto queue = DispatchQueue::createSerial("test.order");
  std::vector<int> order;
  std::atomic<int> running{0};
  std::atomic<bool> overlapped{false};
  for (int i = 0; i < 500; ++i) {
    queue->async([&, i] {
      if (running.fetch_add(1) != 0) {
        overlapped = true;
      }
      order.push_back(i);
      running.fetch_sub(1);
    });
  }
  queue->sync([] {});
  ASSERT_EQ(order.size(), 500u);
  for (int i = 0; i < 500; ++i) {
    EXPECT_EQ(order[static_cast<size_t>(i)], i);
  }
  EXPECT_FALSE(overlapped.load());
}

TEST(DispatchQueue, AsyncNeverRunsInsideTheCallEvenFromItsOwnQueue) {
  auto queue = DispatchQueue::createSerial("test.inline");
  std::vector<int> order;
  queue->sync([&] {
    queue->async([&] { order.push_back(2); });
    order.push_back(1);
  });
  queue->sync([] {});
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(DispatchQueue, CurrentLabelNamesTheQueueTheCallerRunsOn) {
  auto queue = DispatchQueue::createSerial("com.example.labelled");
  std::string seen;
  queue->sync([&] { seen = DispatchQueue::currentLabel(); });
  EXPECT_EQ(seen, "com.example.labelled");
  EXPECT_EQ(DispatchQueue::currentLabel(), DispatchQueue::kMainQueueLabel);  // the test runs on the main thread
  std::string onPlainThread = "unset";
  std::thread([&] { onPlainThread = DispatchQueue::currentLabel(); }).join();
  EXPECT_EQ(onPlainThread, "");
  std::string inNested;
  auto other = DispatchQueue::createSerial("com.example.other");
  queue->sync([&] { other->sync([&] { inNested = DispatchQueue::currentLabel(); }); });
  EXPECT_EQ(inNested, "com.example.other");
}

// The owner may drop a queue while work is pending; the work still runs.
TEST(DispatchQueue, QueueOutlivesItsOwnerUntilItsWorkHasRun) {
  std::promise<void> release;
  std::shared_future<void> released = release.get_future().share();
  std::promise<int> result;
  std::weak_ptr<DispatchQueue> weak;
  {
    auto queue = DispatchQueue::createSerial("test.lifetime");
    weak = queue;
    queue->async([released] { released.wait(); });
    queue->async([&result] { result.set_value(42); });
  }
  EXPECT_FALSE(weak.expired());
  release.set_value();
  auto future = result.get_future();
  ASSERT_EQ(future.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  EXPECT_EQ(future.get(), 42);
}

TEST(DispatchQueue, MainQueue_RunsPostsFromOtherThreadsInOrderWhenTheLoopRuns) {
  std::vector<int> order;
  auto background = DispatchQueue::createSerial("test.poster");
  background->sync([&] {
    for (int i = 0; i < 3; ++i) {
      DispatchQueue::main()->async([&order, i] { order.push_back(i); });
    }
  });
  EXPECT_TRUE(order.empty());
  EXPECT_EQ(runMainUntilIdle(), 3u);
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
}

TEST(DispatchQueue, GlobalQueueRunsTasksConcurrently) {
  std::promise<void> second;
  auto secondRan = second.get_future();
  std::promise<bool> first;
  auto firstResult = first.get_future();
  auto global = DispatchQueue::global();
  // The first task can only finish when the second runs beside it.
  global->async([&] { first.set_value(secondRan.wait_for(std::chrono::seconds(10)) == std::future_status::ready); });
  global->async([&] { second.set_value(); });
  ASSERT_EQ(firstResult.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  EXPECT_TRUE(firstResult.get());
}

TEST(DispatchQueue, AsyncAfter_WaitsForTheClockAndKeepsPostingOrderForEqualDeadlines) {
  auto queue = DispatchQueue::createSerial("test.after");
  std::mutex mutex;
  std::vector<std::string> order;
  auto record = [&](std::string what) {
    return [&, what] {
      std::lock_guard lock(mutex);
      order.push_back(what);
    };
  };
  queue->asyncAfterSeconds(2.0, record("2s-a"));
  queue->asyncAfterSeconds(1.0, record("1s"));
  queue->asyncAfterSeconds(2.0, record("2s-b"));
  queue->asyncAfterSeconds(0.0, record("now"));
  queue->sync([] {});
  {
    std::lock_guard lock(mutex);
    EXPECT_EQ(order, (std::vector<std::string>{"now"}));
  }
  manualClock().advanceSeconds(0.999);
  queue->sync([] {});
  {
    std::lock_guard lock(mutex);
    EXPECT_EQ(order.size(), 1u);
  }
  manualClock().advanceSeconds(1.5);
  queue->sync([] {});
  std::lock_guard lock(mutex);
  EXPECT_EQ(order, (std::vector<std::string>{"now", "1s", "2s-a", "2s-b"}));
}

TEST(DispatchQueue, PriorityClassLowersTheThreadsPriority) {
  auto utility = DispatchQueue::createSerial("test.utility", QualityOfService::Utility, -15);
  int nice = -100;
  utility->sync([&] {
    errno = 0;
    nice = getpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)));
  });
  EXPECT_EQ(nice, 10);
  EXPECT_EQ(utility->relativePriority(), -15);
  EXPECT_EQ(DispatchQueue::createSerial("x", QualityOfService::Utility, -40)->relativePriority(), -15);
}

TEST(DispatchQueueDeathTest, SyncOnTheCurrentQueueAbortsWithAMessage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        auto queue = DispatchQueue::createSerial("test.deadlock");
        queue->sync([&] { queue->sync([] {}); });
      },
      "would never return: test.deadlock");
  EXPECT_DEATH(DispatchQueue::main()->sync([] {}), "would never return");
}

}  // namespace
}  // namespace velune::platform
