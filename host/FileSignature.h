#pragma once
// FileSignature: what the home's watchers compare when they poll, and what
// tells them a file is unchanged since they last read it. A written, replaced
// or retyped file changes one of these fields.
//
// Plain value; signatureOf() is a pure function, any thread.

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace velune::host {

struct FileSignature {
  bool exists = false;
  dev_t device = 0;
  ino_t inode = 0;
  mode_t mode = 0;
  off_t size = 0;
  std::int64_t modifiedNanoseconds = 0;
  std::int64_t changedNanoseconds = 0;
  bool operator==(const FileSignature&) const = default;
};

// The file's signature; `exists` false when it cannot be stat'ed. With
// `followLinks`, a symbolic link is signed by its target, else by itself.
FileSignature signatureOf(const std::string& path, bool followLinks);

}  // namespace velune::host
