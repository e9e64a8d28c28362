#include "host/drive/DriveWatcher.h"

#include <dirent.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/Log.h"
#include "host/drive/DrivePaths.h"

namespace velune::host {

namespace {

constexpr std::uint32_t kWatchMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_ATTRIB |
                                     IN_ONLYDIR | IN_DONT_FOLLOW | IN_EXCL_UNLINK;

bool lexists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

enum class NameKind { Item, Placeholder, Sidecar, Temporary };

NameKind classify(const std::string& name, std::string* logical) {
  if (isTemporaryName(name)) {
    return NameKind::Temporary;
  }
  if (auto inner = logicalNameOfPlaceholder(name)) {
    *logical = *inner;
    return NameKind::Placeholder;
  }
  if (auto inner = logicalNameOfSidecar(name)) {
    *logical = *inner;
    return NameKind::Sidecar;
  }
  *logical = name;
  return NameKind::Item;
}

}  // namespace

DriveWatcher::DriveWatcher(std::string root, Handler handler) : root_(std::move(root)), handler_(std::move(handler)) {}

DriveWatcher::~DriveWatcher() {
  if (thread_.joinable()) {
    {
      std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    wake();
    thread_.join();
  }
  if (inotify_ >= 0) {
    ::close(inotify_);
  }
  if (wakeup_ >= 0) {
    ::close(wakeup_);
  }
}

std::optional<platform::Error> DriveWatcher::start() {
  if (thread_.joinable()) {
    return std::nullopt;
  }
  inotify_ = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (inotify_ < 0) {
    return platform::Error::fromErrno(errno, root_, false);
  }
  wakeup_ = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (wakeup_ < 0) {
    return platform::Error::fromErrno(errno, root_, false);
  }
  if (::inotify_add_watch(inotify_, root_.c_str(), kWatchMask) < 0) {
    return platform::Error::fromErrno(errno, root_, false);
  }
  addWatchTree(root_);
  thread_ = std::thread([this] { run(); });
  return std::nullopt;
}

void DriveWatcher::wake() {
  const std::uint64_t one = 1;
  if (wakeup_ >= 0) {
    [[maybe_unused]] const ssize_t written = ::write(wakeup_, &one, sizeof one);
  }
}

void DriveWatcher::addWatchTree(const std::string& path) {
  const int wd = ::inotify_add_watch(inotify_, path.c_str(), kWatchMask);
  if (wd < 0) {
    if (errno == ENOSPC) {
      PLATFORM_LOG(kLogWarning, "Too many folders to watch; changes inside %@ are not seen", path);
    }
    return;
  }
  watches_[wd] = path;
  DIR* folder = ::opendir(path.c_str());
  if (folder == nullptr) {
    return;
  }
  std::vector<std::string> children;
  while (const dirent* entry = ::readdir(folder)) {
    const std::string name = entry->d_name;
    if (name == "." || name == ".." || isTemporaryName(name)) {
      continue;
    }
    const std::string child = joinPath(path, name);
    struct stat info {};
    if (::lstat(child.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
      children.push_back(child);
    }
  }
  ::closedir(folder);
  for (const auto& child : children) {
    addWatchTree(child);
  }
}

void DriveWatcher::forgetWatchTree(const std::string& path) {
  for (auto it = watches_.begin(); it != watches_.end();) {
    if (isSameOrInside(it->second, path)) {
      ::inotify_rm_watch(inotify_, it->first);
      it = watches_.erase(it);
    } else {
      ++it;
    }
  }
}

void DriveWatcher::renameWatchTree(const std::string& from, const std::string& to) {
  for (auto& [wd, path] : watches_) {
    if (isSameOrInside(path, from)) {
      path = to + path.substr(from.size());
    }
  }
}

void DriveWatcher::eventForRemoval(const std::string& path, std::vector<DriveEvent>& out) {
  const auto [folder, name] = splitParent(path);
  std::string logical;
  switch (classify(name, &logical)) {
    case NameKind::Temporary:
      return;
    case NameKind::Sidecar:
      if (lexists(joinPath(folder, logical))) {
        out.push_back({DriveEvent::Kind::Changed, joinPath(folder, logical), {}});
      }
      return;
    case NameKind::Placeholder: {
      const std::string item = joinPath(folder, logical);
      if (lexists(item)) {
        out.push_back({DriveEvent::Kind::Changed, item, {}});  // downloaded
      } else if (!lexists(path)) {
        out.push_back({DriveEvent::Kind::Deleted, item, {}});
      }
      return;
    }
    case NameKind::Item:
      if (lexists(placeholderPathFor(path))) {
        out.push_back({DriveEvent::Kind::Changed, path, {}});  // evicted
      } else {
        out.push_back({DriveEvent::Kind::Deleted, path, {}});
      }
      return;
  }
}

std::vector<DriveEvent> DriveWatcher::readEvents() {
  std::vector<DriveEvent> out;
  std::map<std::uint32_t, Pending> movedAway;  // by cookie
  size_t order = 0;
  alignas(inotify_event) char buffer[64 * 1024];
  while (true) {
    const ssize_t length = ::read(inotify_, buffer, sizeof buffer);
    if (length <= 0) {
      break;  // EAGAIN: everything queued so far has been read
    }
    for (ssize_t offset = 0; offset < length;) {
      inotify_event event{};
      std::memcpy(&event, buffer + offset, sizeof event);
      const std::string name = event.len > 0 ? std::string(buffer + offset + sizeof(inotify_event)) : std::string();
      offset += static_cast<ssize_t>(sizeof(inotify_event) + event.len);
      if ((event.mask & IN_Q_OVERFLOW) != 0) {
        out.push_back({DriveEvent::Kind::Rescan, {}, {}});
        continue;
      }
      const auto watch = watches_.find(event.wd);
      if (watch == watches_.end()) {
        continue;
      }
      if ((event.mask & IN_IGNORED) != 0) {
        watches_.erase(watch);
        continue;
      }
      if (name.empty()) {
        continue;
      }
      const std::string folder = watch->second;
      const std::string path = joinPath(folder, name);
      const bool isDirectory = (event.mask & IN_ISDIR) != 0;
      std::string logical;
      const NameKind kind = classify(name, &logical);
      if (kind == NameKind::Temporary) {
        continue;
      }
      const std::string item = joinPath(folder, logical);
      if ((event.mask & IN_MOVED_FROM) != 0) {
        movedAway[event.cookie] = Pending{path, isDirectory, order++};
        continue;
      }
      if ((event.mask & IN_MOVED_TO) != 0) {
        const auto pair = movedAway.find(event.cookie);
        if (isDirectory) {
          if (pair != movedAway.end()) {
            renameWatchTree(pair->second.path, path);
          } else {
            addWatchTree(path);
          }
        }
        if (pair != movedAway.end()) {
          const std::string fromPath = pair->second.path;
          movedAway.erase(pair);
          const auto [fromFolder, fromName] = splitParent(fromPath);
          std::string fromLogical;
          const NameKind fromKind = classify(fromName, &fromLogical);
          if (fromKind == kind && kind == NameKind::Sidecar) {
            continue;  // travels with its item, whose own move is reported
          }
          if (fromKind == kind) {
            // What was at the new name (if anything) has been replaced: a
            // document saved by writing a new file and renaming it over the old.
            out.push_back({DriveEvent::Kind::Moved, joinPath(fromFolder, fromLogical), item});
            out.push_back({DriveEvent::Kind::Changed, item, {}});
            continue;
          }
          eventForRemoval(fromPath, out);
        }
        out.push_back({DriveEvent::Kind::Changed, item, {}});
        continue;
      }
      if ((event.mask & IN_DELETE) != 0) {
        eventForRemoval(path, out);
        continue;
      }
      if ((event.mask & IN_CREATE) != 0 && isDirectory) {
        addWatchTree(path);
      }
      if ((event.mask & (IN_CREATE | IN_CLOSE_WRITE | IN_ATTRIB)) != 0) {
        out.push_back({DriveEvent::Kind::Changed, item, {}});
      }
    }
  }
  // Moved out of the drive: gone, as far as the drive can tell.
  std::vector<Pending> away;
  for (auto& [cookie, pending] : movedAway) {
    away.push_back(pending);
  }
  std::sort(away.begin(), away.end(), [](const Pending& a, const Pending& b) { return a.order < b.order; });
  for (const auto& pending : away) {
    if (pending.isDirectory) {
      forgetWatchTree(pending.path);
    }
    eventForRemoval(pending.path, out);
  }
  // One notice per item for a burst of changes.
  std::vector<DriveEvent> folded;
  for (auto& event : out) {
    if (event.kind == DriveEvent::Kind::Changed && std::find(folded.begin(), folded.end(), event) != folded.end()) {
      continue;
    }
    folded.push_back(std::move(event));
  }
  return folded;
}

bool DriveWatcher::isSuppressed(const DriveEvent& event, std::uint64_t epoch) {
  for (const auto& [id, suppression] : suppressions_) {
    if (suppression.endedAtEpoch && epoch > *suppression.endedAtEpoch + 1) {
      continue;
    }
    for (const auto& path : suppression.paths) {
      if (isSameOrInside(event.path, path) || (!event.newPath.empty() && isSameOrInside(event.newPath, path))) {
        return true;
      }
    }
  }
  return false;
}

void DriveWatcher::run() {
  while (true) {
    pollfd fds[2] = {{inotify_, POLLIN, 0}, {wakeup_, POLLIN, 0}};
    if (::poll(fds, 2, -1) < 0 && errno != EINTR) {
      PLATFORM_LOG(kLogErr, "Watching the drive stopped: %@", platform::Error::posix(errno));
      break;
    }
    if ((fds[1].revents & POLLIN) != 0) {
      std::uint64_t count = 0;
      [[maybe_unused]] const ssize_t n = ::read(wakeup_, &count, sizeof count);
    }
    std::uint64_t epoch = 0;
    {
      std::lock_guard lock(mutex_);
      if (stopping_) {
        break;
      }
      epoch = ++drainEpoch_;
    }
    std::vector<DriveEvent> events = readEvents();
    {
      std::lock_guard lock(mutex_);
      std::erase_if(events, [&](const DriveEvent& event) {
        return event.kind != DriveEvent::Kind::Rescan && isSuppressed(event, epoch);
      });
      std::erase_if(suppressions_, [&](const auto& entry) {
        return entry.second.endedAtEpoch && *entry.second.endedAtEpoch + 1 <= epoch;
      });
    }
    if (!events.empty()) {
      handler_(events);
    }
    {
      std::lock_guard lock(mutex_);
      handledEpoch_ = epoch;
    }
    caughtUp_.notify_all();
  }
  {
    std::lock_guard lock(mutex_);
    handledEpoch_ = UINT64_MAX;
  }
  caughtUp_.notify_all();
}

std::uint64_t DriveWatcher::beginSuppression(std::vector<std::string> paths) {
  std::lock_guard lock(mutex_);
  const std::uint64_t id = nextSuppression_++;
  suppressions_.emplace(id, Suppression{std::move(paths), std::nullopt});
  return id;
}

void DriveWatcher::endSuppression(std::uint64_t id) {
  {
    std::lock_guard lock(mutex_);
    const auto found = suppressions_.find(id);
    if (found == suppressions_.end()) {
      return;
    }
    found->second.endedAtEpoch = drainEpoch_;
  }
  wake();  // the next read takes the last notices of the write and ends the suppression
}

void DriveWatcher::waitUntilCaughtUp() {
  if (!thread_.joinable()) {
    return;
  }
  std::unique_lock lock(mutex_);
  const std::uint64_t target = drainEpoch_ + 1;
  lock.unlock();
  wake();
  lock.lock();
  caughtUp_.wait(lock, [&] { return handledEpoch_ >= target; });
}

}  // namespace velune::host
