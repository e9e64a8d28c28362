#pragma once
// FilePresenter: an object that shows an item of the drive and wants to hear
// when it changes, moves or goes away, whether the change comes from this
// process (through a FileCoordinator) or from another one.
//
// Register with FileCoordinationService::addFilePresenter. Notices arrive on
// the presenter's operation queue (or, when it gives none, on a serial queue
// of the service), never on the thread that made the change. The service holds
// presenters weakly: a presenter that is destroyed is simply not told any more.
//
// presentedItemURL() and presentedItemOperationQueue() are called from any
// thread, at any time while registered: they must be thread-safe.
// The completion handlers of the accommodate notices must be called exactly
// once; a coordinated deletion waits for them (for a bounded time).

#include <functional>
#include <optional>

#include "platform/Error.h"
#include "platform/URL.h"

namespace velune::platform {

class OperationQueue;

class FilePresenter {
 public:
  using CompletionHandler = std::function<void(std::optional<Error>)>;

  virtual ~FilePresenter() = default;

  virtual URL presentedItemURL() const = 0;
  virtual OperationQueue* presentedItemOperationQueue() const = 0;

  // The item's contents or attributes changed (or it appeared, or it was
  // downloaded or evicted).
  virtual void presentedItemDidChange() {}
  // The item now lives at `newURL`.
  virtual void presentedItemDidMoveToURL(const URL& /*newURL*/) {}
  // The item is about to be deleted (by this process) or was deleted (by
  // another one).
  virtual void accommodatePresentedItemDeletionWithCompletionHandler(CompletionHandler completionHandler) {
    completionHandler(std::nullopt);
  }
  // An item inside the presented folder is about to be or was deleted.
  virtual void accommodatePresentedSubitemDeletionAtURL(const URL& /*url*/, CompletionHandler completionHandler) {
    completionHandler(std::nullopt);
  }
  // An item inside the presented folder changed or appeared.
  virtual void presentedSubitemDidChangeAtURL(const URL& /*url*/) {}
};

}  // namespace velune::platform
