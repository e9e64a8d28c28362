#include "host/drive/CoordinationCore.h"

#include <sys/stat.h>

#include "platform/Log.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/HostSyncURLService.h"

namespace velune::host {

CoordinationCore::CoordinationCore(std::shared_ptr<Drive> drive) : drive_(std::move(drive)) {}

CoordinationCore::~CoordinationCore() {
  std::unique_ptr<DriveWatcher> watcher;
  {
    std::lock_guard lock(mutex_);
    watcher = std::move(watcher_);
  }
  watcher.reset();  // joins its thread, outside the lock: its handler takes it
}

std::optional<std::string> CoordinationCore::claimPath(const platform::URL& url) {
  if (url.isEmpty() || !url.isFileURL()) {
    return std::nullopt;
  }
  return lexicallyNormal(logicalPathOfURL(url));
}

void CoordinationCore::startWatching() {
  std::lock_guard lock(mutex_);
  if (watcher_ || watchingFailed_ || !drive_) {
    return;
  }
  struct stat info {};
  if (::stat(drive_->root().c_str(), &info) != 0) {
    return;  // no drive yet; tried again at the next registration
  }
  auto watcher =
      std::make_unique<DriveWatcher>(drive_->root(), [this](const std::vector<DriveEvent>& events) { handle(events); });
  if (auto error = watcher->start()) {
    PLATFORM_LOG(kLogErr, "Cannot watch the drive for changes made elsewhere: %@", *error);
    watchingFailed_ = true;
    return;
  }
  watcher_ = std::move(watcher);
}

void CoordinationCore::handle(const std::vector<DriveEvent>& events) {
  for (const auto& event : events) {
    switch (event.kind) {
      case DriveEvent::Kind::Changed:
        presenters_.itemChanged(event.path, nullptr);
        break;
      case DriveEvent::Kind::Moved:
        presenters_.itemMoved(event.path, event.newPath, nullptr);
        break;
      case DriveEvent::Kind::Deleted:
        presenters_.itemDeleted(event.path, nullptr, /*waitForPresenters=*/false);
        break;
      case DriveEvent::Kind::Rescan:
        PLATFORM_LOG(kLogWarning, "Some changes to the drive were not seen one by one; every presenter refreshes");
        presenters_.everythingChanged();
        break;
    }
  }
}

std::uint64_t CoordinationCore::beginWrite(std::vector<std::string> paths) {
  std::lock_guard lock(mutex_);
  return watcher_ ? watcher_->beginSuppression(std::move(paths)) : 0;
}

void CoordinationCore::endWrite(std::uint64_t id) {
  if (id == 0) {
    return;
  }
  std::lock_guard lock(mutex_);
  if (watcher_) {
    watcher_->endSuppression(id);
  }
}

void CoordinationCore::waitUntilWatcherCaughtUp() {
  DriveWatcher* watcher = nullptr;
  {
    std::lock_guard lock(mutex_);
    watcher = watcher_.get();
  }
  // The watcher lives as long as the core, which the caller holds.
  if (watcher != nullptr) {
    watcher->waitUntilCaughtUp();
  }
}

void CoordinationCore::setMaterializer(std::shared_ptr<PlaceholderMaterializer> materializer) {
  std::lock_guard lock(mutex_);
  materializer_ = std::move(materializer);
}

std::shared_ptr<PlaceholderMaterializer> CoordinationCore::materializer() {
  std::lock_guard lock(mutex_);
  return materializer_;
}

}  // namespace velune::host
