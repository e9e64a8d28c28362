#include "host/PosixFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

namespace velune::host {

using platform::Date;
using platform::Error;

namespace {
Date dateOf(const statx_timestamp& t) {
  return Date::fromSecondsSince1970(static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9);
}
}  // namespace

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

}  // namespace velune::host
