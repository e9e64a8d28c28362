#include "diag/QuotaFetcher.h"

#include "diag/DRLogging.h"
#include "diag/NetworkWatcher.h"
#include "platform/DispatchQueue.h"
#include "platform/DispatchSourceTimer.h"
#include "platform/MainThread.h"
#include "platform/NotificationService.h"
#include "platform/Notifications.h"
#include "platform/Platform.h"
#include "platform/QuotaService.h"

namespace velune {

namespace {
constexpr platform::Duration kTimerLeeway = std::chrono::nanoseconds(1'000'000'000);
constexpr double kMinimumInterval = 1.0;
}  // namespace

QuotaFetcher::QuotaFetcher() : queue_(platform::DispatchQueue::createSerial(kQuotaFetcherQueueLabel)) {}

std::shared_ptr<QuotaFetcher> QuotaFetcher::create() {
  std::shared_ptr<QuotaFetcher> fetcher(new QuotaFetcher());
  fetcher->registerForNotifications();
  return fetcher;
}

void QuotaFetcher::registerForNotifications() {
  const auto notifications = VELUNE_SERVICE(notifications);
  std::weak_ptr<QuotaFetcher> weakSelf = weak_from_this();
  // No queue: the handlers run inside the post (the application posts these on
  // the main thread), so canFetch has changed when the post returns.
  notifications->addObserver(this, std::string(platform::kApplicationDidBecomeActiveNotification), nullptr,
                             [weakSelf](const platform::Notification&) {
                               if (auto self = weakSelf.lock()) {
                                 self->didBecomeActiveNotification();
                               }
                             });
  notifications->addObserver(this, std::string(platform::kApplicationWillResignActiveNotification), nullptr,
                             [weakSelf](const platform::Notification&) {
                               if (auto self = weakSelf.lock()) {
                                 self->willResignActiveNotification();
                               }
                             });
}

QuotaFetcher::~QuotaFetcher() {
  if (const auto notifications = platform::Platform::services()->notifications) {
    notifications->removeObserver(this);
  }
  if (timer_) {
    timer_->cancel();
  }
}

void QuotaFetcher::runWithInterval(double seconds) {
  // A zero, negative or NaN period would tick without pause.
  if (!(seconds >= kMinimumInterval)) {
    seconds = kMinimumInterval;
  }
  if (timer_) {
    timer_->cancel();
    timer_.reset();
  }
  timer_ = platform::DispatchSourceTimer::create(queue_);
  // The first tick is now; then one every interval.
  timer_->schedule(platform::Duration::zero(), platform::secondsToDuration(seconds), kTimerLeeway);
  std::weak_ptr<QuotaFetcher> weakSelf = weak_from_this();
  timer_->setEventHandler([weakSelf] {
    if (auto self = weakSelf.lock()) {
      self->performFetch();
    }
  });
  timer_->resume();
}

void QuotaFetcher::performFetch() {
  if (!canFetch() || !NetworkWatcher::sharedNetworkWatcher().isConnected()) {
    DRLOG(kLogDebug, "Not fetching quota. Background or offline");
    return;
  }
  const auto quota = VELUNE_SERVICE(quota);
  platform::QuotaRequest request;
  request.containerIdentifier = quota->cloudDocumentsContainerIdentifier();
  request.databaseScope = platform::QuotaDatabaseScope::Private;
  request.qualityOfService = platform::QualityOfService::Utility;
  request.allowsCellularAccess = true;
  std::weak_ptr<QuotaFetcher> weakSelf = weak_from_this();
  // No check that an earlier request has finished: each tick asks anew.
  quota->submit(std::move(request), [weakSelf](std::uint64_t bytesAvailable, std::optional<platform::Error> error) {
    // A failure is logged whether or not the fetcher is still there; only
    // handing the value over needs it.
    if (error) {
      DRLOG(kLogWarning, "can't update quota: %@", *error);
      return;
    }
    platform::DispatchQueue::main()->async([weakSelf, bytesAvailable] {
      if (auto self = weakSelf.lock()) {
        self->notify(bytesAvailable);
      }
    });
  });
}

void QuotaFetcher::notify(std::uint64_t bytesAvailable) {
  VELUNE_ASSERT_MAIN_THREAD();
  freeBytes_.store(bytesAvailable, std::memory_order_relaxed);
  if (auto delegate = delegate_.lock()) {
    delegate->quotaFetcherDidUpdateValue(*this, freeBytes());
  }
}

void QuotaFetcher::didBecomeActiveNotification() {
  DRLOG(kLogInfo, "AppBecameActiveNotification (quota)");
  canFetch_.store(true, std::memory_order_relaxed);
}

void QuotaFetcher::willResignActiveNotification() {
  DRLOG(kLogInfo, "AppWillResignActiveNotification (quota)");
  canFetch_.store(false, std::memory_order_relaxed);
}

}  // namespace velune
