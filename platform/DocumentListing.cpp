#include "platform/DocumentListing.h"

#include <algorithm>
#include <mutex>

#include "platform/DispatchQueue.h"
#include "platform/FileCoordinationService.h"
#include "platform/FilePresenter.h"
#include "platform/MainThread.h"
#include "platform/NameCollator.h"
#include "platform/OperationQueue.h"
#include "platform/Platform.h"
#include "platform/SyncContainer.h"
#include "platform/SyncContainerService.h"
#include "platform/SyncURLService.h"

namespace velune::platform {

namespace {

// The encoded path of the item's folder, with its slash ("/a/b/" of "/a/b/c"
// and of "/a/b/c/"): items of one folder share it.
std::string_view encodedFolderOf(const URL& url) {
  std::string_view path = url.percentEncodedPath();
  if (path.size() > 1 && path.back() == '/') {
    path.remove_suffix(1);
  }
  const size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash + 1);
}

std::string withoutTrailingSlash(std::string path) {
  while (path.size() > 1 && path.back() == '/') {
    path.pop_back();
  }
  return path;
}

std::string parentPath(const std::string& path) {
  const std::string trimmed = withoutTrailingSlash(path);
  const size_t slash = trimmed.rfind('/');
  return slash == std::string::npos || slash == 0 ? std::string("/") : trimmed.substr(0, slash);
}

}  // namespace

// The listing's presenter: hears the notices of the folder (or, for the
// drive's top level, of the whole drive) on its own serial queue and asks for
// one more read when a shown item may have changed. Thread-safe: the paths it
// filters by are its own, under its lock.
class DocumentListingPresenter final : public FilePresenter {
 public:
  DocumentListingPresenter(std::weak_ptr<DocumentListing> listing, URL url, std::vector<std::string> shownFolders)
      : listing_(std::move(listing)),
        url_(std::move(url)),
        shownFolders_(std::move(shownFolders)) {}

  URL presentedItemURL() const override {
    std::lock_guard lock(mutex_);
    return url_;
  }
  OperationQueue* presentedItemOperationQueue() const override { return &queue(); }

  // One serial queue for the notices of every listing: they only schedule reads.
  static OperationQueue& queue() {
    static auto* shared = new OperationQueue("com.vorlan.platform.listing.presenters", QualityOfService::Utility, 1);
    return *shared;
  }

  void presentedItemDidChange() override { reload(); }
  void presentedItemDidMoveToURL(const URL& newURL) override {
    {
      std::lock_guard lock(mutex_);
      const std::string oldPath = withoutTrailingSlash(url_.path());
      const std::string newPath = withoutTrailingSlash(newURL.path());
      for (auto& folder : shownFolders_) {
        if (folder == oldPath) {
          folder = newPath;
        }
      }
      url_ = newURL;
    }
    DispatchQueue::main()->async([weak = listing_, newURL] {
      if (auto listing = weak.lock()) {
        listing->folderMoved(newURL);
      }
    });
  }
  void accommodatePresentedItemDeletionWithCompletionHandler(CompletionHandler completionHandler) override {
    completionHandler(std::nullopt);
    reload();
  }
  void accommodatePresentedSubitemDeletionAtURL(const URL& url, CompletionHandler completionHandler) override {
    completionHandler(std::nullopt);
    if (concerns(url)) {
      reload();
    }
  }
  void presentedSubitemDidChangeAtURL(const URL& url) override {
    if (concerns(url)) {
      reload();
    }
  }

 private:
  // Only the direct items of a shown folder, and the shown folders themselves
  // (a container's documents folder appearing at the top level), matter.
  bool concerns(const URL& changed) const {
    const std::string path = withoutTrailingSlash(changed.path());
    const std::string parent = parentPath(path);
    std::lock_guard lock(mutex_);
    for (const auto& folder : shownFolders_) {
      if (parent == folder || path == folder || parentPath(parent) == folder) {
        return true;
      }
    }
    return false;
  }
  void reload() {
    if (auto listing = listing_.lock()) {
      listing->scheduleReload();
    }
  }

  std::weak_ptr<DocumentListing> listing_;
  mutable std::mutex mutex_;
  URL url_;
  std::vector<std::string> shownFolders_;
};

const std::shared_ptr<DispatchQueue>& DocumentListing::readQueue() {
  static const auto queue = DispatchQueue::createSerial("com.vorlan.platform.listing", QualityOfService::UserInitiated);
  return queue;
}

void DocumentListing::waitForPresenters() { DocumentListingPresenter::queue().waitUntilAllOperationsAreFinished(); }

DocumentListing::DocumentListing(bool root, URL folder) : root_(root), folder_(std::move(folder)) {}

