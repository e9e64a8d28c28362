#pragma once
// DriveServices: the simulated drive's services for one home, built together
// because they share the Drive and its container registry. HostPlatform wires
// them; tests keep the handles to reach the drive's test hooks.

#include <memory>

#include "host/HomeLayout.h"
#include "platform/Platform.h"

namespace velune::host {

class BuiltinTypeRegistry;
class ContainerRegistry;
class Drive;
class DriveFileSystem;
class HostFileCoordinationService;
class HostURLResourceService;
class SyncEngine;

struct DriveServices {
  std::shared_ptr<Drive> drive;
  std::shared_ptr<ContainerRegistry> containers;
  std::shared_ptr<BuiltinTypeRegistry> types;
  std::shared_ptr<DriveFileSystem> fileSystem;
  std::shared_ptr<HostURLResourceService> resources;
  std::shared_ptr<HostFileCoordinationService> coordination;
  // Downloads cloud-only documents for coordinated reads (installed as the
  // coordination's materializer); follows HOME/device.json.
  std::shared_ptr<SyncEngine> sync;

  static DriveServices make(const HomeLayout& layout);
  // Puts every drive service into `services`.
  void wire(platform::Services& services) const;

 private:
  std::shared_ptr<platform::PreviewService> previews_;
  std::shared_ptr<platform::PromiseURLService> promises_;
  std::shared_ptr<platform::SyncContainerService> syncContainers_;
  std::shared_ptr<platform::SyncURLService> syncURLs_;
  std::shared_ptr<platform::FolderListingService> folderListings_;
};

}  // namespace velune::host
