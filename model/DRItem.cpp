#include "model/DRItem.h"

#include <array>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <unordered_map>

#include "diag/DRLogging.h"
#include "model/FileUtils.h"
#include "model/VLDAppBookmarks.h"
#include "platform/ByteCountFormatter.h"
#include "platform/DateFormatter.h"
#include "platform/FileCoordinationService.h"
#include "platform/FileCoordinator.h"
#include "platform/Platform.h"
#include "platform/PreviewService.h"
#include "platform/PromiseURLService.h"
#include "platform/SyncContainer.h"
#include "platform/SyncContainerService.h"
#include "platform/SyncURLService.h"
#include "platform/TypeRegistry.h"
#include "platform/URLResourceService.h"
#include "platform/ui/Image.h"

namespace velune {

using platform::Error;
using platform::URL;
using platform::Value;

namespace {

// The 14 values by their place in resourceKeys(), found in one pass over the map.
class KeyedValues {
 public:
  explicit KeyedValues(const Value::Dictionary& values) {
    for (const auto& [key, value] : values) {
      if (const auto place = places().find(key); place != places().end()) {
        values_[place->second] = &value;
      }
    }
  }
  // A missing value reads as null.
  const Value& operator[](const char* key) const {
    static const Value kMissing;
    const auto place = places().find(key);
    return place == places().end() || values_[place->second] == nullptr ? kMissing : *values_[place->second];
  }

 private:
  static const std::unordered_map<std::string_view, size_t>& places() {
    static const auto* table = [] {
      auto* made = new std::unordered_map<std::string_view, size_t>();
      const auto& keys = DRItem::resourceKeys();
      for (size_t i = 0; i < keys.size(); ++i) {
        made->emplace(keys[i], i);
      }
      return made;
    }();
    return *table;
  }

  std::array<const Value*, 14> values_{};
};

std::optional<std::string> textOf(const Value& value) {
  if (value.isNull()) {
    return std::nullopt;
  }
  if (const std::string* text = value.asString()) {
    return *text;
  }
  return value.description();
}

// Stops a security-scoped access once, when it was started.
class ScopedAccess {
 public:
  ScopedAccess(platform::URLResourceService& resources, const URL& url)
      : resources_(resources), url_(url), started_(resources.startAccessingSecurityScopedResource(url)) {}
  ~ScopedAccess() { stop(); }
  ScopedAccess(const ScopedAccess&) = delete;
  ScopedAccess& operator=(const ScopedAccess&) = delete;
  void stop() {
    if (started_) {
      started_ = false;
      resources_.stopAccessingSecurityScopedResource(url_);
    }
  }