std::shared_ptr<DocumentListing> DocumentListing::makeRoot() {
  const auto syncURLs = Platform::services()->syncURLs;
  URL root = syncURLs ? syncURLs->cloudDocumentsRootURL() : URL();
  return std::shared_ptr<DocumentListing>(new DocumentListing(true, std::move(root)));
}

std::shared_ptr<DocumentListing> DocumentListing::makeFolder(const URL& folder) {
  return std::shared_ptr<DocumentListing>(new DocumentListing(false, folder));
}

DocumentListing::~DocumentListing() {
  if (presenter_) {
    if (const auto coordination = Platform::services()->fileCoordination) {
      coordination->removeFilePresenter(presenter_.get());
    }
  }
}

void DocumentListing::start() {
  VELUNE_ASSERT_MAIN_THREAD();
  if (started_) {
    return;
  }
  started_ = true;
  const auto services = Platform::services();
  if (services->fileCoordination && !folder_.isEmpty()) {
    std::vector<std::string> shown{withoutTrailingSlash(folder_.path())};
    if (root_ && services->syncContainers) {
      for (const auto& container : services->syncContainers->allContainers()) {
        if (container->identifier() == services->syncContainers->defaultContainerIdentifier()) {
          if (const auto documents = container->documentsURL()) {
            shown.push_back(withoutTrailingSlash(documents->path()));
          }
        }
      }
    }
    presenter_ = std::make_shared<DocumentListingPresenter>(weak_from_this(), folder_, std::move(shown));
    services->fileCoordination->addFilePresenter(presenter_);
  }
  reload();
}

void DocumentListing::stop() {
  VELUNE_ASSERT_MAIN_THREAD();
  started_ = false;
  ++generation_;
  if (presenter_) {
    if (const auto coordination = Platform::services()->fileCoordination) {
      coordination->removeFilePresenter(presenter_.get());
    }
    presenter_.reset();
  }
  onItemsChanged = nullptr;
  onRecordsChanged = nullptr;
  onFolderMoved = nullptr;
}

void DocumentListing::scheduleReload() {
  if (reloadPending_.exchange(true)) {
    return;  // one read is already waiting: it will see this change too
  }
  DispatchQueue::main()->async([weak = weak_from_this()] {
    if (auto self = weak.lock()) {
      self->reloadPending_ = false;
      if (self->started_) {
        self->reload();
      }
    }
  });
}

void DocumentListing::reload() {
  VELUNE_ASSERT_MAIN_THREAD();
  const std::uint64_t generation = ++generation_;
  readQueue()->async([weak = weak_from_this(), generation, folder = folder_] {
    if (auto self = weak.lock()) {
      self->read(generation, folder);
    }
  });
}

void DocumentListing::setVisibleRange(size_t first, size_t count) {
  visibleFirst_ = first;
  visibleCount_ = count;
}

std::optional<size_t> DocumentListing::indexOfURL(const URL& url) const {
  const auto found = indexes_.find(url);
  if (found == indexes_.end()) {
    return std::nullopt;
  }
  return found->second;
}

void DocumentListing::read(std::uint64_t generation, const URL& folder) {
  if (generation_ != generation) {
    return;  // a newer read is queued behind this one
  }
  const auto services = Platform::services();
  std::vector<Item> items;
  std::optional<Error> failure;
  const auto listings = services->folderListings;
  if (!listings || folder.isEmpty()) {
    failure = Error(std::string(kPlatformErrorDomain), ErrorCode::FileReadUnknown);
  } else if (root_) {
    // The app containers' documents folders, then the default container's items.
    std::optional<URL> defaultDocuments;
    if (services->syncContainers) {
      const std::string defaultIdentifier = services->syncContainers->defaultContainerIdentifier();
      for (const auto& container : services->syncContainers->allContainers()) {
        const auto documents = container->documentsURL();
        if (!documents) {
          continue;
        }
        if (container->identifier() == defaultIdentifier) {
          defaultDocuments = documents;
          continue;
        }
        Item item;
        item.entry.name = documents->lastPathComponent();
        item.entry.url = *documents;
        item.entry.isDirectory = true;
        item.displayName = container->localizedName();
        item.isContainer = true;
        items.push_back(std::move(item));
      }
    }
    if (defaultDocuments) {
      auto entries = listings->entriesOfFolder(*defaultDocuments);
      if (entries.ok()) {
        for (auto& entry : entries.value()) {
          Item item;
          item.displayName = entry.name;
          item.entry = std::move(entry);
          items.push_back(std::move(item));
        }
      } else {
        failure = entries.error();
      }
    }
  } else {
    auto entries = listings->entriesOfFolder(folder);
    if (entries.ok()) {
      items.reserve(entries.value().size());
      for (auto& entry : entries.value()) {
        Item item;
        item.displayName = entry.name;
        item.entry = std::move(entry);
        items.push_back(std::move(item));
      }
    } else {
      failure = entries.error();
    }
  }

  // Sort by collation keys, each computed once.
  {
    const NameCollator collator;
    std::vector<std::pair<std::string, size_t>> keys;
    keys.reserve(items.size());
    for (size_t i = 0; i < items.size(); ++i) {
      keys.emplace_back(collator.sortKey(items[i].displayName), i);
    }
    std::sort(keys.begin(), keys.end());
    std::vector<Item> sorted;
    sorted.reserve(items.size());
    for (const auto& [key, index] : keys) {
      sorted.push_back(std::move(items[index]));
    }
    items = std::move(sorted);
  }

  auto shared = std::make_shared<std::vector<Item>>(std::move(items));
  DispatchQueue::main()->async([weak = weak_from_this(), generation, shared, failure] {
    if (auto self = weak.lock()) {
      self->applyItems(generation, *shared, failure);
    }
  });
  readRecords(generation, *shared);
}

