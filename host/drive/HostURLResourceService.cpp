#include "host/drive/HostURLResourceService.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>

#include "diag/DRLogging.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/HostSyncURLService.h"
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

bool wants(const std::vector<std::string>& keys, const char* key) {
  return std::find(keys.begin(), keys.end(), key) != keys.end();
}

std::string nameWithoutExtension(const std::string& name) {
  const std::string extension = extensionOf(name);
  return extension.empty() ? name : name.substr(0, name.size() - extension.size() - 1);
}

}  // namespace

HostURLResourceService::HostURLResourceService(std::shared_ptr<Drive> drive,
                                               std::shared_ptr<platform::TypeRegistry> types)
    : drive_(std::move(drive)), types_(std::move(types)) {}

bool HostURLResourceService::startAccessingSecurityScopedResource(const URL& url) {
  if (!url.isFileURL() || !drive_->relativePath(url.path())) {
    return false;
  }
  std::lock_guard lock(mutex_);
  ++accesses_[url.path()];
  return true;
}

void HostURLResourceService::stopAccessingSecurityScopedResource(const URL& url) {
  std::lock_guard lock(mutex_);
  const auto found = accesses_.find(url.path());
  if (found == accesses_.end()) {
    DRLOG(kLogWarning, "Access to %@ stopped but never started", url);
    return;
  }
  if (--found->second == 0) {
    accesses_.erase(found);
  }
}

