#pragma once
// DirectoryEnumerator: the entries of a folder, and of the folders inside it
// unless the options say otherwise, one at a time (FileSystem::enumeratorAtURL).
//
// - Entries come in no particular order; "." and ".." never. A directory's URL
//   is a directory URL (ending in "/"). Symbolic links are reported as
//   entries and never followed, so a link to a folder is not entered.
// - A folder that cannot be opened or read (the top folder included) goes to
//   the error handler with the folder's URL and the error; when the handler
//   answers true (or there is none) the enumeration goes on with the rest,
//   when it answers false it ends.
// - Descending stops kMaxDepth levels below the top folder.
//
// One enumerator is used by one thread at a time. It reads a folder's names
// when it comes to the folder, so a change made meanwhile may or may not be
// seen; it holds nothing open between two calls.

#include <cstddef>
#include <functional>
#include <optional>

#include "platform/Error.h"
#include "platform/URL.h"

namespace velune::platform {

// Options of FileSystem::enumeratorAtURL (bits).
using DirectoryEnumerationOptions = unsigned;
// Only the top folder's own entries: no folder is entered.
inline constexpr DirectoryEnumerationOptions kSkipsSubdirectoryDescendants = 1U << 0;
// A package (a folder shown as one document) is reported but not entered.
inline constexpr DirectoryEnumerationOptions kSkipsPackageDescendants = 1U << 1;
// Names that begin with "." are neither reported nor entered.
inline constexpr DirectoryEnumerationOptions kSkipsHiddenFiles = 1U << 2;

// The folder that could not be read and why; true to go on.
using DirectoryEnumerationErrorHandler = std::function<bool(const URL& url, const Error& error)>;

class DirectoryEnumerator {
 public:
  static constexpr std::size_t kMaxDepth = 256;

  virtual ~DirectoryEnumerator() = default;

  // The next entry, or nothing when every entry has been reported (or the
  // error handler ended the enumeration).
  virtual std::optional<URL> nextObject() = 0;
  // The entry last reported is not entered, when it is a folder.
  virtual void skipDescendants() = 0;
  // How deep the entry last reported is: 1 for the top folder's own entries.
  virtual std::size_t level() const = 0;
};

}  // namespace velune::platform
