#include "host/drive/FileOperations.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <vector>

#include "host/drive/DrivePaths.h"
#include "host/drive/FolderEntries.h"
#include "host/drive/TemporaryNames.h"
#include "platform/Log.h"

namespace velune::host {

namespace {

int copyBytes(int in, int out) {
  std::vector<char> buffer(1 << 20);
  while (true) {
    const ssize_t n = ::read(in, buffer.data(), buffer.size());
    if (n < 0) {
      if (errno == EINTR) {
        continue;
      }
      return errno;
    }
    if (n == 0) {
      return ::fsync(out) == 0 ? 0 : errno;
    }
    ssize_t done = 0;
    while (done < n) {
      const ssize_t w = ::write(out, buffer.data() + done, static_cast<size_t>(n - done));
      if (w < 0) {
        if (errno == EINTR) {
          continue;
        }
        return errno;
      }
      done += w;
    }
  }
}

// Copies `name` of `fromFolder` to the new name `toName` of `toFolder`.
// `followTop`: the item itself may be a link to follow (a source the user
// named); below it, only folders and regular files are copied.
int copyTreeAt(int fromFolder, const std::string& name, bool followTop, int toFolder, const std::string& toName) {
  const int noFollow = followTop ? 0 : O_NOFOLLOW;
  struct stat info {};
  if (::fstatat(fromFolder, name.c_str(), &info, followTop ? 0 : AT_SYMLINK_NOFOLLOW) != 0) {
    return errno;
  }
  if (S_ISDIR(info.st_mode)) {
    const UniqueFd from(::openat(fromFolder, name.c_str(), O_RDONLY | O_DIRECTORY | noFollow | O_CLOEXEC));
    if (!from.valid()) {
      return errno;
    }
    if (::mkdirat(toFolder, toName.c_str(), 0755) != 0) {
      return errno;
    }
    const UniqueFd to(::openat(toFolder, toName.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!to.valid()) {
      return errno;
    }
    std::vector<FolderEntry> entries;
    if (const int error = entriesOfFolderAt(from.get(), entries)) {
      return error;
    }
    for (const auto& child : entries) {
      if (const int error = copyTreeAt(from.get(), child.name, false, to.get(), child.name)) {
        return error;
      }
    }
    return 0;
  }
  if (!S_ISREG(info.st_mode)) {
    if (followTop) {
      return ENODEV;  // the named source itself is no document
    }
    // A link could lead anywhere (and would later be followed on the cloud
    // side); a FIFO or a device has no bytes to copy.
    PLATFORM_LOG(kLogWarning, "Not copied (%@): %@", S_ISLNK(info.st_mode) ? "a symbolic link" : "not a regular file",
                 name);
    return 0;
  }
  const UniqueFd in(::openat(fromFolder, name.c_str(), O_RDONLY | O_NONBLOCK | noFollow | O_CLOEXEC));
  if (!in.valid()) {
    return errno;
  }
  // What was checked above may have been swapped for something else since.
  if (::fstat(in.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
    return ENODEV;
  }
  const UniqueFd out(::openat(toFolder, toName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
  if (!out.valid()) {
    return errno;
  }
  return copyBytes(in.get(), out.get());
}

}  // namespace

FileOperations::FileOperations(std::vector<std::string> roots) : roots_(std::move(roots)) {}

void FileOperations::setFaultInjector(FaultInjector injector) {
  std::lock_guard lock(mutex_);
  injector_ = std::move(injector);
}

void FileOperations::setForceNoReplaceFallback(bool force) {
  std::lock_guard lock(mutex_);
  forceFallback_ = force;
}

void FileOperations::setResolution(BeneathResolution resolution) {
  std::lock_guard lock(mutex_);
  resolution_ = resolution;
}

int FileOperations::injected(std::string_view operation, const std::string& path) {
  FaultInjector injector;
  {
    std::lock_guard lock(mutex_);
    injector = injector_;
  }
  return injector ? injector(operation, path) : 0;
}

int FileOperations::place(const std::string& path, Place& out) {
  const auto [folder, name] = splitParent(path);
  if (name.empty() || name == "." || name == "..") {
    return EINVAL;
  }
  out.name = name;
  for (const auto& root : roots_) {
    const auto relative = relativeTo(path, root);
    if (!relative || relative->empty()) {
      continue;
    }
    BeneathResolution resolution;
    {
      std::lock_guard lock(mutex_);
      resolution = resolution_;
    }
    const UniqueFd rootFd(::open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!rootFd.valid()) {
      return errno;
    }
    const std::string relativeFolder = splitParent("/" + *relative).first.substr(1);
    const int fd = openBeneath(rootFd.get(), relativeFolder, O_PATH | O_DIRECTORY, resolution);
    if (fd < 0) {
      return -fd;
    }
    out.folder = UniqueFd(fd);
    return 0;
  }
  out.folder = UniqueFd(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  return out.folder.valid() ? 0 : errno;
}

std::string FileOperations::temporaryPathBeside(const std::string& path) {
  return joinPath(splitParent(path).first, newTemporaryName());
}

int FileOperations::folderNames(const std::string& path, std::vector<std::string>& names) {
  DIR* folder = ::opendir(path.c_str());
  if (folder == nullptr) {
    return errno;
  }
  while (const dirent* entry = ::readdir(folder)) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") {
      names.emplace_back(name);
    }
  }
  ::closedir(folder);
  return 0;
}

int FileOperations::statItem(const std::string& path, struct stat& info) {
  Place item;
  if (const int error = place(path, item)) {
    return error;
  }
  return ::fstatat(item.folder.get(), item.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

int FileOperations::openItem(const std::string& path, int flags) {
  Place item;
  if (const int error = place(path, item)) {
    return -error;
  }
  const int fd = ::openat(item.folder.get(), item.name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC);
  return fd >= 0 ? fd : -errno;
}

int FileOperations::makeDirectory(const std::string& path) {
  if (const int fault = injected("mkdir", path)) {
    return fault;
  }
  Place folder;
  if (const int error = place(path, folder)) {
    return error;
  }
  return ::mkdirat(folder.folder.get(), folder.name.c_str(), 0755) == 0 ? 0 : errno;
}

int FileOperations::makeDirectories(const std::string& path, std::vector<std::string>* created) {
  Place folder;
  int error = place(path, folder);
  if (error == 0) {
    // Follows a last link only when it stays below the folder (a link to a
    // folder elsewhere in the drive is a folder here).
    struct stat info {};
    if (::fstatat(folder.folder.get(), folder.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0) {
      if (S_ISDIR(info.st_mode)) {
        return 0;
      }
      if (!S_ISLNK(info.st_mode)) {
        return ENOTDIR;
      }
      const int inside = openBeneath(folder.folder.get(), folder.name, O_PATH | O_DIRECTORY);
      if (inside < 0) {
        return -inside == ENOENT ? ENOTDIR : -inside;
      }
      ::close(inside);
      return 0;
    }
    error = errno;
  }
  if (error != ENOENT) {
    return error;
  }
  const auto [parent, name] = splitParent(path);
  if (parent != path && parent != "/" && parent != ".") {
    if (const int parentError = makeDirectories(parent, created)) {
      return parentError;
    }
  }
  error = makeDirectory(path);
  if (error == 0 && created != nullptr) {
    created->push_back(path);
  }
  return error == EEXIST ? 0 : error;
}

int FileOperations::renameAt(const Place& from, const Place& to, bool replace) {
  const int fromFd = from.folder.get();
  const int toFd = to.folder.get();
  const char* fromName = from.name.c_str();
  const char* toName = to.name.c_str();
  if (replace) {
    return ::renameat(fromFd, fromName, toFd, toName) == 0 ? 0 : errno;
  }
  bool force = false;
  {
    std::lock_guard lock(mutex_);
    force = forceFallback_;
  }
  if (!force) {
    if (::renameat2(fromFd, fromName, toFd, toName, RENAME_NOREPLACE) == 0) {
      return 0;
    }
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) {
      return errno;
    }
  }
  struct stat info {};
  if (::fstatat(fromFd, fromName, &info, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno;
  }
  if (S_ISDIR(info.st_mode)) {
    // Claim the name with an empty folder, then rename onto the claim; a
    // claim that someone filled in the meantime makes rename fail instead.
    if (::mkdirat(toFd, toName, 0700) != 0) {
      return errno;
    }
    if (::renameat(fromFd, fromName, toFd, toName) != 0) {
      const int error = errno;
      ::unlinkat(toFd, toName, AT_REMOVEDIR);  // only succeeds while the claim is still empty
      return error == ENOTEMPTY ? EEXIST : error;
    }
    return 0;
  }
  if (::linkat(fromFd, fromName, toFd, toName, 0) != 0) {
    return errno;
  }
  if (::unlinkat(fromFd, fromName, 0) != 0) {
    const int error = errno;
    ::unlinkat(toFd, toName, 0);
    return error;
  }
  return 0;
}

int FileOperations::placeRename(const std::string& from, const std::string& to, Place& source, Place& destination) {
  if (const int fault = injected("rename", to)) {
    return fault;
  }
  if (const int error = place(from, source)) {
    return error;
  }
  return place(to, destination);
}

int FileOperations::renameNoReplace(const std::string& from, const std::string& to) {
  Place source;
  Place destination;
  if (const int error = placeRename(from, to, source, destination)) {
    return error;
  }
  bool force = false;
  {
    std::lock_guard lock(mutex_);
    force = forceFallback_;
  }
  if (force) {
    struct stat info {};
    if (::fstatat(source.folder.get(), source.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 &&
        !S_ISDIR(info.st_mode)) {
      if (const int fault = injected("link", to)) {
        return fault;
      }
    }
  }
  return renameAt(source, destination, false);
}

int FileOperations::renameReplacing(const std::string& from, const std::string& to) {
  Place source;
  Place destination;
  if (const int error = placeRename(from, to, source, destination)) {
    return error;
  }
  return renameAt(source, destination, true);
}

int FileOperations::unlinkFile(const std::string& path) {
  if (const int fault = injected("unlink", path)) {
    return fault;
  }
  Place file;
  if (const int error = place(path, file)) {
    return error;
  }
  return ::unlinkat(file.folder.get(), file.name.c_str(), 0) == 0 ? 0 : errno;
}

int FileOperations::removeDirectory(const std::string& path) {
  if (const int fault = injected("rmdir", path)) {
    return fault;
  }
  Place folder;
  if (const int error = place(path, folder)) {
    return error;
  }
  return ::unlinkat(folder.folder.get(), folder.name.c_str(), AT_REMOVEDIR) == 0 ? 0 : errno;
}

int FileOperations::removeTree(const std::string& path) {
  if (const int fault = injected("remove", path)) {
    return fault;
  }
  Place item;
  if (const int error = place(path, item)) {
    return error;
  }
  return removeItemAt(item.folder.get(), item.name);
}

int FileOperations::writeThroughTemporary(const std::string& path, bool replace,
                                          const std::function<int(int fd)>& fill) {
  if (const int fault = injected("write", path)) {
    return fault;
  }
  Place target;
  if (const int error = place(path, target)) {
    return error;
  }
  Place temporary;
  temporary.folder = UniqueFd(::dup(target.folder.get()));
  temporary.name = newTemporaryName();
  if (!temporary.folder.valid()) {
    return errno;
  }
  const int fd = ::openat(target.folder.get(), temporary.name.c_str(),
                          O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
  if (fd < 0) {
    return errno;
  }
  int error = fill(fd);
  if (error == 0 && ::fsync(fd) != 0) {
    error = errno;
  }
  if (::close(fd) != 0 && error == 0) {
    error = errno;
  }
  if (error == 0) {
    error = injected("rename", path);
  }
  if (error == 0) {
    error = renameAt(temporary, target, replace);
  }
  if (error != 0) {
    ::unlinkat(target.folder.get(), temporary.name.c_str(), 0);
  }
  return error;
}

int FileOperations::writeFile(const std::string& path, std::string_view contents, bool replace) {
  return writeThroughTemporary(path, replace, [&](int fd) {
    size_t written = 0;
    while (written < contents.size()) {
      const ssize_t n = ::write(fd, contents.data() + written, contents.size() - written);
      if (n < 0 && errno == EINTR) {
        continue;
      }
      if (n < 0) {
        return errno;
      }
      written += static_cast<size_t>(n);
    }
    return 0;
  });
}

int FileOperations::writeSparseFile(const std::string& path, std::uint64_t size, bool replace) {
  return writeThroughTemporary(path, replace,
                               [&](int fd) { return ::ftruncate(fd, static_cast<off_t>(size)) == 0 ? 0 : errno; });
}

int FileOperations::copyItem(const std::string& from, const std::string& to, bool replace) {
  std::string temporary;
  if (const int error = copyToTemporary(from, to, temporary)) {
    return error;
  }
  return installCopy(temporary, to, replace);
}

int FileOperations::copyToTemporary(const std::string& from, const std::string& besidePath, std::string& temporaryPath) {
  if (const int fault = injected("copy", besidePath)) {
    return fault;
  }
  Place source;
  if (const int error = place(from, source)) {
    return error;
  }
  bool sourceInsideRoot = false;
  for (const auto& root : roots_) {
    const auto relative = relativeTo(from, root);
    sourceInsideRoot = sourceInsideRoot || (relative && !relative->empty());
  }
  Place target;
  if (const int error = place(besidePath, target)) {
    return error;
  }
  const std::string name = newTemporaryName();
  if (const int error = copyTreeAt(source.folder.get(), source.name, !sourceInsideRoot, target.folder.get(), name)) {
    removeItemAt(target.folder.get(), name);
    return error;
  }
  temporaryPath = joinPath(splitParent(besidePath).first, name);
  return 0;
}

int FileOperations::installCopy(const std::string& temporaryPath, const std::string& to, bool replace) {
  Place temporary;
  Place target;
  int error = place(temporaryPath, temporary);
  if (error == 0) {
    error = place(to, target);
  }
  if (error != 0) {
    removeTree(temporaryPath);
    return error;
  }
  struct stat info {};
  if (replace && ::fstatat(target.folder.get(), target.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 &&
      S_ISDIR(info.st_mode)) {
    // A folder cannot be renamed over a full folder: move the old one aside first.
    Place old;
    old.folder = UniqueFd(::dup(target.folder.get()));
    old.name = newTemporaryName();
    if (const int failed = renameAt(target, old, true)) {
      removeItemAt(temporary.folder.get(), temporary.name);
      return failed;
    }
    if (const int failed = renameAt(temporary, target, true)) {
      renameAt(old, target, true);
      removeItemAt(temporary.folder.get(), temporary.name);
      return failed;
    }
    removeItemAt(old.folder.get(), old.name);
    return 0;
  }
  error = injected("rename", to);
  if (error == 0) {
    error = renameAt(temporary, target, replace);
  }
  if (error != 0) {
    removeItemAt(temporary.folder.get(), temporary.name);
  }
  return error;
}

}  // namespace velune::host
