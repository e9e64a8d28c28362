#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <vector>

#include "diag/DRLogging.h"
#include "host/DeviceMonitor.h"
#include "host/DeviceSettingsEditor.h"
#include "host/FileIO.h"
#include "host/HostAccountService.h"
#include "host/LinuxApplicationHost.h"
#include "host/SimulatedReachability.h"
#include "platform/DispatchQueue.h"
#include "platform/Log.h"
#include "platform/Notifications.h"
#include "platform/RunLoop.h"
#include "tests/support/LogLines.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

using namespace std::chrono_literals;
using platform::ReachabilityFlags;

// Changes travel through inotify and another thread: waits are bounded,
// never sleeps.
constexpr auto kWait = 5s;

template <typename T>
class Inbox {
 public:
  void add(T value) {
    std::lock_guard lock(mutex_);
    values_.push_back(std::move(value));
    changed_.notify_all();
  }
  bool waitForCount(size_t count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kWait, [&] { return values_.size() >= count; });
  }
  std::vector<T> values() {
    std::lock_guard lock(mutex_);
    return values_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<T> values_;
};

void recordFlags(platform::ReachabilityTarget& /*target*/, ReachabilityFlags flags, void* info) {
  static_cast<Inbox<ReachabilityFlags>*>(info)->add(flags);
}

class DeviceMonitorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    testing::installBaseServices();
    testing::clearLogs();
  }
  void TearDown() override { testing::installBaseServices(); }

  void set(const std::string& key, const nlohmann::json& value) {
    ASSERT_FALSE(DeviceSettingsEditor::set(layout, key, value)) << key;
  }
  // Bounded: the line is logged by the monitor's thread through the log queue.
  static bool waitForLogLine(const std::string& message) {
    return testing::systemLog().waitForRecord(
        [&message](const platform::SystemLogRecord& record) {
          const auto* text = record.get("Message");
          return text != nullptr && *text == message;
        },
        std::chrono::duration_cast<std::chrono::milliseconds>(kWait));
  }
  // As an editor saves: the file rewritten in place.
  void overwrite(const std::string& text) { std::ofstream(layout.deviceJson(), std::ios::trunc) << text; }

  testing::TempDirectory home;
  HomeLayout layout{home.path()};
};

TEST_F(DeviceMonitorTest, Reachability_FollowsTheNetworkSettingAsItIsChanged) {
  set("network", "offline");
  auto monitor = DeviceMonitor::create(layout);
  auto reachability = SimulatedReachability::create(monitor);
  monitor->start();

  Inbox<ReachabilityFlags> inbox;
  const platform::ReachabilityContext context{&inbox};
  auto target = reachability->createWithName("www.wikipedia.org");
  ASSERT_TRUE(target);
  auto queue = platform::DispatchQueue::createSerial("test.reachability");
  ASSERT_TRUE(target->setCallback(&recordFlags, &context));
  ASSERT_TRUE(target->setDispatchQueue(queue));
  ASSERT_TRUE(inbox.waitForCount(1));

  set("network", "cellular");
  ASSERT_TRUE(inbox.waitForCount(2));
  // Changes that leave the network alone reach no callback; the next
  // network change shows that nothing came in between.
  set("identityToken", "someone-else");
  set("network", "cellular");
  overwrite(R"({"network": "satellite"})");  // unknown: the network in force stays
  ASSERT_TRUE(waitForLogLine("device.json: unknown network \"satellite\"; expected wifi, cellular or offline"));
  overwrite("{ not json");  // unreadable: everything stays
  ASSERT_TRUE(waitForLogLine("device.json is not a JSON object; its settings are not used"));
  set("network", "wifi");
  ASSERT_TRUE(inbox.waitForCount(3));
  std::remove(layout.deviceJson().c_str());  // no file: the default device (Wi-Fi)
  overwrite(R"({"network": "offline"})");
  ASSERT_TRUE(inbox.waitForCount(4));

  EXPECT_EQ(inbox.values(), (std::vector<ReachabilityFlags>{0x0, 0x40002, 0x2, 0x0}));
  EXPECT_EQ(monitor->configuration().network, NetworkSetting::Offline);
  for (const auto& line : testing::linesStartingWith("device.json")) {
    EXPECT_EQ(line.level, kLogWarning) << line.message;
  }
}

