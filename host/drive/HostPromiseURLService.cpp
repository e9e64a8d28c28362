#include "host/drive/HostPromiseURLService.h"

#include "host/drive/DrivePaths.h"

namespace velune::host {

bool HostPromiseURLService::isPlaceholderURL(const platform::URL& url) {
  return url.isFileURL() && !url.hasDirectoryPath() && logicalNameOfPlaceholder(url.lastPathComponent()).has_value();
}

std::optional<platform::URL> HostPromiseURLService::logicalURLForPlaceholderURL(const platform::URL& url) {
  if (!isPlaceholderURL(url)) {
    return std::nullopt;
  }
  const auto logical = logicalNameOfPlaceholder(url.lastPathComponent());
  return url.URLByDeletingLastPathComponent().URLByAppendingPathComponent(*logical, false);
}

platform::URL HostPromiseURLService::recordPhysicalURL(const platform::URL& url, const platform::URL& physicalURL) {
  return url.withPhysicalURL(physicalURL);
}

platform::URL HostPromiseURLService::physicalURL(const platform::URL& url) {
  const platform::URL* recorded = url.physicalURL();
  return recorded != nullptr ? *recorded : url;
}

}  // namespace velune::host
