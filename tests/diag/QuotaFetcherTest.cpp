#include <gtest/gtest.h>

#include <deque>
#include <mutex>

#include "diag/DRLogging.h"
#include "diag/NetworkWatcher.h"
#include "diag/QuotaFetcher.h"
#include "platform/DispatchQueue.h"
#include "platform/MainThread.h"
#include "platform/Notifications.h"
#include "platform/QuotaService.h"
#include "tests/support/LogLines.h"
#include "tests/support/TestSupport.h"

namespace velune {
namespace {

using testing::countOf;
using testing::linesWithMessage;

constexpr const char* kSkipped = "Not fetching quota. Background or offline";

// A quota service that keeps every request until the test answers it, on a
// queue of its own.
class FakeQuotaService final : public platform::QuotaService {
 public:
  std::string cloudDocumentsContainerIdentifier() const override { return "test.cloud.documents"; }

  void submit(platform::QuotaRequest request, Completion completion) override {
    std::lock_guard lock(mutex_);
    requests_.push_back(request);
    requestQueues_.push_back(platform::DispatchQueue::currentLabel());
    pending_.push_back(std::move(completion));
  }

  size_t requestCount() {
    std::lock_guard lock(mutex_);
    return requests_.size();
  }
  platform::QuotaRequest request(size_t index) {
    std::lock_guard lock(mutex_);
    return requests_.at(index);
  }
  std::string requestQueue(size_t index) {
    std::lock_guard lock(mutex_);
    return requestQueues_.at(index);
  }

  // Completes the oldest pending request on the service's queue, then waits
  // for it and runs the main queue (where the fetcher hands the value over).
  void answerOldest(std::uint64_t bytes, std::optional<platform::Error> error = std::nullopt) {
    Completion completion;
    {
      std::lock_guard lock(mutex_);
      ASSERT_FALSE(pending_.empty());
      completion = std::move(pending_.front());
      pending_.pop_front();
    }
    queue_->sync([&] { completion(bytes, std::move(error)); });
    testing::runMainUntilIdle();
  }

 private:
  const std::shared_ptr<platform::DispatchQueue> queue_ = platform::DispatchQueue::createSerial("test.quota");
  std::mutex mutex_;
  std::vector<platform::QuotaRequest> requests_;
  std::vector<std::string> requestQueues_;
  std::deque<Completion> pending_;
};

class RecordingDelegate final : public QuotaFetcherDelegate {
 public:
  void quotaFetcherDidUpdateValue(QuotaFetcher& fetcher, std::uint64_t bytes) override {
    values.push_back(bytes);
    onMainThread = onMainThread && platform::isMainThread();
    freeBytesAtCall = fetcher.freeBytes();
  }
  std::vector<std::uint64_t> values;
  bool onMainThread = true;
  std::uint64_t freeBytesAtCall = 0;
};

// A delegate that does not take the optional callback.
class SilentDelegate final : public QuotaFetcherDelegate {};

class QuotaFetcherTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto services = testing::baseServices();
    services.quota = quota;
    platform::Platform::install(std::move(services));
    DRSetLogLevel(7);
    setNetwork(NetworkStateWiFi);
    testing::clearLogs();
  }
  void TearDown() override {
    setNetwork(NetworkStateUnknown);
    testing::installBaseServices();
  }

  // The shared watcher is the one the fetcher asks.
  static void setNetwork(NetworkState state) { NetworkWatcher::sharedNetworkWatcher()._updateState(state); }

  // Moves the clock, then waits until the fetcher's queue ran what came due.
  void advance(const std::shared_ptr<QuotaFetcher>& fetcher, double seconds) {
    testing::advanceClock(seconds);
    fetcher->queue()->sync([] {});
  }

  std::shared_ptr<FakeQuotaService> quota = std::make_shared<FakeQuotaService>();
};

