#include "host/drive/HostSyncURLService.h"

#include <strings.h>
#include <sys/stat.h>

#include "host/drive/DrivePaths.h"

namespace velune::host {

using platform::Error;
using platform::URL;

std::string logicalPathOfURL(const URL& url) {
  std::string path = url.path();
  const auto [folder, name] = splitParent(path);
  if (const auto logical = logicalNameOfPlaceholder(name)) {
    return joinPath(folder, *logical);
  }
  return path;
}

HostSyncURLService::HostSyncURLService(std::shared_ptr<Drive> drive, std::shared_ptr<ContainerRegistry> registry)
    : drive_(std::move(drive)), registry_(std::move(registry)) {}

URL HostSyncURLService::cloudDocumentsRootURL() {
  return URL::fileURLWithPath(drive_->root(), true);
}

bool HostSyncURLService::isExternalDocumentReference(const URL& url) {
  if (!url.isFileURL() ||
      strcasecmp(url.pathExtension().c_str(), std::string(kDocumentReferenceExtension).c_str()) != 0) {
    return false;
  }
  struct stat info {};
  return ::stat(url.path().c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

platform::Result<URL> HostSyncURLService::resolveExternalDocumentReference(const URL& url) {
  auto target = drive_->documentReferenceTarget(url.path());
  if (!target.ok()) {
    return target.error();
  }
  const std::string& path = target.value();
  struct stat info {};
  if (::lstat(path.c_str(), &info) == 0) {
    return URL::fileURLWithPath(path, S_ISDIR(info.st_mode));
  }
  const std::string placeholder = placeholderPathFor(path);
  if (::lstat(placeholder.c_str(), &info) == 0) {
    return URL::fileURLWithPath(placeholder, false);
  }
  return Error::fromErrno(ENOENT, path, false);
}

bool HostSyncURLService::isDocumentsContainer(const URL& url) {
  if (!url.isFileURL()) {
    return false;
  }
  const auto relative = drive_->relativePath(url.path());
  if (!relative) {
    return false;
  }
  const size_t slash = relative->find('/');
  if (slash == std::string::npos || slash == 0 || relative->substr(slash + 1) != "Documents") {
    return false;
  }
  return registry_->container(relative->substr(0, slash)) != nullptr;
}

platform::Result<std::vector<std::string>> HostSyncURLService::tagNames(const URL& url) {
  auto attributes = drive_->readAttributes(logicalPathOfURL(url));
  if (!attributes.ok()) {
    return attributes.error();
  }
  return attributes.value().tags;
}

std::optional<Error> HostSyncURLService::moveItemAtURL(const URL& from, const URL& to) {
  return drive_->moveItem(logicalPathOfURL(from), logicalPathOfURL(to));
}

std::optional<std::string> HostSyncURLService::relativePathToCloudRoot(const URL& url) {
  if (!url.isFileURL()) {
    return std::nullopt;
  }
  return drive_->relativePath(url.path());
}

}  // namespace velune::host
