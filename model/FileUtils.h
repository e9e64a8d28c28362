#pragma once
// FileUtils: class operations on the items of the drive: queries of their
// type, location and attributes (none of which coordinates or changes
// anything), and the changes of the drive, each inside a coordinated write
// (eviction excepted). Stateless; every operation is synchronous on the
// caller's thread; a change blocks it for the whole coordinated write.
//
// Errors are values: an operation that can fail returns its error, nothing on
// success. The codes made here: 3328 when a move would put a file in a
// folder's place or the reverse. Every other error is the coordinator's or the
// file services' own.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Error.h"
#include "platform/URL.h"
#include "platform/Value.h"

namespace velune {

namespace platform {
class SyncContainer;
}

class FileUtils {
 public:
  FileUtils() = delete;

  // --- Queries ---

  // One resource value: the promised one, else the plain one; null when
  // neither exists or `url` is empty. Errors are dropped.
  static platform::Value getResourceValue(const std::string& key, const platform::URL& url);
  static std::optional<std::string> containerIdForURL(const platform::URL& url);
  // The container of the item and the path components below its documents
  // folder; the container lookup's error (or nothing) otherwise, with no out
  // value set. The components are left untouched for the documents folder
  // itself and for items outside it.
  static std::optional<platform::Error> containerAndRelativePathforURL(
      const platform::URL& url, std::shared_ptr<platform::SyncContainer>* container,
      std::vector<std::string>* relativePathComponents);
  // The path bar text of the item's folder ("Velune Drive ▸ Drillrun ▸ Drills").
  static std::optional<std::string> displayableLocationForURL(const platform::URL& url);
  static bool isValidExtensionForContainer(const platform::URL& url);
  static bool isAudioVideoImageFile(const platform::URL& url);
  // Logs the creation date, modification date and size of the item at the
  // path (level 7), or why they could not be read (level 3).
  static void logFileAttributes(const std::string& path);
  static std::optional<platform::URL> docDir();
  // Whether the item lies inside the drive by name (no "." or ".." among its
  // components) and by the folders it really passes through (no level below
  // the drive's root is a symbolic link). URLs that come from outside the
  // app (a launch URL, a saved interface state) are checked with it before
  // anything is opened.
  static bool staysInsideDrive(const platform::URL& url);

  // --- Changes ---

  static bool exists(const platform::URL& url);
  // Whether a new item cannot take the URL's name: unlike exists(), true for a
  // cloud-only document (no file, but its name is held).
  static bool isNameTaken(const platform::URL& url);
  static bool isFile(const platform::URL& url);
  // A package counts as a folder here.
  static bool isDir(const platform::URL& url);
  static std::optional<platform::Error> mkdir(const platform::URL& url);
  static std::optional<platform::Error> remove(const platform::URL& url);
  // Moves (or renames) the item to its full new URL `destination`; a taken
  // destination gives the first free variant of its name. Never replaces.
  // `movedTo`, when given, receives where the item is now after a success
  // (the variant the move used; `source` for a move onto itself).
  static std::optional<platform::Error> move(const platform::URL& source, const platform::URL& destination,
                                             platform::URL* movedTo = nullptr);
  static platform::URL generateUniquePath(const platform::URL& url);
  // The first free variant "stem N.ext" (N = 2, 3, ...) of the name in the
  // folder; nothing when the name itself is free. Free as isNameTaken() sees it.
  static std::optional<std::string> stringByUniquingPathInsideDirectory(const std::string& directory,
                                                                        const std::string& basename);
  static void evictDocument(const platform::URL& url);
  // The one file-name rule of renaming and of the name prompts.
  static bool isValidFilename(const std::string& name);
};

}  // namespace velune
