#pragma once
// FileSystem: plain file operations on the phone's storage, by path.
// Everything is synchronous and callable from any thread.
//
// On the drive, an item that is only in the cloud has no file at its own path
// (fileExistsAtPath() is false for it: it has to be downloaded), yet its name
// is taken (isNameTakenAtPath() is true); the drive's own services
// (SyncURLService, URLResourceService) know it by its placeholder. Changes made
// here to items of the drive are mirrored to the cloud by the host.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Date.h"
#include "platform/DirectoryEnumerator.h"
#include "platform/Error.h"
#include "platform/Result.h"
#include "platform/URL.h"

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
  // Whether a new item cannot take the path's name: something is there (a
  // dangling symbolic link too), or, on the drive, a cloud-only document or
  // the same name in another Unicode normal form holds it. Free-name searches
  // and move destinations ask this, never fileExistsAtPath().
  virtual bool isNameTakenAtPath(const std::string& path) = 0;
  // The attributes of the item itself (a symbolic link is not followed).
  virtual Result<FileAttributes> attributesOfItemAtPath(const std::string& path) = 0;

  // Creates the directory; with `withIntermediateDirectories`, also its
  // missing parents, and an existing directory is no error.
  virtual std::optional<Error> createDirectoryAtPath(const std::string& path, bool withIntermediateDirectories) = 0;
  // Copies the file or folder at `from` to the new path `to`; never replaces
  // (error 516 when `to` is taken). A symbolic link at `from` is refused;
  // inside a folder, only folders and regular files are copied.
  virtual std::optional<Error> copyItemAtPath(const std::string& from, const std::string& to) = 0;
  // Removes the item, a folder with everything in it.
  virtual std::optional<Error> removeItemAtPath(const std::string& path) = 0;
  // Drops the local copy of a downloaded cloud document, keeping it in the
  // cloud (it becomes cloud-only). An error for items that are not in the drive.
  virtual std::optional<Error> evictUbiquitousItemAtURL(const URL& url) = 0;
  // The names in a folder, hidden ones included, in no particular order.
  virtual Result<std::vector<std::string>> contentsOfDirectoryAtPath(const std::string& path) = 0;
  // The entries of the folder at `url` (see DirectoryEnumerator). A folder
  // that cannot be read is told to `errorHandler` when the enumerator comes
  // to it, not here. On the drive, a cloud-only document has no file of its
  // own: only its hidden placeholder is there.
  virtual std::unique_ptr<DirectoryEnumerator> enumeratorAtURL(const URL& url, DirectoryEnumerationOptions options,
                                                               DirectoryEnumerationErrorHandler errorHandler) = 0;
  // The user's documents directories, most important first (may be empty).
  virtual std::vector<URL> documentDirectoryURLs() = 0;
};

}  // namespace velune::platform
