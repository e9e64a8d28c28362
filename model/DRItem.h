#pragma once
// DRItem: the system's record of one item of the drive (a document, a folder,
// a package or an app's container folder). Made only by initWithURL(), which
// reads the item's 14 resource values once, under a coordinated read that asks
// only for metadata, and keeps them as plain fields; nothing here watches the
// file afterwards. It resolves document references (the record then describes
// the target) and placeholders of cloud-only documents (promiseURL is then the
// placeholder file).
//
// Not thread-safe: a record is used on the thread that made it (the main
// thread for every view). cacheValues() and thumbnail() block that thread for
// the duration of a coordinated read.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/OperationQueue.h"
#include "platform/ResourceKeys.h"
#include "platform/URL.h"
#include "platform/Value.h"

namespace velune {

// The 14 resource keys an item record reads, always all, in this order, and
// the thumbnail dictionary's key (platform/ResourceKeys.h).
namespace ResourceKey = ::velune::platform::resource_keys;

// Values of the shared-item role and downloading-status keys, and the key of
// the 1024×1024 thumbnail in a thumbnail dictionary.
using platform::kDownloadingStatusCurrent;
using platform::kDownloadingStatusDownloaded;
using platform::kDownloadingStatusNotDownloaded;
using platform::kSharedItemRoleOwner;
using platform::kSharedItemRoleParticipant;
using platform::kThumbnail1024x1024SizeKey;

class DRItem : public std::enable_shared_from_this<DRItem> {
 public:
  // The record of the item at `url`, or null when its values cannot be read
  // (logged at level 3 "Failed to cache values for URL %@").
  static std::shared_ptr<DRItem> initWithURL(const platform::URL& url);
  // Not allowed: throws std::invalid_argument "Don't call DRItem::init.".
  static std::shared_ptr<DRItem> init();

  // The 14 keys, built once per process.
  static const std::vector<std::string>& resourceKeys();
  // The shared queue for thumbnail work ("thumbnailQueue", background class,
  // not serial).
  static platform::OperationQueue& getThumbnailQueue();

  bool cacheValues();
  void clearValues();
  void initFromKeysAndValues(const platform::Value::Dictionary& values, const platform::URL& url);

  const platform::URL& url() const { return url_; }
  // Re-reads the record when the URL differs from the current one.
  void setUrl(const platform::URL& url);

  const platform::URL& resolvedURL() const { return resolvedURL_; }
  const std::optional<std::string>& localizedName() const { return localizedName_; }
  const std::optional<std::string>& typeIdentifier() const { return typeIdentifier_; }
  const std::optional<std::string>& localizedTypeDescription() const { return localizedTypeDescription_; }
  const std::optional<std::uint64_t>& fileSize() const { return fileSize_; }
  const std::optional<std::string>& friendlyFileSize() const { return friendlyFileSize_; }
  // As read, without a type check (the friendly-date operations check).
  const platform::Value& creationDate() const { return creationDate_; }
  const platform::Value& contentModificationDate() const { return contentModificationDate_; }
  const platform::Value& parentDirectoryURL() const { return parentDirectoryURL_; }
  bool isContainer() const { return isContainer_; }
  bool isDirectory() const { return isDirectory_; }
  bool isPackage() const { return isPackage_; }
  bool hasHiddenExtension() const { return hasHiddenExtension_; }
  bool canPreview() const { return canPreview_; }
  bool renameable() const { return renameable_; }
  bool isBookmark() const { return isBookmark_; }
  const std::optional<std::vector<std::string>>& tags() const { return tags_; }
  const std::optional<platform::URL>& promiseURL() const { return promiseURL_; }
  bool isPromise() const { return promiseURL_.has_value() && !(*promiseURL_ == resolvedURL_); }
  bool isDownloaded() const { return isDownloaded_; }
  bool thumbnailFetched() const { return thumbnailFetched_; }

  void setResolvedURL(platform::URL url) { resolvedURL_ = std::move(url); }
  void setLocalizedName(std::optional<std::string> name) { localizedName_ = std::move(name); }
  void setTypeIdentifier(std::optional<std::string> type) { typeIdentifier_ = std::move(type); }
  void setLocalizedTypeDescription(std::optional<std::string> text) { localizedTypeDescription_ = std::move(text); }
  void setFileSize(std::optional<std::uint64_t> size) { fileSize_ = size; }
  void setFriendlyFileSize(std::optional<std::string> text) { friendlyFileSize_ = std::move(text); }
  void setCreationDate(platform::Value date) { creationDate_ = std::move(date); }
  void setContentModificationDate(platform::Value date) { contentModificationDate_ = std::move(date); }
  void setParentDirectoryURL(platform::Value url) { parentDirectoryURL_ = std::move(url); }
  void setIsContainer(bool value) { isContainer_ = value; }
  void setIsDirectory(bool value) { isDirectory_ = value; }
  void setHasHiddenExtension(bool value) { hasHiddenExtension_ = value; }
  void setRenameable(bool value) { renameable_ = value; }
  void setIsBookmark(bool value) { isBookmark_ = value; }
  void setTags(std::optional<std::vector<std::string>> tags) { tags_ = std::move(tags); }
  void setPromiseURL(std::optional<platform::URL> url) { promiseURL_ = std::move(url); }
  void setIsDownloaded(bool value) { isDownloaded_ = value; }
  void setThumbnailFetched(bool value) { thumbnailFetched_ = value; }

  // The localised text of a date with the date style (0 none ... 4 full) and
  // the short time style; nothing when `date` is not a date.
  static std::optional<std::string> friendlyDate(const platform::Value& date, int dateStyle);
  std::optional<std::string> friendlyCreationDate(int dateStyle) const;
  std::optional<std::string> friendlyContentModificationDate(int dateStyle) const;

  // The large thumbnail, read on the first request only.
  std::shared_ptr<ui::Image> thumbnail();
  void setThumbnail(std::shared_ptr<ui::Image> image) { thumbnail_ = std::move(image); }
  void updateThumbnailImage(const platform::Value& thumbnails);
  bool canGenerateThumbnail() const { return false; }
  void generateThumbnail(const std::function<void(std::shared_ptr<ui::Image>)>& completion);

  std::string description() const;

 private:
  DRItem() = default;

  platform::URL url_;
  platform::URL resolvedURL_;
  std::optional<std::string> localizedName_;
  std::optional<std::string> typeIdentifier_;
  std::optional<std::string> localizedTypeDescription_;
  std::optional<std::uint64_t> fileSize_;
  std::optional<std::string> friendlyFileSize_;
  platform::Value creationDate_;
  platform::Value contentModificationDate_;
  platform::Value parentDirectoryURL_;
  bool isContainer_ = false;
  bool isDirectory_ = false;
  bool isPackage_ = false;
  bool hasHiddenExtension_ = true;
  std::shared_ptr<ui::Image> thumbnail_;
  bool canPreview_ = false;
  bool renameable_ = true;
  bool isBookmark_ = false;
  std::optional<std::vector<std::string>> tags_;
  std::optional<platform::URL> promiseURL_;
  bool isDownloaded_ = false;
  bool thumbnailFetched_ = false;
};

}  // namespace velune
