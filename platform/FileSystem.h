#pragma once
// FileSystem: plain file operations on the phone's storage, by path.
// Everything is synchronous and callable from any thread.

#include <cstdint>
#include <optional>
#include <string>

#include "platform/Date.h"
#include "platform/Result.h"

namespace velune::platform {

struct FileAttributes {
  // Nothing when the file system does not record a creation time.
  std::optional<Date> creationDate;
  Date modificationDate;
  std::uint64_t size = 0;
  bool isDirectory = false;
  bool isSymbolicLink = false;
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;

  // Whether an item exists at the path (following symbolic links); when it
  // does and `isDirectory` is given, whether it is a directory.
  virtual bool fileExistsAtPath(const std::string& path, bool* isDirectory = nullptr) = 0;
  // The attributes of the item itself (a symbolic link is not followed).
  virtual Result<FileAttributes> attributesOfItemAtPath(const std::string& path) = 0;
};

}  // namespace velune::platform
