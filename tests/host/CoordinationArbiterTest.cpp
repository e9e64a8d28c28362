#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "host/drive/CoordinationArbiter.h"

namespace velune::host {
namespace {

using Access = CoordinationArbiter::Access;

// Waits (bounded) until the arbiter holds `count` claims, running or waiting.
bool waitForClaims(const CoordinationArbiter& arbiter, size_t count) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (arbiter.claimCount() != count) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::yield();
  }
  return true;
}

TEST(CoordinationArbiter, Conflicts_WritersOverlapWithTheItemItsAncestorsAndDescendants) {
  const auto conflict = [](Access a, Access b) { return CoordinationArbiter::conflicts({a}, {b}); };
  EXPECT_FALSE(conflict({"/d/a", false}, {"/d/a", false}));
  EXPECT_TRUE(conflict({"/d/a", true}, {"/d/a", false}));
  EXPECT_TRUE(conflict({"/d", true}, {"/d/a/b", false}));
  EXPECT_TRUE(conflict({"/d/a/b", false}, {"/d", true}));
  EXPECT_FALSE(conflict({"/d/a", true}, {"/d/ab", true}));
  EXPECT_FALSE(conflict({"/d/a", true}, {"/d/b", true}));
  EXPECT_TRUE(conflict({"/", true}, {"/anything", false}));
  EXPECT_TRUE(CoordinationArbiter::conflicts({{"/x", true}, {"/d/b", true}}, {{"/d/b/c", false}}));
}

TEST(CoordinationArbiter, WriterWaitsForReadersAndIsNotOvertaken) {
  CoordinationArbiter arbiter;
  std::atomic<bool> never{false};
  const auto reader = arbiter.acquire({{"/d/a", false}}, never);
  ASSERT_TRUE(reader);
  // Readers share.
  const auto secondReader = arbiter.acquire({{"/d/a", false}}, never);
  ASSERT_TRUE(secondReader);

  std::vector<std::string> order;
  std::mutex orderMutex;
  auto note = [&](const std::string& what) {
    std::lock_guard lock(orderMutex);
    order.push_back(what);
  };
  std::thread writer([&] {
    const auto claim = arbiter.acquire({{"/d", true}}, never);
    note("writer");
    arbiter.release(*claim);
  });
  ASSERT_TRUE(waitForClaims(arbiter, 3));
  std::thread lateReader([&] {
    const auto claim = arbiter.acquire({{"/d/a", false}}, never);
    note("late reader");
    arbiter.release(*claim);
  });
  ASSERT_TRUE(waitForClaims(arbiter, 4));
  note("readers done");
  arbiter.release(*reader);
  arbiter.release(*secondReader);
  writer.join();
  lateReader.join();
  EXPECT_EQ(order, (std::vector<std::string>{"readers done", "writer", "late reader"}));
  EXPECT_EQ(arbiter.claimCount(), 0U);
}

TEST(CoordinationArbiter, NestedClaimsOfOneThreadNeverWaitForThemselves) {
  CoordinationArbiter arbiter;
  std::atomic<bool> never{false};
  const auto outer = arbiter.acquire({{"/d/a", false}}, never);
  ASSERT_TRUE(outer);
  // Another thread's writer now waits behind the outer read...
  std::thread writer([&] {
    const auto claim = arbiter.acquire({{"/d/a", true}}, never);
    arbiter.release(*claim);
  });
  ASSERT_TRUE(waitForClaims(arbiter, 2));
  // ...and a nested write of the reading thread still runs.
  const auto inner = arbiter.acquire({{"/d/a/b", true}}, never);
  ASSERT_TRUE(inner);
  arbiter.release(*inner);
  arbiter.release(*outer);
  writer.join();
}

TEST(CoordinationArbiter, CancellationEndsAWait) {
  CoordinationArbiter arbiter;
  std::atomic<bool> never{false};
  std::atomic<bool> cancelled{false};
  const auto holder = arbiter.acquire({{"/d", true}}, never);
  std::optional<CoordinationArbiter::ClaimId> result = 99;
  std::thread waiter([&] { result = arbiter.acquire({{"/d/x", false}}, cancelled); });
  ASSERT_TRUE(waitForClaims(arbiter, 2));
  cancelled = true;
  arbiter.wakeAll();
  waiter.join();
  EXPECT_FALSE(result);
  EXPECT_EQ(arbiter.claimCount(), 1U);
  arbiter.release(*holder);
  // Already cancelled: refused at once even when free.
  EXPECT_FALSE(arbiter.acquire({{"/d", true}}, cancelled));
}

}  // namespace
}  // namespace velune::host
