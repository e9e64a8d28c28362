#pragma once
// HostSyncURLService: the simulated drive's URL operations. Document
// references are ".vdref" files; a container's documents folder is
// "Mobile Documents/<container>/Documents"; tags come from the item's sidecar
// or placeholder; moves go through Drive::moveItem (no-replace, mirrored).

#include <memory>

#include "host/drive/ContainerRegistry.h"
#include "host/drive/Drive.h"
#include "platform/SyncURLService.h"

namespace velune::host {

class HostSyncURLService final : public platform::SyncURLService {
 public:
  HostSyncURLService(std::shared_ptr<Drive> drive, std::shared_ptr<ContainerRegistry> registry);

  platform::URL cloudDocumentsRootURL() override;
  bool isExternalDocumentReference(const platform::URL& url) override;
  platform::Result<platform::URL> resolveExternalDocumentReference(const platform::URL& url) override;
  bool isDocumentsContainer(const platform::URL& url) override;
  platform::Result<std::vector<std::string>> tagNames(const platform::URL& url) override;
  std::optional<platform::Error> moveItemAtURL(const platform::URL& from, const platform::URL& to) override;
  std::optional<std::string> relativePathToCloudRoot(const platform::URL& url) override;

 private:
  std::shared_ptr<Drive> drive_;
  std::shared_ptr<ContainerRegistry> registry_;
};

// The path a URL of the drive stands for: a placeholder's URL stands for its
// document's logical path.
std::string logicalPathOfURL(const platform::URL& url);

}  // namespace velune::host
