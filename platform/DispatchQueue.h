#pragma once
// DispatchQueue: queues of work.
//
// Guarantees:
// - A serial queue runs its tasks one at a time, in the order in which they
//   were submitted, on a thread of its own. A task submitted with async()
//   never runs synchronously inside the async() call.
// - asyncAfter() tasks with equal deadlines run in the order of submission.
//   Deadlines are measured on Clock::current(): under a ManualClock they come
//   due only when the test advances the clock.
// - The main queue runs on the main thread, whenever the main RunLoop runs
//   (RunLoop::main().run() in the app; runUntilIdle() in tests).
// - Global queues are concurrent: tasks may run at the same time.
// - A queue lives until its submitted work has run, even when its owner drops
//   it earlier.
// - sync() runs the task on the queue and waits for it. Calling sync() on the
//   queue the caller runs on would wait forever; it aborts with a message.

#include <functional>
#include <memory>
#include <string>

#include "platform/Clock.h"
#include "platform/QualityOfService.h"

namespace velune::platform {

class DispatchQueue : public std::enable_shared_from_this<DispatchQueue> {
 public:
  using Task = std::function<void()>;

  virtual ~DispatchQueue() = default;
  DispatchQueue(const DispatchQueue&) = delete;
  DispatchQueue& operator=(const DispatchQueue&) = delete;

  // A new serial queue. relativePriority is 0 or negative (down to -15) and
  // lowers the priority within the class.
  static std::shared_ptr<DispatchQueue> createSerial(std::string label,
                                                     QualityOfService qos = QualityOfService::Default,
                                                     int relativePriority = 0);
  static std::shared_ptr<DispatchQueue> main();
  static std::shared_ptr<DispatchQueue> global(QualityOfService qos = QualityOfService::Default);

  virtual void async(Task task) = 0;
  void sync(const std::function<void()>& task);
  void asyncAfter(Duration delay, Task task);
  void asyncAfterSeconds(TimeInterval seconds, Task task) { asyncAfter(secondsToDuration(seconds), std::move(task)); }

  const std::string& label() const { return label_; }
  QualityOfService qos() const { return qos_; }
  int relativePriority() const { return relativePriority_; }
  virtual bool isSerial() const = 0;
  bool isCurrent() const { return current() == this; }

  // The queue whose task the calling thread is running (the main queue on the
  // main thread), or null on a thread that no queue owns.
  static DispatchQueue* current();
  // Its label; empty when there is no current queue.
  static std::string currentLabel();

  // Label of the main queue.
  static constexpr const char* kMainQueueLabel = "com.vorlan.platform.main-thread";

 protected:
  DispatchQueue(std::string label, QualityOfService qos, int relativePriority)
      : label_(std::move(label)), qos_(qos), relativePriority_(relativePriority) {}

  // Runs `task` as this queue's work on the calling thread.
  void runAsCurrent(const std::function<void()>& task);
  // True when the caller runs as this queue's work, so that a sync() would
  // wait for itself (the current task, by default).
  virtual bool runsOnCallingThread() const;

 private:
  const std::string label_;
  const QualityOfService qos_;
  const int relativePriority_;
};

// Applies a queue's priority class to the calling thread (a nice value).
void applyThreadPriority(QualityOfService qos, int relativePriority);

}  // namespace velune::platform
