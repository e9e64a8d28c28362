#pragma once
// SyncURLService: URL operations of the cloud drive: document references,
// containers' documents folders, tags, moves of real and cloud-only items,
// and paths relative to the drive's root. Callable from any thread.

#include <optional>
#include <string>
#include <vector>

#include "platform/Error.h"
#include "platform/Result.h"
#include "platform/URL.h"

namespace velune::platform {

class SyncURLService {
 public:
  virtual ~SyncURLService() = default;

  // The root of the cloud documents store (the folder holding the containers).
  virtual URL cloudDocumentsRootURL() = 0;

  // Whether the URL names an external document reference (a small file that
  // points at a document kept elsewhere), and the document it points at: the
  // target's own URL, or its placeholder file when the target is cloud-only.
  virtual bool isExternalDocumentReference(const URL& url) = 0;
  virtual Result<URL> resolveExternalDocumentReference(const URL& url) = 0;

  // Whether the URL is the documents folder of a container.
  virtual bool isDocumentsContainer(const URL& url) = 0;

  // The tag names set on the item (an empty list when it has none).
  virtual Result<std::vector<std::string>> tagNames(const URL& url) = 0;

  // Moves an item, a real one or a cloud-only one, to `to` (its full new URL).
  // Never replaces an existing item: a taken name fails with
  // ErrorCode::FileWriteFileExists.
  virtual std::optional<Error> moveItemAtURL(const URL& from, const URL& to) = 0;

  // The URL's path relative to cloudDocumentsRootURL() ("" for the root);
  // nothing for URLs outside the store.
  virtual std::optional<std::string> relativePathToCloudRoot(const URL& url) = 0;
};

}  // namespace velune::platform
