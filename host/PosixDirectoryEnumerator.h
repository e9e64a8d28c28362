#pragma once
// PosixDirectoryEnumerator: the DirectoryEnumerator of the Linux file system.
// Folders are opened without following a symbolic link (a link is an entry,
// never a folder to enter); packages are told by the installed TypeRegistry
// from their extension (none without a registry). Depth first: a folder's
// entries come right after the folder itself.

#include <deque>
#include <optional>
#include <string>

#include "platform/DirectoryEnumerator.h"

namespace velune::host {

class PosixDirectoryEnumerator final : public platform::DirectoryEnumerator {
 public:
  PosixDirectoryEnumerator(platform::URL folder, platform::DirectoryEnumerationOptions options,
                           platform::DirectoryEnumerationErrorHandler errorHandler);

  std::optional<platform::URL> nextObject() override;
  void skipDescendants() override { enterLast_ = false; }
  std::size_t level() const override { return lastLevel_; }

 private:
  struct Entry {
    std::string path;
    bool isDirectory = false;
    std::size_t level = 0;
  };
  // Reads the folder's entries to the front of the pending ones; false when
  // the error handler ended the enumeration.
  bool readFolder(const std::string& path, std::size_t level);
  bool isPackageName(const std::string& name) const;

  platform::DirectoryEnumerationOptions options_;
  platform::DirectoryEnumerationErrorHandler errorHandler_;
  std::deque<Entry> pending_;
  std::optional<Entry> last_;
  bool enterLast_ = false;
  bool ended_ = false;
  std::size_t lastLevel_ = 0;
};

}  // namespace velune::host
