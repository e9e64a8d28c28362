#pragma once
// FileCoordinator: coordinated reading and writing of items, so that readers
// and writers of one item, of its ancestors and of its descendants never
// overlap. Any number of readers may share an item; a writer has it alone.
// Waiting claims are served in arrival order, so a writer is not starved by a
// stream of readers. Coordination is within this process; changes made by
// other processes reach presenters through the file system's notices.
//
// Every call is synchronous: it blocks the calling thread until it may
// proceed, runs the accessor on the calling thread, and returns. When the
// coordinator refuses (cancelled, a URL it cannot coordinate, a document that
// cannot be made available) it returns its error and does not call the
// accessor. An accessor may start another coordinated operation on the same
// thread: claims held by the calling thread never block it.
//
// A coordinator made for a presenter does not tell that presenter about the
// changes made through it.
//
// Reads without kReadingImmediatelyAvailableMetadataOnly need the document's
// contents: for a cloud-only document the host asks the drive's materializer
// to download it before the accessor runs (see docs/drive.md); cancel() ends
// that wait with ErrorCode::UserCancelled.

#include <functional>
#include <memory>
#include <optional>

#include "platform/Error.h"
#include "platform/URL.h"

namespace velune::platform {

class FilePresenter;

using FileCoordinatorReadingOptions = unsigned;
inline constexpr FileCoordinatorReadingOptions kReadingWithoutChanges = 1U << 0;
inline constexpr FileCoordinatorReadingOptions kReadingResolvesSymbolicLink = 1U << 1;
inline constexpr FileCoordinatorReadingOptions kReadingImmediatelyAvailableMetadataOnly = 1U << 2;
inline constexpr FileCoordinatorReadingOptions kReadingForUploading = 1U << 3;

using FileCoordinatorWritingOptions = unsigned;
inline constexpr FileCoordinatorWritingOptions kWritingForDeleting = 1U << 0;
inline constexpr FileCoordinatorWritingOptions kWritingForMoving = 1U << 1;
inline constexpr FileCoordinatorWritingOptions kWritingForMerging = 1U << 2;
inline constexpr FileCoordinatorWritingOptions kWritingForReplacing = 1U << 3;
inline constexpr FileCoordinatorWritingOptions kWritingContentIndependentMetadataOnly = 1U << 4;

class FileCoordinator {
 public:
  using Accessor = std::function<void(const URL&)>;
  using TwoURLAccessor = std::function<void(const URL&, const URL&)>;

  virtual ~FileCoordinator() = default;

  virtual std::optional<Error> coordinateReadingItemAtURL(const URL& url, FileCoordinatorReadingOptions options,
                                                          const Accessor& accessor) = 0;
  virtual std::optional<Error> coordinateWritingItemAtURL(const URL& url, FileCoordinatorWritingOptions options,
                                                          const Accessor& accessor) = 0;
  // One writer holding two items (a move: the first for moving, the second
  // for replacing).
  virtual std::optional<Error> coordinateWritingItemAtURL(const URL& url1, FileCoordinatorWritingOptions options1,
                                                          const URL& url2, FileCoordinatorWritingOptions options2,
                                                          const TwoURLAccessor& accessor) = 0;
  // Inside a writing accessor: the item at `oldURL` is about to move to
  // `newURL`. Presenters of it (and of what it holds) are told of the move
  // once the accessor has returned and the item is really there.
  virtual void itemAtURLWillMoveToURL(const URL& oldURL, const URL& newURL) = 0;

  // From any thread: a waiting or downloading coordinated call of this
  // coordinator fails with ErrorCode::UserCancelled; later calls fail at once.
  virtual void cancel() = 0;

  virtual std::shared_ptr<FilePresenter> filePresenter() const = 0;
};

}  // namespace velune::platform
