#include "host/drive/HostSyncContainer.h"

#include <sys/stat.h>

#include "platform/Log.h"
#include "platform/Format.h"

namespace velune::host {

HostSyncContainer::HostSyncContainer(std::shared_ptr<const ContainerDeclaration> declaration,
                                     std::shared_ptr<Drive> drive)
    : declaration_(std::move(declaration)), drive_(std::move(drive)) {}

std::string HostSyncContainer::documentsPath() const {
  return drive_->drivePath(declaration_->identifier + "/Documents");
}

std::optional<platform::URL> HostSyncContainer::documentsURL() const {
  const std::string path = documentsPath();
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
    return std::nullopt;
  }
  return platform::URL::fileURLWithPath(path, true);
}

std::optional<platform::Error> HostSyncContainer::deleteAllContentsOnClientAndServer() {
  PLATFORM_LOG(kLogInfo, "Emptying container %@ here and on the server", declaration_->identifier);
  return drive_->deleteContainerContents(declaration_->identifier);
}

std::string HostSyncContainer::description() const {
  return platform::format("<SyncContainer %@ “%@”>", declaration_->identifier, declaration_->localizedName);
}

}  // namespace velune::host