TEST_F(QuotaFetcherTest, FirstTickIsImmediate_AndSkippedUntilTheNetworkIsKnown) {
  setNetwork(NetworkStateUnknown);
  auto fetcher = QuotaFetcher::create();
  auto delegate = std::make_shared<RecordingDelegate>();
  fetcher->setDelegate(delegate);
  EXPECT_EQ(fetcher->queue()->label(), "com.vorlan.VeluneDriveApp.quotafetcher");

  fetcher->runWithInterval(300);
  fetcher->queue()->sync([] {});
  const auto skipped = linesWithMessage(kSkipped);
  ASSERT_EQ(skipped.size(), 1u);
  EXPECT_EQ(skipped[0].level, kLogDebug);
  EXPECT_EQ(skipped[0].thread, kQuotaFetcherQueueLabel);
  EXPECT_EQ(quota->requestCount(), 0u);

  // Connected now, but the next attempt is one interval after the first.
  setNetwork(NetworkStateCellular);
  advance(fetcher, 299);
  EXPECT_EQ(quota->requestCount(), 0u);
  advance(fetcher, 1);
  ASSERT_EQ(quota->requestCount(), 1u);
  const auto request = quota->request(0);
  EXPECT_EQ(request.containerIdentifier, "test.cloud.documents");
  EXPECT_EQ(request.databaseScope, platform::QuotaDatabaseScope::Private);
  EXPECT_EQ(request.qualityOfService, platform::QualityOfService::Utility);
  EXPECT_TRUE(request.allowsCellularAccess);
  EXPECT_EQ(quota->requestQueue(0), kQuotaFetcherQueueLabel);

  EXPECT_EQ(fetcher->freeBytes(), 0u);
  quota->answerOldest(123'456'789);
  EXPECT_EQ(fetcher->freeBytes(), 123'456'789u);
  EXPECT_EQ(delegate->values, std::vector<std::uint64_t>{123'456'789});
  EXPECT_TRUE(delegate->onMainThread);
  EXPECT_EQ(delegate->freeBytesAtCall, 123'456'789u) << "the value is stored before the delegate hears of it";
}

TEST_F(QuotaFetcherTest, SecondRun_ReplacesTheTimerAndTicksAtOnce) {
  auto fetcher = QuotaFetcher::create();
  fetcher->runWithInterval(300);
  fetcher->queue()->sync([] {});
  EXPECT_EQ(quota->requestCount(), 1u);

  advance(fetcher, 10);
  fetcher->runWithInterval(1000);
  fetcher->queue()->sync([] {});
  EXPECT_EQ(quota->requestCount(), 2u) << "the new timer's first tick is immediate";

  advance(fetcher, 290);  // the old timer would have ticked here
  EXPECT_EQ(quota->requestCount(), 2u);
  advance(fetcher, 709);
  EXPECT_EQ(quota->requestCount(), 2u);
  advance(fetcher, 1);
  EXPECT_EQ(quota->requestCount(), 3u);
  // No request is answered, yet each tick asks again: nothing waits for an
  // earlier request.
  advance(fetcher, 1000);
  EXPECT_EQ(quota->requestCount(), 4u);

  // A period of zero would tick without pause: it is taken as one second.
  fetcher->runWithInterval(0);
  fetcher->queue()->sync([] {});
  EXPECT_EQ(quota->requestCount(), 5u);
  advance(fetcher, 0.5);
  EXPECT_EQ(quota->requestCount(), 5u);
  advance(fetcher, 0.5);
  EXPECT_EQ(quota->requestCount(), 6u);
}

TEST_F(QuotaFetcherTest, Background_TicksAreSkippedAndBecomingActiveDoesNotFetchAtOnce) {
  auto fetcher = QuotaFetcher::create();
  fetcher->runWithInterval(300);
  fetcher->queue()->sync([] {});
  ASSERT_EQ(quota->requestCount(), 1u);

  // The handlers run inside the post, not a run-loop turn later.
  testing::notifications().post(std::string(platform::kApplicationWillResignActiveNotification));
  EXPECT_FALSE(fetcher->canFetch());
  const auto resigned = linesWithMessage("AppWillResignActiveNotification (quota)");
  ASSERT_EQ(resigned.size(), 1u);
  EXPECT_EQ(resigned[0].level, kLogInfo);

  advance(fetcher, 300);
  advance(fetcher, 300);
  EXPECT_EQ(countOf(kSkipped), 2u);
  EXPECT_EQ(quota->requestCount(), 1u);

  testing::notifications().post(std::string(platform::kApplicationDidBecomeActiveNotification));
  EXPECT_TRUE(fetcher->canFetch());
  testing::runMainUntilIdle();
  fetcher->queue()->sync([] {});
  EXPECT_EQ(countOf("AppBecameActiveNotification (quota)"), 1u);
  EXPECT_EQ(quota->requestCount(), 1u) << "becoming active waits for the next tick";

  advance(fetcher, 300);
  EXPECT_EQ(quota->requestCount(), 2u);

  // Offline while active skips as well.
  setNetwork(NetworkStateNotConnected);
  advance(fetcher, 300);
  EXPECT_EQ(countOf(kSkipped), 3u);
  EXPECT_EQ(quota->requestCount(), 2u);
}