TEST_F(DeviceMonitorTest, Reachability_RefusesNamesThatAreNotHostNames) {
  auto monitor = DeviceMonitor::create(layout);
  auto reachability = SimulatedReachability::create(monitor);
  for (const char* bad : {"", "has space.org", "-leading.org", "trailing-.org", "a..b", "exa_mple.org",
                          "very.long.label.aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa.org"}) {
    EXPECT_FALSE(reachability->createWithName(bad)) << bad;
  }
  for (const char* good : {"www.wikipedia.org", "localhost", "example.org.", "10.0.0.1", "2001:db8::1"}) {
    EXPECT_TRUE(reachability->createWithName(good)) << good;
  }
}

TEST_F(DeviceMonitorTest, Account_SignInAndOutPostTheIdentityChange) {
  set("identityToken", "first-user");
  auto monitor = DeviceMonitor::create(layout);
  auto account = HostAccountService::create(monitor, testing::baseServices().notifications);
  monitor->start();
  ASSERT_EQ(account->identityToken(), platform::IdentityToken("first-user"));

  Inbox<std::optional<platform::IdentityToken>> seen;
  const int owner = 0;
  testing::notifications().addObserver(&owner, std::string(platform::kAccountIdentityDidChangeNotification), nullptr,
                                       [&](const platform::Notification& notification) {
                                         EXPECT_EQ(notification.object, account.get());
                                         // The new token is readable when the notification comes.
                                         seen.add(account->identityToken());
                                       });

  set("identityToken", nullptr);
  ASSERT_TRUE(seen.waitForCount(1));
  set("network", "cellular");     // not an account change
  set("identityToken", nullptr);  // no change
  set("identityToken", "second-user");
  ASSERT_TRUE(seen.waitForCount(2));
  testing::notifications().removeObserver(&owner);

  const auto values = seen.values();
  ASSERT_EQ(values.size(), 2u);
  EXPECT_EQ(values[0], std::nullopt);
  EXPECT_EQ(values[1], platform::IdentityToken("second-user"));
}

TEST_F(DeviceMonitorTest, ApplicationState_MovesTheRunningAppAndPostsEachChangeOnce) {
  auto monitor = DeviceMonitor::create(layout);
  auto application = std::make_shared<LinuxApplicationHost>();
  std::weak_ptr<LinuxApplicationHost> weakApplication = application;
  monitor->addApplicationStateListener([weakApplication](ApplicationState state) {
    if (auto strong = weakApplication.lock()) {
      strong->setActive(state == ApplicationState::Active);
    }
  });
  monitor->start();

  std::vector<std::string> posted;
  const int owner = 0;
  for (const auto name :
       {platform::kApplicationWillResignActiveNotification, platform::kApplicationDidBecomeActiveNotification}) {
    testing::notifications().addObserver(&owner, std::string(name), nullptr,
                                         [&posted](const platform::Notification& n) { posted.push_back(n.name); });
  }
  // The main queue runs here: wait (bounded) for the change to arrive on it.
  auto waitForPosts = [&posted](size_t count) {
    const auto deadline = std::chrono::steady_clock::now() + kWait;
    while (posted.size() < count && std::chrono::steady_clock::now() < deadline) {
      platform::RunLoop::main().runOnce(std::chrono::milliseconds(50));
    }
    return posted.size() >= count;
  };

  application->setActive(true);
  testing::runMainUntilIdle();
  ASSERT_EQ(posted.size(), 1u);
  const std::string stateFile = monitor->applicationStateFile();
  ASSERT_FALSE(DeviceMonitor::writeApplicationState(stateFile, ApplicationState::Background));
  ASSERT_TRUE(waitForPosts(2));
  EXPECT_FALSE(application->isActive());
  // Asking again for the state in force changes nothing; a broken file is ignored.
  ASSERT_FALSE(DeviceMonitor::writeApplicationState(stateFile, ApplicationState::Background));
  // Replaced whole: a watcher reading between a truncation and the write would
  // see an empty file, which is a different (if short-lived) fault.
  ASSERT_FALSE(writeFileAtomically(stateFile, R"({"state": "asleep"})"));
  // Read before it is replaced: two writes in a row may reach the monitor as one.
  ASSERT_TRUE(waitForLogLine("app-state.json: expected {\"state\": \"active\"} or {\"state\": \"background\"}; ignored"));
  ASSERT_FALSE(DeviceMonitor::writeApplicationState(stateFile, ApplicationState::Active));
  ASSERT_TRUE(waitForPosts(3));
  testing::notifications().removeObserver(&owner);

  EXPECT_EQ(posted, (std::vector<std::string>{std::string(platform::kApplicationDidBecomeActiveNotification),
                                              std::string(platform::kApplicationWillResignActiveNotification),
                                              std::string(platform::kApplicationDidBecomeActiveNotification)}));
  EXPECT_TRUE(application->isActive());
  EXPECT_EQ(
      testing::countOf("app-state.json: expected {\"state\": \"active\"} or {\"state\": \"background\"}; ignored"), 1u);
}

