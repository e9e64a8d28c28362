// FileUtils: the changes of the drive, each inside a coordinated write, and
// the file-name rule.

#include "diag/DRLogging.h"
#include "model/FileUtils.h"
#include "platform/FileCoordinationService.h"
#include "platform/FileCoordinator.h"
#include "platform/FileSystem.h"
#include "platform/Format.h"
#include "platform/Platform.h"
#include "platform/SyncURLService.h"
#include "platform/UTF8.h"
#include "platform/Unicode.h"

namespace velune {

using platform::Error;
using platform::URL;

bool FileUtils::exists(const URL& url) {
  return VELUNE_SERVICE(fileSystem)->fileExistsAtPath(url.path());
}

bool FileUtils::isNameTaken(const URL& url) {
  return VELUNE_SERVICE(fileSystem)->isNameTakenAtPath(url.path());
}

bool FileUtils::isFile(const URL& url) {
  bool isDirectory = false;
  return VELUNE_SERVICE(fileSystem)->fileExistsAtPath(url.path(), &isDirectory) && !isDirectory;
}

bool FileUtils::isDir(const URL& url) {
  bool isDirectory = false;
  return VELUNE_SERVICE(fileSystem)->fileExistsAtPath(url.path(), &isDirectory) && isDirectory;
}

std::optional<Error> FileUtils::mkdir(const URL& url) {
  DRLOG(kLogDebug, "Creating directory: '%@'", url);
  std::optional<Error> accessorError;
  auto coordinator = VELUNE_SERVICE(fileCoordination)->makeCoordinator();
  auto error = coordinator->coordinateWritingItemAtURL(url, platform::kWritingForReplacing, [&](const URL& newURL) {
    if (auto failed = VELUNE_SERVICE(fileSystem)->createDirectoryAtPath(newURL.path(), true)) {
      DRLOG(kLogErr, "failed to create directory:'%@': %@", newURL, *failed);
      accessorError = std::move(failed);
    } else {
      DRLOG(kLogInfo, "Created directory: '%@'", newURL);
    }
  });
  if (!error) {
    error = std::move(accessorError);
  }
  DRLOG(kLogDebug, "Coordinated Write returned %@", error);
  return error;
}

std::optional<Error> FileUtils::remove(const URL& url) {
  DRLOG(kLogDebug, "Removing item: '%@'", url);
  std::optional<Error> accessorError;
  auto coordinator = VELUNE_SERVICE(fileCoordination)->makeCoordinator();
  auto error = coordinator->coordinateWritingItemAtURL(url, platform::kWritingForDeleting, [&](const URL& newURL) {
    if (auto failed = VELUNE_SERVICE(fileSystem)->removeItemAtPath(newURL.path())) {
      DRLOG(kLogErr, "failed to delete item:'%@': %@", newURL, *failed);
      accessorError = std::move(failed);
    } else {
      DRLOG(kLogInfo, "Deleted item: '%@'", newURL);
    }
  });
  if (!error) {
    error = std::move(accessorError);
  }
  DRLOG(kLogInfo, "Coordinated Write returned %@", error);
  return error;
}

std::optional<Error> FileUtils::move(const URL& source, const URL& destinationURL, URL* movedTo) {
  DRLOG(kLogDebug, "Moving src1:  '%@'", source);
  DRLOG(kLogDebug, "Moving dest1: '%@'", destinationURL);
  if (source.path() == destinationURL.path()) {
    DRLOG(kLogDebug, "Move: src and dest are the same");
    if (movedTo != nullptr) {
      *movedTo = source;
    }
    return std::nullopt;
  }
  if (!exists(source)) {
    DRLOG(kLogInfo, "Move: source filename does not exist, must be a fault.");
  }
  if (isFile(source) && isDir(destinationURL)) {
    DRLOG(kLogErr, "Move: must move a file to a file (dest is a dir)");
    return Error::platform(platform::ErrorCode::FeatureUnsupported);
  }
  if (isDir(source) && isFile(destinationURL)) {
    DRLOG(kLogErr, "Move: must move a dir to a dir (dest is a file)");
    return Error::platform(platform::ErrorCode::FeatureUnsupported);
  }
  URL destination = destinationURL;
  // A cloud-only document's name is taken although nothing exists there.
  if (isNameTaken(destination)) {
    destination = generateUniquePath(destination);
    DRLOG(kLogDebug, "Avail  dest1: '%@'", destination);
  }
  std::optional<Error> accessorError;
  URL moved = destination;
  auto coordinator = VELUNE_SERVICE(fileCoordination)->makeCoordinator();
  auto error = coordinator->coordinateWritingItemAtURL(
      source, platform::kWritingForMoving, destination, platform::kWritingForReplacing,
      [&](const URL& newSource, const URL& newDestination) {
        coordinator->itemAtURLWillMoveToURL(newSource, newDestination);
        DRLOG(kLogDebug, "Moving src2:  '%@'", newSource);
        DRLOG(kLogDebug, "Moving dest2: '%@'", newDestination);
        if (auto failed = VELUNE_SERVICE(syncURLs)->moveItemAtURL(newSource, newDestination)) {
          DRLOG(kLogWarning, "SY Move failed: %@", *failed);
          accessorError = std::move(failed);
        } else {
          DRLOG(kLogInfo, "Move successful");
          moved = newDestination;
        }
      });
  if (!error) {
    error = std::move(accessorError);
  }
  if (error) {
    DRLOG(kLogWarning, "Move failed: %@", *error);
  } else if (movedTo != nullptr) {
    *movedTo = moved;
  }
  return error;
}

URL FileUtils::generateUniquePath(const URL& url) {
  const std::string path = url.path();
  const size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? std::string() : path.substr(0, slash);
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  // Free after all (removed in the meantime): the name itself is the one to use.
  const std::string unique = stringByUniquingPathInsideDirectory(folder, name).value_or(name);
  return URL::fileURLWithPath((folder.empty() ? std::string() : folder) + "/" + unique, url.hasDirectoryPath());
}

std::optional<std::string> FileUtils::stringByUniquingPathInsideDirectory(const std::string& directory,
                                                                          const std::string& basename) {
  const auto fileSystem = VELUNE_SERVICE(fileSystem);
  auto inFolder = [&](const std::string& name) { return directory + "/" + name; };
  if (!fileSystem->isNameTakenAtPath(inFolder(basename))) {
    return std::nullopt;
  }
  const size_t slash = basename.rfind('/');
  const size_t lastComponent = slash == std::string::npos ? 0 : slash + 1;
  const size_t dot = basename.rfind('.');
  std::string stem = basename;
  std::string suffix;
  if (dot != std::string::npos && dot >= lastComponent) {
    const std::string extension = basename.substr(dot + 1);
    stem = basename.substr(0, dot);
    if (!extension.empty()) {
      suffix.assign(1, '.').append(extension);
    }
  }
  for (long long n = 2;; ++n) {
    std::string candidate = platform::format("%@ %d%@", stem, n, suffix);
    if (!fileSystem->isNameTakenAtPath(inFolder(candidate))) {
      return candidate;
    }
  }
}

void FileUtils::evictDocument(const URL& url) {
  if (auto error = VELUNE_SERVICE(fileSystem)->evictUbiquitousItemAtURL(url)) {
    DRLOG(kLogWarning, "Evict error: %@", *error);
  }
}

bool FileUtils::isValidFilename(const std::string& name) {
  if (name.empty()) {
    return false;
  }
  if (name.front() == '.') {
    return false;
  }
  if (name.find('/') != std::string::npos || name.find(':') != std::string::npos) {
    return false;
  }
  const auto codePoints = platform::decodeUTF8(name);
  if (!codePoints) {
    return false;  // bytes that are no characters at all
  }
  for (const char32_t c : *codePoints) {
    if (!platform::unicode::isAssignedCharacter(c)) {
      return false;
    }
  }
  for (const char32_t c : *codePoints) {
    if (platform::unicode::isControlOrFormat(c)) {
      return false;
    }
  }
  for (const char32_t c : *codePoints) {
    if (platform::unicode::isLineBreak(c)) {
      return false;
    }
  }
  return true;
}

}  // namespace velune