 private:
  platform::URLResourceService& resources_;
  URL url_;
  bool started_;
};

}  // namespace

std::shared_ptr<DRItem> DRItem::initWithURL(const URL& url) {
  std::shared_ptr<DRItem> item(new DRItem());
  item->url_ = url;
  if (!item->cacheValues()) {
    DRLOG(kLogErr, "Failed to cache values for URL %@", url);
    return nullptr;
  }
  return item;
}

std::shared_ptr<DRItem> DRItem::init() {
  throw std::invalid_argument(platform::format("Don't call %@.", DRLogFunctionName(__PRETTY_FUNCTION__)));
}

const std::vector<std::string>& DRItem::resourceKeys() {
  static const std::vector<std::string> keys = {
      ResourceKey::Name,
      ResourceKey::LocalizedName,
      ResourceKey::TypeIdentifier,
      ResourceKey::LocalizedTypeDescription,
      ResourceKey::FileSize,
      ResourceKey::CreationDate,
      ResourceKey::ContentModificationDate,
      ResourceKey::IsDirectory,
      ResourceKey::IsPackage,
      ResourceKey::HasHiddenExtension,
      ResourceKey::ParentDirectoryURL,
      ResourceKey::IsShared,
      ResourceKey::SharedItemRole,
      ResourceKey::DownloadingStatus,
  };
  return keys;
}

platform::OperationQueue& DRItem::getThumbnailQueue() {
  static auto* queue = new platform::OperationQueue("thumbnailQueue", platform::QualityOfService::Background,
                                                    platform::OperationQueue::kDefaultMaxConcurrentOperationCount);
  return *queue;
}

void DRItem::clearValues() {
  resolvedURL_ = URL();
  localizedName_.reset();
  typeIdentifier_.reset();
  localizedTypeDescription_.reset();
  fileSize_.reset();
  friendlyFileSize_.reset();
  creationDate_ = Value();
  contentModificationDate_ = Value();
  parentDirectoryURL_ = Value();
  thumbnail_.reset();
  tags_.reset();
  promiseURL_.reset();
  isContainer_ = false;
  isDirectory_ = false;
  isPackage_ = false;
  thumbnailFetched_ = false;
  isBookmark_ = false;
  isDownloaded_ = false;
  hasHiddenExtension_ = true;
  renameable_ = true;
}

bool DRItem::cacheValues() {
  clearValues();
  if (url_.isEmpty()) {
    return false;
  }
  if (auto resolved = vld_URLByResolvingBookmark(url_)) {
    resolvedURL_ = *resolved;
    isBookmark_ = true;
  } else {
    resolvedURL_ = url_;
    isBookmark_ = false;
  }
  promiseURL_ = VELUNE_SERVICE(promiseURLs)->physicalURL(resolvedURL_);

  const auto resources = VELUNE_SERVICE(urlResources);
  ScopedAccess access(*resources, resolvedURL_);
  bool outcome = true;
  auto coordinator = VELUNE_SERVICE(fileCoordination)->makeCoordinator();
  // The coordinator's own refusal is not looked at: the record then stays cleared.
  (void)coordinator->coordinateReadingItemAtURL(
      resolvedURL_, platform::kReadingImmediatelyAvailableMetadataOnly, [&](const URL& readURL) {
        std::optional<Error> unreachable;
        outcome = resources->checkPromisedItemIsReachable(readURL, &unreachable);
        if (!outcome) {
          access.stop();
          return;
        }
        auto values = resources->promisedItemResourceValuesForKeys(readURL, resourceKeys());
        if (!values.ok() && values.error().code() == platform::ErrorCode::FileNoSuchFile) {
          outcome = false;
          access.stop();
          return;
        }
        if (!values.ok()) {
          DRLOG(kLogWarning, "promisedItemResourceValuesForKeys failed on %@", readURL);
          values = resources->resourceValuesForKeys(readURL, resourceKeys());
          if (!values.ok()) {
            outcome = false;
            access.stop();
            return;
          }
        }
        initFromKeysAndValues(values.value(), readURL);
        canPreview_ = VELUNE_SERVICE(previews)->canPreviewItemAtURL(resolvedURL_);
        auto tags = VELUNE_SERVICE(syncURLs)->tagNames(resolvedURL_);
        tags_ = tags.ok() ? std::optional<std::vector<std::string>>(tags.value()) : std::nullopt;
        access.stop();
      });
  return outcome;
}

void DRItem::initFromKeysAndValues(const Value::Dictionary& map, const URL& url) {
  const KeyedValues values(map);
  localizedName_ = textOf(values[ResourceKey::LocalizedName]);
  if (!localizedName_) {
    localizedName_ = textOf(values[ResourceKey::Name]);
  }
  typeIdentifier_ = textOf(values[ResourceKey::TypeIdentifier]);
  localizedTypeDescription_ = textOf(values[ResourceKey::LocalizedTypeDescription]);
  if (typeIdentifier_) {
    if (auto description = VELUNE_SERVICE(typeRegistry)->localizedDescription(*typeIdentifier_)) {
      localizedTypeDescription_ = std::move(description);
    }
  }
  const Value& size = values[ResourceKey::FileSize];
  if (size.isNumber()) {
    fileSize_ = size.unsignedValue();
    const auto bytes = static_cast<std::int64_t>(
        std::min<std::uint64_t>(*fileSize_, static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())));
    friendlyFileSize_ =
        platform::ByteCountFormatter::stringFromByteCount(bytes, platform::ByteCountFormatter::CountStyle::File);
  } else {
    fileSize_.reset();
  }
  creationDate_ = values[ResourceKey::CreationDate];
  contentModificationDate_ = values[ResourceKey::ContentModificationDate];
  parentDirectoryURL_ = values[ResourceKey::ParentDirectoryURL];
  isDirectory_ = values[ResourceKey::IsDirectory].boolValue();
  isPackage_ = values[ResourceKey::IsPackage].boolValue();
  if (isPackage_) {
    isDirectory_ = false;
  }
  hasHiddenExtension_ = values[ResourceKey::HasHiddenExtension].boolValue();
  isContainer_ = VELUNE_SERVICE(syncURLs)->isDocumentsContainer(url);
  if (isContainer_) {
    renameable_ = false;
    auto container = VELUNE_SERVICE(syncContainers)->containerForItemAtURL(url);
    if (container.ok() && container.value()) {
      localizedName_ = container.value()->localizedName();
    }
  } else {
    renameable_ = true;
    if (values[ResourceKey::IsShared].boolValue() &&
        values[ResourceKey::SharedItemRole] == Value(kSharedItemRoleParticipant)) {
      renameable_ = false;
    }
  }
  const Value& status = values[ResourceKey::DownloadingStatus];
  isDownloaded_ = !status.isNull() && !(status == Value(kDownloadingStatusNotDownloaded));
}

