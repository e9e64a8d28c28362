#include "host/drive/ReadScope.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "host/HomeFileReader.h"

namespace velune::host {

namespace {
thread_local ReadScope* tCurrent = nullptr;

ItemStatus readStatus(const std::string& path) {
  ItemStatus status;
  if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &status.info) != 0) {
    status.error = errno;
  }
  return status;
}

SmallFile readSmallFile(const std::string& path) {
  SmallFile file;
  file.error = readHomeFile(path, kItemMetadataFileLimit, file.contents);
  return file;
}
}  // namespace

ReadScope::ReadScope() : previous_(tCurrent) {
  tCurrent = this;
}

ReadScope::~ReadScope() {
  tCurrent = previous_;
}

ItemStatus ReadScope::statusOf(const std::string& path) {
  if (tCurrent == nullptr) {
    return readStatus(path);
  }
  for (const auto& [seen, status] : tCurrent->statuses_) {
    if (seen == path) {
      return status;
    }
  }
  tCurrent->statuses_.emplace_back(path, readStatus(path));
  return tCurrent->statuses_.back().second;
}

SmallFile ReadScope::contentsOf(const std::string& path) {
  if (tCurrent == nullptr) {
    return readSmallFile(path);
  }
  for (const auto& [seen, file] : tCurrent->contents_) {
    if (seen == path) {
      return file;
    }
  }
  tCurrent->contents_.emplace_back(path, readSmallFile(path));
  return tCurrent->contents_.back().second;
}

void ReadScope::forget() {
  for (ReadScope* scope = tCurrent; scope != nullptr; scope = scope->previous_) {
    scope->statuses_.clear();
    scope->contents_.clear();
  }
}

}  // namespace velune::host
