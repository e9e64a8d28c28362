#pragma once
// RecordingPresenter: a FilePresenter that writes down every notice it gets,
// on which queue, and lets a test wait (bounded, without polling) for one.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/FilePresenter.h"
#include "platform/OperationQueue.h"

namespace velune::testing {

class RecordingPresenter final : public platform::FilePresenter {
 public:
  explicit RecordingPresenter(platform::URL url)
      : url_(std::move(url)),
        queue_(std::make_unique<platform::OperationQueue>("presenter", platform::QualityOfService::Default, 1)) {}
  ~RecordingPresenter() override { queue_->waitUntilAllOperationsAreFinished(); }

  platform::URL presentedItemURL() const override {
    std::lock_guard lock(mutex_);
    return url_;
  }
  platform::OperationQueue* presentedItemOperationQueue() const override { return queue_.get(); }

  void presentedItemDidChange() override { record("changed"); }
  void presentedItemDidMoveToURL(const platform::URL& newURL) override {
    {
      std::lock_guard lock(mutex_);
      url_ = newURL;
    }
    record("moved to " + newURL.path());
  }
  void accommodatePresentedItemDeletionWithCompletionHandler(CompletionHandler handler) override {
    if (onDeletion) {
      onDeletion();
    }
    record("deleted");
    handler(std::nullopt);
  }
  void accommodatePresentedSubitemDeletionAtURL(const platform::URL& url, CompletionHandler handler) override {
    record("subitem deleted " + url.path());
    handler(std::nullopt);
  }
  void presentedSubitemDidChangeAtURL(const platform::URL& url) override { record("subitem changed " + url.path()); }

  std::vector<std::string> notices() const {
    std::lock_guard lock(mutex_);
    return notices_;
  }
  // Waits until `notice` has arrived (at most 10 seconds of real time).
  bool waitFor(const std::string& notice) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(10),
                             [&] { return std::find(notices_.begin(), notices_.end(), notice) != notices_.end(); });
  }
  // Runs every notice that was queued so far.
  void drain() { queue_->waitUntilAllOperationsAreFinished(); }
  bool allOnOwnQueue() const {
    std::lock_guard lock(mutex_);
    return allOnOwnQueue_;
  }
  void clear() {
    std::lock_guard lock(mutex_);
    notices_.clear();
  }

  // Runs inside the deletion notice, before it is acknowledged.
  std::function<void()> onDeletion;

 private:
  void record(std::string notice) {
    {
      std::lock_guard lock(mutex_);
      allOnOwnQueue_ = allOnOwnQueue_ && platform::OperationQueue::current() == queue_.get();
      notices_.push_back(std::move(notice));
    }
    changed_.notify_all();
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  platform::URL url_;
  std::vector<std::string> notices_;
  bool allOnOwnQueue_ = true;
  std::unique_ptr<platform::OperationQueue> queue_;
};

}  // namespace velune::testing