int HostURLResourceService::accessCount() const {
  std::lock_guard lock(mutex_);
  int total = 0;
  for (const auto& [path, count] : accesses_) {
    total += count;
  }
  return total;
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

std::string HostURLResourceService::descriptionOfType(const std::string& type, const std::string& name) {
  if (auto description = types_->localizedDescription(type)) {
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

platform::Result<Value::Dictionary> HostURLResourceService::valuesOfPresentItem(const std::string& path,
                                                                                const std::vector<std::string>& keys) {
  struct statx info {};
  if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &info) != 0) {
    return driveWriteError(errno, path);  // the no-such-file code of resource values is the write one (4)
  }
  const auto [folder, name] = splitParent(path);
  const bool isDirectory = S_ISDIR(info.stx_mode);
  const bool isLink = S_ISLNK(info.stx_mode);
  const bool inDrive = drive_->relativePath(path).has_value();
  ItemAttributes attributes;
  if (inDrive && (wants(keys, keys::IsShared) || wants(keys, keys::SharedItemRole) ||
                  wants(keys, keys::HasHiddenExtension) || wants(keys, keys::LocalizedName))) {
    auto read = drive_->readAttributes(path);
    if (read.ok()) {
      attributes = read.value();
    } else {
      DRLOG(kLogWarning, "Cannot read the attributes of %@: %@", path, read.error());
    }
  }
  bool isPackage = false;
  const std::string type = typeForName(name, isDirectory, isLink, &isPackage);
  Value::Dictionary values;
  for (const auto& key : keys) {
    if (key == keys::Name) {
      values.emplace(key, Value(name));
    } else if (key == keys::LocalizedName) {
      values.emplace(key, Value(attributes.hiddenExtension ? nameWithoutExtension(name) : name));
    } else if (key == keys::TypeIdentifier) {
      values.emplace(key, Value(type));
    } else if (key == keys::LocalizedTypeDescription) {
      values.emplace(key, Value(descriptionOfType(type, name)));
    } else if (key == keys::FileSize) {
      if (S_ISREG(info.stx_mode)) {
        values.emplace(key, Value(static_cast<std::uint64_t>(info.stx_size)));
      }
    } else if (key == keys::CreationDate) {
      values.emplace(key, Value((info.stx_mask & STATX_BTIME) != 0
                                    ? dateOf(info.stx_btime)
                                    : std::min(dateOf(info.stx_mtime), dateOf(info.stx_ctime))));
    } else if (key == keys::ContentModificationDate) {
      values.emplace(key, Value(dateOf(info.stx_mtime)));
    } else if (key == keys::IsDirectory) {
      values.emplace(key, Value(isDirectory));
    } else if (key == keys::IsPackage) {
      values.emplace(key, Value(isPackage));
    } else if (key == keys::HasHiddenExtension) {
      values.emplace(key, Value(attributes.hiddenExtension));
    } else if (key == keys::ParentDirectoryURL) {
      values.emplace(key, Value(URL::fileURLWithPath(folder, true)));
    } else if (key == keys::IsShared) {
      if (inDrive) {
        values.emplace(key, Value(attributes.shared));
      }
    } else if (key == keys::SharedItemRole) {
      if (inDrive && attributes.shared) {
        values.emplace(key, Value(attributes.role == kRoleParticipant ? platform::kSharedItemRoleParticipant
                                                                       : platform::kSharedItemRoleOwner));
      }
    } else if (key == keys::DownloadingStatus) {
      if (inDrive) {
        values.emplace(key, Value(platform::kDownloadingStatusCurrent));
      }
    } else if (key == keys::ThumbnailDictionary) {
      if (!isDirectory && !isLink) {
        if (auto image = ThumbnailMaker::thumbnailOfFile(path)) {
          values.emplace(key, Value(Value::Dictionary{{platform::kThumbnail1024x1024SizeKey, Value(image)}}));
        }
      }
    }
  }
  return values;
}

platform::Result<Value::Dictionary> HostURLResourceService::valuesOfPlaceholder(const std::string& logicalPath,
                                                                                const std::vector<std::string>& keys) {
  std::vector<std::string> problems;
  auto metadata = drive_->readPlaceholder(logicalPath, &problems);
  if (!metadata.ok()) {
    if (metadata.error().code() == platform::ErrorCode::FileReadCorruptFile) {
      DRLOG(kLogWarning, "Placeholder of %@ is not readable: %@", logicalPath, metadata.error());
    }
    return metadata.error();
  }
  for (const auto& problem : problems) {
    DRLOG(kLogWarning, "Placeholder of %@: %@", logicalPath, problem);
  }
  const PlaceholderMetadata& data = metadata.value();
  const auto [folder, name] = splitParent(logicalPath);
  bool isPackage = data.isPackage;
  std::string type;
  if (data.type) {
    type = *data.type;
    isPackage = isPackage || types_->typeConformsTo(type, "public.package");
  } else {
    bool byName = false;
    type = typeForName(name, data.isPackage, false, &byName);
    isPackage = isPackage || byName;
  }
  Value::Dictionary values;
  for (const auto& key : keys) {
    if (key == keys::Name) {
      values.emplace(key, Value(name));
    } else if (key == keys::LocalizedName) {
      values.emplace(key, Value(data.attributes.hiddenExtension ? nameWithoutExtension(name) : name));
    } else if (key == keys::TypeIdentifier) {
      values.emplace(key, Value(type));
    } else if (key == keys::LocalizedTypeDescription) {
      values.emplace(key, Value(descriptionOfType(type, name)));
    } else if (key == keys::FileSize) {
      if (data.size) {
        values.emplace(key, Value(*data.size));
      }
    } else if (key == keys::CreationDate) {
      if (data.created) {
        values.emplace(key, Value(*data.created));
      }
    } else if (key == keys::ContentModificationDate) {
      if (data.modified) {
        values.emplace(key, Value(*data.modified));
      }
    } else if (key == keys::IsDirectory) {
      values.emplace(key, Value(isPackage));
    } else if (key == keys::IsPackage) {
      values.emplace(key, Value(isPackage));
    } else if (key == keys::HasHiddenExtension) {
      values.emplace(key, Value(data.attributes.hiddenExtension));
    } else if (key == keys::ParentDirectoryURL) {
      values.emplace(key, Value(URL::fileURLWithPath(folder, true)));
    } else if (key == keys::IsShared) {
      values.emplace(key, Value(data.attributes.shared));
    } else if (key == keys::SharedItemRole) {
      if (data.attributes.shared) {
        values.emplace(key, Value(data.attributes.role == kRoleParticipant ? platform::kSharedItemRoleParticipant
                                                                            : platform::kSharedItemRoleOwner));
      }
    } else if (key == keys::DownloadingStatus) {
      values.emplace(key, Value(platform::kDownloadingStatusNotDownloaded));
    } else if (key == keys::ThumbnailDictionary) {
      // The server keeps the bytes: it can show what it holds.
      if (const auto relative = drive_->relativePath(logicalPath)) {
        if (auto image = ThumbnailMaker::thumbnailOfFile(drive_->cloudPath(*relative))) {
          values.emplace(key, Value(Value::Dictionary{{platform::kThumbnail1024x1024SizeKey, Value(image)}}));
        }
      }
    }
  }
  return values;
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
  struct stat info {};
  if (::lstat(path.c_str(), &info) == 0) {
    return valuesOfPresentItem(path, keys);
  }
  return valuesOfPlaceholder(path, keys);
}

bool HostURLResourceService::checkPromisedItemIsReachable(const URL& url, std::optional<Error>* error) {
  if (url.isFileURL()) {
    const std::string path = logicalPathOfURL(url);
    struct stat info {};
    if (::lstat(path.c_str(), &info) == 0 || ::lstat(placeholderPathFor(path).c_str(), &info) == 0) {
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
