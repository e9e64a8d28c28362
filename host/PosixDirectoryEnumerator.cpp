#include "host/PosixDirectoryEnumerator.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "platform/Platform.h"
#include "platform/TypeRegistry.h"

namespace velune::host {

using platform::URL;

PosixDirectoryEnumerator::PosixDirectoryEnumerator(URL folder, platform::DirectoryEnumerationOptions options,
                                                   platform::DirectoryEnumerationErrorHandler errorHandler)
    : options_(options), errorHandler_(std::move(errorHandler)) {
  std::string path = folder.path();
  while (path.size() > 1 && path.back() == '/') {
    path.pop_back();
  }
  ended_ = !readFolder(path, 1);
}

bool PosixDirectoryEnumerator::isPackageName(const std::string& name) const {
  const size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0 || dot + 1 == name.size()) {
    return false;
  }
  const auto services = platform::Platform::services();
  const auto types = services ? services->typeRegistry : nullptr;
  if (!types) {
    return false;
  }
  const std::string type = types->preferredIdentifierForExtension(std::string_view(name).substr(dot + 1));
  return !type.empty() && types->typeConformsTo(type, "public.package");
}

bool PosixDirectoryEnumerator::readFolder(const std::string& path, std::size_t level) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  DIR* folder = fd >= 0 ? ::fdopendir(fd) : nullptr;
  if (folder == nullptr) {
    const int error = errno;
    if (fd >= 0) {
      ::close(fd);
    }
    return !errorHandler_ ||
           errorHandler_(URL::fileURLWithPath(path, true), platform::Error::fromErrno(error, path, false));
  }
  std::vector<Entry> entries;
  errno = 0;
  while (const dirent* entry = ::readdir(folder)) {
    const std::string name = entry->d_name;
    if (name == "." || name == ".." || ((options_ & platform::kSkipsHiddenFiles) != 0 && name.front() == '.')) {
      continue;
    }
    struct stat info {};
    const bool isDirectory =
        ::fstatat(::dirfd(folder), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode);
    entries.push_back({path == "/" ? "/" + name : path + "/" + name, isDirectory, level});
  }
  const int readError = errno;
  ::closedir(folder);
  pending_.insert(pending_.begin(), entries.begin(), entries.end());
  if (readError != 0) {
    // What was read is kept; the handler says whether the rest goes on.
    return !errorHandler_ ||
           errorHandler_(URL::fileURLWithPath(path, true), platform::Error::fromErrno(readError, path, false));
  }
  return true;
}

std::optional<URL> PosixDirectoryEnumerator::nextObject() {
  if (ended_) {
    return std::nullopt;
  }
  if (last_ && enterLast_) {
    const Entry folder = *last_;
    last_.reset();
    if (!readFolder(folder.path, folder.level + 1)) {
      ended_ = true;
      pending_.clear();
      return std::nullopt;
    }
  }
  if (pending_.empty()) {
    last_.reset();
    return std::nullopt;
  }
  last_ = pending_.front();
  pending_.pop_front();
  lastLevel_ = last_->level;
  const std::string name = last_->path.substr(last_->path.rfind('/') + 1);
  enterLast_ = last_->isDirectory && (options_ & platform::kSkipsSubdirectoryDescendants) == 0 &&
               last_->level < kMaxDepth &&
               !((options_ & platform::kSkipsPackageDescendants) != 0 && isPackageName(name));
  return URL::fileURLWithPath(last_->path, last_->isDirectory);
}

}  // namespace velune::host
