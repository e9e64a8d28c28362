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
  std::condition_variable done;
  bool finished = false;
  OperationQueue* seenDuring = nullptr;
  OperationQueue* seenAfter = reinterpret_cast<OperationQueue*>(1);
  owner->queue.addOperation([&mutex, &done, &finished, &seenDuring, &seenAfter, held = owner]() mutable {
    seenDuring = OperationQueue::current();
    held.reset();  // the last reference: the queue goes while its operation runs
    seenAfter = OperationQueue::current();
    std::lock_guard lock(mutex);
    finished = true;
    done.notify_all();
  });
  const auto* queueAddress = &owner->queue;
  owner.reset();
  std::unique_lock lock(mutex);
  ASSERT_TRUE(done.wait_for(lock, std::chrono::seconds(20), [&] { return finished; }));
  EXPECT_EQ(seenDuring, queueAddress);
  EXPECT_EQ(seenAfter, nullptr);
}

}  // namespace
}  // namespace velune::platform
