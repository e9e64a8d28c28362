#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "diag/NetworkIndicator.h"
#include "platform/NetworkActivityIndicator.h"
#include "tests/support/TestSupport.h"

namespace velune {
namespace {

// Records every change and counts the calls that did not change anything:
// with the indicator's lock held, there are none.
class RecordingIndicator final : public platform::NetworkActivityIndicator {
 public:
  void setNetworkActivityIndicatorVisible(bool visible) override {
    // No lock of its own: two calls at once would show as a data race.
    if (visible == visible_) {
      ++redundantCalls;
    }
    visible_ = visible;
    ++changes;
  }
  bool isNetworkActivityIndicatorVisible() const override { return visible_; }

  int changes = 0;
  int redundantCalls = 0;

 private:
  bool visible_ = false;
};

class NetworkIndicatorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto services = testing::baseServices();
    services.networkActivityIndicator = platformIndicator;
    platform::Platform::install(std::move(services));
  }
  void TearDown() override { testing::installBaseServices(); }

  std::shared_ptr<RecordingIndicator> platformIndicator = std::make_shared<RecordingIndicator>();
};

TEST_F(NetworkIndicatorTest, ShowAndHide_KeepASetNotACount) {
  NetworkIndicator indicator;
  indicator.show(kPreviewDownloadActivity);
  indicator.show(kPreviewDownloadActivity);
  EXPECT_TRUE(platformIndicator->isNetworkActivityIndicatorVisible());
  EXPECT_EQ(platformIndicator->changes, 1);

  indicator.hide(kPreviewDownloadActivity);
  EXPECT_FALSE(platformIndicator->isNetworkActivityIndicatorVisible()) << "one hide undoes two shows";
  EXPECT_FALSE(indicator.isShowing(kPreviewDownloadActivity));

  // Hiding what was never shown changes nothing.
  indicator.hide("NeverShown");
  indicator.hide(kPreviewDownloadActivity);
  EXPECT_FALSE(platformIndicator->isNetworkActivityIndicatorVisible());
  EXPECT_EQ(platformIndicator->changes, 2);
  EXPECT_EQ(platformIndicator->redundantCalls, 0);
}

TEST_F(NetworkIndicatorTest, TwoIdentifiers_TheLastHideHides) {
  NetworkIndicator indicator;
  indicator.show("A");
  indicator.show("B");
  indicator.hide("A");
  EXPECT_TRUE(platformIndicator->isNetworkActivityIndicatorVisible());
  EXPECT_TRUE(indicator.isShowing("B"));
  indicator.hide("B");
  EXPECT_FALSE(platformIndicator->isNetworkActivityIndicatorVisible());
  EXPECT_EQ(platformIndicator->changes, 2);
}

TEST_F(NetworkIndicatorTest, ManyThreads_TheIndicatorFollowsTheSet) {
  NetworkIndicator indicator;
  // Each thread shows (twice) and hides its own identifier, so the set keeps
  // going from empty to not empty and back while the other threads change it:
  // one thread's "last hide" races another's "first show".
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&indicator, &go, t] {
      while (!go.load()) {
      }
      const std::string identifier = "activity-" + std::to_string(t);
      for (int i = 0; i < 2000; ++i) {
        indicator.show(identifier);
        indicator.show(identifier);
        indicator.hide(identifier);
      }
    });
  }
  go.store(true);
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_FALSE(platformIndicator->isNetworkActivityIndicatorVisible());
  EXPECT_EQ(platformIndicator->redundantCalls, 0);
  EXPECT_EQ(platformIndicator->changes % 2, 0) << "every show was followed by one hide";
}

}  // namespace
}  // namespace velune
