#pragma once
// CoordinationCore: the state that a HostFileCoordinationService shares with
// the coordinators it makes (which may outlive it): the arbiter of claims,
// the presenters, the drive's watcher and the materializer of cloud-only
// documents. Thread-safe.

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "host/drive/CoordinationArbiter.h"
#include "host/drive/Drive.h"
#include "host/drive/DriveWatcher.h"
#include "host/drive/PlaceholderMaterializer.h"
#include "host/drive/PresenterRegistry.h"
#include "platform/URL.h"

namespace velune::host {

class CoordinationCore {
 public:
  explicit CoordinationCore(std::shared_ptr<Drive> drive);
  ~CoordinationCore();

  CoordinationArbiter& arbiter() { return arbiter_; }
  PresenterRegistry& presenters() { return presenters_; }
  const std::shared_ptr<Drive>& drive() const { return drive_; }

  // The path a coordinated URL claims: normal, and a placeholder's URL claims
  // its document. Nothing for URLs that are not file URLs.
  static std::optional<std::string> claimPath(const platform::URL& url);

  // Starts watching the drive for other processes' changes (once; when the
  // drive's folder exists).
  void startWatching();
  // Suppression of the watcher's notices for this process's own writes.
  std::uint64_t beginWrite(std::vector<std::string> paths);
  void endWrite(std::uint64_t id);
  void waitUntilWatcherCaughtUp();

  void setMaterializer(std::shared_ptr<PlaceholderMaterializer> materializer);
  std::shared_ptr<PlaceholderMaterializer> materializer();

 private:
  void handle(const std::vector<DriveEvent>& events);

  std::shared_ptr<Drive> drive_;
  CoordinationArbiter arbiter_;
  PresenterRegistry presenters_;
  std::mutex mutex_;
  std::unique_ptr<DriveWatcher> watcher_;
  bool watchingFailed_ = false;
  std::shared_ptr<PlaceholderMaterializer> materializer_;
};

}  // namespace velune::host
