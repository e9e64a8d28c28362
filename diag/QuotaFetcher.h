#pragma once
// QuotaFetcher: keeps the free bytes of the user's cloud storage. On a fixed
// period it asks the platform's QuotaService, but only while the application
// is active and the network connected, and hands each value to its delegate
// on the main thread.
//
// Threads: made, configured (delegate, runWithInterval) and destroyed on the
// main thread. Timer ticks and requests run on the fetcher's serial queue
// "com.vorlan.VeluneDriveApp.quotafetcher"; request completions arrive on a
// queue of the service; freeBytes is written and the delegate called only on
// the main thread. The became-active and will-resign-active handlers run
// inside the application's post of the notification (on the main thread).
//
// Lifetime: the timer handler and the request completions hold the fetcher
// weakly; once it is gone a completion still logs a failure but hands no
// value over. Destruction removes its notification registrations and cancels
// its timer.

#include <atomic>
#include <cstdint>
#include <memory>

#include "diag/QuotaFetcherDelegate.h"

namespace velune::platform {
class DispatchQueue;
class DispatchSourceTimer;
}  // namespace velune::platform

namespace velune {

inline constexpr const char* kQuotaFetcherQueueLabel = "com.vorlan.VeluneDriveApp.quotafetcher";

class QuotaFetcher : public std::enable_shared_from_this<QuotaFetcher> {
 public:
  // The plain initialiser: makes the queue, allows fetching, and registers
  // for the application's became-active and will-resign-active notifications.
  static std::shared_ptr<QuotaFetcher> create();
  ~QuotaFetcher();
  QuotaFetcher(const QuotaFetcher&) = delete;
  QuotaFetcher& operator=(const QuotaFetcher&) = delete;

  std::weak_ptr<QuotaFetcherDelegate> delegate() const { return delegate_; }
  void setDelegate(std::weak_ptr<QuotaFetcherDelegate> delegate) { delegate_ = std::move(delegate); }

  // The last value received; 0 until the first success.
  std::uint64_t freeBytes() const { return freeBytes_.load(std::memory_order_relaxed); }
  bool canFetch() const { return canFetch_.load(std::memory_order_relaxed); }
  const std::shared_ptr<platform::DispatchQueue>& queue() const { return queue_; }

  // Replaces any running timer with one that ticks at once and then every
  // `seconds` (leeway one second; an interval below one second is one second).
  void runWithInterval(double seconds);
  // One fetch attempt. On the fetcher's queue.
  void performFetch();
  // Main thread: keeps the value and tells the delegate.
  void notify(std::uint64_t bytesAvailable);

  void didBecomeActiveNotification();
  void willResignActiveNotification();

 private:
  QuotaFetcher();
  void registerForNotifications();

  std::weak_ptr<QuotaFetcherDelegate> delegate_;
  std::atomic<std::uint64_t> freeBytes_{0};
  const std::shared_ptr<platform::DispatchQueue> queue_;
  std::shared_ptr<platform::DispatchSourceTimer> timer_;
  // Written on the main thread, read on the queue.
  std::atomic<bool> canFetch_{true};
};

}  // namespace velune
