#include "host/drive/ReadScope.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

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
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    file.error = errno;
    return file;
  }
  char buffer[16384];
  while (true) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n < 0) {
      file.error = errno;
      break;
    }
    if (n == 0) {
      break;
    }
    file.contents.append(buffer, static_cast<size_t>(n));
  }
  ::close(fd);
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