void DocumentListing::readRecords(std::uint64_t generation, const std::vector<Item>& items) {
  const auto listings = Platform::services()->folderListings;
  if (!listings || items.empty()) {
    return;
  }
  // The visible rows first, then the rest in order.
  const size_t first = std::min<size_t>(visibleFirst_, items.size());
  const size_t visibleEnd = std::min(items.size(), first + std::max<size_t>(visibleCount_, 1));
  std::vector<std::pair<size_t, size_t>> pages;
  pages.emplace_back(first, visibleEnd);
  for (size_t start = 0; start < items.size(); start += kRecordPageSize) {
    const size_t end = std::min(items.size(), start + kRecordPageSize);
    if (start < first) {
      pages.emplace_back(start, std::min(end, first));
    }
    if (end > visibleEnd) {
      pages.emplace_back(std::max(start, visibleEnd), end);
    }
  }
  for (const auto& [begin, end] : pages) {
    if (generation_ != generation) {
      return;  // a newer read replaces this one
    }
    if (begin >= end) {
      continue;
    }
    std::vector<FolderListingRecord> records;
    // Runs of items of one folder (the top level mixes containers and documents).
    // The folder is told by the encoded path (no URL made per item), and its
    // URL made once per run.
    size_t run = begin;
    while (run < end) {
      const std::string_view folder = encodedFolderOf(items[run].entry.url);
      std::vector<FolderListingEntry> entries;
      size_t next = run;
      while (next < end && encodedFolderOf(items[next].entry.url) == folder) {
        entries.push_back(items[next].entry);
        ++next;
      }
      const URL parent = items[run].entry.url.URLByDeletingLastPathComponent();
      auto read = listings->recordsOfEntries(parent, entries);
      records.insert(records.end(), std::make_move_iterator(read.begin()), std::make_move_iterator(read.end()));
      run = next;
    }
    DispatchQueue::main()->async([weak = weak_from_this(), records = std::move(records)]() mutable {
      if (auto self = weak.lock()) {
        self->applyRecords(std::move(records));
      }
    });
  }
}

void DocumentListing::applyItems(std::uint64_t generation, std::vector<Item> items, std::optional<Error> failure) {
  VELUNE_ASSERT_MAIN_THREAD();
  // A later read may finish first; an earlier one never replaces it.
  if (!started_ || generation <= appliedGeneration_) {
    return;
  }
  appliedGeneration_ = generation;
  // Rows keep their values until the new ones are read.
  for (auto& item : items) {
    if (const auto found = indexes_.find(item.entry.url); found != indexes_.end()) {
      item.record = std::move(items_[found->second].record);
    }
  }
  items_ = std::move(items);
  urls_.clear();
  urls_.reserve(items_.size());
  indexes_.clear();
  indexes_.reserve(items_.size());
  for (size_t i = 0; i < items_.size(); ++i) {
    urls_.push_back(items_[i].entry.url);
    indexes_.emplace(items_[i].entry.url, i);
  }
  failure_ = std::move(failure);
  loaded_ = true;
  if (onItemsChanged) {
    onItemsChanged();
  }
}

void DocumentListing::applyRecords(std::vector<FolderListingRecord> records) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!started_ || records.empty()) {
    return;
  }
  size_t low = items_.size();
  size_t high = 0;
  for (auto& record : records) {
    const auto found = indexes_.find(record.url);
    if (found == indexes_.end()) {
      continue;  // gone in a later read
    }
    low = std::min(low, found->second);
    high = std::max(high, found->second + 1);
    items_[found->second].record = std::move(record);
  }
  if (low < high && onRecordsChanged) {
    onRecordsChanged(low, high - low);
  }
}

void DocumentListing::folderMoved(const URL& newURL) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!started_ || newURL == folder_) {
    return;
  }
  folder_ = newURL;
  if (onFolderMoved) {
    onFolderMoved(newURL);
  }
  reload();
}

}  // namespace velune::platform
