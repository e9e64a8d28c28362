#include "host/drive/DriveFileSystem.h"

#include <dirent.h>
#include <sys/stat.h>

#include "host/drive/DrivePaths.h"
#include "host/drive/HostSyncURLService.h"
#include "platform/Unicode.h"

namespace velune::host {

DriveFileSystem::DriveFileSystem(std::shared_ptr<Drive> drive, std::string documentsDirectory)
    : PosixFileSystem(std::move(documentsDirectory)), drive_(std::move(drive)) {}

bool DriveFileSystem::fileExistsAtPath(const std::string& path, bool* isDirectory) {
  if (PosixFileSystem::fileExistsAtPath(path, isDirectory)) {
    return true;
  }
  if (!drive_->relativePath(path)) {
    return false;
  }
  // A cloud-only document's name is taken by its placeholder: a new name or a
  // move must not pick it.
  auto isPlaceholder = [&](const std::string& placeholder) {
    struct stat info {};
    if (::lstat(placeholder.c_str(), &info) != 0) {
      return false;
    }
    if (isDirectory != nullptr) {
      *isDirectory = false;
    }
    return true;
  };
  const auto [folder, name] = splitParent(path);
  if (isPlaceholder(placeholderPathFor(path))) {
    return true;
  }
  if (platform::unicode::isASCII(name)) {
    return false;
  }
  // The same name in another Unicode normal form is the same name.
  DIR* directory = ::opendir(folder.c_str());
  if (directory == nullptr) {
    return false;
  }
  const std::string wanted = platform::unicode::normalizedNFC(name);
  bool found = false;
  while (const dirent* entry = ::readdir(directory)) {
    const std::string candidate = entry->d_name;
    const auto logical = logicalNameOfPlaceholder(candidate);
    const std::string& shown = logical ? *logical : candidate;
    if (!platform::unicode::isASCII(shown) && platform::unicode::normalizedNFC(shown) == wanted) {
      const std::string candidatePath = joinPath(folder, candidate);
      found = logical ? isPlaceholder(candidatePath) : PosixFileSystem::fileExistsAtPath(candidatePath, isDirectory);
      break;
    }
  }
  ::closedir(directory);
  return found;
}

std::optional<platform::Error> DriveFileSystem::createDirectoryAtPath(const std::string& path,
                                                                      bool withIntermediateDirectories) {
  return drive_->createDirectory(path, withIntermediateDirectories);
}

std::optional<platform::Error> DriveFileSystem::removeItemAtPath(const std::string& path) {
  return drive_->removeItem(logicalPathOfURL(platform::URL::fileURLWithPath(path, false)));
}

std::optional<platform::Error> DriveFileSystem::evictUbiquitousItemAtURL(const platform::URL& url) {
  return drive_->evictItem(logicalPathOfURL(url));
}

}  // namespace velune::host
