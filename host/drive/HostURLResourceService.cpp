#include "host/drive/HostURLResourceService.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <string_view>
#include <unordered_map>

#include "platform/Log.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/HostSyncURLService.h"
#include "host/drive/ReadScope.h"
#include "host/drive/ThumbnailMaker.h"
#include "platform/Localization.h"
#include "platform/ResourceKeys.h"

namespace velune::host {

using platform::Date;
using platform::Error;
using platform::URL;
using platform::Value;
namespace keys = platform::resource_keys;

namespace {

Date dateOf(const statx_timestamp& t) {
  return Date::fromSecondsSince1970(static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9);
}

std::string extensionOf(const std::string& name) {
  const size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0 || dot + 1 == name.size()) {
    return {};
  }
  return name.substr(dot + 1);
}

enum class Key {
  Name,
  LocalizedName,
  TypeIdentifier,
  LocalizedTypeDescription,
  FileSize,
  CreationDate,
  ContentModificationDate,
  IsDirectory,
  IsPackage,
  HasHiddenExtension,
  ParentDirectoryURL,
  IsShared,
  SharedItemRole,
  DownloadingStatus,
  ThumbnailDictionary,
  Unknown,
};

// Keys by name, looked up once per key instead of compared one by one.
Key keyOf(const std::string& key) {
  static const auto* table = new std::unordered_map<std::string_view, Key>{
      {keys::Name, Key::Name},
      {keys::LocalizedName, Key::LocalizedName},
      {keys::TypeIdentifier, Key::TypeIdentifier},
      {keys::LocalizedTypeDescription, Key::LocalizedTypeDescription},
      {keys::FileSize, Key::FileSize},
      {keys::CreationDate, Key::CreationDate},
      {keys::ContentModificationDate, Key::ContentModificationDate},
      {keys::IsDirectory, Key::IsDirectory},
      {keys::IsPackage, Key::IsPackage},
      {keys::HasHiddenExtension, Key::HasHiddenExtension},
      {keys::ParentDirectoryURL, Key::ParentDirectoryURL},
      {keys::IsShared, Key::IsShared},
      {keys::SharedItemRole, Key::SharedItemRole},
      {keys::DownloadingStatus, Key::DownloadingStatus},
      {keys::ThumbnailDictionary, Key::ThumbnailDictionary},
  };
  const auto found = table->find(key);
  return found == table->end() ? Key::Unknown : found->second;
}

std::vector<Key> keysOf(const std::vector<std::string>& names) {
  std::vector<Key> out;
  out.reserve(names.size());
  for (const auto& name : names) {
    out.push_back(keyOf(name));
  }
  return out;
}

bool wants(const std::vector<Key>& wanted, Key key) {
  return std::find(wanted.begin(), wanted.end(), key) != wanted.end();
}

// The URL of an item's folder. Items are read folder by folder: the last
// folder's URL is kept (per thread) instead of being encoded again.
URL folderURL(const std::string& folder) {
  thread_local std::string lastFolder;
  thread_local URL lastURL;
  if (folder != lastFolder || lastURL.isEmpty()) {
    lastFolder = folder;
    lastURL = URL::fileURLWithPath(folder, true);
  }
  return lastURL;
}

std::string nameWithoutExtension(const std::string& name) {
  const std::string extension = extensionOf(name);
  return extension.empty() ? name : name.substr(0, name.size() - extension.size() - 1);
}

// What the drive knows of an item, whether present or only in the cloud.
struct ItemFacts {
  std::string path;  // logical
  std::string type;
  bool isDirectory = false;
  bool isPackage = false;
  bool inDrive = false;
  const char* downloadingStatus = nullptr;  // none outside the drive
  std::optional<std::uint64_t> size;
  std::optional<Date> created;
  std::optional<Date> modified;
  ItemAttributes attributes;
  std::string thumbnailSource;  // the file pictures are drawn from, if any
};

std::string descriptionOfType(platform::TypeRegistry& types, const std::string& type, const std::string& name) {
  if (auto description = types.localizedDescription(type)) {
    return *description;
  }
  std::string extension = extensionOf(name);
  if (extension.empty()) {
    return platform::localized("Document");
  }
  for (char& ch : extension) {
    ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  }
  return platform::localizedFormat("%@ Document", extension);
}

Value::Dictionary valuesOf(platform::TypeRegistry& types, const ItemFacts& facts, const std::vector<std::string>& keys,
                           const std::vector<Key>& wanted) {
  const auto [folder, name] = splitParent(facts.path);
  Value::Dictionary values;
  for (size_t index = 0; index < keys.size(); ++index) {
    const std::string& key = keys[index];
    switch (wanted[index]) {
      case Key::Name:
        values.emplace(key, Value(name));
        break;
      case Key::LocalizedName:
        values.emplace(key, Value(facts.attributes.hiddenExtension ? nameWithoutExtension(name) : name));
        break;
      case Key::TypeIdentifier:
        values.emplace(key, Value(facts.type));
        break;
      case Key::LocalizedTypeDescription:
        values.emplace(key, Value(descriptionOfType(types, facts.type, name)));
        break;
      case Key::FileSize:
        if (facts.size) {
          values.emplace(key, Value(*facts.size));
        }
        break;
      case Key::CreationDate:
        if (facts.created) {
          values.emplace(key, Value(*facts.created));
        }
        break;
      case Key::ContentModificationDate:
        if (facts.modified) {
          values.emplace(key, Value(*facts.modified));
        }
        break;
      case Key::IsDirectory:
        values.emplace(key, Value(facts.isDirectory));
        break;
      case Key::IsPackage:
        values.emplace(key, Value(facts.isPackage));
        break;
      case Key::HasHiddenExtension:
        values.emplace(key, Value(facts.attributes.hiddenExtension));
        break;
      case Key::ParentDirectoryURL:
        values.emplace(key, Value(folderURL(folder)));
        break;
      case Key::IsShared:
        if (facts.inDrive) {
          values.emplace(key, Value(facts.attributes.shared));
        }
        break;
      case Key::SharedItemRole:
        if (facts.inDrive && facts.attributes.shared) {
          values.emplace(key, Value(facts.attributes.role == kRoleParticipant ? platform::kSharedItemRoleParticipant
                                                                               : platform::kSharedItemRoleOwner));
        }
        break;
      case Key::DownloadingStatus:
        if (facts.downloadingStatus != nullptr) {
          values.emplace(key, Value(facts.downloadingStatus));
        }
        break;
      case Key::ThumbnailDictionary:
        if (!facts.thumbnailSource.empty()) {
          if (auto image = ThumbnailMaker::thumbnailOfFile(facts.thumbnailSource)) {
            values.emplace(key, Value(Value::Dictionary{{platform::kThumbnail1024x1024SizeKey, Value(image)}}));
          }
        }
        break;
      case Key::Unknown:
        break;
    }
  }
  return values;
}

}  // namespace

