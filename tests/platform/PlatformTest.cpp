#include "platform/Platform.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "platform/DispatchQueue.h"
#include "platform/Log.h"
#include "platform/NetworkActivityIndicator.h"
#include "tests/support/TestSupport.h"

namespace velune {
namespace {

// An indicator that records whether it has been destroyed.
class TrackedIndicator final : public platform::NetworkActivityIndicator {
 public:
  explicit TrackedIndicator(std::shared_ptr<std::atomic<bool>> destroyed) : destroyed_(std::move(destroyed)) {}
  ~TrackedIndicator() override { destroyed_->store(true); }
  void setNetworkActivityIndicatorVisible(bool visible) override { visible_ = visible; }
  bool isNetworkActivityIndicatorVisible() const override { return visible_; }

 private:
  std::shared_ptr<std::atomic<bool>> destroyed_;
  std::atomic<bool> visible_{false};
};

class PlatformTest : public ::testing::Test {
 protected:
  void TearDown() override { testing::installBaseServices(); }
};

// A worker that still uses a service must keep it alive when the services are
// reinstalled meanwhile (a test home does this); a plain reference once
// dangled here.
TEST_F(PlatformTest, Require_HandleOutlivesAReinstall) {
  auto destroyed = std::make_shared<std::atomic<bool>>(false);
  auto services = testing::baseServices();
  services.networkActivityIndicator = std::make_shared<TrackedIndicator>(destroyed);
  platform::Platform::install(std::move(services));

  auto worker = platform::DispatchQueue::createSerial("com.example.holder");
  std::promise<void> handleTaken;
  std::promise<void> reinstalled;
  auto reinstalledSignal = reinstalled.get_future().share();
  bool aliveAfterReinstall = false;
  worker->async([&, reinstalledSignal] {
    const auto indicator = VELUNE_SERVICE(networkActivityIndicator);
    handleTaken.set_value();
    reinstalledSignal.wait();
    indicator->setNetworkActivityIndicatorVisible(true);
    aliveAfterReinstall = !destroyed->load() && indicator->isNetworkActivityIndicatorVisible();
  });
  handleTaken.get_future().wait();
  testing::installBaseServices();  // drops the platform's own reference
  EXPECT_FALSE(destroyed->load()) << "the service went while a worker held it";
  reinstalled.set_value();
  worker->sync([] {});
  EXPECT_TRUE(aliveAfterReinstall);
  EXPECT_TRUE(destroyed->load()) << "the last handle is gone, so is the service";
}

// Records what reaches it, and counts the formatting work asked of it.
class RecordingSink final : public platform::LogSink {
 public:
  bool isLevelEnabled(int level) const override { return level <= maximumLevel; }
  void send(const char* sourceFile, const char* functionName, unsigned line, int level,
            std::string message) override {
    lines.push_back(std::string(sourceFile) + "|" + functionName + "|" + std::to_string(line) + "|" +
                    std::to_string(level) + "|" + message);
  }
  void flush() override { ++flushes; }

  int maximumLevel = 6;
  std::vector<std::string> lines;
  int flushes = 0;
};

TEST_F(PlatformTest, Log_ReachesTheInstalledSinkOnlyForEnabledLevels) {
  const auto previous = platform::Log::sink();
  auto sink = std::make_shared<RecordingSink>();
  platform::Log::installSink(sink);

  const unsigned line = __LINE__ + 1;
  PLATFORM_LOG(kLogWarning, "can't read %@: %d", std::string("device.json"), 2);
  PLATFORM_LOG(kLogDebug, "detail %@", std::string("not wanted"));
  platform::Log::flush();

  ASSERT_EQ(sink->lines.size(), 1u);
  EXPECT_NE(sink->lines[0].find("tests/platform/PlatformTest.cpp|"), std::string::npos) << sink->lines[0];
  EXPECT_NE(sink->lines[0].find("|" + std::to_string(line) + "|4|can't read device.json: 2"), std::string::npos)
      << sink->lines[0];
  EXPECT_EQ(sink->flushes, 1);

  // Without a sink records are dropped, and nothing fails.
  platform::Log::installSink(nullptr);
  PLATFORM_LOG(kLogErr, "dropped");
  platform::Log::flush();
  EXPECT_EQ(sink->lines.size(), 1u);
  platform::Log::installSink(previous);
}

}  // namespace
}  // namespace velune
