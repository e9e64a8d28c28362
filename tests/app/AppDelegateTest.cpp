#include <gtest/gtest.h>

#include "app/AppDelegate.h"
#include "diag/NetworkWatcher.h"
#include "platform/ReachabilityService.h"
#include "tests/support/TestSupport.h"

namespace velune {
namespace {

class CountingReachability final : public platform::ReachabilityService {
 public:
  std::shared_ptr<platform::ReachabilityTarget> createWithName(const std::string& hostName) override {
    names.push_back(hostName);
    return nullptr;  // the watcher logs the failure and goes on as offline
  }
  std::vector<std::string> names;
};

class NoApplication final : public platform::ApplicationHost {
 public:
  int run(int, char**, const std::optional<std::string>&, const std::string&) override { return 0; }
  void terminate() override {}
};

TEST(AppDelegate, Launch_StartsTheSharedNetworkWatcherFirst) {
  auto reachability = std::make_shared<CountingReachability>();
  auto services = testing::baseServices();
  services.reachability = reachability;
  platform::Platform::install(std::move(services));

  AppDelegate::registerDelegateClass();
  AppDelegate::registerDelegateClass();  // once is enough; twice is harmless
  const auto delegate = platform::ApplicationDelegate::make("AppDelegate");
  ASSERT_TRUE(delegate);
  NoApplication application;
  EXPECT_TRUE(delegate->applicationWillFinishLaunchingWithOptions(application, {}));
  EXPECT_EQ(reachability->names, std::vector<std::string>{kNetworkWatcherHostName});
  EXPECT_EQ(NetworkWatcher::sharedNetworkWatcher().networkState(), NetworkStateNotConnected);
  EXPECT_TRUE(delegate->applicationDidFinishLaunchingWithOptions(application, {}));
  testing::installBaseServices();
}

}  // namespace
}  // namespace velune