TEST_F(QuotaFetcherTest, Answers_ErrorsKeepTheValueAndRepeatedValuesAreReportedAgain) {
  auto fetcher = QuotaFetcher::create();
  auto delegate = std::make_shared<RecordingDelegate>();
  fetcher->setDelegate(delegate);
  fetcher->runWithInterval(60);
  fetcher->queue()->sync([] {});
  quota->answerOldest(5000);

  advance(fetcher, 60);
  quota->answerOldest(0, platform::Error::platform(platform::ErrorCode::CloudServerNotAvailable));
  const auto warnings = testing::messagesStartingWith("can't update quota: ");
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_NE(warnings[0].find("Code=4355"), std::string::npos) << warnings[0];
  EXPECT_EQ(linesWithMessage(warnings[0]).at(0).level, kLogWarning);
  EXPECT_EQ(fetcher->freeBytes(), 5000u);
  EXPECT_EQ(delegate->values, std::vector<std::uint64_t>{5000});

  // The next tick tries again; the same value is told again.
  advance(fetcher, 60);
  quota->answerOldest(5000);
  EXPECT_EQ(delegate->values, (std::vector<std::uint64_t>{5000, 5000}));
}

TEST_F(QuotaFetcherTest, Delegates_WithoutTheCallbackOrGoneStillUpdateFreeBytes) {
  auto fetcher = QuotaFetcher::create();
  auto silent = std::make_shared<SilentDelegate>();
  fetcher->setDelegate(silent);
  fetcher->runWithInterval(60);
  fetcher->queue()->sync([] {});
  quota->answerOldest(42);
  EXPECT_EQ(fetcher->freeBytes(), 42u);

  auto recording = std::make_shared<RecordingDelegate>();
  fetcher->setDelegate(recording);
  recording.reset();  // the delegate is held weakly
  advance(fetcher, 60);
  quota->answerOldest(43);
  EXPECT_EQ(fetcher->freeBytes(), 43u);
}

TEST_F(QuotaFetcherTest, Destroyed_WithARequestOutstandingNothingHappensAfterwards) {
  auto fetcher = QuotaFetcher::create();
  auto delegate = std::make_shared<RecordingDelegate>();
  fetcher->setDelegate(delegate);
  fetcher->runWithInterval(60);
  fetcher->queue()->sync([] {});
  advance(fetcher, 60);
  ASSERT_EQ(quota->requestCount(), 2u);
  const auto queue = fetcher->queue();
  EXPECT_EQ(testing::notifications().observationCount(platform::kApplicationDidBecomeActiveNotification), 1u);

  fetcher.reset();
  EXPECT_EQ(testing::notifications().observationCount(platform::kApplicationDidBecomeActiveNotification), 0u);
  EXPECT_EQ(testing::notifications().observationCount(platform::kApplicationWillResignActiveNotification), 0u);

  // A late success reaches no one; a late failure is still logged (the
  // fetcher's lifetime matters only for handing a value over).
  quota->answerOldest(99);
  quota->answerOldest(0, platform::Error::platform(platform::ErrorCode::CloudServerNotAvailable));
  EXPECT_TRUE(delegate->values.empty());
  const auto warnings = testing::messagesStartingWith("can't update quota: ");
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_NE(warnings[0].find("Code=4355"), std::string::npos) << warnings[0];

  // The timer went with it.
  testing::advanceClock(600);
  queue->sync([] {});
  EXPECT_EQ(quota->requestCount(), 2u);
}

}  // namespace
}  // namespace velune
