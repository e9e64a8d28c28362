#pragma once
// OperationQueue: a queue of operations with a name, a priority class and a
// limit on how many run at once (1 makes it serial, in submission order).
// Operations run on threads of the queue's priority class; the queue can be
// waited on. Destroying the queue waits for the operations already submitted.

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "platform/DispatchQueue.h"

namespace velune::platform {

class OperationQueue {
 public:
  static constexpr int kDefaultMaxConcurrentOperationCount = -1;

  explicit OperationQueue(std::string name = {}, QualityOfService qos = QualityOfService::Default,
                          int maxConcurrentOperationCount = kDefaultMaxConcurrentOperationCount);
  ~OperationQueue();
  OperationQueue(const OperationQueue&) = delete;
  OperationQueue& operator=(const OperationQueue&) = delete;

  void addOperation(std::function<void()> operation);
  void waitUntilAllOperationsAreFinished();
  // Drops the operations that have not started yet.
  void cancelAllOperations();

  const std::string& name() const { return name_; }
  QualityOfService qualityOfService() const { return qos_; }
  int maxConcurrentOperationCount() const { return maxConcurrent_; }
  size_t operationCount() const;

  // The queue whose operation the calling thread runs, or null.
  static OperationQueue* current();

 private:
  struct Shared;
  static void startMore(const std::shared_ptr<Shared>& shared);

  const std::string name_;
  const QualityOfService qos_;
  const int maxConcurrent_;
  std::shared_ptr<Shared> shared_;
};

}  // namespace velune::platform
