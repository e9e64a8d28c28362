#include "host/drive/FileOperations.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <random>
#include <vector>

#include "host/drive/DrivePaths.h"

namespace velune::host {

void FileOperations::setFaultInjector(FaultInjector injector) {
  std::lock_guard lock(mutex_);
  injector_ = std::move(injector);
}

void FileOperations::setForceNoReplaceFallback(bool force) {
  std::lock_guard lock(mutex_);
  forceFallback_ = force;
}

int FileOperations::injected(std::string_view operation, const std::string& path) {
  FaultInjector injector;
  {
    std::lock_guard lock(mutex_);
    injector = injector_;
  }
  return injector ? injector(operation, path) : 0;
}

std::string FileOperations::temporaryPathBeside(const std::string& path) {
  static std::atomic<std::uint64_t> counter{0};
  static thread_local std::mt19937_64 random{std::random_device{}()};
  const auto [folder, name] = splitParent(path);
  return joinPath(folder, std::string(kTemporaryPrefix) + std::to_string(getpid()) + "-" +
                              std::to_string(counter.fetch_add(1)) + "-" + std::to_string(random() % 1000000));
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

int FileOperations::makeDirectory(const std::string& path) {
  if (const int fault = injected("mkdir", path)) {
    return fault;
  }
  return ::mkdir(path.c_str(), 0755) == 0 ? 0 : errno;
}

int FileOperations::makeDirectories(const std::string& path, std::vector<std::string>* created) {
  struct stat info {};
  if (::stat(path.c_str(), &info) == 0) {
    return S_ISDIR(info.st_mode) ? 0 : ENOTDIR;
  }
  if (errno != ENOENT) {
    return errno;
  }
  const auto [parent, name] = splitParent(path);
  if (parent != path && parent != "/" && parent != ".") {
    if (const int error = makeDirectories(parent, created)) {
      return error;
    }
  }
  const int error = makeDirectory(path);
  if (error == 0 && created != nullptr) {
    created->push_back(path);
  }
  return error == EEXIST ? 0 : error;
}

int FileOperations::renameNoReplace(const std::string& from, const std::string& to) {
  if (const int fault = injected("rename", to)) {
    return fault;
  }
  bool force = false;
  {
    std::lock_guard lock(mutex_);
    force = forceFallback_;
  }
  if (!force) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
      return 0;
    }
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) {
      return errno;
    }
  }
  struct stat info {};
  if (::lstat(from.c_str(), &info) != 0) {
    return errno;
  }
  if (S_ISDIR(info.st_mode)) {
    // Claim the name with an empty folder, then rename onto the claim; a
    // claim that someone filled in the meantime makes rename fail instead.
    if (::mkdir(to.c_str(), 0700) != 0) {
      return errno;
    }
    if (::rename(from.c_str(), to.c_str()) != 0) {
      const int error = errno;
      ::rmdir(to.c_str());  // only succeeds while the claim is still empty
      return error == ENOTEMPTY ? EEXIST : error;
    }
    return 0;
  }
  if (const int fault = injected("link", to)) {
    return fault;
  }
  if (::link(from.c_str(), to.c_str()) != 0) {
    return errno;
  }
  if (::unlink(from.c_str()) != 0) {
    const int error = errno;
    ::unlink(to.c_str());
    return error;
  }
  return 0;
}

int FileOperations::renameReplacing(const std::string& from, const std::string& to) {
  if (const int fault = injected("rename", to)) {
    return fault;
  }
  return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

int FileOperations::unlinkFile(const std::string& path) {
  if (const int fault = injected("unlink", path)) {
    return fault;
  }
  return ::unlink(path.c_str()) == 0 ? 0 : errno;
}

int FileOperations::removeDirectory(const std::string& path) {
  if (const int fault = injected("rmdir", path)) {
    return fault;
  }
  return ::rmdir(path.c_str()) == 0 ? 0 : errno;
}

int FileOperations::removeTree(const std::string& path) {
  if (const int fault = injected("remove", path)) {
    return fault;
  }
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) {
    return errno;
  }
  if (!S_ISDIR(info.st_mode)) {
    return ::unlink(path.c_str()) == 0 ? 0 : errno;
  }
  std::vector<std::string> names;
  if (const int error = folderNames(path, names)) {
    return error;
  }
  for (const auto& name : names) {
    if (const int error = removeTree(joinPath(path, name))) {
      return error;
    }
  }
  return ::rmdir(path.c_str()) == 0 ? 0 : errno;
}