HostURLResourceService::HostURLResourceService(std::shared_ptr<Drive> drive,
                                               std::shared_ptr<platform::TypeRegistry> types)
    : drive_(std::move(drive)), types_(std::move(types)) {}

bool HostURLResourceService::startAccessingSecurityScopedResource(const URL& url) {
  if (!url.isFileURL() || !drive_->relativePath(url.path())) {
    return false;
  }
  accesses_.fetch_add(1);
  return true;
}

void HostURLResourceService::stopAccessingSecurityScopedResource(const URL& url) {
  if (accesses_.fetch_sub(1) <= 0) {
    accesses_.fetch_add(1);
    PLATFORM_LOG(kLogWarning, "Access to %@ stopped but never started", url);
  }
}

std::string HostURLResourceService::typeForName(const std::string& name, bool isDirectory, bool isSymbolicLink,
                                                bool* isPackage) {
  *isPackage = false;
  if (isSymbolicLink) {
    return "public.symlink";
  }
  const std::string extension = extensionOf(name);
  const std::string type = extension.empty() ? std::string() : types_->preferredIdentifierForExtension(extension);
  if (isDirectory) {
    if (!type.empty() && types_->typeConformsTo(type, "public.package")) {
      *isPackage = true;
      return type;
    }
    return "public.folder";
  }
  return type.empty() ? "public.data" : type;
}


platform::Result<Value::Dictionary> HostURLResourceService::valuesOfPresentItem(const std::string& path,
                                                                                const std::vector<std::string>& keys) {
  const ItemStatus status = ReadScope::statusOf(path);
  if (!status.exists()) {
    return driveWriteError(status.error, path);  // the no-such-file code of resource values is the write one (4)
  }
  const struct statx& info = status.info;
  ItemFacts facts;
  facts.path = path;
  const bool isLink = S_ISLNK(info.stx_mode);
  facts.isDirectory = S_ISDIR(info.stx_mode);
  facts.inDrive = drive_->relativePath(path).has_value();
  facts.downloadingStatus = facts.inDrive ? platform::kDownloadingStatusCurrent : nullptr;
  if (S_ISREG(info.stx_mode)) {
    facts.size = static_cast<std::uint64_t>(info.stx_size);
  }
  facts.created = (info.stx_mask & STATX_BTIME) != 0 ? dateOf(info.stx_btime)
                                                     : std::min(dateOf(info.stx_mtime), dateOf(info.stx_ctime));
  facts.modified = dateOf(info.stx_mtime);
  const std::vector<Key> wanted = keysOf(keys);
  if (facts.inDrive && (wants(wanted, Key::IsShared) || wants(wanted, Key::SharedItemRole) ||
                        wants(wanted, Key::HasHiddenExtension) || wants(wanted, Key::LocalizedName))) {
    auto read = drive_->readAttributes(path);
    if (read.ok()) {
      facts.attributes = read.value();
    } else {
      PLATFORM_LOG(kLogWarning, "Cannot read the attributes of %@: %@", path, read.error());
    }
  }
  facts.type = typeForName(splitParent(path).second, facts.isDirectory, isLink, &facts.isPackage);
  if (!facts.isDirectory && !isLink) {
    facts.thumbnailSource = path;
  }
  return valuesOf(*types_, facts, keys, wanted);
}

