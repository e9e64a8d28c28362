#include "host/PosixFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "host/FileIO.h"
#include "host/PosixDirectoryEnumerator.h"
#include "host/drive/FileOperations.h"

namespace velune::host {

using platform::Date;
using platform::Error;

namespace {
Date dateOf(const statx_timestamp& t) {
  return Date::fromSecondsSince1970(static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9);
}
}  // namespace

PosixFileSystem::PosixFileSystem(std::string documentsDirectory) : documentsDirectory_(std::move(documentsDirectory)) {}

bool PosixFileSystem::fileExistsAtPath(const std::string& path, bool* isDirectory) {
  struct stat info {};
  if (path.empty() || stat(path.c_str(), &info) != 0) {
    return false;
  }
  if (isDirectory != nullptr) {
    *isDirectory = S_ISDIR(info.st_mode);
  }
  return true;
}

bool PosixFileSystem::isNameTakenAtPath(const std::string& path) {
  struct stat info {};
  return !path.empty() && lstat(path.c_str(), &info) == 0;
}

platform::Result<platform::FileAttributes> PosixFileSystem::attributesOfItemAtPath(const std::string& path) {
  if (path.empty()) {
    return Error::fromErrno(ENOENT, path, false);
  }
  struct statx info {};
  if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &info) != 0) {
    return Error::fromErrno(errno, path, false);
  }
  platform::FileAttributes attributes;
  attributes.modificationDate = dateOf(info.stx_mtime);
  if ((info.stx_mask & STATX_BTIME) != 0) {
    attributes.creationDate = dateOf(info.stx_btime);
  } else {
    attributes.creationDate = std::min(dateOf(info.stx_mtime), dateOf(info.stx_ctime));
  }
  attributes.size = info.stx_size;
  attributes.isDirectory = S_ISDIR(info.stx_mode);
  attributes.isSymbolicLink = S_ISLNK(info.stx_mode);
  return attributes;
}

std::optional<Error> PosixFileSystem::createDirectoryAtPath(const std::string& path, bool withIntermediateDirectories) {
  if (path.empty()) {
    return Error::fromErrno(ENOENT, path, true);
  }
  if (withIntermediateDirectories) {
    return makeDirectories(path);
  }
  if (::mkdir(path.c_str(), 0755) != 0) {
    return Error::fromErrno(errno, path, true);
  }
  return std::nullopt;
}

std::optional<Error> PosixFileSystem::removeItemAtPath(const std::string& path) {
  struct stat info {};
  if (path.empty() || ::lstat(path.c_str(), &info) != 0) {
    return Error::fromErrno(path.empty() ? ENOENT : errno, path, true);
  }
  std::error_code error;
  std::filesystem::remove_all(path, error);
  if (error) {
    return Error::fromErrno(error.value(), path, true);
  }
  return std::nullopt;
}

std::optional<Error> PosixFileSystem::evictUbiquitousItemAtURL(const platform::URL& url) {
  return Error::platform(platform::ErrorCode::FeatureUnsupported,
                         {{std::string(platform::kFilePathErrorKey), platform::Value(url.path())}});
}

platform::Result<std::vector<std::string>> PosixFileSystem::contentsOfDirectoryAtPath(const std::string& path) {
  std::vector<std::string> names;
  if (const int error = FileOperations::folderNames(path, names)) {
    return Error::fromErrno(error, path, false);
  }
  return names;
}

std::optional<Error> PosixFileSystem::copyItemAtPath(const std::string& from, const std::string& to) {
  struct stat info {};
  if (::lstat(from.c_str(), &info) != 0) {
    return Error::fromErrno(errno, from, false);
  }
  if (S_ISLNK(info.st_mode)) {
    return Error::fromErrno(ELOOP, from, false);
  }
  FileOperations operations;
  if (const int error = operations.copyItem(from, to, false)) {
    return Error::fromErrno(error, to, true);
  }
  return std::nullopt;
}

std::unique_ptr<platform::DirectoryEnumerator> PosixFileSystem::enumeratorAtURL(
    const platform::URL& url, platform::DirectoryEnumerationOptions options,
    platform::DirectoryEnumerationErrorHandler errorHandler) {
  return std::make_unique<PosixDirectoryEnumerator>(url, options, std::move(errorHandler));
}

std::vector<platform::URL> PosixFileSystem::documentDirectoryURLs() {
  if (documentsDirectory_.empty()) {
    return {};
  }
  return {platform::URL::fileURLWithPath(documentsDirectory_, true)};
}

}  // namespace velune::host
