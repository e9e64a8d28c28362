#pragma once
// DriveFiles: opens a document of the drive for the page's preview, and only
// a document of the drive.
//
// The request names the document by its path below the drive's root (each
// part percent-decoded once, by the server). Refused: "." and ".." parts,
// empty and hidden parts (placeholders and sidecars start with a dot), NUL,
// anything whose real path (symbolic links resolved) is not inside the
// drive's real root, and anything that is not a regular file (a folder, a
// FIFO, a device). The file is opened without following a last link and
// checked again through the descriptor, so a link swapped in between the
// check and the open gains nothing.
//
// Any thread; holds no state but the root.

#include <memory>
#include <string>

#include "platform/Result.h"

namespace velune::shell {

struct OpenDocument {
  int fd = -1;
  std::uint64_t size = 0;
  std::string contentType;
  // Types the browser shows inline; others are offered as a download.
  bool inlineView = false;
  ~OpenDocument();
};

class DriveFiles {
 public:
  explicit DriveFiles(std::string driveRoot) : root_(std::move(driveRoot)) {}

  platform::Result<std::shared_ptr<OpenDocument>> open(const std::string& relativePath) const;

  // The content type the page gets for a file name ("text/plain; charset=utf-8"...).
  static std::string contentTypeFor(const std::string& name, bool* inlineView = nullptr);

 private:
  std::string root_;
};

}  // namespace velune::shell
