#pragma once
// DocumentListing: what one listing shows, kept current: the items of a
// folder of the drive, or of the drive's top level (the documents folder of
// every app container, shown as a folder, and the items at the top of the
// default container).
//
// - Reading: the folder is read off the main thread on the listings' serial
//   queue (FolderListingService), sorted there by NameCollator, and handed to
//   the main thread whole (onItemsChanged). Row values (records) follow in
//   pages, the visible rows first (setVisibleRange), each page handed over
//   as it is read (onRecordsChanged). The main thread never reads the disk.
// - Live updates: while started, a FilePresenter of the folder hears every
//   change of its direct items (by this app, by another process, from the
//   cloud side); a burst of notices folds into one more read. A folder that
//   moves is followed to its new place; one that vanishes shows no items and
//   keeps its error (failure()).
// - Hidden names are left out; a cloud-only document is listed under its own
//   URL (with its placeholder recorded as physical URL).
//
// Main thread only, except where said; handlers run on the main thread and
// are never called after stop() or destruction. Work in flight holds the
// listing weakly.

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/Error.h"
#include "platform/FolderListingService.h"
#include "platform/URL.h"

namespace velune::platform {

class DispatchQueue;
class DocumentListingPresenter;

class DocumentListing : public std::enable_shared_from_this<DocumentListing> {
 public:
  struct Item {
    FolderListingEntry entry;
    // The container's name for a container's documents folder; else the entry's name.
    std::string displayName;
    bool isContainer = false;
    // Empty until its page was read.
    std::optional<FolderListingRecord> record;
  };

  // Items handed to the main thread per page of records.
  static constexpr size_t kRecordPageSize = 256;

  // The drive's top level (its URL is the cloud documents root).
  static std::shared_ptr<DocumentListing> makeRoot();
  static std::shared_ptr<DocumentListing> makeFolder(const URL& folder);
  ~DocumentListing();

  bool isRoot() const { return root_; }
  const URL& folderURL() const { return folder_; }

  // Reads the folder and starts watching it. Stops on stop() or destruction.
  void start();
  void stop();

  // True once the first read has been handed over.
  bool isLoaded() const { return loaded_; }
  const std::vector<Item>& items() const { return items_; }
  const std::vector<URL>& itemURLs() const { return urls_; }
  std::optional<size_t> indexOfURL(const URL& url) const;
  // The error of the last read (the folder vanished, no permission), or nothing.
  const std::optional<Error>& failure() const { return failure_; }

  // The rows on screen: their records are read first.
  void setVisibleRange(size_t first, size_t count);

  // Reads the folder again now (after a change that no presenter reports).
  void reload();

  std::function<void()> onItemsChanged;
  std::function<void(size_t first, size_t count)> onRecordsChanged;
  // The folder now lives at another URL.
  std::function<void(const URL&)> onFolderMoved;

  // The serial queue every listing reads on ("com.vorlan.platform.listing").
  static const std::shared_ptr<DispatchQueue>& readQueue();

  // Any thread: returns once the notices delivered so far to the listings'
  // presenters have been handled (their reads are then queued).
  static void waitForPresenters();

  // Any thread: a notice of the folder's presenter. Schedules one more read
  // unless one is already waiting.
  void scheduleReload();

 private:
  friend class DocumentListingPresenter;
  DocumentListing(bool root, URL folder);

  // On the read queue.
  void read(std::uint64_t generation, const URL& folder);
  void readRecords(std::uint64_t generation, const std::vector<Item>& items);
  // On the main thread.
  void applyItems(std::uint64_t generation, std::vector<Item> items, std::optional<Error> failure);
  void applyRecords(std::vector<FolderListingRecord> records);
  void folderMoved(const URL& newURL);

  const bool root_;
  URL folder_;
  bool started_ = false;
  std::uint64_t appliedGeneration_ = 0;
  bool loaded_ = false;
  std::vector<Item> items_;
  std::vector<URL> urls_;
  std::unordered_map<URL, size_t> indexes_;
  std::optional<Error> failure_;

  std::atomic<std::uint64_t> generation_{0};
  std::atomic<bool> reloadPending_{false};
  std::atomic<size_t> visibleFirst_{0};
  std::atomic<size_t> visibleCount_{32};
  std::shared_ptr<DocumentListingPresenter> presenter_;
};

}  // namespace velune::platform