platform::Result<Value::Dictionary> HostURLResourceService::valuesOfPlaceholder(const std::string& logicalPath,
                                                                                const std::vector<std::string>& keys) {
  std::vector<std::string> problems;
  auto metadata = drive_->readPlaceholder(logicalPath, &problems);
  if (!metadata.ok()) {
    if (metadata.error().code() == platform::ErrorCode::FileReadCorruptFile) {
      PLATFORM_LOG(kLogWarning, "Placeholder of %@ is not readable: %@", logicalPath, metadata.error());
    }
    return metadata.error();
  }
  for (const auto& problem : problems) {
    PLATFORM_LOG(kLogWarning, "Placeholder of %@: %@", logicalPath, problem);
  }
  const PlaceholderMetadata& data = metadata.value();
  ItemFacts facts;
  facts.path = logicalPath;
  facts.inDrive = true;
  facts.downloadingStatus = platform::kDownloadingStatusNotDownloaded;
  facts.size = data.size;
  facts.created = data.created;
  facts.modified = data.modified;
  facts.attributes = data.attributes;
  if (data.type) {
    facts.type = *data.type;
    facts.isPackage = data.isPackage || types_->typeConformsTo(facts.type, "public.package");
  } else {
    facts.type = typeForName(splitParent(logicalPath).second, data.isPackage, false, &facts.isPackage);
    facts.isPackage = facts.isPackage || data.isPackage;
  }
  // A cloud-only package is a folder too, as it will be once downloaded.
  facts.isDirectory = facts.isPackage;
  // The server keeps the bytes: it can show what it holds.
  if (const auto relative = drive_->relativePath(logicalPath)) {
    facts.thumbnailSource = drive_->cloudPath(*relative);
  }
  return valuesOf(*types_, facts, keys, keysOf(keys));
}

platform::Result<Value::Dictionary> HostURLResourceService::resourceValuesForKeys(
    const URL& url, const std::vector<std::string>& keys) {
  if (!url.isFileURL()) {
    return driveWriteError(ENOENT, url.absoluteString());
  }
  return valuesOfPresentItem(url.path(), keys);
}

platform::Result<Value::Dictionary> HostURLResourceService::promisedItemResourceValuesForKeys(
    const URL& url, const std::vector<std::string>& keys) {
  if (!url.isFileURL()) {
    return driveWriteError(ENOENT, url.absoluteString());
  }
  const std::string path = logicalPathOfURL(url);
  if (ReadScope::statusOf(path).exists()) {
    return valuesOfPresentItem(path, keys);
  }
  return valuesOfPlaceholder(path, keys);
}

bool HostURLResourceService::checkPromisedItemIsReachable(const URL& url, std::optional<Error>* error) {
  if (url.isFileURL()) {
    const std::string path = logicalPathOfURL(url);
    if (ReadScope::statusOf(path).exists() || ReadScope::statusOf(placeholderPathFor(path)).exists()) {
      return true;
    }
  }
  if (error != nullptr) {
    *error = driveWriteError(ENOENT, url.isFileURL() ? url.path() : url.absoluteString());
  }
  return false;
}

platform::Result<Value> HostURLResourceService::resourceValueForKey(const URL& url, const std::string& key) {
  auto values = resourceValuesForKeys(url, {key});
  if (!values.ok()) {
    return values.error();
  }
  const auto found = values.value().find(key);
  return found == values.value().end() ? Value() : found->second;
}

platform::Result<Value> HostURLResourceService::promisedItemResourceValueForKey(const URL& url,
                                                                                const std::string& key) {
  auto values = promisedItemResourceValuesForKeys(url, {key});
  if (!values.ok()) {
    return values.error();
  }
  const auto found = values.value().find(key);
  return found == values.value().end() ? Value() : found->second;
}

}  // namespace velune::host