TEST_F(DeviceMonitorTest, BrokenFiles_ReadAgainUnchangedAreComplainedAboutOnce) {
  // One save reaches the monitor as several events; each re-read of the same
  // broken file used to log the same warning again.
  const std::string stateComplaint =
      "app-state.json: expected {\"state\": \"active\"} or {\"state\": \"background\"}; ignored";
  const std::string deviceComplaint = "device.json is not a JSON object; its settings are not used";
  auto monitor = DeviceMonitor::create(layout);
  const std::string stateFile = monitor->applicationStateFile();
  std::ofstream(stateFile, std::ios::trunc) << R"({"state": "asleep"})";
  overwrite("{ not json");
  for (int read = 0; read < 3; ++read) {
    monitor->reload();
  }
  ASSERT_TRUE(waitForLogLine(deviceComplaint));
  ASSERT_TRUE(waitForLogLine(stateComplaint));
  // Lines come in order: a line after the re-reads shows none is still on its way.
  PLATFORM_LOG(kLogWarning, "%@", "marker after the re-reads");
  ASSERT_TRUE(waitForLogLine("marker after the re-reads"));
  EXPECT_EQ(testing::countOf(stateComplaint), 1u);
  EXPECT_EQ(testing::countOf(deviceComplaint), 1u);

  // A new file with the same fault is a new fault: said again.
  ASSERT_FALSE(writeFileAtomically(stateFile, R"({"state": "dreaming"})"));
  // Mended, then broken again as before: said again too.
  ASSERT_FALSE(writeFileAtomically(layout.deviceJson(), R"({"network": "cellular"})"));
  monitor->reload();
  ASSERT_FALSE(writeFileAtomically(layout.deviceJson(), "{ not json either"));
  monitor->reload();
  PLATFORM_LOG(kLogWarning, "%@", "marker after the changes");
  ASSERT_TRUE(waitForLogLine("marker after the changes"));
  EXPECT_EQ(testing::countOf(stateComplaint), 2u);
  EXPECT_EQ(testing::countOf(deviceComplaint), 2u);
}

TEST_F(DeviceMonitorTest, Monitor_DroppedWhileWatchingStopsItsThread) {
  auto monitor = DeviceMonitor::create(layout);
  Inbox<NetworkSetting> inbox;
  monitor->addConfigurationListener(
      [&inbox](const DeviceConfiguration&, const DeviceConfiguration& current) { inbox.add(current.network); });
  monitor->start();
  set("network", "cellular");
  ASSERT_TRUE(inbox.waitForCount(1));
  monitor.reset();  // joins the thread: a hang here fails the test by its watchdog
  set("network", "offline");
  EXPECT_EQ(inbox.values().size(), 1u);
}

TEST_F(DeviceMonitorTest, Polling_SeesTheSameChangesWhereInotifyIsMissing) {
  auto monitor = DeviceMonitor::create(layout);
  Inbox<std::string> inbox;
  monitor->addConfigurationListener([&inbox](const DeviceConfiguration& previous, const DeviceConfiguration& current) {
    if (previous.network != current.network) {
      inbox.add(DeviceConfiguration::networkName(current.network));
    }
    if (previous.identityToken != current.identityToken) {
      inbox.add(current.identityToken.value_or("signed out"));
    }
  });
  monitor->addApplicationStateListener(
      [&inbox](ApplicationState state) { inbox.add(state == ApplicationState::Active ? "active" : "background"); });
  monitor->start(DeviceWatchMethod::Polling);

  set("network", "cellular");
  ASSERT_TRUE(inbox.waitForCount(1));
  set("identityToken", nullptr);
  ASSERT_TRUE(inbox.waitForCount(2));
  ASSERT_FALSE(DeviceMonitor::writeApplicationState(monitor->applicationStateFile(), ApplicationState::Background));
  ASSERT_TRUE(inbox.waitForCount(3));
  EXPECT_EQ(inbox.values(), (std::vector<std::string>{"cellular", "signed out", "background"}));
}

}  // namespace
}  // namespace velune::host
