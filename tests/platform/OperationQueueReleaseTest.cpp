#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <mutex>

#include "platform/OperationQueue.h"

namespace velune::platform {
namespace {

// Guards against a hang: an object that owns an operation queue and is
// released by the last operation of that queue used to wait for itself.
TEST(OperationQueueRelease, LastOwnerGoneInsideItsOwnOperation) {
  struct Owner {
    OperationQueue queue{"owner-queue"};
  };
  auto owner = std::make_shared<Owner>();
  std::mutex mutex;
  std::condition_variable changed;
  bool ownerDropped = false;  // the test's own reference is gone: the operation holds the last one
  bool finished = false;
  OperationQueue* seenDuring = nullptr;
  OperationQueue* seenAfter = reinterpret_cast<OperationQueue*>(1);
  owner->queue.addOperation([&, held = owner]() mutable {
    {
      std::unique_lock lock(mutex);
      changed.wait(lock, [&] { return ownerDropped; });
    }
    seenDuring = OperationQueue::current();
    held.reset();  // the last reference: the queue goes while its operation runs
    seenAfter = OperationQueue::current();
    std::lock_guard lock(mutex);
    finished = true;
    changed.notify_all();
  });
  const auto* queueAddress = &owner->queue;
  owner.reset();
  std::unique_lock lock(mutex);
  ownerDropped = true;
  changed.notify_all();
  ASSERT_TRUE(changed.wait_for(lock, std::chrono::seconds(20), [&] { return finished; }));
  EXPECT_EQ(seenDuring, queueAddress);
  EXPECT_EQ(seenAfter, nullptr);
}

}  // namespace
}  // namespace velune::platform
