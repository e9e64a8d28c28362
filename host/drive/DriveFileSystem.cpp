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
  const auto [folder, name] = splitParent(path);
  if (platform::unicode::isASCII(name) || !drive_->relativePath(path)) {
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
    if (!platform::unicode::isASCII(candidate) && platform::unicode::normalizedNFC(candidate) == wanted) {
      found = PosixFileSystem::fileExistsAtPath(joinPath(folder, candidate), isDirectory);
      break;
    }
  }
  ::closedir(directory);
  return found;
}

bool DriveFileSystem::isNameTakenAtPath(const std::string& path) {
  if (!drive_->relativePath(path)) {
    return PosixFileSystem::isNameTakenAtPath(path);
  }
  return drive_->isNameTaken(path);
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
