#include <gtest/gtest.h>

#include <mutex>

#include "diag/DRLogging.h"
#include "diag/NetworkWatcher.h"
#include "platform/DispatchQueue.h"
#include "tests/support/LogLines.h"
#include "tests/support/TestSupport.h"

namespace velune {
namespace {

using platform::ReachabilityCallback;
using platform::ReachabilityContext;
using platform::ReachabilityFlags;
using testing::countOf;
using testing::linesWithMessage;
using testing::messagesStartingWith;

// A reachability service whose targets fire when the test says so and whose
// steps can be made to fail.
class FakeTarget final : public platform::ReachabilityTarget {
 public:
  explicit FakeTarget(std::string hostName) : ReachabilityTarget(std::move(hostName)) {}

  bool setCallback(ReachabilityCallback newCallback, const ReachabilityContext* context) override {
    std::lock_guard lock(mutex);
    if (failSetCallback && newCallback != nullptr) {
      return false;
    }
    callback = newCallback;
    info = context != nullptr ? context->info : nullptr;
    return true;
  }
  bool setDispatchQueue(std::shared_ptr<platform::DispatchQueue> newQueue) override {
    std::lock_guard lock(mutex);
    if (failSetQueue && newQueue != nullptr) {
      return false;
    }
    queue = std::move(newQueue);
    return true;
  }

  // Delivers `flags` as the platform would, and waits until the callback ran.
  void fire(ReachabilityFlags flags) {
    std::shared_ptr<platform::DispatchQueue> target;
    {
      std::lock_guard lock(mutex);
      target = queue;
    }
    ASSERT_TRUE(target) << "no queue registered";
    target->sync([this, flags] {
      ReachabilityCallback registered = nullptr;
      void* registeredInfo = nullptr;
      {
        std::lock_guard lock(mutex);
        registered = callback;
        registeredInfo = info;
      }
      if (registered != nullptr) {
        registered(*this, flags, registeredInfo);
      }
    });
  }

  std::mutex mutex;
  bool failSetCallback = false;
  bool failSetQueue = false;
  ReachabilityCallback callback = nullptr;
  void* info = nullptr;
  std::shared_ptr<platform::DispatchQueue> queue;
};

class FakeReachability final : public platform::ReachabilityService {
 public:
  std::shared_ptr<platform::ReachabilityTarget> createWithName(const std::string& hostName) override {
    ++creations;
    if (failCreate) {
      return nullptr;
    }
    last = std::make_shared<FakeTarget>(hostName);
    last->failSetCallback = failSetCallback;
    last->failSetQueue = failSetQueue;
    return last;
  }

  int creations = 0;
  bool failCreate = false;
  bool failSetCallback = false;
  bool failSetQueue = false;
  std::shared_ptr<FakeTarget> last;
};

class NetworkWatcherTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto services = testing::baseServices();
    services.reachability = reachability;
    platform::Platform::install(std::move(services));
    DRSetLogLevel(7);
    testing::clearLogs();
  }
  void TearDown() override { testing::installBaseServices(); }

  std::shared_ptr<FakeReachability> reachability = std::make_shared<FakeReachability>();
};

TEST_F(NetworkWatcherTest, Start_RegistersOnItsQueueAndStaysUnknownUntilTheFirstCallback) {
  NetworkWatcher watcher;
  watcher.start();

  ASSERT_TRUE(reachability->last);
  EXPECT_EQ(reachability->last->hostName(), kNetworkWatcherHostName);
  EXPECT_EQ(reachability->last->info, &watcher);
  ASSERT_TRUE(reachability->last->queue);
  EXPECT_EQ(reachability->last->queue->label(), "com.vorlan.VeluneDriveApp.networkwatcher");
  EXPECT_EQ(watcher.networkState(), NetworkStateUnknown);
  EXPECT_FALSE(watcher.isConnected());

  // A second start keeps the target it has.
  watcher.start();
  EXPECT_EQ(reachability->creations, 1);
  EXPECT_TRUE(messagesStartingWith("Network").empty());
}

