#pragma once
// DriveWatcher: the file system's notices (inotify) of the whole drive, turned
// into item events: changed, moved, deleted. Placeholders and sidecars are
// events of their documents: a placeholder that appears while its file goes
// (an eviction) is a change, not a deletion; temporary files are ignored.
//
// The changes that this process makes through its FileCoordinator are told
// to presenters by the coordinator itself; while such a write runs and until
// the notices it caused have been read, its paths are suppressed here so that
// presenters do not hear of it twice. A change made by another process to the
// same item in that instant is folded into the coordinator's notice.
//
// One thread reads the notices and calls the handler with each batch.

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "platform/Error.h"

namespace velune::host {

struct DriveEvent {
  enum class Kind { Changed, Moved, Deleted, Rescan };
  Kind kind = Kind::Changed;
  std::string path;
  std::string newPath;  // for Moved
  bool operator==(const DriveEvent&) const = default;
};

class DriveWatcher {
 public:
  using Handler = std::function<void(const std::vector<DriveEvent>&)>;

  DriveWatcher(std::string root, Handler handler);
  ~DriveWatcher();
  DriveWatcher(const DriveWatcher&) = delete;
  DriveWatcher& operator=(const DriveWatcher&) = delete;

  // Watches every folder of the drive (before it returns) and starts the thread.
  std::optional<platform::Error> start();
  bool isRunning() const { return thread_.joinable(); }

  std::uint64_t beginSuppression(std::vector<std::string> paths);
  void endSuppression(std::uint64_t id);

  // Returns once every notice of a change made before the call has been
  // handled (at once when not running).
  void waitUntilCaughtUp();

 private:
  struct Suppression {
    std::vector<std::string> paths;
    std::optional<std::uint64_t> endedAtEpoch;
  };
  struct Pending {
    std::string path;
    bool isDirectory = false;
    size_t order = 0;
  };
  void run();
  void wake();
  void addWatchTree(const std::string& path);
  void forgetWatchTree(const std::string& path);
  void renameWatchTree(const std::string& from, const std::string& to);
  std::vector<DriveEvent> readEvents();
  void eventForRemoval(const std::string& path, std::vector<DriveEvent>& out);
  bool isSuppressed(const DriveEvent& event, std::uint64_t epoch);

  const std::string root_;
  Handler handler_;
  int inotify_ = -1;
  int wakeup_ = -1;
  std::thread thread_;
  std::unordered_map<int, std::string> watches_;  // watcher thread only, after start()

  std::mutex mutex_;
  std::condition_variable caughtUp_;
  bool stopping_ = false;
  std::uint64_t drainEpoch_ = 0;
  std::uint64_t handledEpoch_ = 0;
  std::uint64_t nextSuppression_ = 1;
  std::map<std::uint64_t, Suppression> suppressions_;
};

}  // namespace velune::host
