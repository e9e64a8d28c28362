#pragma once
// HomeFileWatcher: tells when one file of a home folder may have changed:
// written, replaced (renamed over), created, removed, or turned into something
// else (a link, a FIFO, a folder). It watches the folder with inotify, so that
// a change by another process (vdtool, the control panel, an editor) is seen
// within milliseconds; where inotify cannot be had, or once the folder itself
// was moved or removed, it compares the file's lstat twice a second instead.
//
// The callback runs on the watcher's own thread, one call at a time, and may
// be called for a change that turns out to change nothing (an editor's
// several writes of one save come as one or more calls): the receiver reads
// the file and decides. It must not block for long. The watcher stops when
// it is destroyed; a watcher destroyed from its own callback lets its thread
// end by itself.

#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace velune::host {

class HomeFileWatcher {
 public:
  enum class Method { Automatic, Polling };

  // Starts watching `name` in `folder`. Never fails: without inotify it polls.
  static std::unique_ptr<HomeFileWatcher> start(const std::string& folder, const std::string& name,
                                                std::function<void()> changed, Method method = Method::Automatic);
  ~HomeFileWatcher();
  HomeFileWatcher(const HomeFileWatcher&) = delete;
  HomeFileWatcher& operator=(const HomeFileWatcher&) = delete;

  // True when it compares the file's state instead of hearing inotify
  // (asked for, unavailable, or the folder went away).
  bool isPolling() const;

 private:
  struct Core;
  HomeFileWatcher() = default;

  // The thread keeps the core alive, so a watcher dropped by its own
  // callback never leaves the thread with freed state.
  std::shared_ptr<Core> core_;
  std::thread thread_;
};

}  // namespace velune::host
