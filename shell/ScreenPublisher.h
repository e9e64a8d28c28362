#pragma once
// ScreenPublisher: the bridge between the UI model (main thread) and the
// server's threads.
//
// - On the main thread it listens to the model's change signal (one per turn
//   of the run loop), writes a snapshot of the key window and, when it
//   differs from the last one, publishes it as a numbered frame.
// - Server threads read the latest frame, or wait (bounded) for a newer one;
//   they never touch the model.
// - Input goes the other way: submit() queues an event onto the main run
//   loop, where the dispatcher applies it, and waits (bounded) for its outcome.
//
// start() and stop() on the main thread; everything else on any thread.
// stop() wakes every waiter for good. Lives as long as its longest holder
// (the server holds it); queued events hold it too.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/ui/ModelChanges.h"
#include "shell/ImageRegistry.h"
#include "shell/ScreenEvent.h"
#include "shell/ScreenEventDispatcher.h"

namespace velune::shell {

class ScreenPublisher : public std::enable_shared_from_this<ScreenPublisher> {
 public:
  struct Frame {
    std::uint64_t sequence = 0;  // 0: nothing published yet
    std::shared_ptr<const std::string> text;
  };

  // `launchTag` tells this launch's images (and frames) from another's.
  // `documentRoot`: the drive's root, below which previews name their documents.
  static std::shared_ptr<ScreenPublisher> create(std::string launchTag, std::string documentRoot = {});

  void start();
  void stop();

  Frame latest() const;
  // The first frame numbered above `after`; the latest frame (perhaps not
  // newer) after `timeout` or once stopped.
  Frame waitForNewer(std::uint64_t after, std::chrono::milliseconds timeout) const;
  bool isStopped() const;

  // Nothing when the main thread did not apply it within `timeout` (it is
  // still applied later) or the publisher has stopped.
  std::optional<ScreenEventDispatcher::Outcome> submit(ScreenEvent event, std::chrono::milliseconds timeout);

  // Set hooks before start().
  ScreenEventDispatcher& dispatcher() { return dispatcher_; }
  ImageRegistry& images() { return images_; }
  const std::string& launchTag() const { return launchTag_; }

  // Main thread: writes a snapshot now (also used when the model did not
  // signal, e.g. before the first turn).
  void publishNow();
  // How long the last snapshot took to write, in microseconds.
  std::uint64_t lastSnapshotMicroseconds() const;

 private:
  explicit ScreenPublisher(std::string launchTag);
  void publish(std::uint64_t generation);

  const std::string launchTag_;
  std::string documentRoot_;
  ImageRegistry images_;
  ScreenEventDispatcher dispatcher_;
  ui::ModelChanges::ListenerId listener_ = 0;  // main thread

  mutable std::mutex mutex_;
  mutable std::condition_variable published_;
  Frame latest_;
  std::string lastBody_;  // main thread (under the lock)
  bool stopped_ = false;
  std::uint64_t lastMicroseconds_ = 0;
};

}  // namespace velune::shell
