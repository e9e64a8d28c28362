#include "host/drive/BeneathPath.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <deque>
#include <vector>

namespace velune::host {

UniqueFd::~UniqueFd() {
  if (fd_ >= 0) {
    ::close(fd_);
  }
}

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) {
      ::close(fd_);
    }
    fd_ = other.release();
  }
  return *this;
}

bool isOutsideRootError(int errorNumber) { return errorNumber == EXDEV || errorNumber == ELOOP; }

namespace {

// Linux's own bound on the links of one lookup.
constexpr int kMaximumLinks = 40;

void appendComponents(std::string_view path, std::deque<std::string>& parts, bool atFront) {
  std::vector<std::string> found;
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string_view::npos) {
      end = path.size();
    }
    if (end > start) {
      found.emplace_back(path.substr(start, end - start));
    }
    start = end + 1;
  }
  if (atFront) {
    parts.insert(parts.begin(), found.begin(), found.end());
  } else {
    parts.insert(parts.end(), found.begin(), found.end());
  }
}

int openByWalk(int rootFd, std::string_view relative, int flags) {
  if (!relative.empty() && relative.front() == '/') {
    return -EXDEV;
  }
  std::deque<std::string> parts;
  appendComponents(relative, parts, false);
  // The folders opened below the root, innermost last; ".." pops one.
  std::vector<UniqueFd> folders;
  int links = 0;
  const bool followLast = (flags & O_NOFOLLOW) == 0;
  while (!parts.empty()) {
    const std::string name = std::move(parts.front());
    parts.pop_front();
    const int current = folders.empty() ? rootFd : folders.back().get();
    if (name == ".") {
      if (parts.empty()) {
        const int fd = ::openat(current, ".", flags | O_CLOEXEC);
        return fd >= 0 ? fd : -errno;
      }
      continue;
    }
    if (name == "..") {
      if (folders.empty()) {
        return -EXDEV;
      }
      folders.pop_back();
      if (parts.empty()) {
        const int parent = folders.empty() ? rootFd : folders.back().get();
        const int fd = ::openat(parent, ".", flags | O_CLOEXEC);
        return fd >= 0 ? fd : -errno;
      }
      continue;
    }
    const bool last = parts.empty();
    struct stat info {};
    if (::fstatat(current, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
      if (!last || errno != ENOENT || (flags & O_CREAT) == 0) {
        return -errno;
      }
    } else if (S_ISLNK(info.st_mode) && (!last || followLast)) {
      if (++links > kMaximumLinks) {
        return -ELOOP;
      }
      std::string target(4096, '\0');
      const ssize_t n = ::readlinkat(current, name.c_str(), target.data(), target.size());
      if (n < 0) {
        return -errno;
      }
      target.resize(static_cast<size_t>(n));
      if (target.empty() || target.front() == '/') {
        return -EXDEV;  // an absolute link leaves the root by definition
      }
      appendComponents(target, parts, true);
      continue;
    }
    if (last) {
      // O_NOFOLLOW: a link swapped in since the check is refused, not followed.
      const int fd = ::openat(current, name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, 0644);
      return fd >= 0 ? fd : -errno;
    }
    const int fd = ::openat(current, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
      return -errno;
    }
    folders.emplace_back(fd);
  }
  const int fd = ::openat(folders.empty() ? rootFd : folders.back().get(), ".", flags | O_CLOEXEC);
  return fd >= 0 ? fd : -errno;
}

}  // namespace

int openBeneath(int rootFd, std::string_view relative, int flags, BeneathResolution resolution) {
  if (resolution == BeneathResolution::Automatic) {
    static std::atomic<bool> unavailable{false};
    if (!unavailable.load(std::memory_order_relaxed)) {
      open_how how{};
      how.flags = static_cast<__u64>(flags | O_CLOEXEC);
      how.mode = (flags & O_CREAT) != 0 ? 0644 : 0;
      how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
      const std::string path = relative.empty() ? std::string(".") : std::string(relative);
      long fd = 0;
      do {
        fd = ::syscall(SYS_openat2, rootFd, path.c_str(), &how, sizeof how);
      } while (fd < 0 && (errno == EINTR || errno == EAGAIN));
      if (fd >= 0) {
        return static_cast<int>(fd);
      }
      if (errno != ENOSYS) {
        return -errno;
      }
      unavailable.store(true, std::memory_order_relaxed);
    }
  }
  return openByWalk(rootFd, relative, flags);
}

}  // namespace velune::host