int FileOperations::writeThroughTemporary(const std::string& path, bool replace,
                                          const std::function<int(int fd)>& fill) {
  if (const int fault = injected("write", path)) {
    return fault;
  }
  const std::string temporary = temporaryPathBeside(path);
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
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
    error = replace ? renameReplacing(temporary, path) : renameNoReplace(temporary, path);
  }
  if (error != 0) {
    ::unlink(temporary.c_str());
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

int FileOperations::copyRegularFile(const std::string& from, const std::string& to) {
  const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) {
    return errno;
  }
  const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (out < 0) {
    const int error = errno;
    ::close(in);
    return error;
  }
  int error = 0;
  std::vector<char> buffer(1 << 20);
  while (true) {
    const ssize_t n = ::read(in, buffer.data(), buffer.size());
    if (n < 0) {
      if (errno == EINTR) {
        continue;
      }
      error = errno;
      break;
    }
    if (n == 0) {
      break;
    }
    ssize_t done = 0;
    while (done < n) {
      const ssize_t w = ::write(out, buffer.data() + done, static_cast<size_t>(n - done));
      if (w < 0) {
        if (errno == EINTR) {
          continue;
        }
        error = errno;
        break;
      }
      done += w;
    }
    if (error != 0) {
      break;
    }
  }
  if (error == 0 && ::fsync(out) != 0) {
    error = errno;
  }
  ::close(in);
  if (::close(out) != 0 && error == 0) {
    error = errno;
  }
  return error;
}

int FileOperations::copyTree(const std::string& from, const std::string& to) {
  struct stat info {};
  if (::lstat(from.c_str(), &info) != 0) {
    return errno;
  }
  if (S_ISLNK(info.st_mode)) {
    std::string target(4096, '\0');
    const ssize_t n = ::readlink(from.c_str(), target.data(), target.size());
    if (n < 0) {
      return errno;
    }
    target.resize(static_cast<size_t>(n));
    return ::symlink(target.c_str(), to.c_str()) == 0 ? 0 : errno;
  }
  if (!S_ISDIR(info.st_mode)) {
    return copyRegularFile(from, to);
  }
  if (::mkdir(to.c_str(), 0755) != 0) {
    return errno;
  }
  std::vector<std::string> names;
  if (const int error = folderNames(from, names)) {
    return error;
  }
  for (const auto& name : names) {
    if (const int error = copyTree(joinPath(from, name), joinPath(to, name))) {
      return error;
    }
  }
  return 0;
}

int FileOperations::copyItem(const std::string& from, const std::string& to, bool replace) {
  if (const int fault = injected("copy", to)) {
    return fault;
  }
  const std::string temporary = temporaryPathBeside(to);
  if (const int error = copyTree(from, temporary)) {
    removeTree(temporary);
    return error;
  }
  struct stat info {};
  if (replace && ::lstat(to.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
    // A folder cannot be renamed over a full folder: move the old one aside first.
    const std::string old = temporaryPathBeside(to);
    if (::rename(to.c_str(), old.c_str()) != 0) {
      const int error = errno;
      removeTree(temporary);
      return error;
    }
    if (::rename(temporary.c_str(), to.c_str()) != 0) {
      const int error = errno;
      ::rename(old.c_str(), to.c_str());
      removeTree(temporary);
      return error;
    }
    removeTree(old);
    return 0;
  }
  const int error = replace ? renameReplacing(temporary, to) : renameNoReplace(temporary, to);
  if (error != 0) {
    removeTree(temporary);
  }
  return error;
}

}  // namespace velune::host
