#include "host/drive/DriveServices.h"

#include "host/drive/BuiltinTypeRegistry.h"
#include "host/drive/ContainerRegistry.h"
#include "host/drive/Drive.h"
#include "host/drive/DriveFileSystem.h"
#include "host/drive/HostFileCoordinationService.h"
#include "host/drive/HostFolderListingService.h"
#include "host/drive/HostPreviewService.h"
#include "host/drive/HostPromiseURLService.h"
#include "host/drive/HostSyncContainerService.h"
#include "host/drive/HostSyncURLService.h"
#include "host/drive/HostURLResourceService.h"
#include "host/drive/SyncEngine.h"

namespace velune::host {

DriveServices DriveServices::make(const HomeLayout& layout) {
  DriveServices out;
  out.drive = std::make_shared<Drive>(layout);
  out.containers = std::make_shared<ContainerRegistry>(layout.containersJson(), out.drive->root());
  out.types = std::make_shared<BuiltinTypeRegistry>();
  out.fileSystem = std::make_shared<DriveFileSystem>(out.drive, layout.appDocuments());
  out.resources = std::make_shared<HostURLResourceService>(out.drive, out.types);
  out.coordination = std::make_shared<HostFileCoordinationService>(out.drive);
  out.sync = std::make_shared<SyncEngine>(out.drive, SyncEngine::deviceConditions(layout.deviceJson()));
  out.coordination->setMaterializer(out.sync);
  out.previews_ = std::make_shared<HostPreviewService>(out.types);
  out.promises_ = std::make_shared<HostPromiseURLService>();
  out.syncContainers_ = std::make_shared<HostSyncContainerService>(out.drive, out.containers);
  out.syncURLs_ = std::make_shared<HostSyncURLService>(out.drive, out.containers);
  out.folderListings_ = std::make_shared<HostFolderListingService>(out.drive, out.types);
  return out;
}

void DriveServices::wire(platform::Services& services) const {
  services.fileSystem = fileSystem;
  services.typeRegistry = types;
  services.previews = previews_;
  services.promiseURLs = promises_;
  services.syncContainers = syncContainers_;
  services.syncURLs = syncURLs_;
  services.folderListings = folderListings_;
  services.urlResources = resources;
  services.fileCoordination = coordination;
}

}  // namespace velune::host