TEST_F(NetworkWatcherTest, Callback_DecodesOnlyTheReachableAndCellularBits) {
  NetworkWatcher watcher;
  watcher.start();
  auto& target = *reachability->last;

  struct Case {
    ReachabilityFlags flags;
    NetworkState state;
    bool connected;
  };
  const Case cases[] = {
      {0x2, NetworkStateWiFi, true},
      {0x40002, NetworkStateCellular, true},
      {0x40000, NetworkStateNotConnected, false},  // cellular route, but not reachable
      {0x0, NetworkStateNotConnected, false},
      {0x6, NetworkStateWiFi, true},  // reachable, connection required: still Wi-Fi
      {0xFFFFFFFF, NetworkStateCellular, true},
      {0xFFFFFFFD, NetworkStateNotConnected, false},  // every bit but "reachable"
  };
  for (const auto& each : cases) {
    target.fire(each.flags);
    EXPECT_EQ(watcher.networkState(), each.state) << std::hex << each.flags;
    EXPECT_EQ(watcher.isConnected(), each.connected) << std::hex << each.flags;
    EXPECT_EQ(watcher.reachabilityFlags(), each.flags);
  }

  const auto flagLines = messagesStartingWith("Network reachability flags changed to ");
  EXPECT_EQ(flagLines, (std::vector<std::string>{
                           "Network reachability flags changed to 0x2",
                           "Network reachability flags changed to 0x40002",
                           "Network reachability flags changed to 0x40000",
                           "Network reachability flags changed to 0x0",
                           "Network reachability flags changed to 0x6",
                           "Network reachability flags changed to 0xffffffff",
                           "Network reachability flags changed to 0xfffffffd",
                       }));
  // A state line only where the decoded state changed: 0x0 after 0x40000 is
  // "not connected" twice, so six state lines for seven callbacks.
  EXPECT_EQ(messagesStartingWith("Network state changed to "), (std::vector<std::string>{
                                                                   "Network state changed to connected to Wi-Fi",
                                                                   "Network state changed to connected to cellular",
                                                                   "Network state changed to not connected",
                                                                   "Network state changed to connected to Wi-Fi",
                                                                   "Network state changed to connected to cellular",
                                                                   "Network state changed to not connected",
                                                               }));
  for (const auto& line : linesWithMessage("Network reachability flags changed to 0x2")) {
    EXPECT_EQ(line.level, kLogInfo);
    EXPECT_EQ(line.thread, kNetworkWatcherQueueLabel);
  }
  for (const auto& line : linesWithMessage("Network state changed to connected to Wi-Fi")) {
    EXPECT_EQ(line.level, kLogInfo);
    EXPECT_EQ(line.thread, kNetworkWatcherQueueLabel);
  }
}

TEST_F(NetworkWatcherTest, Callback_TwoFlagsWithOneStateLogOneStateChange) {
  NetworkWatcher watcher;
  watcher.start();
  reachability->last->fire(0x2);
  reachability->last->fire(0x6);

  EXPECT_EQ(countOf("Network reachability flags changed to 0x2"), 1u);
  EXPECT_EQ(countOf("Network reachability flags changed to 0x6"), 1u);
  EXPECT_EQ(countOf("Network state changed to connected to Wi-Fi"), 1u);
  EXPECT_EQ(watcher.reachabilityFlags(), 0x6u);
}

TEST_F(NetworkWatcherTest, Start_FailuresLeaveTheStateNotConnected) {
  {
    reachability->failCreate = true;
    NetworkWatcher watcher;
    watcher.start();
    EXPECT_EQ(watcher.networkState(), NetworkStateNotConnected);
    EXPECT_FALSE(watcher.isConnected());
    EXPECT_EQ(watcher.reachabilityFlags(), 0u);
    const auto lines = linesWithMessage("Couldn't create reachability object");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, kLogErr);
    EXPECT_EQ(countOf("Network state changed to not connected"), 1u);
    // Nothing is kept, so a later start tries again (nothing retries by itself).
    watcher.start();
    EXPECT_EQ(reachability->creations, 2);
  }
  for (const bool callbackFails : {true, false}) {
    testing::clearLogs();
    reachability->failCreate = false;
    reachability->failSetCallback = callbackFails;
    reachability->failSetQueue = !callbackFails;
    NetworkWatcher watcher;
    watcher.start();
    EXPECT_EQ(watcher.networkState(), NetworkStateNotConnected);
    const auto lines = linesWithMessage("Couldn't set reachability callback or queue");
    ASSERT_EQ(lines.size(), 1u) << "callback fails: " << callbackFails;
    EXPECT_EQ(lines[0].level, kLogErr);
    // The target stays stored: a second start does not make another.
    const int creations = reachability->creations;
    watcher.start();
    EXPECT_EQ(reachability->creations, creations);
  }
}

TEST_F(NetworkWatcherTest, Stop_ClearsTheTargetAndForgetsTheStateSilently) {
  NetworkWatcher watcher;
  watcher.start();
  auto target = reachability->last;
  target->fire(0x40002);
  ASSERT_EQ(watcher.networkState(), NetworkStateCellular);
  testing::clearLogs();

  watcher.stop();
  EXPECT_EQ(watcher.networkState(), NetworkStateUnknown);
  EXPECT_EQ(watcher.reachabilityFlags(), 0u);
  EXPECT_EQ(target->callback, nullptr);
  EXPECT_EQ(target->queue, nullptr);
  EXPECT_TRUE(messagesStartingWith("Network").empty());
  // Left holding it: this test and the fake service, not the watcher.
  EXPECT_EQ(target.use_count(), 2) << "stop() did not release the target";

  // Started again, it makes a new target.
  watcher.start();
  EXPECT_EQ(reachability->creations, 2);
}

TEST(NetworkWatcherDescription, NamesEveryStateAndMarksUnknownValues) {
  EXPECT_EQ(NetworkWatcher::_descriptionForNetworkState(NetworkStateUnknown), "unknown");
  EXPECT_EQ(NetworkWatcher::_descriptionForNetworkState(NetworkStateNotConnected), "not connected");
  EXPECT_EQ(NetworkWatcher::_descriptionForNetworkState(NetworkStateWiFi), "connected to Wi-Fi");
  EXPECT_EQ(NetworkWatcher::_descriptionForNetworkState(NetworkStateCellular), "connected to cellular");
  EXPECT_EQ(NetworkWatcher::_descriptionForNetworkState(static_cast<NetworkState>(7)), "??? (7)");
  EXPECT_EQ(NetworkWatcher::_descriptionForNetworkState(static_cast<NetworkState>(4)), "??? (4)");
}

}  // namespace
}  // namespace velune