void DRItem::setUrl(const URL& url) {
  if (url == url_) {
    return;
  }
  url_ = url;
  cacheValues();
}

std::optional<std::string> DRItem::friendlyDate(const Value& date, int dateStyle) {
  const platform::Date* value = date.asDate();
  if (value == nullptr) {
    return std::nullopt;
  }
  return platform::DateFormatter::localizedString(*value, dateStyle,
                                                  static_cast<int>(platform::DateFormatter::Style::Short));
}

std::optional<std::string> DRItem::friendlyCreationDate(int dateStyle) const {
  return friendlyDate(creationDate_, dateStyle);
}

std::optional<std::string> DRItem::friendlyContentModificationDate(int dateStyle) const {
  return friendlyDate(contentModificationDate_, dateStyle);
}

std::shared_ptr<ui::Image> DRItem::thumbnail() {
  if (!thumbnailFetched_) {
    thumbnailFetched_ = true;
    const auto resources = VELUNE_SERVICE(urlResources);
    ScopedAccess access(*resources, resolvedURL_);
    auto coordinator = VELUNE_SERVICE(fileCoordination)->makeCoordinator();
    (void)coordinator->coordinateReadingItemAtURL(
        resolvedURL_, platform::kReadingImmediatelyAvailableMetadataOnly, [&](const URL& readURL) {
          updateThumbnailImage(FileUtils::getResourceValue(ResourceKey::ThumbnailDictionary, readURL));
          access.stop();
        });
  }
  return thumbnail_;
}

void DRItem::updateThumbnailImage(const Value& thumbnails) {
  if (!thumbnails.isDictionary()) {
    return;
  }
  DRLOG(kLogDebug, "URL Thumbs: %@", thumbnails);
  if (thumbnails.count() == 0) {
    return;
  }
  const Value& entry = thumbnails[kThumbnail1024x1024SizeKey];
  if (entry.isImage()) {
    thumbnail_ = entry.asImage();
  }
}

void DRItem::generateThumbnail(const std::function<void(std::shared_ptr<ui::Image>)>& completion) {
  if (completion) {
    completion(nullptr);
  }
}

std::string DRItem::description() const {
  return platform::format(
      "<DRItem %@ name=%@ type=%@ size=%@ dir=%d pkg=%d container=%d bookmark=%d promise=%d "
      "downloaded=%d>",
      url_, localizedName_, typeIdentifier_, fileSize_, isDirectory_, isPackage_, isContainer_, isBookmark_,
      isPromise(), isDownloaded_);
}

}  // namespace velune
