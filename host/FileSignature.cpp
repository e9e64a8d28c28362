#include "host/FileSignature.h"

#include <sys/stat.h>

namespace velune::host {

FileSignature signatureOf(const std::string& path, bool followLinks) {
  struct stat info {};
  if ((followLinks ? ::stat(path.c_str(), &info) : ::lstat(path.c_str(), &info)) != 0) {
    return {};
  }
  return {true,
          info.st_dev,
          info.st_ino,
          info.st_mode,
          info.st_size,
          static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec,
          static_cast<std::int64_t>(info.st_ctim.tv_sec) * 1'000'000'000 + info.st_ctim.tv_nsec};
}

}  // namespace velune::host
