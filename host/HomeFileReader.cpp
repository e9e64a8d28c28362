#include "host/HomeFileReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/Localization.h"
#include "platform/PathNames.h"

namespace velune::host {

using platform::Error;
using platform::Value;

int readHomeFile(const std::string& path, std::size_t limit, std::string& contents) {
  return readHomeFileAt(AT_FDCWD, path, limit, contents);
}

int readHomeFileAt(int folderFd, const std::string& name, std::size_t limit, std::string& contents) {
  contents.clear();
  // O_NONBLOCK: opening a FIFO without a writer (or a device) must not wait.
  const int fd = ::openat(folderFd, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  if (fd < 0) {
    return errno;
  }
  struct stat info {};
  int error = 0;
  if (::fstat(fd, &info) != 0) {
    error = errno;
  } else if (S_ISDIR(info.st_mode)) {
    error = EISDIR;
  } else if (!S_ISREG(info.st_mode)) {
    error = ENODEV;
  } else if (static_cast<std::uint64_t>(info.st_size) > limit) {
    error = EFBIG;
  }
  if (error == 0) {
    contents.reserve(static_cast<std::size_t>(info.st_size));
    char buffer[16384];
    // One byte past the limit tells a file that grew while it was read.
    while (contents.size() <= limit) {
      const ssize_t n = ::read(fd, buffer, sizeof buffer);
      if (n < 0 && errno == EINTR) {
        continue;
      }
      if (n < 0) {
        error = errno;
        break;
      }
      if (n == 0) {
        break;
      }
      contents.append(buffer, static_cast<std::size_t>(n));
    }
    if (error == 0 && contents.size() > limit) {
      error = EFBIG;
    }
  }
  ::close(fd);
  if (error != 0) {
    contents.clear();
  }
  return error;
}

Error homeFileError(int errorNumber, const std::string& path) {
  const std::string name = platform::splitParent(path).second;
  std::string description;
  switch (errorNumber) {
    case ELOOP:
      description = platform::localizedFormat("“%@” is a symbolic link; it is not followed.", name);
      break;
    case EISDIR:
    case ENODEV:
      description = platform::localizedFormat("“%@” is not a regular file.", name);
      break;
    case EFBIG:
      description = platform::localizedFormat("“%@” is too large to be read.", name);
      break;
    default:
      return Error::fromErrno(errorNumber, path, false);
  }
  Value::Dictionary info;
  info.emplace(std::string(platform::kLocalizedDescriptionKey), Value(description));
  info.emplace(std::string(platform::kFilePathErrorKey), Value(path));
  info.emplace(std::string(platform::kUnderlyingErrorKey), Value(Error::posix(errorNumber)));
  return Error::platform(platform::ErrorCode::FileReadCorruptFile, std::move(info));
}

platform::Result<std::string> readHomeFile(const std::string& path, std::size_t limit) {
  std::string contents;
  if (const int error = readHomeFile(path, limit, contents)) {
    return homeFileError(error, path);
  }
  return contents;
}

}  // namespace velune::host
