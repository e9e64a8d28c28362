#include "model/VLDAppBookmarks.h"

#include "platform/Platform.h"
#include "platform/PromiseURLService.h"
#include "platform/SyncURLService.h"

namespace velune {

std::optional<platform::URL> vld_URLByResolvingBookmark(const platform::URL& url) {
  const auto syncURLs = VELUNE_SERVICE(syncURLs);
  if (!syncURLs->isExternalDocumentReference(url)) {
    return std::nullopt;
  }
  auto resolved = syncURLs->resolveExternalDocumentReference(url);
  if (!resolved.ok()) {
    return std::nullopt;  // a reference that cannot be followed resolves to nothing
  }
  if (auto promised = vld_URLByResolvingPromise(resolved.value())) {
    return promised;
  }
  return resolved.value();
}

std::optional<platform::URL> vld_URLByResolvingPromise(const platform::URL& url) {
  const auto promises = VELUNE_SERVICE(promiseURLs);
  if (!promises->isPlaceholderURL(url)) {
    return std::nullopt;
  }
  auto logical = promises->logicalURLForPlaceholderURL(url);
  if (!logical) {
    return std::nullopt;
  }
  return promises->recordPhysicalURL(*logical, url);
}

}  // namespace velune
