#pragma once
// FolderListingService: what a listing of the drive reads, in two steps so
// that a big folder shows its rows before every detail is known:
//
// - entriesOfFolder(): the items of one folder as people see them (name, URL,
//   folder or document, cloud-only). One read of the folder; no lookup per
//   item where the file system tells the kind of each name.
// - recordsOfEntries(): the row values (size, date, sharing, tags) of some
//   entries of that folder, read a page at a time.
//
// Hidden names (starting with ".") and the drive's own files (placeholders,
// sidecars, temporary files) are never entries. A cloud-only document is
// listed under its own name and logical URL, with its placeholder recorded as
// the URL's physical URL. Folder URLs end in "/"; a package (a folder shown
// as one document) is a folder URL with isPackage set.
//
// Blocking, any thread, nothing cached: callers read off the main thread.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/Date.h"
#include "platform/Result.h"
#include "platform/URL.h"

namespace velune::platform {

struct FolderListingEntry {
  std::string name;
  URL url;
  bool isDirectory = false;
  bool isPackage = false;
  bool isCloudOnly = false;
  // The drive keeps attributes (tags, sharing) for the item beside it.
  bool hasAttributes = false;
};

struct FolderListingRecord {
  URL url;
  // Of documents; 0 for folders.
  std::uint64_t size = 0;
  std::optional<Date> modificationDate;
  bool isShared = false;
  std::vector<std::string> tags;
};

class FolderListingService {
 public:
  virtual ~FolderListingService() = default;

  // The visible items of the folder, in no particular order; the folder's
  // read error (no such file, no permission, not a folder) otherwise.
  virtual Result<std::vector<FolderListingEntry>> entriesOfFolder(const URL& folder) = 0;
  // The records of `entries` (all of one folder `folder`), in their order.
  // An entry that vanished meanwhile is left out.
  virtual std::vector<FolderListingRecord> recordsOfEntries(const URL& folder,
                                                            std::span<const FolderListingEntry> entries) = 0;
};

}  // namespace velune::platform
