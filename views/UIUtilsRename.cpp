// UIUtils: renaming an item is a move to a new name in its folder.

#include "diag/DRLogging.h"
#include "model/FileUtils.h"
#include "model/VLDAppBookmarks.h"
#include "platform/Unicode.h"
#include "views/UIUtils.h"

namespace velune {

using platform::Error;
using platform::URL;

std::optional<Error> UIUtils::renameItemAtURL(const URL& url, const std::string& name, URL* renamedTo) {
  if (name.empty()) {
    DRLOG(kLogDebug, "Rename: empty, reverting");
    return Error::platform(platform::ErrorCode::FileWriteInvalidFileName);
  }
  if (!FileUtils::isValidFilename(name)) {
    DRLOG(kLogDebug, "Name is invalid: %@", name);
    return Error::platform(platform::ErrorCode::FileWriteInvalidFileName);
  }
  DRLOG(kLogDebug, "Name is valid: %@", name);
  URL target = url;
  if (auto resolved = vld_URLByResolvingBookmark(url)) {
    // Renaming a document reference renames the document it points to.
    target = *resolved;
    DRLOG(kLogDebug, "Renaming bookmark %@ (%@)", url, target);
  }
  const URL renamed = computeNewURL(target, name);
  if (target == renamed) {
    DRLOG(kLogDebug, "Rename: Old and new URLs are the same: %@ - %@", target, renamed);
    if (renamedTo != nullptr) {
      *renamedTo = target;
    }
    return std::nullopt;
  }
  return FileUtils::move(target, renamed, renamedTo);
}

URL UIUtils::computeNewURL(const URL& url, const std::string& newBasename) {
  std::string name = newBasename;
  const std::string extension = url.pathExtension();
  const std::string givenExtension = URL::fileURLWithPath("/" + newBasename, false).pathExtension();
  // "Report.PDF" and "Отчёт.ДОК" keep their extension whatever its case.
  if (!extension.empty() && !platform::unicode::caseInsensitiveEqual(extension, givenExtension)) {
    name.push_back('.');
    name += extension;
  }
  return url.URLByDeletingLastPathComponent().URLByAppendingPathComponent(name, url.hasDirectoryPath());
}

}  // namespace velune
