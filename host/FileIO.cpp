#include "host/FileIO.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <random>

namespace velune::host {

using platform::Error;

platform::Result<std::string> readWholeFile(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    return Error::fromErrno(errno, path, false);
  }
  std::string contents;
  char buffer[65536];
  while (true) {
    const ssize_t n = read(fd, buffer, sizeof buffer);
    if (n < 0) {
      if (errno == EINTR) {
        continue;
      }
      const int saved = errno;
      close(fd);
      return Error::fromErrno(saved, path, false);
    }
    if (n == 0) {
      break;
    }
    contents.append(buffer, static_cast<size_t>(n));
  }
  close(fd);
  return contents;
}

std::optional<Error> makeDirectories(const std::string& path) {
  if (path.empty()) {
    return std::nullopt;
  }
  std::string partial;
  size_t start = 0;
  while (start <= path.size()) {
    const size_t slash = path.find('/', start);
    const size_t end = slash == std::string::npos ? path.size() : slash;
    partial = path.substr(0, end);
    start = end + 1;
    if (partial.empty()) {
      continue;
    }
    if (mkdir(partial.c_str(), 0755) != 0 && errno != EEXIST) {
      return Error::fromErrno(errno, partial, true);
    }
    if (slash == std::string::npos) {
      break;
    }
  }
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) {
    return Error::fromErrno(errno, path, true);
  }
  if (!S_ISDIR(info.st_mode)) {
    return Error::fromErrno(ENOTDIR, path, true);
  }
  return std::nullopt;
}

std::optional<Error> writeFileAtomically(const std::string& path, const std::string& contents) {
  const size_t slash = path.rfind('/');
  if (slash != std::string::npos && slash > 0) {
    if (auto error = makeDirectories(path.substr(0, slash))) {
      return error;
    }
  }
  static thread_local std::mt19937_64 random{std::random_device{}()};
  const std::string temporary = path + ".tmp-" + std::to_string(getpid()) + "-" + std::to_string(random() % 1000000);
  const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (fd < 0) {
    return Error::fromErrno(errno, path, true);
  }
  size_t written = 0;
  while (written < contents.size()) {
    const ssize_t n = write(fd, contents.data() + written, contents.size() - written);
    if (n < 0) {
      if (errno == EINTR) {
        continue;
      }
      const int saved = errno;
      close(fd);
      unlink(temporary.c_str());
      return Error::fromErrno(saved, path, true);
    }
    written += static_cast<size_t>(n);
  }
  if (fsync(fd) != 0 || close(fd) != 0) {
    const int saved = errno;
    unlink(temporary.c_str());
    return Error::fromErrno(saved, path, true);
  }
  if (rename(temporary.c_str(), path.c_str()) != 0) {
    const int saved = errno;
    unlink(temporary.c_str());
    return Error::fromErrno(saved, path, true);
  }
  return std::nullopt;
}

}  // namespace velune::host
