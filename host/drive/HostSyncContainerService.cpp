#include "host/drive/HostSyncContainerService.h"

#include "host/drive/HostSyncContainer.h"
#include "platform/Localization.h"
#include "platform/SyncContainer.h"

namespace velune::host {

namespace ErrorCode = platform::ErrorCode;

HostSyncContainerService::HostSyncContainerService(std::shared_ptr<Drive> drive,
                                                   std::shared_ptr<ContainerRegistry> registry)
    : drive_(std::move(drive)), registry_(std::move(registry)) {}

platform::Result<std::shared_ptr<platform::SyncContainer>> HostSyncContainerService::containerForItemAtURL(
    const platform::URL& url) {
  const std::string path = url.isFileURL() ? url.path() : std::string();
  const auto relative = path.empty() ? std::nullopt : drive_->relativePath(path);
  const std::string name = url.lastPathComponent();
  if (!relative || relative->empty()) {
    return driveError(ErrorCode::FileNoSuchFile, path,
                      platform::localizedFormat("“%@” is not in a container of Velune Drive.", name));
  }
  const std::string identifier = relative->substr(0, relative->find('/'));
  auto declaration = registry_->container(identifier);
  if (!declaration) {
    return driveError(ErrorCode::FileNoSuchFile, path,
                      platform::localizedFormat("“%@” is not in a container of Velune Drive.", name));
  }
  return std::shared_ptr<platform::SyncContainer>(std::make_shared<HostSyncContainer>(declaration, drive_));
}

std::vector<std::shared_ptr<platform::SyncContainer>> HostSyncContainerService::allContainers() {
  std::vector<std::shared_ptr<platform::SyncContainer>> out;
  for (auto& declaration : registry_->containers()) {
    out.push_back(std::make_shared<HostSyncContainer>(declaration, drive_));
  }
  return out;
}

std::string HostSyncContainerService::defaultContainerIdentifier() const {
  return std::string(platform::kDefaultSyncContainerIdentifier);
}

std::string HostSyncContainerService::localizedNameOfDefaultContainer() {
  const auto declaration = registry_->container(std::string(platform::kDefaultSyncContainerIdentifier));
  return declaration ? declaration->localizedName : std::string("Velune Drive");
}

}  // namespace velune::host
