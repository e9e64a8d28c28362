#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "host/InProcessNotificationService.h"
#include "platform/DispatchQueue.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

using platform::DispatchQueue;
using platform::Notification;

TEST(InProcessNotificationService, DeliversOnTheGivenQueueOrOnThePoster) {
  InProcessNotificationService center;
  auto queue = DispatchQueue::createSerial("test.observer");
  int owner = 0;
  std::string deliveredOn;
  std::string postedName;
  int direct = 0;
  center.addObserver(&owner, "Changed", queue, [&](const Notification& n) {
    deliveredOn = DispatchQueue::currentLabel();
    postedName = n.name;
  });
  center.addObserver(&owner, "Changed", nullptr, [&](const Notification&) { ++direct; });
  center.addObserver(&owner, "Other", nullptr, [&](const Notification&) { ADD_FAILURE() << "wrong name"; });
  center.post("Changed");
  EXPECT_EQ(direct, 1) << "without a queue the handler runs inside post()";
  queue->sync([] {});
  EXPECT_EQ(deliveredOn, "test.observer");
  EXPECT_EQ(postedName, "Changed");
  EXPECT_EQ(center.observationCount("Changed"), 2u);
}

// An observer that goes away must not be called by a delivery that was
// already queued for it.
TEST(InProcessNotificationService, RemovedObserverIsNotCalledByAQueuedDelivery) {
  InProcessNotificationService center;
  auto queue = DispatchQueue::createSerial("test.removal");
  std::promise<void> release;
  auto released = release.get_future().share();
  queue->async([released] { released.wait(); });  // hold the queue
  int owner = 0;
  int other = 0;
  std::atomic<int> calls{0};
  center.addObserver(&owner, "Tick", queue, [&](const Notification&) { calls++; });
  center.addObserver(&other, "Tick", queue, [&](const Notification&) { calls += 10; });
  center.post("Tick");
  center.removeObserver(&owner);
  release.set_value();
  queue->sync([] {});
  EXPECT_EQ(calls.load(), 10);
  EXPECT_EQ(center.observationCount("Tick"), 1u);

  const auto id = center.addObserver(&owner, "Tick", nullptr, [&](const Notification&) { calls += 100; });
  center.removeObservation(id);
  center.post("Tick");
  queue->sync([] {});
  EXPECT_EQ(calls.load(), 20);
}

TEST(InProcessNotificationService, HandlersMayRegisterAndPostWhileBeingCalled) {
  InProcessNotificationService center;
  int owner = 0;
  int nested = 0;
  center.addObserver(&owner, "First", nullptr, [&](const Notification&) {
    center.addObserver(&owner, "Second", nullptr, [&](const Notification&) { ++nested; });
    center.post("Second");
  });
  center.post("First");
  EXPECT_EQ(nested, 1);
}

}  // namespace
}  // namespace velune::host
