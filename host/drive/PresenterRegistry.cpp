#include "host/drive/PresenterRegistry.h"

#include <condition_variable>

#include "host/drive/DrivePaths.h"
#include "host/drive/HostSyncURLService.h"
#include "platform/DispatchQueue.h"
#include "platform/Log.h"
#include "platform/OperationQueue.h"
#include "platform/TimerService.h"

namespace velune::host {

using platform::FilePresenter;
using platform::URL;

PresenterRegistry::PresenterRegistry()
    : fallbackQueue_(platform::DispatchQueue::createSerial("com.vorlan.platform.filepresenters",
                                                           platform::QualityOfService::Utility)) {}

void PresenterRegistry::add(const std::shared_ptr<FilePresenter>& presenter) {
  if (!presenter) {
    return;
  }
  std::lock_guard lock(mutex_);
  std::erase_if(entries_, [](const Entry& entry) { return entry.presenter.expired(); });
  for (const auto& entry : entries_) {
    if (entry.identity == presenter.get()) {
      return;
    }
  }
  entries_.push_back(Entry{presenter, presenter.get()});
}

void PresenterRegistry::remove(const FilePresenter* presenter) {
  std::lock_guard lock(mutex_);
  std::erase_if(entries_,
                [presenter](const Entry& entry) { return entry.identity == presenter || entry.presenter.expired(); });
}

std::vector<std::shared_ptr<FilePresenter>> PresenterRegistry::all() {
  std::lock_guard lock(mutex_);
  std::vector<std::shared_ptr<FilePresenter>> out;
  for (const auto& entry : entries_) {
    if (auto presenter = entry.presenter.lock()) {
      out.push_back(std::move(presenter));
    }
  }
  return out;
}

bool PresenterRegistry::isEmpty() {
  return all().empty();
}

std::optional<std::string> PresenterRegistry::presentedPath(const FilePresenter& presenter) {
  const URL url = presenter.presentedItemURL();
  if (url.isEmpty() || !url.isFileURL()) {
    return std::nullopt;
  }
  return lexicallyNormal(logicalPathOfURL(url));
}

std::vector<PresenterRegistry::Presented> PresenterRegistry::presentedPaths(const FilePresenter* excluding) {
  std::vector<Presented> out;
  for (auto& presenter : all()) {
    if (presenter.get() == excluding) {
      continue;
    }
    if (auto path = presentedPath(*presenter)) {
      out.push_back(Presented{std::move(presenter), std::move(*path)});
    }
  }
  return out;
}

void PresenterRegistry::deliver(const std::shared_ptr<FilePresenter>& presenter,
                                std::function<void(FilePresenter&)> notice, std::function<void()> ifGone) {
  // The task holds the presenter weakly: a presenter that goes away before its
  // queue runs the notice is not kept alive for it.
  std::weak_ptr<FilePresenter> weak = presenter;
  auto task = [weak, notice = std::move(notice), ifGone = std::move(ifGone)] {
    if (auto strong = weak.lock()) {
      notice(*strong);
    } else if (ifGone) {
      ifGone();
    }
  };
  if (platform::OperationQueue* queue = presenter->presentedItemOperationQueue()) {
    queue->addOperation(std::move(task));
  } else {
    fallbackQueue_->async(std::move(task));
  }
}

void PresenterRegistry::itemChanged(const std::string& path, const FilePresenter* excluding) {
  for (const auto& [presenter, presented] : presentedPaths(excluding)) {
    if (presented == path) {
      deliver(presenter, [](FilePresenter& p) { p.presentedItemDidChange(); });
    } else if (isSameOrInside(path, presented)) {
      const URL changed = URL::fileURLWithPath(path, false);
      deliver(presenter, [changed](FilePresenter& p) { p.presentedSubitemDidChangeAtURL(changed); });
    }
  }
}

void PresenterRegistry::itemMoved(const std::string& from, const std::string& to, const FilePresenter* excluding) {
  for (const auto& [presenter, presented] : presentedPaths(excluding)) {
    if (!isSameOrInside(presented, from)) {
      // A folder the item left or came into has a changed subitem, at the
      // old place and at the new one.
      for (const std::string* end : {&from, &to}) {
        if (isSameOrInside(*end, presented)) {
          const URL changed = URL::fileURLWithPath(*end, false);
          deliver(presenter, [changed](FilePresenter& p) { p.presentedSubitemDidChangeAtURL(changed); });
        }
      }
      continue;
    }
    const std::string newPath = to + presented.substr(from.size());
    const URL newURL = URL::fileURLWithPath(newPath, presenter->presentedItemURL().hasDirectoryPath());
    deliver(presenter, [newURL](FilePresenter& p) { p.presentedItemDidMoveToURL(newURL); });
  }
}

void PresenterRegistry::itemDeleted(const std::string& path, const FilePresenter* excluding, bool waitForPresenters) {
  struct Waiter {
    std::mutex mutex;
    std::condition_variable done;
    int pending = 0;
    bool timedOut = false;
  };
  auto waiter = std::make_shared<Waiter>();
  // The limit is measured on the platform's clock (a test's manual clock ends
  // it without real time passing), and registered before any presenter is
  // told, so that once one has its notice the limit is already running.
  std::optional<platform::TimerService::Id> limit;
  if (waitForPresenters) {
    limit = platform::TimerService::shared().schedule(platform::Clock::current().monotonicNow() + kAccommodationTimeout,
                                                      [waiter] {
                                                        {
                                                          std::lock_guard lock(waiter->mutex);
                                                          waiter->timedOut = true;
                                                        }
                                                        waiter->done.notify_all();
                                                      });
  }
  auto finished = [waiter] {
    {
      std::lock_guard lock(waiter->mutex);
      --waiter->pending;
    }
    waiter->done.notify_all();
  };
  auto handler = [finished](std::optional<platform::Error> error) {
    if (error) {
      PLATFORM_LOG(kLogWarning, "A presenter could not accommodate a deletion: %@", *error);
    }
    finished();
  };
  const URL deleted = URL::fileURLWithPath(path, false);
  for (const auto& [presenter, presented] : presentedPaths(excluding)) {
    std::function<void(FilePresenter&)> notice;
    if (isSameOrInside(presented, path)) {
      notice = [handler](FilePresenter& p) { p.accommodatePresentedItemDeletionWithCompletionHandler(handler); };
    } else if (isSameOrInside(path, presented)) {
      notice = [handler, deleted](FilePresenter& p) { p.accommodatePresentedSubitemDeletionAtURL(deleted, handler); };
    } else {
      continue;
    }
    {
      std::lock_guard lock(waiter->mutex);
      ++waiter->pending;
    }
    deliver(presenter, std::move(notice), finished);
  }
  if (!waitForPresenters) {
    return;
  }
  int unanswered = 0;
  {
    std::unique_lock lock(waiter->mutex);
    waiter->done.wait(lock, [&] { return waiter->pending <= 0 || waiter->timedOut; });
    unanswered = waiter->pending;
  }
  platform::TimerService::shared().cancel(*limit);
  if (unanswered > 0) {
    PLATFORM_LOG(kLogWarning, "Deleting %@ without waiting longer for %d presenters", path, unanswered);
  }
}

void PresenterRegistry::everythingChanged() {
  for (const auto& presenter : all()) {
    deliver(presenter, [](FilePresenter& p) { p.presentedItemDidChange(); });
  }
}

}  // namespace velune::host
