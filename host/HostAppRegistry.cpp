#include "host/HostAppRegistry.h"

#include <sys/stat.h>

#include <algorithm>

#include "host/InstalledApplications.h"
#include "platform/Format.h"
#include "platform/Log.h"
#include "platform/ResourceKeys.h"
#include "platform/TypeRegistry.h"
#include "platform/URLResourceService.h"

namespace velune::host {

using platform::AppRecord;
using platform::Error;
using platform::URL;

HostAppRegistry::HostAppRegistry(std::string appsJsonPath, std::shared_ptr<platform::URLResourceService> resources,
                                 std::shared_ptr<platform::TypeRegistry> types)
    : path_(std::move(appsJsonPath)), resources_(std::move(resources)), types_(std::move(types)) {}

void HostAppRegistry::reload() {
  // Called with mutex_ held. The file is read again only when it changed.
  struct stat info {};
  const bool present = ::lstat(path_.c_str(), &info) == 0;
  const std::int64_t size = present ? static_cast<std::int64_t>(info.st_size) : -2;
  if (loaded_ && size == loadedSize_ && (!present || (info.st_mtim.tv_sec == loadedTime_.tv_sec &&
                                                     info.st_mtim.tv_nsec == loadedTime_.tv_nsec))) {
    return;
  }
  loaded_ = true;
  loadedSize_ = size;
  loadedTime_ = present ? info.st_mtim : timespec{};
  applications_.clear();
  if (!present) {
    return;
  }
  std::vector<std::string> problems;
  const auto installed = InstalledApplications::read(path_, &problems);
  for (const auto& problem : problems) {
    PLATFORM_LOG(kLogWarning, "apps.json: %@", problem);
  }
  std::uint64_t itemIdentifier = 1000;
  for (const auto& entry : installed.applications()) {
    Application app;
    AppRecord& r = app.record;
    r.bundleIdentifier = entry.identifier;
    r.localizedName = entry.name.empty() ? entry.identifier : entry.name;
    r.localizedShortName = entry.shortName.empty() ? r.localizedName : entry.shortName;
    r.shortVersionString = entry.version;
    r.vendorName = entry.vendor;
    r.bundleExecutable = entry.executable.empty() ? r.localizedName : entry.executable;
    r.descriptionText = entry.description;
    r.itemName = r.localizedName + ".app";
    r.bundleContainerURL = URL::fileURLWithPath("/Applications/" + r.bundleIdentifier + "/" + r.itemName, true);
    r.itemIdentifier = itemIdentifier++;
    r.supportsOpenInPlace = entry.opensInPlace;
    app.defaultFor = entry.defaultFor;
    applications_.push_back(std::move(app));
  }
}

std::vector<HostAppRegistry::Application> HostAppRegistry::applications() {
  std::lock_guard lock(mutex_);
  reload();
  return applications_;
}

std::vector<AppRecord> HostAppRegistry::installedApplications() {
  std::vector<AppRecord> out;
  for (auto& app : applications()) {
    out.push_back(std::move(app.record));
  }
  return out;
}

std::vector<AppRecord> HostAppRegistry::applicationsForDocument(const URL& url) {
  if (!url.isFileURL() || !resources_) {
    return {};
  }
  auto type = resources_->promisedItemResourceValueForKey(url, platform::resource_keys::TypeIdentifier);
  if (!type.ok() || type.value().asString() == nullptr) {
    return {};
  }
  const std::string documentType = *type.value().asString();
  std::vector<AppRecord> exact;
  std::vector<AppRecord> conforming;
  for (auto& app : applications()) {
    bool isExact = false;
    bool conforms = false;
    for (const auto& declared : app.defaultFor) {
      if (declared == documentType) {
        isExact = true;
      } else if (types_ && types_->typeConformsTo(documentType, declared)) {
        conforms = true;
      }
    }
    if (isExact) {
      exact.push_back(std::move(app.record));
    } else if (conforms) {
      conforming.push_back(std::move(app.record));
    }
  }
  exact.insert(exact.end(), conforming.begin(), conforming.end());
  return exact;
}

std::optional<AppRecord> HostAppRegistry::defaultApplicationForDocument(const URL& url) {
  auto candidates = applicationsForDocument(url);
  if (candidates.empty()) {
    return std::nullopt;
  }
  return candidates.front();
}

std::optional<Error> HostAppRegistry::openDocument(const URL& url, const AppRecord& application) {
  if (!url.isFileURL()) {
    return Error::platform(platform::ErrorCode::FileReadUnknown);
  }
  const auto installed = applications();
  const bool known = std::any_of(installed.begin(), installed.end(), [&](const Application& app) {
    return app.record.bundleIdentifier == application.bundleIdentifier;
  });
  if (!known) {
    return Error::platform(platform::ErrorCode::FeatureUnsupported);
  }
  {
    std::lock_guard lock(mutex_);
    opened_.push_back(OpenedDocument{nextSequence_++, url, application.bundleIdentifier, application.localizedName});
    if (opened_.size() > kKeptOpenings) {
      opened_.erase(opened_.begin());
    }
  }
  PLATFORM_LOG(kLogInfo, "Opened %@ in %@ (%@)", url.path(), application.localizedName, application.bundleIdentifier);
  return std::nullopt;
}

std::vector<OpenedDocument> HostAppRegistry::openedDocuments() const {
  std::lock_guard lock(mutex_);
  return opened_;
}

}  // namespace velune::host
